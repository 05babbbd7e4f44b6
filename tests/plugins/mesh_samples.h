#pragma once

#include <bit>
#include <initializer_list>
#include <string>
#include <vector>

#include "tests/support/meshes.h"

namespace vyn::test {

/// A way to store a Plot3D grid, written byte by byte.
struct Plot3dSample {
    std::endian order = std::endian::little;
    bool records = false;
    bool many = false;
    bool doubles = false;
    bool blanking = false;
    bool flat = false;  ///< two coordinates
};

/// A grid of 4 x 3 (and one of 7 x 5) whose vertex (i, j) is at (i + 0.5, 10 j + 0.25, ...); vertex
/// 2 is blanked.
std::string plot3d_bytes(const Plot3dSample& sample);
std::string plot3d_numbers(std::initializer_list<int> numbers, std::endian order);

/// The same quadrangle with values at points (p) and cell (q) in every encoding of VTK's XML files,
/// as VTK's own writers made them.
std::vector<std::pair<std::string, std::string>> vtk_xml_samples();

}  // namespace vyn::test
