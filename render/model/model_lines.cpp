#include "render/model/model_lines.h"

#include <array>
#include <cmath>
#include <limits>

#include "api/parallel.h"
#include "render/model/model_painter.h"

namespace vyn {

namespace {

constexpr int band_rows = 16;
constexpr float unknown = std::numeric_limits<float>::quiet_NaN();

bool behind_a_neighbour(const VisibleFaces& faces, int x, int y, double jump) {
    constexpr std::array<std::array<int, 2>, 4> beside{{{-1, 0}, {1, 0}, {0, -1}, {0, 1}}};
    const ModelView& view = faces.view();
    for (const auto& step : beside) {
        const int i = x + step[0];
        const int j = y + step[1];
        if (i >= 0 && j >= 0 && i < view.width && j < view.height &&
            faces.face(i, j) != VisibleFaces::nothing &&
            faces.depth(i, j) < faces.depth(x, y) - jump)
            return true;
    }
    return false;
}

}  // namespace

std::vector<IsoLine> model_iso_lines(const field_data<double>& mesh, const Surface& surface,
                                     const VisibleFaces& faces,
                                     const field_data<double>::Quantity& quantity,
                                     std::span<const double> levels) {
    if (levels.empty()) return {};
    const ModelView& view = faces.view();
    const double jump = hidden_lift * surface.diagonal;
    Bitmap<float> grid(view.width, view.height, unknown);
    Progress quiet;
    parallel_rows(view.height, band_rows, quiet, [&](int y0, int y1) {
        for (int y = y0; y < y1; ++y)
            for (int x = 0; x < view.width; ++x) {
                const std::int32_t number = faces.face(x, y);
                if (number == VisibleFaces::nothing || behind_a_neighbour(faces, x, y, jump))
                    continue;
                const auto face = static_cast<std::size_t>(number);
                grid(x, y) = static_cast<float>(value_on_face(mesh, surface, quantity, face,
                                                              faces.shares(surface, face, x, y)));
            }
    });
    return trace_iso_lines(grid, levels);
}

bool is_hidden(const VisibleFaces& faces, const Vec3& place, double lift) {
    const ModelView& view = faces.view();
    const auto pixel = pixel_of(view, place);
    if (!pixel) return false;
    const int x = static_cast<int>(std::lround((*pixel)[0]));
    const int y = static_cast<int>(std::lround((*pixel)[1]));
    return x >= 0 && y >= 0 && x < view.width && y < view.height &&
           faces.face(x, y) != VisibleFaces::nothing &&
           faces.depth(x, y) < view.in_view(place)[2] - lift;
}

}  // namespace vyn
