#pragma once

#include <cstdint>
#include <functional>
#include <string>

namespace vyn::plugins {

/// Hands out bytes of a file from an offset on; false when there are not as many.
using BytesAt = std::function<bool(std::uint64_t offset, char* bytes, std::size_t count)>;

/// What in the headers would stop the library, which looks at a compressed picture's settings as
/// soon as it comes to its header: a block or tile of no pixels ends in a division by zero. Empty
/// when there is nothing. Headers that make no sense are left to the library.
std::string fault_of_headers(const BytesAt& file);

}  // namespace vyn::plugins
