#pragma once

#include <cstdint>
#include <string>

#include "api/bitmap.h"
#include "api/image.h"

namespace vyn {

/// Displacement of one grid node, pixels.
struct DisplacementVector {
    float u = 0;
    float v = 0;
    bool operator==(const DisplacementVector&) const = default;
};

/// What stands in the intensity column of a map file.
enum class MapIntensity {
    none,   ///< no such column
    mean,   ///< mean of image1 over the node's cell
    ratio,  ///< mean of image2 over mean of image1; without image2 the mean of image1
};

/// Displacements measured on a regular grid, to be written for a plotting package: node (c, r)
/// stands for image pixel (c * step, r * step). Row 0 and column 0 of the grid are not written.
///
/// The cell of a node reaches from step / 2 (whole pixels) before it to step / 2 - 1 behind it.
class DisplacementMap {
  public:
    std::string name;  ///< title of the zone
    std::int32_t step = 1;
    Bitmap<DisplacementVector> field;
    Bitmap<std::uint8_t> mask;      ///< 0 = valid node
    const image* image1 = nullptr;  ///< whose cells are averaged; may be null
    const image* image2 = nullptr;

    /// Writes a point-ordered Tecplot ASCII file of one zone, replacing an old file atomically. A
    /// file name that contains ".imp" gets a field file instead: the length of the vectors with
    /// the mask, and the vectors themselves as its displacement; step at least 1. Raises DimError
    /// when field and mask differ in size, AlgoError when an image to be averaged has no values or
    /// no mask, FileError "Error writing file".
    void write_map(const std::string& fileName, MapIntensity intensity) const;

    /// Writes one further zone, without header, at the end of a file, which is made when missing.
    /// When that fails the file keeps its old content. Raises the same.
    void append_map(const std::string& fileName, MapIntensity intensity) const;

  private:
    std::string zone(MapIntensity intensity) const;
    std::string node_line(int column, int row, MapIntensity intensity) const;
    std::string intensity_text(int column, int row, MapIntensity intensity) const;
    void write_field_file(const std::string& file_name) const;
};

}  // namespace vyn
