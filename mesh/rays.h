#pragma once

#include <memory>
#include <span>
#include <vector>

#include "mesh/surface.h"

namespace vyn {

/// From a vertex (its lifted place) to where it may be seen from.
struct SightLine {
    Vec3 from{};
    Vec3 to{};
    int place = -1;  ///< faces that touch this place do not hide it
};

/// The faces of a mesh, for the question what hides what. Answers are the same for any number of
/// threads that ask; `hidden` may be called from several at a time.
class RayScene {
  public:
    /// Keeps what it needs of both. Coordinates are taken about the mesh's middle before they
    /// become 32-bit. Raises AlgoError when the scene cannot be built; throws Aborted.
    RayScene(const field_data<double>& mesh, const Surface& surface, Progress& progress);
    ~RayScene();
    RayScene(const RayScene&) = delete;
    RayScene& operator=(const RayScene&) = delete;

    /// 1 for each line that a face lies across, else 0.
    void hidden(std::span<const SightLine> lines, std::span<std::uint8_t> answers) const;

  private:
    struct Scene;
    std::unique_ptr<Scene> scene_;
};

}  // namespace vyn
