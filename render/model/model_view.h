#pragma once

#include <array>
#include <optional>

#include "mesh/surface.h"

namespace vyn {

/// From where and how large a model is looked at: X = rotation * X_model + shift with X to the
/// right, Y down and Z away from the eye, in the mesh's unit; then the pixel (centres at whole
/// coordinates) is (fx X / Z + cx, fy Y / Z + cy), or without perspective (fx X + cx, fy Y + cy).
struct ModelView {
    enum class Kind { parallel, perspective };

    Kind kind = Kind::parallel;
    std::array<Vec3, 3> rotation{{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}};  ///< row by row
    Vec3 shift{};
    double fx = 1;
    double fy = 1;
    double cx = 0;
    double cy = 0;
    int width = 0;  ///< of the picture, pixels
    int height = 0;

    Vec3 in_view(const Vec3& place) const {
        return {dot(rotation[0], place) + shift[0], dot(rotation[1], place) + shift[1],
                dot(rotation[2], place) + shift[2]};
    }
};

/// The model from afar, the whole mesh in the middle of the picture with a margin of 5 %. Azimuth 0
/// looks downstream (along x) at the nose, 90 at starboard (y); elevation 90 from above (z);
/// degrees.
ModelView view_from(double azimuth, double elevation, const field_data<double>& mesh, int width,
                    int height);

/// What a camera of the mesh's views sees, in pixels of its corrected picture `zoom` times as
/// large: it covers the field exactly, but for what a lens refined since then moves.
ModelView view_of_camera(const field_data<double>::View& camera, double mm_per_unit, double zoom);

/// The model turned: about its own z axis by `around`, then about the picture's horizontal by
/// `over`, degrees; the point of the model at `pivot` stays where it is seen.
ModelView turned(ModelView view, const Vec3& pivot, double around, double over);
/// The picture moved by pixels, or `factor` times as large about a pixel.
ModelView panned(ModelView view, double dx, double dy);
ModelView zoomed(ModelView view, double factor, double x, double y);
/// The same in a picture of another size: its middle stays, and it shows as much of the model.
ModelView resized(ModelView view, int width, int height);

/// The pixel of a place of the model; nothing behind the eye.
std::optional<std::array<double, 2>> pixel_of(const ModelView& view, const Vec3& place);

}  // namespace vyn
