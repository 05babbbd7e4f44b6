#pragma once

#include <array>
#include <bit>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace vyn::plugins {

/// One way to read a Plot3D grid file; the file says nothing of it itself.
struct Plot3dLayout {
    bool text = false;
    std::endian order = std::endian::little;
    bool records = false;   ///< Fortran record marks around header and grids
    bool many = false;      ///< a count of grids first
    int real_bytes = 4;     ///< of a coordinate
    bool blanking = false;  ///< IBLANK after the coordinates
    int dimensions = 3;     ///< coordinates of a point
    std::vector<std::array<std::int64_t, 3>> grids;  ///< ni, nj, nk
    std::size_t data = 0;  ///< where the first grid's coordinates, or its record, begin

    /// "little-endian, record marks, 2 grids, 8-byte, IBLANK, 3-D".
    std::string words() const;
};

/// Every layout whose length is the file's to the byte (or, of a text, to the word) and by which
/// the file's numbers make sense: coordinates of sane size, whole numbers in IBLANK, equal record
/// marks. From the file's whole content.
std::vector<Plot3dLayout> plot3d_layouts(std::string_view bytes);

/// True when a file that begins so, of that length, may be a grid in binary.
bool may_be_plot3d(std::string_view head, std::uint64_t length);

}  // namespace vyn::plugins
