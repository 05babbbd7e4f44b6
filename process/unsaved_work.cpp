#include "process/unsaved_work.h"

#include "process/raw_images.h"

namespace vyn {

std::vector<std::shared_ptr<const image>> unsaved_pictures(const imagesList& images) {
    std::vector<std::shared_ptr<const image>> unsaved;
    for (const auto& picture : images.all())
        if (picture->has_unsaved_markers() || picture->has_unsaved_mask())
            unsaved.push_back(picture);
    return unsaved;
}

bool has_unsaved_work() {
    return vyn_db().modified() || !unsaved_pictures(get_images()).empty();
}

void note_contained(dataSetInterface& data, imagesList& images) {
    for (const RawImage& raw : raw_images()) {
        const auto picture = images.find(raw.name);
        if (!picture) continue;
        image noted = *picture;
        if (!read(data, raw.marker_file).empty()) noted.note_markers_saved();
        noted.note_mask_saved();
        images.add(std::move(noted));
    }
}

}  // namespace vyn
