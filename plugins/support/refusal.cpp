#include "plugins/support/refusal.h"

#include "api/bitmap.h"
#include "core/errors.h"

namespace vyn::plugins {

void refuse(const char* unit, int line, const std::filesystem::path& file,
            const std::string& reason) {
    throw FileError(unit, line, "Can't open file for reading!", file.string() + ": " + reason);
}

void fail_writing(const char* unit, int line, const std::filesystem::path& file,
                  const std::string& reason) {
    throw FileError(unit, line, "Error writing file", file.string() + ": " + reason);
}

void check_sides(const char* unit, const std::filesystem::path& file, std::int64_t width,
                 std::int64_t height) {
    const std::string size = std::to_string(width) + " x " + std::to_string(height) + " pixels";
    if (width <= 0 || height <= 0)
        refuse(unit, __LINE__, file, "a picture of " + size + " has no pixels");
    if (width > max_bitmap_side || height > max_bitmap_side || width * height > max_bitmap_count)
        refuse(unit, __LINE__, file, "a picture of " + size + " is too large");
}

}  // namespace vyn::plugins
