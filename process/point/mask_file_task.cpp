#include "process/point/mask_file_task.h"

#include <algorithm>
#include <cstring>

#include "api/image_io.h"
#include "process/steps/image_origin.h"

namespace vyn {

namespace {

void write_flags(const Bitmap<std::uint8_t>& flags, const std::string& name,
                 const std::filesystem::path& file, Progress& progress) {
    image picture(flags.width(), flags.height());
    picture.name = name;
    for (int y = 0; y < flags.height(); ++y)
        std::transform(flags.row(y), flags.row(y) + flags.width(), picture.values().row(y),
                       [](std::uint8_t flag) { return flag != 0 ? 255.0F : 0.0F; });
    ImageWriteOptions options;
    options.depth = ImageWriteOptions::Depth::eight_bit;
    write_image(picture, file, options, progress);
}

}  // namespace

void write_mask(const image& picture, const std::filesystem::path& file, Progress& progress) {
    write_flags(picture.mask(), "mask of " + picture.name, file, progress);
}

void write_region(const image& picture, const std::filesystem::path& file, Progress& progress) {
    write_flags(picture.region(), "region of " + picture.name, file, progress);
}

bool has_drawn_region(const image& picture) {
    if (!picture.has_region()) return false;
    const Bitmap<std::uint8_t>& region = picture.region();
    for (int y = 0; y < region.height(); ++y)
        if (std::memchr(region.row(y), 0, static_cast<std::size_t>(region.width()))) return true;
    return false;
}

TaskOutcome SaveMaskTask::run(TaskContext& context) {
    context.status("Writing " + file_.string());
    write_mask(*picture_, file_, context);
    if (raw_ && read(session_.data, raw_->mask_file) != file_.string())
        write(session_.data, raw_->mask_file, file_.string());
    std::filesystem::path region;
    if (has_drawn_region(*picture_)) {
        region = file_.parent_path() / (file_.stem().string() + "_region.png");
        write_region(*picture_, region, context);
    }
    if (raw_ && read(session_.data, raw_->region_file) != region.string())
        write(session_.data, raw_->region_file, region.string());
    note_file_saved(session_.data, session_.images, picture_->name, InputFile::Role::mask);
    return TaskOutcome::done;
}

}  // namespace vyn
