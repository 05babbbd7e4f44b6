#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>

namespace vyn::plugins {

/// What microscopy programs tell of the pages of a TIFF file in its description.
struct StackDescription {
    std::int64_t images = 1;  ///< stored behind the first page's, without pages of their own
    std::int64_t channels = 1;
    std::int64_t slices = 1;  ///< heights, or whatever the third axis is
    double offset = 0;        ///< value = offset + gain * stored
    double gain = 1;
    std::string unit = {};

    bool calibrated() const { return offset != 0 || gain != 1; }
};

/// Of ImageJ's words and of OME-XML; that of one picture for other texts. Raises FileError for a
/// calibration that is no straight line.
StackDescription stack_description(const std::filesystem::path& file, std::string_view text);

}  // namespace vyn::plugins
