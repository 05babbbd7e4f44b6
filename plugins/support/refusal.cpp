#include "plugins/support/refusal.h"

#include "api/bitmap.h"
#include "core/errors.h"

namespace vyn::plugins {

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
}

}  // namespace vyn::plugins
