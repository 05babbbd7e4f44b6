#include "process/project/ims.h"

#include "core/project_file.h"
#include "process/point/raw_images.h"

namespace vyn {

ImsData& get_ims() {
    static ImsData ims;
    return ims;
}

void clear_ims() {
    get_ims() = ImsData();
}

bool empty_ims() {
    return get_ims().project.empty() && get_ims().images.empty();
}

void ds2ims(const dataSetInterface& data, ImsData& ims) {
    ims.project = to_xml(data);
}

void fixMarkersDs(const dataSetInterface& data, imagesList& images) {
    for (const RawImage& raw : raw_images()) {
        const auto stored = images.find(raw.name);
        if (!stored) continue;
        if (!stored->markers.markers.empty() || read(data, raw.marker_file).empty()) continue;
        image changed = *stored;
        try {
            changed.markers = load_markers(data, raw.marker_file, stored->height());
        } catch (const FileError&) {
            continue;  // logged when it was raised; the project can be used without
        }
        changed.note_markers_saved();
        images.add(std::move(changed));
    }
}

}  // namespace vyn
