#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "mesh/normals.h"
#include "render/colour_map.h"
#include "render/model/visible_faces.h"
#include "render/render.h"

namespace vyn {

/// How a model is painted.
struct ModelLook {
    colour_map colours;
    /// What is shown, of the mesh drawn; nothing or NaN is `unseen`.
    const field_data<double>::Quantity* quantity = nullptr;
    bool light = true;   ///< from the eye's upper left; without it colours are those of the palette
    bool edges = false;  ///< of the file's cells, where they are more than some pixels large
    bool silhouettes = true;  ///< dark outlines
    /// By face the number of the patch that it is painted for, from 1; 0 or empty: none.
    std::span<const std::uint8_t> patches;
    std::span<const std::uint8_t> hidden_zones;  ///< 1 by zone, for whole pictures; may be empty
    std::uint32_t unseen = 0xFFB8B8B8;
    std::uint32_t background = 0xFFFFFFFF;
};

/// What the line of sight through a pixel meets.
struct ModelProbe {
    std::size_t face = 0;
    std::size_t vertex = 0;  ///< of the face's corners the nearest
    std::size_t zone = 0;
    Vec3 place{};
    double value = 0;  ///< linear between nodes, or the cell's; NaN = not seen
};

/// The colour that faces of a patch, from 1, are tinted with, as 0xAARRGGBB.
std::uint32_t patch_colour(std::uint8_t patch);

/// A value at a place of a face; NaN where one of its nodes was not seen.
double value_on_face(const field_data<double>& mesh, const Surface& surface,
                     const field_data<double>::Quantity& quantity, std::size_t face,
                     const FaceShares& shares);

/// Colours every pixel of the view that `faces` was drawn with. Values are linear between nodes.
/// The same bits for any number of threads. Raises Aborted when told to stop.
void paint_model(const field_data<double>& mesh, const Surface& surface,
                 const VertexNormals& normals, const VisibleFaces& faces, const ModelLook& look,
                 PixelBuffer out, Progress& progress);

/// What is under a pixel; nothing beside the model.
std::optional<ModelProbe> probe_model(const field_data<double>& mesh, const Surface& surface,
                                      const VisibleFaces& faces,
                                      const field_data<double>::Quantity* quantity, int x, int y);

}  // namespace vyn
