#include "view/ui/graph/graph_controller.h"

#include <cmath>

#include "render/line_profile.h"
#include "view/ui/canvas/field_view.h"
#include "view/ui/canvas/picture_window.h"
#include "view/ui/graph/graph_window.h"
#include "view/ui/window/open_windows.h"

namespace vyn {

namespace {

/// Colours that stay apart for most eyes (Okabe & Ito 2008).
const QColor line_colours[] = {QColor(0, 114, 178),   QColor(213, 94, 0),  QColor(0, 158, 115),
                               QColor(204, 121, 167), QColor(230, 159, 0), QColor(86, 180, 233)};

}  // namespace

GraphController::GraphController(PictureWindow& viewer)
    : QObject(&viewer),
      viewer_(viewer),
      tool_(viewer.view(), overlay_.lines,
            [this](std::size_t line, Point from, Point to) { move_line(line, from, to); }) {
    viewer.view().add_overlay(&overlay_);
}

GraphController::~GraphController() = default;

void GraphController::picture_changed() {
    if (window_) sample();
}

void GraphController::more_data(double x0, double y0, double x1, double y1) {
    if (!viewer_.picture()) return;
    overlay_.lines.push_back(
        {{x0, y0}, {x1, y1}, line_colours[colours_used_++ % std::size(line_colours)]});
    if (!window_) make_window();
    sample();
    window_->show();
    viewer_.view().update();
}

void GraphController::make_window() {
    window_ = new GraphWindow(&viewer_);
    connect(window_, &GraphWindow::line_moved, this, &GraphController::move_line);
    connect(window_, &GraphWindow::line_removed, this, &GraphController::remove_line);
    connect(window_, &GraphWindow::lines_cleared, this, &GraphController::clear);
    connect(window_, &GraphWindow::width_chosen, this, &GraphController::set_width);
    connect(window_, &GraphWindow::pointed, this, &GraphController::point_at);
    connect(window_, &GraphWindow::image_chosen, this, &GraphController::choose_other);
    OpenWindows& windows = OpenWindows::of_program();
    windows.add(*window_);
    connect(&windows, &OpenWindows::changed, this, &GraphController::follow_windows);
    follow_windows();
}

QList<PictureWindow*> GraphController::comparable() const {
    QList<PictureWindow*> found;
    const auto own = viewer_.picture();
    for (QWidget* window : OpenWindows::of_program().shown()) {
        auto* other = dynamic_cast<PictureWindow*>(window);
        if (!own || !other || other == &viewer_) continue;
        const auto picture = other->picture();
        if (picture && picture->values().same_size(own->values()) &&
            other->quantity() == viewer_.quantity())
            found.append(other);
    }
    return found;
}

void GraphController::follow_windows() {
    for (QWidget* window : OpenWindows::of_program().shown()) {
        auto* other = dynamic_cast<PictureWindow*>(window);
        if (!other || other == &viewer_) continue;
        connect(&other->view(), &VynFieldView::updated, this, &GraphController::picture_changed,
                Qt::UniqueConnection);
        connect(other, &QObject::destroyed, this, &GraphController::picture_changed,
                Qt::UniqueConnection);
    }
    sample();
}

void GraphController::choose_other(int index, bool used) {
    PictureWindow* const other = comparable().value(index);
    if (!other || other != offered_.value(index)) return;
    used_.removeAll(other);
    if (used) used_.append(other);
    sample();
}

void GraphController::move_line(std::size_t index, Point from, Point to) {
    overlay_.lines[index].from = from;
    overlay_.lines[index].to = to;
    sample();
}

void GraphController::remove_line(std::size_t index) {
    overlay_.lines.erase(overlay_.lines.begin() + static_cast<std::ptrdiff_t>(index));
    sample();
}

void GraphController::clear() {
    overlay_.lines.clear();
    colours_used_ = 0;
    sample();
}

void GraphController::set_width(int width) {
    overlay_.width = width;
    sample();
}

void GraphController::point_at(double distance) {
    overlay_.pointed.clear();
    for (const GraphLine& line : overlay_.lines) {
        const double length = std::hypot(line.to.x - line.from.x, line.to.y - line.from.y);
        if (!(distance >= 0 && distance <= length)) continue;
        const double part = distance / length;
        overlay_.pointed.push_back({line.from.x + part * (line.to.x - line.from.x),
                                    line.from.y + part * (line.to.y - line.from.y)});
    }
    viewer_.view().update();
}

void GraphController::sample() {
    std::vector<GraphCurve> curves;
    offered_ = comparable();
    std::vector<const PictureWindow*> sources;
    if (viewer_.picture()) sources.push_back(&viewer_);
    std::vector<GraphImage> images;
    for (PictureWindow* other : std::as_const(offered_)) {
        images.push_back({other->windowTitle().remove(QStringLiteral("[*]")),
                          used_.contains(QPointer<PictureWindow>(other))});
        if (images.back().used) sources.push_back(other);
    }
    for (std::size_t i = 0; i < overlay_.lines.size(); ++i)
        for (std::size_t k = 0; k < sources.size(); ++k) {
            const GraphLine& line = overlay_.lines[i];
            const PictureWindow& source = *sources[k];
            LineProfile profile =
                sample_profile(*source.picture(), line.from, line.to, overlay_.width);
            const auto total = source.beside("_sigma");
            const auto common = source.beside("_sigma_common");
            const auto area = source.beside("_sigma_area");
            if (total && common && area)
                add_sigmas(profile, {*total, *common, *area}, overlay_.width);
            QString name = sources.size() > 1 ? source.windowTitle() : QString();
            curves.push_back(
                {std::move(profile), line.colour, i, k, name.remove(QStringLiteral("[*]"))});
        }
    window_->show_images(images);
    window_->show_curves(std::move(curves), viewer_.windowTitle(), viewer_.quantity());
    point_at(std::nan(""));
}

}  // namespace vyn
