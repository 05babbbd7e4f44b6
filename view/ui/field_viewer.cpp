#include "view/ui/field_viewer.h"

#include <QActionGroup>
#include <QMenuBar>
#include <QStatusBar>
#include <QToolBar>

#include "view/ui/edit_actions.h"
#include "view/ui/field_view.h"
#include "view/ui/graph_controller.h"
#include "view/ui/image_watcher.h"
#include "view/ui/key_arbiter.h"
#include "view/ui/marker_controller.h"
#include "view/ui/region_controller.h"
#include "view/ui/viewer_actions.h"
#include "view/ui/zoom_tool.h"

namespace vyn {

struct VynFieldViewer::Parts {
    Parts(VynFieldViewer& viewer, Worker& program_worker, std::string name, bool camera,
          QString window_title)
        : worker(program_worker),
          image_name(std::move(name)),
          camera_image(camera),
          title(std::move(window_title)),
          view(new VynFieldView(&viewer)),
          actions(viewer),
          zoom_in(*view, ZoomTool::Direction::in),
          zoom_out(*view, ZoomTool::Direction::out) {}

    Worker& worker;
    std::shared_ptr<imagesList> list{std::shared_ptr<void>(), &get_images()};
    std::string image_name;
    bool camera_image;
    QString title;
    QString out_of_date;  ///< why; empty when the image is up to date

    VynFieldView* view;
    ViewerActions actions;
    QMenu* image_menu = nullptr;
    QMenu* marker_menu = nullptr;
    ImageWatcher watcher;

