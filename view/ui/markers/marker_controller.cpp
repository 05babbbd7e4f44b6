#include "view/ui/markers/marker_controller.h"

#include <QAction>
#include <QDockWidget>
#include <QMenu>
#include <QMessageBox>
#include <QStatusBar>
#include <cmath>

#include "core/errors.h"
#include "core/keys.h"
#include "core/log.h"
#include "core/ui/busy_box.h"
#include "core/ui/command.h"
#include "core/ui/wording.h"
#include "process/point/marker_frames.h"
#include "process/point/revise_markers_task.h"
#include "view/ui/canvas/field_view.h"
#include "view/ui/canvas/picture_window.h"
#include "view/ui/markers/marker_file_dialogs.h"
#include "view/ui/markers/marker_finding.h"
#include "view/ui/markers/marker_info.h"
#include "view/ui/markers/marker_options_dialog.h"
#include "view/ui/markers/marker_pairing.h"
#include "view/ui/markers/marker_table.h"
#include "view/ui/markers/marker_tool.h"

namespace vyn {

namespace {

/// How near the pointer must be to a marker, widget pixels.
constexpr double pick_reach = 12;

const QColor marker_colour(255, 235, 59);

}  // namespace

MarkerController::MarkerController(PictureWindow& viewer)
    : EditController(&viewer),
      viewer_(viewer),
      overlay_(marker_colour),
      info_(new VynMarkerInfo(*this)),
      dock_(new QDockWidget(VynMarkerInfo::tr("Marker info"), &viewer)),
      table_dock_(new QDockWidget(tr("Marker table"), &viewer)) {
    for (const MouseMode mode :
         {MouseMode::marker_add, MouseMode::marker_move, MouseMode::marker_revise,
          MouseMode::marker_toggle, MouseMode::marker_edit, MouseMode::marker_delete})
        tools_[mode] = std::make_unique<MarkerTool>(*this, mode);
    viewer.view().add_overlay(&overlay_);
    dock_->setObjectName(QStringLiteral("Marker info"));
    dock_->setWidget(info_);
    viewer.addDockWidget(Qt::RightDockWidgetArea, dock_);
    if (auto* bar = viewer.findChild<QDockWidget*>(QStringLiteral("function bar")))
        viewer.tabifyDockWidget(bar, dock_);
    dock_->hide();
    table_dock_->setObjectName(QStringLiteral("Marker table"));
    auto* table =
        new MarkerTable(edit_, [this](const auto& operation) { return change(operation); });
    connect(this, &MarkerController::markers_changed, table, &MarkerTable::show_markers);
    table_dock_->setWidget(table);
    viewer.addDockWidget(Qt::BottomDockWidgetArea, table_dock_);
    table_dock_->hide();
    make_actions();
}

MarkerController::~MarkerController() = default;

void MarkerController::make_actions() {
    QMenu& menu = viewer_.marker_menu();
    menu.addSeparator();
    const auto add_action = [&](const QString& text, const char* name, const QString& tip,
                                void (MarkerController::*command)()) {
        QAction* action = menu.addAction(text);
        action->setObjectName(QLatin1String(name));
        action->setToolTip(tip);
        connect(action, &QAction::triggered, this, command);
    };
    add_action(tr("&Find Markers..."), "find_markers", tr("Find the dots of the image"),
               &MarkerController::find);
    add_action(tr("&Pair Markers..."), "pair_markers",
               tr("Pair the markers with those of another image"), &MarkerController::pair);
    menu.addSeparator();
    hide_ = menu.addAction(tr("&Hide Markers"));
    hide_->setObjectName(QStringLiteral("hide_markers"));
    hide_->setShortcut(QKeySequence(QStringLiteral("Ctrl+H")));
    hide_->setToolTip(tr("Take the markers out of sight"));
    hide_->setCheckable(true);
    connect(hide_, &QAction::toggled, this, &MarkerController::hide);
    viewer_.addAction(hide_);
    menu.addAction(dock_->toggleViewAction());
    menu.addAction(table_dock_->toggleViewAction());
}

void MarkerController::hide(bool hidden) {
    hide_->setChecked(hidden);
    overlay_.set_shown(!hidden);
    viewer_.view().update();
}

bool MarkerController::hidden() const {
    return hide_->isChecked();
}

ViewTool* MarkerController::tool(MouseMode mode) {
    const auto found = tools_.find(mode);
    return found == tools_.end() ? nullptr : found->second.get();
}

bool MarkerController::modified() const {
    const auto picture = viewer_.picture();
    return edit_.modified() || (picture && picture->has_unsaved_markers());
}

void MarkerController::picture_changed() {
    const auto picture = viewer_.picture();
    const std::string name = picture ? picture->name : std::string();
    const int width = picture ? picture->width() : 0;
    const int height = picture ? picture->height() : 0;
    const bool same = name == shown_name_ && width == shown_width_ && height == shown_height_;
    if (same && (!picture || picture->markers == edit_.set())) {
        Q_EMIT state_changed();  // a file may hold them now
        return;
    }
    if (same) {
        // Computed anew, or changed in another viewer: what was here can be had back.
        edit_.replace(picture->markers);
        edit_.set_saved();
        Q_EMIT stepped();
    } else {
        edit_ = MarkerEdit(picture ? picture->markers : MarkerSet());
        shown_name_ = name;
        shown_width_ = width;
        shown_height_ = height;
    }
    dragged_.reset();
    show_markers();
}

void MarkerController::show_markers() {
    overlay_.set_markers(edit_.set(), edit_.current());
    viewer_.view().update();
    Q_EMIT markers_changed();
    Q_EMIT state_changed();
}

void MarkerController::publish() {
    image changed = *viewer_.picture();
    changed.markers = edit_.set();
    viewer_.replace_picture(std::move(changed));
    show_markers();
}

bool MarkerController::change(const std::function<void(MarkerEdit&)>& operation, StepOf step) {
    if (!viewer_.may_edit()) return false;
    const MarkerSet before = edit_.set();
    try {
        operation(edit_);
    } catch (const GenericError& error) {
        QMessageBox::warning(&viewer_, tr("Markers"), worded(error.what()));
        return false;
    }
    if (edit_.set() == before) {
        show_markers();
        return true;
    }
    publish();
    if (step == StepOf::markers) Q_EMIT stepped();
    return true;
}

void MarkerController::undo() {
    edit_.undo();
    if (viewer_.picture()) publish();
}

void MarkerController::redo() {
    edit_.redo();
    if (viewer_.picture()) publish();
}

void MarkerController::set_current(std::optional<std::size_t> index) {
    edit_.set_current(index);
    show_markers();
}

void MarkerController::go_prev() {
    edit_.go_prev();
    show_markers();
}

void MarkerController::go_next() {
    edit_.go_next();
    show_markers();
}

std::optional<std::size_t> MarkerController::pick(Point place) const {
    return edit_.nearest(place, pick_reach / viewer_.view().transform().zoom);
}

ExtremeSearchOptions MarkerController::search_options() const {
    dataSetInterface& data = vyn_db();
    ExtremeSearchOptions options;
    options.size = read(data, keys::marker_size);
    options.polarity = read(data, keys::marker_pit) != 0 ? DotPolarity::dark : DotPolarity::bright;
    options.refinement =
        read(data, keys::markers_refine) == 1 ? MarkerRefinement::dot : MarkerRefinement::surface;
    return options;
}

void MarkerController::click(MouseMode mode, Point place) {
    if (mode == MouseMode::marker_add) return add(place);
    const auto picked = pick(place);
    if (!picked) return viewer_.statusBar()->showMessage(tr("There is no marker here"));
    edit_.set_current(picked);
    switch (mode) {
        case MouseMode::marker_revise:
            change([&](MarkerEdit& edit) {
                if (!edit.revise(*picked, *viewer_.picture(), search_options()))
                    viewer_.statusBar()->showMessage(tr("No dot is found at the marker"));
            });
            return;
        case MouseMode::marker_toggle:
            change([&](MarkerEdit& edit) { edit.toggle(*picked); });
            return;
        case MouseMode::marker_delete:
            change([&](MarkerEdit& edit) { edit.remove(*picked); });
            return;
        default:
            set_current(picked);
            dock_->show();
            dock_->raise();
            info_->setFocus();
    }
}

void MarkerController::add(Point place) {
    const auto picture = viewer_.picture();
    const bool on_image = place.x >= -0.5 && place.x < picture->width() - 0.5 && place.y >= -0.5 &&
                          place.y < picture->height() - 0.5;
    if (!on_image) return;
    const ExtremeSearch search = find_extreme(*picture, place, search_options());
    if (!search.found) {
        QMessageBox box(QMessageBox::Question, tr("Marker Add"),
                        tr("Local Min or Max not found.\n\nWould You like to mark central point?"),
                        QMessageBox::Yes | QMessageBox::No, &viewer_);
        box.setDefaultButton(QMessageBox::Yes);
        box.setEscapeButton(QMessageBox::No);
        if (box.exec() == QMessageBox::No) return;
    }
    change([&](MarkerEdit& edit) { edit.add(search.point); });
}

void MarkerController::pick_up(Point place) {
    dragged_ = pick(place);
    if (!dragged_) return viewer_.statusBar()->showMessage(tr("There is no marker here"));
    drag_start_ = place;
    set_current(dragged_);
}

void MarkerController::drag(Point place) {
    if (!dragged_) return;
    const Marker& marker = edit_.at(*dragged_);
    const Point target{marker.x + place.x - drag_start_.x, marker.y + place.y - drag_start_.y};
    overlay_.set_dragged(dragged_, target);
    viewer_.view().update();
    Q_EMIT dragging(*dragged_, target);
}

void MarkerController::drop(Point place, Drop how) {
    if (!dragged_) return;
    const std::size_t index = *dragged_;
    put_back();
    if (place == drag_start_) return;
    const Marker& marker = edit_.at(index);
    Point target{marker.x + place.x - drag_start_.x, marker.y + place.y - drag_start_.y};
    if (how == Drop::on_the_dot)
        target = find_extreme(*viewer_.picture(), target, search_options()).point;
    change([&](MarkerEdit& edit) { edit.move(index, target); });
}

void MarkerController::put_back() {
    dragged_.reset();
    overlay_.set_dragged({}, {});
    viewer_.view().update();
    Q_EMIT drag_ended();
}

void MarkerController::revise_all() {
    if (!viewer_.picture() || edit_.count() == 0) return;
    const auto revised = std::make_shared<RevisedMarkers>();
    auto job = std::make_shared<Job>();
    job->append(std::make_unique<ReviseMarkersTask>(viewer_.picture(), search_options(), revised));
    if (QBusyBox(viewer_.worker(), &viewer_).run(job) != TaskOutcome::done) return;
    change([&](MarkerEdit& edit) { edit.replace(revised->set); });
    const std::vector<std::int32_t>& stayed = revised->stayed;
    QString text = tr("All active markers are revised");
    if (!stayed.empty()) {
        QStringList numbers;
        for (const std::int32_t number : stayed)
            numbers.append(QString::number(number));
        text = tr("No dot is found at marker %1").arg(numbers.join(QStringLiteral(", ")));
        get_log().write(LogLevel::information, text.toStdString());
    }
    viewer_.statusBar()->showMessage(text);
}

/// False for an image of a file that was opened beside the project: its names mean nothing there.
bool MarkerController::is_project_image() const {
    const auto picture = viewer_.picture();
    return picture && get_images().find(picture->name) == picture;
}

void MarkerController::load() {
    const auto picture = viewer_.picture();
    if (!picture) return;
    const QString file = ask_marker_file_to_load(&viewer_, *picture, is_project_image());
    if (file.isEmpty()) return;
    image target = *picture;
    if (!is_project_image()) target.name.clear();
    std::string left_out;
    change([&](MarkerEdit& edit) {
        MarkerSet set = load_image_markers(vyn_db(), target, file.toStdString());
        left_out = set.left_out;
        edit.replace(std::move(set));
    });
    if (!left_out.empty())
        report_failure(&viewer_, tr("Markers"), QString::fromStdString(left_out));
}

void MarkerController::save() {
    const auto picture = viewer_.picture();
    if (!picture) return;
    if (edit_.count() == 0) {
        QMessageBox::information(&viewer_, tr("Markers"), tr("There are no markers to save."));
        return;
    }
    const QString file = ask_marker_file_to_save(&viewer_, *picture, is_project_image());
    if (file.isEmpty()) return;
    image source = *picture;
    if (!is_project_image()) source.name.clear();
    if (!settle_length_unit(&viewer_, file, source.markers)) return;
    try {
        save_image_markers(vyn_db(), get_images(), source, file.toStdString());
    } catch (const GenericError& error) {
        QMessageBox box(QMessageBox::Warning, tr("Markers"), tr("Error writing Markers"),
                        QMessageBox::Ok, &viewer_);
        box.setInformativeText(QString::fromStdString(error.detail));
        box.exec();
        return;
    }
    edit_.set_saved();
    viewer_.statusBar()->showMessage(tr("Markers are saved into %1").arg(file));
    Q_EMIT state_changed();
}

void MarkerController::clear() {
    if (!viewer_.picture() || edit_.count() == 0) return;
    if (QMessageBox::question(&viewer_, tr("Markers"), tr("Do you want to remove all markers?"),
                              QMessageBox::Yes | QMessageBox::No,
                              QMessageBox::No) == QMessageBox::Yes)
        change([](MarkerEdit& edit) { edit.clear(); });
}

void MarkerController::options() {
    MarkerOptionsDialog(&viewer_).exec();
}

void MarkerController::find() {
    if (!finding_) finding_ = new MarkerFindingDialog(viewer_, *this);
    finding_->show();
    finding_->raise();
}

void MarkerController::pair() {
    if (!pairing_) pairing_ = new MarkerPairingDialog(viewer_, *this);
    pairing_->show();
    pairing_->raise();
}

}  // namespace vyn
