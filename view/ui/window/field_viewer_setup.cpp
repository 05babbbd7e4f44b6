#include <QApplication>
#include <QCloseEvent>
#include <QDockWidget>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QMenuBar>
#include <QScrollArea>
#include <QSettings>
#include <QStatusBar>
#include <QToolBar>

#include "core/ui/window_size.h"
#include "view/ui/window/edit_actions.h"
#include "view/ui/window/field_viewer_parts.h"
#include "view/ui/window/key_arbiter.h"
#include "view/ui/window/open_windows.h"
#include "view/ui/window/zoom_box.h"

namespace vyn {

namespace {

const QString geometry_setting = QStringLiteral("viewer/geometry");
const QString panels_setting = QStringLiteral("viewer/panels");
constexpr QSize least_size{320, 240};

/// Behind those of what is edited.
void add_last_menus(VynFieldViewer& viewer) {
    QMenuBar& bar = *viewer.menuBar();
    bar.addMenu(make_window_menu(&viewer));
    QMenu* menu = bar.addMenu(VynFieldViewer::tr("&Help"));
    // The program answers this key in every window, with the page of what has the keyboard.
    QAction* help = menu->addAction(VynFieldViewer::tr("&Contents") + QStringLiteral("\tF1"),
                                    &viewer, [&viewer] {
                                        QKeyEvent key(QEvent::KeyPress, Qt::Key_F1, Qt::NoModifier);
                                        QApplication::sendEvent(&viewer, &key);
                                    });
    help->setObjectName(QStringLiteral("viewer_manual"));
}

/// A panel that scrolls where the window is too small for it.
QScrollArea* scrolled(QWidget* panel) {
    auto* area = new QScrollArea;
    area->setFrameShape(QFrame::NoFrame);
    area->setWidgetResizable(true);
    area->setWidget(panel);
    return area;
}

}  // namespace

void VynFieldViewer::make_panels() {
    parts_->colour_bar = new ColourBar;
    auto* middle = new QWidget;
    auto* layout = new QHBoxLayout(middle);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(parts_->view, 1);
    layout->addWidget(parts_->colour_bar);
    setCentralWidget(middle);
    parts_->view->add_overlay(&parts_->hatch);

    parts_->function_bar = new VynFunctionBar;
    const ViewerActions& a = parts_->actions;
    parts_->function_bar->set_modes({a.probe_mode, a.zoom_in_mode, a.zoom_out_mode,
                                     a.show_graph_mode, a.marker_add_mode, a.marker_move_mode,
                                     a.marker_revise_mode, a.marker_toggle_mode, a.marker_edit_mode,
                                     a.marker_del_mode});
    auto* dock = new QDockWidget(tr("Function Bar"), this);
    dock->setObjectName(QStringLiteral("function bar"));
    dock->setWidget(scrolled(parts_->function_bar));
    addDockWidget(Qt::RightDockWidgetArea, dock);

    parts_->cell_panel = new CellPanel;
    auto* cell_dock = new QDockWidget(tr("Cell Under the Pointer"), this);
    cell_dock->setObjectName(QStringLiteral("cell panel"));
    cell_dock->setWidget(scrolled(parts_->cell_panel));
    addDockWidget(Qt::RightDockWidgetArea, cell_dock);
    cell_dock->hide();

    parts_->state_label = new QLabel;
    parts_->state_label->setObjectName(QStringLiteral("state"));
    statusBar()->addPermanentWidget(parts_->state_label);
    statusBar()->addPermanentWidget(new ZoomBox(*parts_->view));
}

void VynFieldViewer::restore_layout() {
    const QSettings settings;
    if (!restoreGeometry(settings.value(geometry_setting).toByteArray()))
        resize(on_screen({1100, 760}));
    restoreState(settings.value(panels_setting).toByteArray());
    setMinimumSize(least_size);
    OpenWindows::of_program().step_aside(*this);
    OpenWindows::of_program().add(*this);
}

void VynFieldViewer::closeEvent(QCloseEvent* event) {
    if (!may_discard()) return event->ignore();
    QSettings settings;
    settings.setValue(geometry_setting, saveGeometry());
    settings.setValue(panels_setting, saveState());
    QMainWindow::closeEvent(event);
}

void VynFieldViewer::make_bars() {
    const ViewerActions& a = parts_->actions;
    const auto add_bar = [this](const QString& label, const QString& name,
                                const QList<QAction*>& actions) {
        QToolBar* bar = addToolBar(label);
        bar->setObjectName(name);
        bar->addActions(actions);
        return bar;
    };
    const QList<QAction*> marker_actions = {
        a.marker_add_mode,  a.marker_move_mode, a.marker_revise_mode, a.marker_toggle_mode,
        a.marker_edit_mode, a.marker_del_mode,  a.revise_all_markers, a.load_markers,
        a.save_markers,     a.clear_markers,    a.marker_options};
    const QList<QAction*> file_actions = {a.open, a.save, a.save_as, a.image_export};
    const QList<QAction*> image_actions = {
        a.probe_mode,      a.fashion,         a.zoom_in_mode,      a.zoom_out_mode,
        a.zoom_one_to_one, a.show_graph_mode, a.vector_draw_enable};
    add_bar(tr("File Operations"), QStringLiteral("file tools"), file_actions);
    add_bar(tr("Image Operations"), QStringLiteral("image operations"), image_actions);
    add_bar(tr("Marker Operations"), QStringLiteral("marker tools"), marker_actions);

    QMenu* file_menu = menuBar()->addMenu(tr("&File"));
    file_menu->addActions(file_actions);
    file_menu->addSeparator();
    file_menu->addAction(tr("&Close"), this, &QWidget::close, QKeySequence::Close);
    parts_->image_menu = menuBar()->addMenu(tr("&Image"));
    parts_->image_menu->addActions(image_actions);
    parts_->image_menu->addSeparator();
    parts_->image_menu->addActions({a.zoom_fit, a.advanced_fashion, a.per_cent});
    parts_->image_menu->setToolTipsVisible(true);
    parts_->image_menu->addSeparator();
    parts_->image_menu->addActions({a.link, a.blink, a.difference});
    parts_->image_menu->addSeparator();
    parts_->image_menu->addActions({a.copy_picture, a.copy_pixel});
    parts_->image_menu->addSeparator();
    parts_->image_menu->addAction(
        findChild<QDockWidget*>(QStringLiteral("function bar"))->toggleViewAction());
    parts_->image_menu->addAction(
        findChild<QDockWidget*>(QStringLiteral("cell panel"))->toggleViewAction());
    parts_->marker_menu = menuBar()->addMenu(tr("&Marker"));
    parts_->marker_menu->addActions(marker_actions);
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
    parts_->association = new AssociationController(*this, *parts_->markers);
    new EditActions(*this, {parts_->markers, parts_->region, parts_->association});
    add_last_menus(*this);
}

void VynFieldViewer::connect_view() {
    VynFieldView* view = parts_->view;
    connect(view, &VynFieldView::probe, this, &VynFieldViewer::show_probe);
    connect(view, &VynFieldView::probe, this, [this](int x, int y) {
        if (parts_->cell_panel->isVisible())
            parts_->cell_panel->look(*parts_->list, parts_->image_name, x, y);
    });
    connect(view, &VynFieldView::updated, this, &VynFieldViewer::refresh);
    connect(view, &VynFieldView::modifiedChanged, this, &VynFieldViewer::setModifiedChanged);
    connect(view, &VynFieldView::more_data, parts_->graph, &GraphController::more_data);
    connect(view, &VynFieldView::grid_present, parts_->function_bar, &VynFunctionBar::grid_present);
    connect(view, &VynFieldView::fashion_changed, this, &VynFieldViewer::fashion_changed);
    connect(&parts_->watcher, &ImageWatcher::changed, this, &VynFieldViewer::follow_image);
    connect(&parts_->field_watcher, &ImageWatcher::changed, this,
            [this] { parts_->per_cent ? follow_image() : enable_actions(); });
    connect(&parts_->channels, &ChannelSource::changed, this, &VynFieldViewer::apply_channels);
    connect(parts_->comparison, &Comparison::changed, this, [this] {
        const Comparison::Kind kind = parts_->comparison->kind();
        parts_->actions.blink->setChecked(kind == Comparison::Kind::blink);
        parts_->actions.difference->setChecked(kind == Comparison::Kind::difference);
        apply_channels();
        show_title();
    });
    connect(parts_->colour_bar, &ColourBar::limits_dragged, this, [this](const Limits& limits) {
        Fashion fashion = parts_->view->fashion();
        fashion.limits = tidy(limits);
        parts_->view->set_fashion(fashion);
    });
    connect(parts_->function_bar, &VynFunctionBar::vectors_chosen, this,
            [this](const VectorStyle& style) {
                Fashion fashion = parts_->view->fashion();
                fashion.vectors = style;
                parts_->view->set_fashion(fashion);
            });
    connect(parts_->function_bar, &VynFunctionBar::copy_pixel_wanted, this,
            &VynFieldViewer::copy_pixel);
}

}  // namespace vyn
