#include "process/mask_file_task.h"

#include "api/image_io.h"
#include "process/image_origin.h"

namespace vyn {

TaskOutcome SaveMaskTask::run(TaskContext& context) {
    context.status("Writing " + file_.string());
    image mask(picture_->width(), picture_->height());
    mask.name = "mask of " + picture_->name;
    for (int y = 0; y < mask.height(); ++y) {
        const std::uint8_t* excluded = picture_->mask().row(y);
        float* values = mask.values().row(y);
        for (int x = 0; x < mask.width(); ++x)
            values[x] = excluded[x] != 0 ? 255 : 0;
    }
    ImageWriteOptions options;
    options.depth = ImageWriteOptions::Depth::eight_bit;
    write_image(mask, file_, options);
    if (raw_ && read(vyn_db(), raw_->mask_file) != file_.string())
        write(vyn_db(), raw_->mask_file, file_.string());
    if (raw_) note_files_saved(vyn_db(), get_images(), raw_->name);
    return TaskOutcome::done;
}

}  // namespace vyn
