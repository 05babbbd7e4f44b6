#include "process/point/unsaved_work.h"

#include "process/point/input_files.h"

namespace vyn {

std::vector<std::shared_ptr<const image>> unsaved_pictures(const imagesList& images) {
    std::vector<std::shared_ptr<const image>> unsaved;
    for (const auto& picture : images.all())
        if (picture->has_unsaved_markers() || picture->has_unsaved_mask())
            unsaved.push_back(picture);
    return unsaved;
}

bool has_unsaved_work(const dataSetInterface& data, const imagesList& images) {
    return data.modified() || !unsaved_pictures(images).empty();
}

void note_contained(imagesList& images) {
    for (const auto& picture : unsaved_pictures(images)) {
        image noted = *picture;
        noted.note_markers_saved();
        noted.note_mask_saved();
        images.add(std::move(noted));
    }
}

void note_written(imagesList& images, const std::shared_ptr<const image>& written) {
    if (input_of_image(written->name) || images.find(written->name) != written) return;
    image noted = *written;
    noted.note_markers_saved();
    noted.note_mask_saved();
    images.add(std::move(noted));
}

}  // namespace vyn
