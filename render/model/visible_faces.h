#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "api/bitmap.h"
#include "core/progress.h"
#include "render/model/model_view.h"

namespace vyn {

/// A vertex as the drawing needs it.
struct ViewVertex {
    float x = 0;  ///< pixel times w
    float y = 0;
    float w = 0;         ///< depth with perspective, else 1
    float nearness = 0;  ///< linear in the picture, larger is nearer: 1 / depth, or -depth
};

/// Where that is in the picture, in 256ths of a pixel. Apart from the vertex: most faces of a fine
/// mesh show no pixel, and this alone tells it.
struct PixelPlace {
    std::int32_t column = 0;  ///< `off` where a face must be cut first
    std::int32_t row = 0;

    static constexpr std::int32_t off = INT32_MIN;
};

/// Where in a face a pixel's line of sight meets it: shares of its corners, their sum 1.
using FaceShares = std::array<double, 3>;

/// Which face of a mesh each pixel shows. Memory is kept from picture to picture. Splits by bands
/// of rows and goes through the faces in their order: the same bits for any number of threads.
class VisibleFaces {
  public:
    static constexpr std::int32_t nothing = -1;

    /// Faces of `hidden` zones (1 by zone; may be empty), of blanked vertices and degenerate ones
    /// are left out. Both sides of faces are shown. Raises Aborted when told to stop.
    void draw(const field_data<double>& mesh, const Surface& surface, const ModelView& view,
              std::span<const std::uint8_t> hidden_zones, Progress& progress);

    const ModelView& view() const { return view_; }
    std::int32_t face(int x, int y) const { return face_(x, y); }
    /// Depth along the line of sight in the mesh's unit; where there is a face.
    double depth(int x, int y) const {
        const double near = nearness_(x, y);
        return view_.kind == ModelView::Kind::perspective ? 1 / near : -near;
    }
    FaceShares shares(const Surface& surface, std::size_t face, double x, double y) const;
    const ViewVertex& vertex(std::size_t number) const { return vertices_[number]; }
    /// Behind the eye or far outside the picture.
    bool is_off(std::size_t vertex) const { return places_[vertex].column == PixelPlace::off; }

    struct Corner {
        ViewVertex vertex;
        PixelPlace at;
    };

  private:
    /// Faces by band of rows, from one chunk of the mesh; in order.
    using Bins = std::vector<std::vector<std::int32_t>>;

    void place_vertices(const field_data<double>& mesh, Progress& progress);
    void sort_chunk(const Surface& surface, std::size_t begin, std::size_t end, Bins& bins) const;
    void draw_band(const Surface& surface, int band);
    std::array<Corner, 3> corners_of(const std::array<int, 3>& triangle) const;
    void draw_face(const std::array<Corner, 3>& corners, std::int32_t number, int y0, int y1);

    ModelView view_;
    double near_plane_ = 0;
    std::vector<ViewVertex> vertices_;
    std::vector<PixelPlace> places_;      ///< of the vertices
    std::vector<std::uint8_t> left_out_;  ///< by face
    std::vector<Bins> chunks_;
    Bitmap<std::int32_t> face_;
    Bitmap<float> nearness_;
};

}  // namespace vyn