    MouseMode mode = MouseMode::probe;
    ProbeTool probe;
    ZoomTool zoom_in;
    ZoomTool zoom_out;
    MarkerController* markers = nullptr;
    GraphController* graph = nullptr;
    RegionController* region = nullptr;
};

VynFieldViewer::VynFieldViewer(Worker& worker, std::string image_name, bool flag,
                               const QString& title, QWidget* parent)
    : QMainWindow(parent),
      parts_(std::make_unique<Parts>(*this, worker, std::move(image_name), flag, title)) {
    setAttribute(Qt::WA_DeleteOnClose);
    setCentralWidget(parts_->view);
    make_bars();
    make_modes();

    VynFieldView* view = parts_->view;
    connect(view, &VynFieldView::probe, this, &VynFieldViewer::show_probe);
    connect(view, &VynFieldView::updated, this, &VynFieldViewer::refresh);
    connect(view, &VynFieldView::modifiedChanged, this, &VynFieldViewer::setModifiedChanged);
    connect(view, &VynFieldView::more_data, parts_->graph, &GraphController::more_data);
    connect(&parts_->watcher, &ImageWatcher::changed, this, &VynFieldViewer::follow_image);
    parts_->watcher.watch(parts_->list, parts_->image_name);
    follow_image();
    set_mode(MouseMode::probe);
}

VynFieldViewer::~VynFieldViewer() {
    parts_->view->set_tool(nullptr);
    disconnect(parts_->view, nullptr, this, nullptr);
}

void VynFieldViewer::make_bars() {
    const ViewerActions& a = parts_->actions;
    QToolBar* files = addToolBar(tr("File Operations"));
    files->setObjectName(QStringLiteral("file tools"));
    files->addActions({a.open, a.save, a.save_as, a.image_export});
    QToolBar* images = addToolBar(tr("Image Operations"));
    images->setObjectName(QStringLiteral("image operations"));
    images->addActions({a.probe_mode, a.fashion, a.zoom_in_mode, a.zoom_out_mode, a.zoom_one_to_one,
                        a.show_graph_mode, a.vector_draw_enable});
    QToolBar* markers = addToolBar(tr("Marker Operations"));
    markers->setObjectName(QStringLiteral("marker tools"));
    const QList<QAction*> marker_actions = {
        a.marker_add_mode,  a.marker_move_mode, a.marker_revise_mode, a.marker_toggle_mode,
        a.marker_edit_mode, a.marker_del_mode,  a.revise_all_markers, a.load_markers,
        a.save_markers,     a.clear_markers,    a.marker_options};
    markers->addActions(marker_actions);

    QMenu* file_menu = menuBar()->addMenu(tr("&File"));
    file_menu->addActions(files->actions());
    parts_->image_menu = menuBar()->addMenu(tr("&Image"));
    parts_->image_menu->addActions(images->actions());
    parts_->marker_menu = menuBar()->addMenu(tr("&Marker"));
    parts_->marker_menu->addActions(marker_actions);
    statusBar();
}

void VynFieldViewer::make_modes() {
    const ViewerActions& a = parts_->actions;
    new KeyArbiter(*this, [this] { return mode(); },
                   {{SharedKeyCommand::marker_add, a.marker_add_mode},
                    {SharedKeyCommand::revise_all_markers, a.revise_all_markers},
                    {SharedKeyCommand::marker_edit, a.marker_edit_mode},
                    {SharedKeyCommand::image_export, a.image_export},
                    {SharedKeyCommand::save_markers, a.save_markers},
                    {SharedKeyCommand::save_image, a.save}});
    parts_->markers = new MarkerController(*this);
    parts_->graph = new GraphController(*this);
    parts_->region = new RegionController(*this);
    new EditActions(*this, {parts_->markers});
}

Worker& VynFieldViewer::worker() const {
    return parts_->worker;
}
VynFieldView& VynFieldViewer::view() const {
    return *parts_->view;
}
const ViewerActions& VynFieldViewer::actions() const {
    return parts_->actions;
}
QMenu& VynFieldViewer::image_menu() const {
    return *parts_->image_menu;
}
QMenu& VynFieldViewer::marker_menu() const {
    return *parts_->marker_menu;
}
const std::string& VynFieldViewer::image_name() const {
    return parts_->image_name;
}
bool VynFieldViewer::is_camera_image() const {
    return parts_->camera_image;
}
std::shared_ptr<const image> VynFieldViewer::picture() const {
    return parts_->view->picture();
}

void VynFieldViewer::replace_picture(image changed) {
    changed.name = parts_->image_name;
    parts_->list->add(std::move(changed));
    parts_->watcher.look();
}

void VynFieldViewer::follow_image() {
    parts_->view->set_picture(parts_->watcher.current());
}

MouseMode VynFieldViewer::mode() const {
    return parts_->mode;
}

void VynFieldViewer::set_mode(MouseMode mode) {
    parts_->mode = mode;
    ViewTool* tool = &parts_->probe;
    switch (mode) {
        case MouseMode::probe:
            break;
        case MouseMode::zoom_in:
            tool = &parts_->zoom_in;
            break;
        case MouseMode::zoom_out:
            tool = &parts_->zoom_out;
            break;
        case MouseMode::graph:
            tool = parts_->graph->tool();
            break;
        case MouseMode::region:
            tool = parts_->region->tool();
            break;
        default:
            tool = parts_->markers->tool(mode);
    }
    parts_->view->set_tool(tool);
    const ViewerActions& a = parts_->actions;
    const std::pair<MouseMode, QAction*> mode_actions[] = {
        {MouseMode::probe, a.probe_mode},
        {MouseMode::zoom_in, a.zoom_in_mode},
        {MouseMode::zoom_out, a.zoom_out_mode},
        {MouseMode::graph, a.show_graph_mode},
        {MouseMode::marker_add, a.marker_add_mode},
        {MouseMode::marker_move, a.marker_move_mode},
        {MouseMode::marker_revise, a.marker_revise_mode},
        {MouseMode::marker_toggle, a.marker_toggle_mode},
        {MouseMode::marker_edit, a.marker_edit_mode},
        {MouseMode::marker_delete, a.marker_del_mode},
    };
    for (const auto& [shown, action] : mode_actions)
        if (shown == mode) action->setChecked(true);
}

void VynFieldViewer::set_out_of_date(bool out_of_date, const QString& why) {
    parts_->out_of_date = out_of_date ? why : QString();
    refresh();
}

void VynFieldViewer::open() {}
void VynFieldViewer::save() {}
void VynFieldViewer::saveAs() {}
void VynFieldViewer::image_export() {}
void VynFieldViewer::fashion() {}
void VynFieldViewer::vector_draw_enable(bool) {}

void VynFieldViewer::probe_mode() {
    set_mode(MouseMode::probe);
}
void VynFieldViewer::zoom_in_mode() {
    set_mode(MouseMode::zoom_in);
}
void VynFieldViewer::zoom_out_mode() {
    set_mode(MouseMode::zoom_out);
}
void VynFieldViewer::zoom_one_to_one() {
    parts_->view->zoom_one_to_one();
}
void VynFieldViewer::show_graph_mode() {
    set_mode(MouseMode::graph);
}
void VynFieldViewer::marker_add_mode() {
    set_mode(MouseMode::marker_add);
}
void VynFieldViewer::marker_move_mode() {
    set_mode(MouseMode::marker_move);
}
void VynFieldViewer::marker_revise_mode() {
    set_mode(MouseMode::marker_revise);
}
void VynFieldViewer::marker_toggle_mode() {
    set_mode(MouseMode::marker_toggle);
}
void VynFieldViewer::marker_edit_mode() {
    set_mode(MouseMode::marker_edit);
}
void VynFieldViewer::marker_del_mode() {
    set_mode(MouseMode::marker_delete);
}
void VynFieldViewer::revise_all_markers() {
    parts_->markers->revise_all();
}
void VynFieldViewer::load_markers() {
    parts_->markers->load();
}
void VynFieldViewer::save_markers() {
    parts_->markers->save();
}
void VynFieldViewer::clear_markers() {
    parts_->markers->clear();
}
void VynFieldViewer::abjust_markers_options() {
    parts_->markers->options();
}

void VynFieldViewer::show_probe(int x, int y, float value, bool, bool, bool, float, float) {
    statusBar()->showMessage(
        QStringLiteral("x=%1 y=%2, %3").arg(x).arg(y).arg(static_cast<double>(value)));
}

void VynFieldViewer::refresh() {
    const QString name = QString::fromStdString(parts_->image_name);
    QString title = parts_->title.isEmpty() ? name : parts_->title;
    if (!parts_->out_of_date.isEmpty()) title += tr(" (out of date: %1)").arg(parts_->out_of_date);
    setWindowTitle(title + QStringLiteral("[*]"));
    parts_->markers->picture_changed();
    parts_->graph->picture_changed();
    parts_->region->picture_changed();
}

void VynFieldViewer::setModifiedChanged(bool modified) {
    setWindowModified(modified);
}

}  // namespace vyn
