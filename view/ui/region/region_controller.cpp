#include "view/ui/region/region_controller.h"

#include <QAction>
#include <QComboBox>
#include <QLabel>
#include <QMenuBar>
#include <QMessageBox>
#include <QSpinBox>
#include <QStatusBar>
#include <QToolBar>
#include <algorithm>
#include <utility>

#include "core/ui/busy_box.h"
#include "core/ui/icons.h"
#include "core/ui/wording.h"
#include "process/point/marker_frames.h"
#include "process/point/mask_file_task.h"
#include "view/ui/canvas/field_view.h"
#include "view/ui/canvas/picture_window.h"
#include "view/ui/canvas/range_overlay.h"
#include "view/ui/canvas/scoped_overlay.h"
#include "view/ui/look/threshold_dialog.h"
#include "view/ui/region/mask_file_dialog.h"

namespace vyn {

namespace {

constexpr int widest_brush = 1000;

}  // namespace

RegionController::RegionController(PictureWindow& viewer)
    : EditController(&viewer),
      viewer_(viewer),
      tool_(
          [this](RegionShape shape, const std::vector<Point>& places) {
              if (!viewer_.picture()) return;
              if (draws_lamp_monitor())
                  draw_lamp_monitor(shape, places);
              else
                  draw(static_cast<RegionAction>(action_->currentData().toInt()),
                       flags_of(runs_of(shape, places)));
          },
          [this] { viewer_.view().update(); }),
      monitor_([this] { return lamp_monitor_in(vyn_db(), viewer_.image_name()); }),
      plane_(new QComboBox),
      action_(new QComboBox),
      radius_(new QSpinBox) {
    make_bar();
    viewer_.view().add_overlay(&monitor_);
}

RegionController::~RegionController() = default;

void RegionController::make_bar() {
    plane_->setObjectName(QStringLiteral("region plane"));
    plane_->setToolTip(tr("What is drawn into"));
    plane_->addItem(tr("Exclusion mask"), static_cast<int>(RegionPlane::excluded));
    plane_->addItem(tr("Region of interest"), static_cast<int>(RegionPlane::region));
    plane_->addItem(tr("Lamp monitor"));
    action_->setObjectName(QStringLiteral("region action"));
    action_->setToolTip(tr("What becomes of the pixels drawn"));
    action_->addItem(tr("Add"), static_cast<int>(RegionAction::add));
    action_->addItem(tr("Remove"), static_cast<int>(RegionAction::remove));
    action_->addItem(tr("Only these"), static_cast<int>(RegionAction::only));
    radius_->setObjectName(QStringLiteral("brush radius"));
    radius_->setToolTip(tr("Radius of the brush"));
    radius_->setRange(0, widest_brush);
    radius_->setSuffix(tr(" pix"));
    radius_->setValue(static_cast<int>(tool_.brush_radius()));
    connect(radius_, QOverload<int>::of(&QSpinBox::valueChanged), this, [this](int radius) {
        tool_.set_brush_radius(radius);
        viewer_.view().update();
    });

    viewer_.addToolBarBreak();
    QToolBar* bar = viewer_.addToolBar(tr("Region Operations"));
    bar->setObjectName(QStringLiteral("region tools"));
    QMenu* menu = viewer_.menuBar()->addMenu(tr("&Region"));
    bar->addWidget(plane_);
    bar->addWidget(action_);
    const auto add_action = [&](const char* name, const char* icon, const QString& text,
                                const QString& tip) {
        auto* action = new QAction(vyn_icon(QLatin1String(icon)), text, this);
        action->setObjectName(QLatin1String(name));
        action->setToolTip(tip);
        bar->addAction(action);
        menu->addAction(action);
        return action;
    };
    const auto add_shape = [&](RegionShape shape, const char* name, const char* icon,
                               const QString& text, const QString& tip) {
        QAction* action = add_action(name, icon, text, tip);
        action->setCheckable(true);
        viewer_.add_mode(action);
        connect(action, &QAction::triggered, this, [this, shape] { choose_shape(shape); });
    };
    add_shape(RegionShape::rectangle, "region_rectangle", "region_rect", tr("&Rectangle"),
              tr("Draw a rectangle"));
    add_shape(RegionShape::ellipse, "region_ellipse", "region_ellipse", tr("&Ellipse"),
              tr("Draw an ellipse into a rectangle"));
    add_shape(RegionShape::polygon, "region_polygon", "region_polygon", tr("&Polygon"),
              tr("Draw a polygon: a click for each corner, a double click for the last one"));
    add_shape(RegionShape::brush, "region_brush", "region_brush", tr("&Brush"),
              tr("Draw with a round brush"));
    bar->addWidget(radius_);
    connect(add_action("region_threshold", "region_threshold", tr("&Threshold..."),
                       tr("Draw every pixel of a range of values")),
            &QAction::triggered, this, &RegionController::threshold);
    connect(add_action("region_invert", "region_invert", tr("&Invert"),
                       tr("Every pixel changes sides")),
            &QAction::triggered, this, &RegionController::invert);
    menu->addSeparator();
    auto* save = menu->addAction(vyn_icon(QStringLiteral("filesave.png")), tr("&Save Mask..."));
    save->setObjectName(QStringLiteral("save_mask"));
    save->setToolTip(tr("Save the exclusion mask as the image's mask file"));
    connect(save, &QAction::triggered, this, &RegionController::save_mask);
}

void RegionController::picture_changed() {
    const auto picture = viewer_.picture();
    if (!edit_ || (picture && edit_->take(*picture))) return;
    edit_.reset();
    saved_state_ = 0;
    Q_EMIT state_changed();
}

void RegionController::choose_plane(RegionPlane plane) {
    plane_->setCurrentIndex(plane_->findData(static_cast<int>(plane)));
}

void RegionController::choose_action(RegionAction action) {
    action_->setCurrentIndex(action_->findData(static_cast<int>(action)));
}

void RegionController::choose_shape(RegionShape shape) {
    tool_.set_shape(shape);
    viewer_.set_mode(MouseMode::region);
}

PixelRuns RegionController::runs_of(RegionShape shape, const std::vector<Point>& places) const {
    const auto picture = viewer_.picture();
    const PictureSize size{picture->width(), picture->height()};
    switch (shape) {
        case RegionShape::rectangle:
            return rectangle_runs(size, places.front(), places.back());
        case RegionShape::ellipse:
            return ellipse_runs(size, places.front(), places.back());
        case RegionShape::polygon:
            return polygon_runs(size, places);
        case RegionShape::brush:
            return brush_runs(size, places, tool_.brush_radius());
    }
    return {};
}

void RegionController::draw(RegionAction action, const RowFlags& shape) {
    if (!viewer_.may_edit()) return;
    if (!edit_) edit_ = std::make_unique<RegionEdit>(*viewer_.picture());
    const auto plane = static_cast<RegionPlane>(plane_->currentData().toInt());
    if (!edit_->draw(plane, action, shape))
        return viewer_.statusBar()->showMessage(tr("No pixel changes"));
    publish();
    Q_EMIT stepped();
}

bool RegionController::draws_lamp_monitor() const {
    return !plane_->currentData().isValid();
}

bool RegionController::refuses_for_lamp_monitor() {
    if (draws_lamp_monitor())
        viewer_.statusBar()->showMessage(tr("The lamp monitor is drawn as a rectangle"));
    return draws_lamp_monitor();
}

void RegionController::draw_lamp_monitor(RegionShape shape, const std::vector<Point>& places) {
    const MonitorBox old = lamp_monitor(std::as_const(vyn_db()));
    if (shape != RegionShape::rectangle && refuses_for_lamp_monitor()) return;
    // A drag may end beyond the picture, which has no light to be taken there.
    const auto picture = viewer_.picture();
    const auto inside = [&](Point place) -> Point {
        return {std::clamp(place.x, 0.0, picture->width() - 1.0),
                std::clamp(place.y, 0.0, picture->height() - 1.0)};
    };
    if (!set_lamp_monitor(vyn_db(), viewer_.image_name(),
                          {inside(places.front()), inside(places.back())}))
        return viewer_.statusBar()->showMessage(
            tr("The lamp is watched in pictures of the signal channel"));
    const MonitorBox now = lamp_monitor(std::as_const(vyn_db()));
    viewer_.statusBar()->showMessage(tr("The lamp is taken from %1 x %2 pixels at (%3, %4)%5")
                                         .arg(now.width)
                                         .arg(now.height)
                                         .arg(now.x)
                                         .arg(now.y)
                                         .arg(now == old ? tr(", as before") : QString()));
    viewer_.view().update();
}

void RegionController::publish() {
    viewer_.replace_picture(edit_->picture());
    Q_EMIT state_changed();
}

void RegionController::undo() {
    if (!edit_) return;
    edit_->undo();
    publish();
}

void RegionController::redo() {
    if (!edit_) return;
    edit_->redo();
    publish();
}

void RegionController::invert() {
    const auto picture = viewer_.picture();
    if (!picture || refuses_for_lamp_monitor()) return;
    const PictureSize size{picture->width(), picture->height()};
    draw(RegionAction::invert,
         flags_of(rectangle_runs(size, {0, 0}, {double(size.width), double(size.height)})));
}

void RegionController::threshold() {
    if (!viewer_.picture() || refuses_for_lamp_monitor()) return;
    ThresholdDialog dialog(viewer_.view().fashion().limits, &viewer_);
    dialog.set_picture(viewer_.picture());
    RangeOverlay preview(viewer_.picture());
    const auto show_range = [&] {
        preview.set_range(dialog.low(), dialog.high());
        viewer_.view().update();
    };
    connect(&dialog, &ThresholdDialog::range_changed, this, show_range);
    {
        const ScopedOverlay shown(viewer_.view(), preview);
        show_range();
        if (dialog.exec() != QDialog::Accepted) return;
    }
    // Another one may be shown by now.
    const auto picture = viewer_.picture();
    if (!picture) return;
    draw(static_cast<RegionAction>(action_->currentData().toInt()),
         threshold_flags(*picture, dialog.low(), dialog.high()));
}

void RegionController::save_mask() {
    const auto picture = viewer_.picture();
    if (!picture) return;
    const bool in_project = get_images().find(picture->name) == picture;
    const CameraOrigin origin = in_project ? camera_origin(picture->name) : CameraOrigin{};
    const RawImage* raw = origin.corrected ? nullptr : origin.raw;
    const QString file = ask_mask_file_to_save(&viewer_, *picture, raw);
    if (file.isEmpty()) return;
    auto job = std::make_shared<Job>();
    job->append(
        std::make_unique<SaveMaskTask>(program_session(), picture, file.toStdString(), raw));
    QBusyBox box(viewer_.worker(), &viewer_);
    if (box.run(job) != TaskOutcome::done) {
        if (!box.failure().empty())
            QMessageBox::warning(&viewer_, tr("Save Mask"), worded(box.failure()));
        return;
    }
    if (edit_) saved_state_ = edit_->state();
    viewer_.statusBar()->showMessage(tr("The mask is saved into %1").arg(file));
    Q_EMIT state_changed();
}

}  // namespace vyn
