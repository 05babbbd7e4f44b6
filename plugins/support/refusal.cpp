#include "plugins/support/refusal.h"

#include "api/bitmap.h"
#include "core/errors.h"
#include "core/free_memory.h"

namespace vyn::plugins {

namespace {

std::string mebibytes(std::uint64_t bytes) {
    return std::to_string(bytes >> 20) + " MiB";
}

}  // namespace

void refuse(const std::filesystem::path& file, const std::string& reason, ErrorPlace at) {
    throw FileError("Can't open file for reading!", file.string() + ": " + reason, at);
}

void fail_writing(const std::filesystem::path& file, const std::string& reason, ErrorPlace at) {
    throw FileError("Error writing file", file.string() + ": " + reason, at);
}

void check_sides(const std::filesystem::path& file, std::int64_t width, std::int64_t height,
                 ErrorPlace at) {
    const std::string size = std::to_string(width) + " x " + std::to_string(height) + " pixels";
    if (width <= 0 || height <= 0) refuse(file, "a picture of " + size + " has no pixels", at);
    if (width > max_bitmap_side || height > max_bitmap_side || width * height > max_bitmap_count)
        refuse(file, "a picture of " + size + " is too large", at);
    // Values, mask and what a reader holds beside them.
    constexpr std::uint64_t bytes_per_pixel = sizeof(float) + 2;
    const std::uint64_t needed = bytes_per_pixel * static_cast<std::uint64_t>(width * height);
    if (const std::uint64_t free = free_memory(); needed > free)
        refuse(file,
               "a picture of " + size + " takes " + mebibytes(needed) + " of memory, but only " +
                   mebibytes(free) + " are free",
               at);
}

}  // namespace vyn::plugins
