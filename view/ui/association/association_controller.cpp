#include "view/ui/association/association_controller.h"

#include <QAction>
#include <QDockWidget>
#include <QMenu>
#include <QMessageBox>
#include <QPushButton>
#include <QSignalBlocker>
#include <QStatusBar>
#include <QToolBar>
#include <algorithm>

#include "core/errors.h"
#include "core/keys.h"
#include "core/numbers.h"
#include "core/ui/busy_box.h"
#include "core/ui/icons.h"
#include "core/ui/wording.h"
#include "process/model/model_inputs.h"
#include "process/point/marker_frames.h"
#include "view/edit/marker_numbers.h"
#include "view/ui/association/association_panel.h"
#include "view/ui/canvas/field_view.h"
#include "view/ui/canvas/picture_window.h"
#include "view/ui/markers/marker_controller.h"

namespace vyn {

namespace {

/// How near the pointer must be to a ring or dot, widget pixels.
constexpr double pick_reach = 14;
constexpr std::size_t most_history_bytes = std::size_t{64} << 20;

std::size_t bytes_of(const Association& association) {
    return sizeof(Association) +
           (association.fit ? association.fit->markers.size() : 0) * sizeof(MarkerResult);
}

QString number_text(double number) {
    return QString::fromStdString(format_general(number, 3));
}

}  // namespace

AssociationController::AssociationController(PictureWindow& viewer, MarkerController& markers)
    : EditController(&viewer),
      viewer_(viewer),
      markers_(markers),
      tool_(*this),
      history_(most_history_bytes),
      mode_(new QAction(vyn_icon(QStringLiteral("associate.png")), tr("&Associate 3-D Markers"),
                        this)),
      shown_(new QAction(tr("Show &3-D Markers"), this)),
      panel_(new AssociationPanel),
      dock_(new QDockWidget(tr("3-D markers"), &viewer)) {
    viewer.view().add_overlay(&overlay_);
    dock_->setObjectName(QStringLiteral("association"));
    dock_->setWidget(panel_);
    viewer.addDockWidget(Qt::RightDockWidgetArea, dock_);
    if (auto* bar = viewer.findChild<QDockWidget*>(QStringLiteral("function bar")))
        viewer.tabifyDockWidget(bar, dock_);
    dock_->hide();
    make_actions();
    connect(&markers_, &MarkerController::markers_changed, this, [this] {
        if (own_change_ || !scene_ || dragged_) return;
        if (may_associate()) put(refit(*scene_, association_, markers_.markers().set()));
    });
    connect(&markers_, &MarkerController::dragging, this, &AssociationController::preview_move);
    connect(&markers_, &MarkerController::drag_ended, this, [this] {
        if (scene_) show();
    });
    connect(panel_, &AssociationPanel::find_wanted, this, &AssociationController::find);
    connect(panel_, &AssociationPanel::pair_wanted, this, &AssociationController::pair_rest);
    connect(panel_, &AssociationPanel::accepted, this, &AssociationController::accept);
    connect(panel_, &AssociationPanel::rejected, this, &AssociationController::reject);
    connect(panel_, &AssociationPanel::row_chosen, this, &AssociationController::centre_on);
    connect(panel_, &AssociationPanel::left_out, this, &AssociationController::leave_out);
    connect(panel_, &AssociationPanel::enlargement_chosen, this, [this] { show(); });
    connect(&viewer.view(), &VynFieldView::fashion_changed, this, [this] {
        overlay_.set_residuals(panel_->enlarged(), viewer_.view().fashion().palette);
    });
}

AssociationController::~AssociationController() {
    viewer_.view().remove_overlay(&overlay_);
}

void AssociationController::make_actions() {
    mode_->setObjectName(QStringLiteral("associate"));
    mode_->setCheckable(true);
    mode_->setShortcut(QKeySequence(QStringLiteral("Ctrl+3")));
    mode_->setToolTip(tr("Drag the rings of 3-D markers onto their dots"));
    viewer_.add_mode(mode_);
    connect(mode_, &QAction::triggered, this, &AssociationController::begin);
    shown_->setObjectName(QStringLiteral("show_rings"));
    shown_->setCheckable(true);
    shown_->setToolTip(tr("Show where the camera sees the 3-D markers"));
    connect(shown_, &QAction::toggled, this, &AssociationController::show_rings);
    QMenu& menu = viewer_.marker_menu();
    menu.addSeparator();
    menu.addActions({mode_, shown_, dock_->toggleViewAction()});
    connect(&menu, &QMenu::aboutToShow, this, &AssociationController::enable_actions);
    viewer_.addActions({mode_, shown_});
    if (auto* bar = viewer_.findChild<QToolBar*>(QStringLiteral("marker tools")))
        bar->addAction(mode_);
}

AssociationController::Frame AssociationController::frame() const {
    const auto picture = viewer_.picture();
    if (!picture || get_images().find(picture->name) != picture) return Frame::none;
    const std::string view = read(std::as_const(vyn_db()), keys::resect_markers_view);
    if (picture->name == view) return Frame::raw;
    // Results lie in the frame of the wind-off picture of the signal channel.
    if (view != image_names::wind_off_sens) return Frame::none;
    for (const char* name :
         {image_names::wind_off_sens_cor, image_names::wind_on_sens_aligned,
          image_names::wind_on_refe_aligned, image_names::ratio, image_names::field})
        if (picture->name == name) return Frame::ideal;
    return Frame::none;
}

bool AssociationController::may_associate() const {
    return frame() == Frame::raw;
}

void AssociationController::enable_actions() {
    const Frame now = frame();
    mode_->setEnabled(now == Frame::raw);
    shown_->setEnabled(now != Frame::none);
}

void AssociationController::picture_changed() {
    enable_actions();
    const auto picture = viewer_.picture();
    const std::string name = picture ? picture->name : std::string();
    const QSize size = picture ? QSize(picture->width(), picture->height()) : QSize();
    if (name == shown_name_ && size == shown_size_) return;
    shown_name_ = name;
    shown_size_ = size;
    scene_.reset();
    association_ = {};
    original_.reset();
    dragged_.reset();
    history_ = History<Step>(most_history_bytes);
    overlay_.set_rows({});
    {
        const QSignalBlocker quiet(shown_);
        shown_->setChecked(false);
    }
    overlay_.set_shown(false);
    panel_->set_active(false);
    panel_->show_rows({}, tr("Marker menu, Associate 3-D Markers: rings are dragged onto dots."),
                      false);
    Q_EMIT state_changed();
}

bool AssociationController::read_scene() {
    auto task = std::make_unique<AssociationSceneTask>(program_session(), viewer_.picture());
    const auto scene = task->scene();
    auto job = std::make_shared<Job>();
    job->append(std::move(task));
    if (QBusyBox(viewer_.worker(), &viewer_).run(job) != TaskOutcome::done) return false;
    scene_ = scene;
    const dataSetInterface& data = vyn_db();
    cameraFeatures record;
    read(data, std::string(keys::sens_camera), record);
    const bool ideal = frame() == Frame::ideal;
    overlay_.set_ideal_pixels_of(ideal ? std::optional(scene_->camera.lens) : std::nullopt);
    const auto stored = stored_pose(data, record.default_length_unit);
    if (ideal) {
        association_ = {};
        association_.pose = stored;
        association_.camera = scene_->camera;
    } else {
        association_ = start_association(*scene_, markers_.markers().set(), stored);
    }
    return true;
}

bool AssociationController::refresh_settings() {
    try {
        take_settings(*scene_, vyn_db(), *viewer_.picture());
        return true;
    } catch (const GenericError& error) {
        QMessageBox::warning(&viewer_, tr("3-D markers"), worded(error.what()));
        return false;
    }
}

void AssociationController::begin() {
    if (!may_associate() || (!original_ && !read_scene()) || !refresh_settings()) {
        enable_actions();
        return viewer_.set_mode(MouseMode::probe);
    }
    if (!original_) original_ = Associated{markers_.markers().set(), association_};
    {
        const QSignalBlocker quiet(shown_);
        shown_->setChecked(true);
    }
    overlay_.set_shown(true);
    panel_->set_active(true);
    dock_->show();
    dock_->raise();
    viewer_.set_mode(MouseMode::associate);
    show();
}

void AssociationController::show_rings(bool shown) {
    if (shown && !scene_ && !read_scene()) {
        const QSignalBlocker quiet(shown_);
        shown_->setChecked(false);
        return;
    }
    overlay_.set_shown(shown);
    show();
    if (shown && !association_.pose)
        viewer_.statusBar()->showMessage(
            tr("The camera's place is not known yet: the rings lie as it might see them"));
}

void AssociationController::show() {
    if (scene_) show(association_, markers_.markers().set());
}

void AssociationController::show(const Association& association, const MarkerSet& dots) {
    overlay_.set_residuals(panel_->enlarged(), viewer_.view().fashion().palette);
    const bool raw = may_associate();
    overlay_.set_rows(association_rows(*scene_, association, raw ? dots : MarkerSet()));
    const bool enough = association.fit && association.fit->used >=
                                               static_cast<std::size_t>(scene_->options.min_pairs);
    panel_->show_rows(overlay_.rows(), raw ? words(association) : QString(), enough);
    viewer_.view().update();
}

QString AssociationController::words(const Association& association) const {
    if (!association.fit) {
        const QString why = QString::fromStdString(association.problem);
        return why.isEmpty() ? why : why.left(1).toUpper() + why.mid(1) + QLatin1Char('.');
    }
    const ViewResult& fit = *association.fit;
    QString text =
        tr("%1 markers, rms %2 px, left out one by one %3 px, largest %4 px at No %5.")
            .arg(fit.used)
            .arg(number_text(fit.rms), number_text(fit.leave_one_out_rms), number_text(fit.largest))
            .arg(fit.largest_at);
    if (fit.used < static_cast<std::size_t>(scene_->options.min_pairs))
        text += tr(" Resect 3-D needs %1.").arg(scene_->options.min_pairs);
    if (fit.other_rms && *fit.other_rms < 2 * fit.rms)
        text += tr(" Another pose explains this plane as well (%1 px): pose_choice takes it.")
                    .arg(number_text(*fit.other_rms));
    return text;
}

void AssociationController::pick_up(Point place) {
    if (!scene_ || !refresh_settings()) return;
    const double reach = pick_reach / viewer_.view().transform().zoom;
    const AssociationRow* best = nullptr;
    double nearest = reach;
    for (const AssociationRow& row : rows()) {
        const double distance = std::hypot(row.ring.x - place.x, row.ring.y - place.y);
        if (distance > nearest) continue;
        nearest = distance;
        best = &row;
    }
    if (!best) return viewer_.statusBar()->showMessage(tr("There is no ring here"));
    dragged_ = best->number;
    drag_offset_ = {best->ring.x - place.x, best->ring.y - place.y};
    target_.reset();
}

std::optional<std::size_t> AssociationController::dot_near(Point place) const {
    return markers_.markers().nearest(place, pick_reach / viewer_.view().transform().zoom);
}

void AssociationController::drag(Point place) {
    if (!dragged_) return;
    const auto target = dot_near(place);
    const MarkerSet& dots = markers_.markers().set();
    if (target != target_) {
        target_ = target;
        if (target) {
            const Associated then = associate(*scene_, association_, dots, *target, *dragged_);
            show(then.association, then.dots);
        } else {
            show();
        }
    }
    AssociationOverlay::Dragged ring{
        *dragged_, {place.x + drag_offset_.x, place.y + drag_offset_.y}, {}};
    if (target) ring.dot = Point{dots.markers[*target].x, dots.markers[*target].y};
    overlay_.set_dragged(ring);
    viewer_.view().update();
}

void AssociationController::drop(Point place) {
    if (!dragged_) return;
    const std::int32_t number = *dragged_;
    const auto dot = dot_near(place);
    let_go();
    if (!dot) return viewer_.statusBar()->showMessage(tr("There is no dot here"));
    perform(associate(*scene_, association_, markers_.markers().set(), *dot, number));
}

void AssociationController::let_go() {
    if (!dragged_) return;
    dragged_.reset();
    target_.reset();
    overlay_.set_dragged({});
    show();
}

void AssociationController::perform(Associated next) {
    Step step{association_, next.association, next.dots != markers_.markers().set(), {}};
    if (step.changes_markers) {
        own_change_ = true;
        const bool done =
            markers_.change([&](MarkerEdit& edit) { edit.replace(std::move(next.dots)); },
                            MarkerController::StepOf::another);
        own_change_ = false;
        if (!done) return;
    }
    association_ = std::move(next.association);
    const std::size_t bytes = bytes_of(step.before) + bytes_of(step.after);
    history_.push(std::move(step), bytes);
    show();
    Q_EMIT stepped();
}

void AssociationController::put(const Association& association) {
    association_ = association;
    show();
}

void AssociationController::undo() {
    const Step& step = history_.undo();
    if (step.project) restore(step.project->first);
    own_change_ = true;
    if (step.changes_markers) markers_.undo();
    own_change_ = false;
    put(step.before);
}

void AssociationController::redo() {
    const Step& step = history_.redo();
    if (step.project) restore(step.project->second);
    own_change_ = true;
    if (step.changes_markers) markers_.redo();
    own_change_ = false;
    put(step.after);
}

void AssociationController::pair_rest() {
    if (!scene_ || !refresh_settings()) return;
    if (!association_.pose)
        return viewer_.statusBar()->showMessage(tr("There is no pose yet to pair by"));
    perform(vyn::pair_rest(*scene_, association_, markers_.markers().set()));
}

void AssociationController::find() {
    if (!scene_ || !refresh_settings()) return;
    auto task = std::make_unique<FindAssociationTask>(scene_, markers_.markers().set());
    const auto found = task->found();
    auto job = std::make_shared<Job>();
    job->append(std::move(task));
    if (QBusyBox(viewer_.worker(), &viewer_).run(job) == TaskOutcome::done) perform(*found);
}

void AssociationController::accept() {
    if (!original_ || !association_.fit) return;
    const Project before = project();
    store_association(vyn_db(), association_);
    const bool others = renumber_others();
    Step step{association_, association_, false,
              std::make_shared<const std::pair<Project, Project>>(before, project())};
    history_.push(std::move(step), 2 * bytes_of(association_));
    Q_EMIT stepped();
    end(/*told=*/true);
    viewer_.statusBar()->showMessage(
        others ? tr("The pose is the project's now, and pictures with markers of the same numbers "
                    "have the new ones, too: save the markers of all of them")
               : tr("The pose is the project's now; save the markers to keep their numbers"));
}

AssociationController::Project AssociationController::project() const {
    Project now;
    for (const KeyInfo& key : key_table())
        if (key.path.starts_with(std::string(keys::resection) + "p"))  // pose and pairing
            now.settings.emplace_back(key.path, vyn_db().value(key.path));
    for (const RawImage& raw : raw_images())
        if (const auto picture = get_images().find(raw.name);
            picture && raw.name != viewer_.image_name())
            now.markers.emplace_back(raw.name, picture->markers);
    return now;
}

void AssociationController::restore(const Project& project) {
    for (const auto& [path, value] : project.settings)
        if (value.empty())
            vyn_db().remove(path);
        else
            vyn_db().set_value(path, value, /*is_default=*/false);
    for (const auto& [name, markers] : project.markers) {
        const auto picture = get_images().find(name);
        if (!picture || picture->markers == markers) continue;
        image changed = *picture;
        changed.markers = markers;
        get_images().add(std::move(changed));
    }
}

bool AssociationController::renumber_others() {
    bool changed_one = false;
    for (const RawImage& raw : raw_images()) {
        const auto other = get_images().find(raw.name);
        if (!other || raw.name == viewer_.image_name()) continue;
        MarkerSet markers =
            renumbered_like(other->markers, original_->dots, markers_.markers().set());
        if (markers == other->markers) continue;
        image changed = *other;
        changed.markers = std::move(markers);
        get_images().add(std::move(changed));
        changed_one = true;
    }
    return changed_one;
}

void AssociationController::reject() {
    if (!original_) return;
    perform(*original_);
    end(/*told=*/false);
}

bool AssociationController::may_leave() {
    if (!original_ || !history_.can_undo()) return true;
    QMessageBox box(QMessageBox::Question, tr("3-D markers"),
                    association_.fit ? tr("The pose is not accepted.")
                                     : tr("The dots have numbers, but there is no pose yet."),
                    QMessageBox::Discard | QMessageBox::Cancel, &viewer_);
    box.setInformativeText(tr("Discard takes the numbers of the dots back, too."));
    box.setDefaultButton(QMessageBox::Cancel);
    if (association_.fit) box.addButton(QMessageBox::Apply)->setText(tr("&Accept"));
    switch (box.exec()) {
        case QMessageBox::Apply:
            accept();
            return true;
        case QMessageBox::Discard:
            reject();
            return true;
        default:
            return false;
    }
}

void AssociationController::end(bool told) {
    original_.reset();
    panel_->set_active(false);
    if (!told) shown_->setChecked(false);
    viewer_.set_mode(MouseMode::probe);
}

void AssociationController::centre_on(std::int32_t number) {
    const auto row = std::ranges::find(rows(), number, &AssociationRow::number);
    if (row == rows().end()) return;
    VynFieldView& view = viewer_.view();
    const Point place = row->dot ? row->dot_place : row->ring;
    ViewTransform moved = view.transform();
    moved.origin = QPointF(place.x, place.y) - QRectF(view.rect()).center() / moved.zoom;
    view.set_transform(moved);
    if (row->dot) markers_.set_current(row->dot);
}

void AssociationController::leave_out(std::int32_t number, bool out) {
    const auto row = std::ranges::find(rows(), number, &AssociationRow::number);
    if (row == rows().end() || !row->dot) return;
    const std::size_t dot = *row->dot;
    if (markers_.markers().at(dot).active == !out) return;
    markers_.change([dot](MarkerEdit& edit) { edit.toggle(dot); });
}

void AssociationController::preview_move(std::size_t dot, Point place) {
    if (!scene_ || !may_associate() || !association_.pose) return;
    MarkerSet moved = markers_.markers().set();
    moved.markers[dot].x = place.x;
    moved.markers[dot].y = place.y;
    show(refit(*scene_, association_, moved), moved);
}

}  // namespace vyn
