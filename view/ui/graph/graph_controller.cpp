#include "view/ui/graph/graph_controller.h"

#include <cmath>

#include "render/line_profile.h"
#include "view/ui/canvas/field_view.h"
#include "view/ui/canvas/picture_window.h"
#include "view/ui/graph/graph_window.h"

namespace vyn {

namespace {

/// Colours that stay apart for most eyes (Okabe & Ito 2008).
const QColor line_colours[] = {QColor(0, 114, 178),   QColor(213, 94, 0),  QColor(0, 158, 115),
                               QColor(204, 121, 167), QColor(230, 159, 0), QColor(86, 180, 233)};

}  // namespace

GraphController::GraphController(PictureWindow& viewer)
    : QObject(&viewer), viewer_(viewer), tool_(viewer.view()) {
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
    if (!window_) {
        window_ = new GraphWindow(&viewer_);
        connect(window_, &GraphWindow::line_removed, this, &GraphController::remove_line);
        connect(window_, &GraphWindow::lines_cleared, this, &GraphController::clear);
        connect(window_, &GraphWindow::width_chosen, this, &GraphController::set_width);
        connect(window_, &GraphWindow::pointed, this, &GraphController::point_at);
    }
    sample();
    window_->show();
    viewer_.view().update();
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
    const auto picture = viewer_.picture();
    const auto total = viewer_.beside("_sigma");
    const auto common = viewer_.beside("_sigma_common");
    const auto area = viewer_.beside("_sigma_area");
    if (picture)
        for (const GraphLine& line : overlay_.lines) {
            LineProfile profile = sample_profile(*picture, line.from, line.to, overlay_.width);
            if (total && common && area)
                add_sigmas(profile, {*total, *common, *area}, overlay_.width);
            curves.push_back({std::move(profile), line.colour});
        }
    window_->show_curves(std::move(curves), viewer_.windowTitle(), viewer_.quantity());
    point_at(std::nan(""));
}

}  // namespace vyn
