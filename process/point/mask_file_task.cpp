#include "process/point/mask_file_task.h"

#include "api/image_io.h"
#include "process/steps/image_origin.h"

namespace vyn {

void write_mask(const image& picture, const std::filesystem::path& file, Progress& progress) {
    image mask(picture.width(), picture.height());
    mask.name = "mask of " + picture.name;
    for (int y = 0; y < mask.height(); ++y) {
        const std::uint8_t* excluded = picture.mask().row(y);
        float* values = mask.values().row(y);
        for (int x = 0; x < mask.width(); ++x)
            values[x] = excluded[x] != 0 ? 255 : 0;
    }
    ImageWriteOptions options;
    options.depth = ImageWriteOptions::Depth::eight_bit;
    write_image(mask, file, options, progress);
}

TaskOutcome SaveMaskTask::run(TaskContext& context) {
    context.status("Writing " + file_.string());
    write_mask(*picture_, file_, context);
    if (raw_ && read(session_.data, raw_->mask_file) != file_.string())
        write(session_.data, raw_->mask_file, file_.string());
    note_file_saved(session_.data, session_.images, picture_->name, InputFile::Role::mask);
    return TaskOutcome::done;
}

}  // namespace vyn
