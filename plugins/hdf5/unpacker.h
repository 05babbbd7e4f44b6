#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace vyn::plugins {

/// What the program `hdf5_unpacker` is asked, by its arguments, and answers, on its output: a line
/// of JSON, then the pixels of all frames, row by row, in the machine's byte order. The library
/// that reads HDF5 (1.10) fails in some damaged files; it does so in a process of its own, within
/// limits.
struct UnpackerQuestion {
    std::string file;
    std::string data_set;             ///< empty: the one that the file wants shown
    std::uint64_t memory_limit = 0;   ///< bytes
    std::uint64_t seconds_limit = 0;  ///< of computing

    std::vector<std::string> arguments() const {
        return {file, data_set, std::to_string(memory_limit), std::to_string(seconds_limit)};
    }
};

/// The line's members: either "refused" with the reason, or "frames", "height", "width", "type"
/// ("u16", see pixel_type), "unit" and "description" (see take_description).
namespace unpacker_answer {
inline constexpr const char* refused = "refused";
inline constexpr const char* frames = "frames";
inline constexpr const char* height = "height";
inline constexpr const char* width = "width";
inline constexpr const char* type = "type";
inline constexpr const char* unit = "unit";
inline constexpr const char* description = "description";
}  // namespace unpacker_answer

/// Where the writer puts what an image came from.
inline constexpr const char* description_group = "description";
inline constexpr const char* description_path = "/entry/description/data";

}  // namespace vyn::plugins
