#include "render/model/model_picture.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <optional>
#include <utility>

#include "render/model/model_lines.h"
#include "render/overlays.h"
#include "render/picture_frame.h"

namespace vyn {

namespace {

constexpr int fineness = 2;  // drawn finer by this and averaged
constexpr Canvas::Colour ink{};

/// What lies over the painted model, places in pixels of the field.
struct Drawing {
    PictureFrame frame;
    RgbPicture pixels;
    colour_map colours;
    IsoDrawing iso;
    std::vector<Stroke> lines;
    std::vector<std::pair<Marker, Point>> markers;

    void draw(Canvas& canvas) const {
        canvas.picture(pixels, frame.field_x(), frame.field_y());
        const Figure on_field{frame.field_width(), frame.field_height(), [&](Canvas& field) {
                                  draw_iso_lines(iso, colours, frame.letters(), field);
                                  field.stroke(lines, std::max(0.16 * frame.letters(), 1.5), ink);
                                  for (const auto& [marker, place] : markers)
                                      draw_marker(marker, place, frame.letters(), field);
                              }};
        canvas.place(on_field, frame.field_x(), frame.field_y(), /*scale=*/1);
        frame.draw(canvas);
    }
};

/// From the first pixel's corner on.
std::optional<Point> on_field(const ModelView& view, const Vec3& place) {
    const auto pixel = pixel_of(view, place);
    if (!pixel) return std::nullopt;
    return Point{(*pixel)[0] + 0.5, (*pixel)[1] + 0.5};
}

std::vector<Stroke> strokes_of(const ModelView& view, const std::vector<std::vector<Vec3>>& lines) {
    std::vector<Stroke> strokes;
    for (const auto& line : lines) {
        Stroke stroke;
        for (const Vec3& place : line)
            if (const auto at = on_field(view, place)) stroke.push_back(*at);
        if (stroke.size() > 1) strokes.push_back(std::move(stroke));
    }
    return strokes;
}

IsoDrawing iso_drawing(std::vector<IsoLine> lines, const FrameOptions& options,
                       const PictureFrame& frame) {
    for (IsoLine& line : lines)
        for (Point& place : line.places)
            place = {(place.x + 0.5) / fineness, (place.y + 0.5) / fineness};
    if (!options.iso_labels) return {std::move(lines), {}};
    return number_iso_lines(std::move(lines), frame.letters(), frame.field_width(),
                            frame.field_height());
}

}  // namespace

Figure model_figure(const field_data<double>& mesh, const Surface& surface,
                    const VertexNormals& normals, const ModelView& view, ModelLook look,
                    const FrameOptions& options, const ModelOverlays& overlays,
                    Progress& progress) {
    const PictureFrame frame(view.width, view.height, options);
    const ModelView fine = resized(view, fineness * view.width, fineness * view.height);
    look.colours = colour_map(options.limits.minimum, options.limits.maximum, options.palette);
    VisibleFaces faces;
    faces.draw(mesh, surface, fine, look.hidden_zones, progress);
    Bitmap<std::uint32_t> pixels(fine.width, fine.height);
    paint_model(mesh, surface, normals, faces, look, {pixels.row(0), pixels.stride()}, progress);
    const auto drawing = std::make_shared<Drawing>(
        Drawing{frame, paper(view.width, view.height), look.colours, {}, {}, {}});
    average_pixels({pixels.row(0), pixels.stride()}, fineness, view.width, view.height, /*to_y=*/0,
                   drawing->pixels);
    if (look.quantity)
        drawing->iso =
            iso_drawing(model_iso_lines(mesh, surface, faces, *look.quantity, options.iso_levels),
                        options, frame);
    drawing->lines = strokes_of(view, overlays.lines);
    for (const Marker& marker : overlays.markers) {
        const Vec3 place{marker.x, marker.y, marker.z};
        const auto at = on_field(view, place);
        if (at && !is_hidden(faces, place, hidden_lift * surface.diagonal))
            drawing->markers.emplace_back(marker, *at);
    }
    return {frame.width(), frame.height(), [drawing](Canvas& canvas) { drawing->draw(canvas); }};
}

Limits robust_limits(const field_data<double>::Quantity& quantity) {
    std::vector<double> values;
    std::ranges::copy_if(quantity.values, std::back_inserter(values),
                         [](double value) { return std::isfinite(value); });
    if (values.empty()) return {};
    const auto at = [&](double share) {
        const auto rank = std::lround(share * static_cast<double>(values.size() - 1));
        std::nth_element(values.begin(), values.begin() + rank, values.end());
        return values[static_cast<std::size_t>(rank)];
    };
    return with_room({at(0.005), at(0.995)});
}

}  // namespace vyn
