#include "process/model/model_views.h"

#include <algorithm>

#include "api/image_io.h"
#include "core/errors.h"
#include "core/keys.h"
#include "core/numbers.h"
#include "core/project_file.h"
#include "process/point/project_paths.h"
#include "process/point/raw_images.h"
#include "process/project/ims.h"
#include "process/project/project_tasks.h"

namespace vyn {

namespace fs = std::filesystem;

namespace {

std::shared_ptr<const image> image_named(const ImsData& container, const std::string& name) {
    for (const auto& picture : container.images)
        if (picture->name == name) return picture;
    return nullptr;
}

}  // namespace

PointView read_further_view(const fs::path& project, TaskContext& context) {
    const auto fail = [&](const std::string& what) {
        return FileError("Can't open file for reading!", project.string() + ": " + what);
    };
    simpleNamedDataSet data;
    ImsData container;
    if (is_container(project)) {
        container = read_ims_data(project, context);
        from_xml(data, container.project, project.string());
    } else {
        load_xml(data, project.c_str());
    }
    write(data, keys::head_file, fs::absolute(project).lexically_normal().string());

    PointView view;
    view.name = project.stem().string();
    read(data, std::string(keys::sens_camera), view.record);
    view.stored = stored_pose(data, view.record.default_length_unit);
    view.field = image_named(container, image_names::field);
    if (!view.field) {
        const std::string file = read(data, keys::pressure_file);
        if (file.empty()) throw fail("it names no saved field");
        view.field = std::make_shared<const image>(read_image(output_folder(data) / file, context));
    }
    const std::string picture = read(data, keys::resect_markers_view);
    const auto raw = std::ranges::find(raw_images(), picture, &RawImage::name);
    if (const auto stored = image_named(container, picture); stored)
        view.dots = stored->markers.markers;
    else if (raw != raw_images().end())
        view.dots = load_markers(data, raw->marker_file, view.record.nfy).markers;
    if (view.dots.empty()) throw fail("there are no markers of the picture '" + picture + "'");
    return view;
}

std::vector<fs::path> further_projects(const dataSetInterface& data) {
    std::vector<fs::path> files;
    const std::string names = read(data, keys::resect_views);
    for (std::size_t begin = 0; begin <= names.size();) {
        const std::size_t end = std::min(names.find(';', begin), names.size());
        const std::string_view name = trim(std::string_view(names).substr(begin, end - begin));
        begin = end + 1;
        if (!name.empty())
            files.push_back(find_input(data, std::string(name), keys::resect_views.path));
    }
    return files;
}

std::vector<ResectView> resect_views(const std::vector<PointView>& views) {
    std::vector<ResectView> result;
    for (const PointView& view : views)
        result.push_back({view.name, pinhole_of(view.record), view.dots, view.stored});
    return result;
}

ProjectedView projected(const PointView& view, const ViewResult& found) {
    std::vector<Intrinsic> freed;
    for (const FreedIntrinsic& intrinsic : found.freed)
        freed.push_back(intrinsic.which);
    return {view.name,  view.field.get(), found.camera, view.lens(),
            found.pose, found.covariance, freed,        found.rms};
}

}  // namespace vyn
