#pragma once

#include <filesystem>
#include <memory>

#include "mesh/prepared_mesh.h"

namespace vyn {

/// The last mesh is kept, because the points of a run share it. Both may be called from several
/// threads.

/// The mesh of a file; the kept one while name, size and time stamp of the file are the same.
/// Raises FileError, Aborted.
field_data<double> read_mesh_once(const std::filesystem::path& file, Progress& progress);

/// A mesh made ready for projecting; the kept one while the geometry is the same. Raises AlgoError
/// for a mesh without triangles, Aborted.
std::shared_ptr<const PreparedMesh> prepare_once(const field_data<double>& mesh,
                                                 Progress& progress);

}  // namespace vyn
