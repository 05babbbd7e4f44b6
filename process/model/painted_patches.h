#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "mesh/loads.h"

namespace vyn {

/// Patches that a user painted on a mesh. A face belongs to one of them at most.
struct PaintedPatches {
    static constexpr std::size_t most = 255;

    std::vector<std::string> names;
    /// By face the number of its patch, from 1; 0: none. May be empty where nothing is painted.
    std::vector<std::uint8_t> faces;

    bool operator==(const PaintedPatches&) const = default;
};

/// The faces of one patch, counted from 0.
FacePatch face_patch(const PaintedPatches& painted, std::size_t patch);

/// As a JSON object for a mesh of so many triangles: {"triangles": 12, "patches": [{"name": "flap",
/// "faces": "0-3,7"}]}, faces counted from 0.
std::string patches_text(const PaintedPatches& painted, std::size_t triangles);

/// From such a text; `where` stands before what is wrong. Raises FileError for another text, one of
/// a mesh with other triangles, and faces that the mesh lacks or that two patches hold.
PaintedPatches parse_patches(const std::string& text, std::size_t triangles,
                             const std::string& where);
PaintedPatches read_patches(const std::filesystem::path& file, std::size_t triangles);

}  // namespace vyn
