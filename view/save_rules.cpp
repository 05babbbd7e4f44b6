#include "view/save_rules.h"

#include <system_error>

#include "core/ascii.h"

namespace vyn {

namespace fs = std::filesystem;

namespace {

constexpr const char* field_extension = "imp";

bool same_file(const fs::path& a, const fs::path& b) {
    std::error_code problem;
    return !a.empty() && !b.empty() && fs::equivalent(a, b, problem) && !problem;
}

bool is_opened_field(PictureOrigin origin, const image& picture) {
    return origin == PictureOrigin::file && lower_extension(picture.file_name) == field_extension;
}

}  // namespace

fs::path file_to_save(PictureOrigin origin, const image& picture, const fs::path& saved_as) {
    if (origin == PictureOrigin::camera) return {};
    if (!saved_as.empty()) return saved_as;
    return is_opened_field(origin, picture) ? fs::path(picture.file_name) : fs::path();
}

std::string objection_to_saving(PictureOrigin origin, const image& picture, const fs::path& file,
                                const imagesList& project) {
    const std::string reason = " holds raw data, which is never overwritten.";
    // Other computed images carry the name of the camera file behind them; the field that of the
    // file that it is saved to.
    const auto comes_from = [&](const image& source) {
        return source.name != image_names::field && same_file(source.file_name, file);
    };
    if (!is_opened_field(origin, picture) && comes_from(picture)) return file.string() + reason;
    for (const auto& other : project.all())
        if (comes_from(*other)) return file.string() + reason;
    return {};
}

}  // namespace vyn
