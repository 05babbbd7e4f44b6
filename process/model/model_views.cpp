#include "process/model/model_views.h"

#include <algorithm>
#include <utility>

#include "api/image_io.h"
#include "core/errors.h"
#include "core/keys.h"
#include "core/numbers.h"
#include "core/project_file.h"
#include "process/point/project_paths.h"
#include "process/point/raw_images.h"
#include "process/project/project_tasks.h"

namespace vyn {

namespace fs = std::filesystem;

namespace {

FileError lack(const fs::path& project, const std::string& what) {
    return FileError("Can't open file for reading!", project.string() + ": " + what);
}

}  // namespace

PointView own_view(const Session& session) {
    const std::string name = read(session.data, keys::resect_markers_view);
    const auto picture = session.images.find(name);
    if (!picture) throw AlgoError("Resection Failed!", "there is no picture '" + name + "'");
    PointView view;
    view.name = name;
    view.dots = picture->markers.markers;
    read(std::as_const(session.data), std::string(keys::sens_camera), view.record);
    check_size(*picture, pinhole_of(view.record), view.name);
    view.stored = stored_pose(session.data, view.record.default_length_unit);
    return view;
}

std::shared_ptr<const image> FurtherProject::find(const std::string& name) const {
    const auto found = std::ranges::find(container.images, name, &image::name);
    return found == container.images.end() ? nullptr : *found;
}

void open_further_project(const fs::path& file, FurtherProject& project, TaskContext& context) {
    project.file = file;
    if (is_container(file)) {
        project.container = read_ims_data(file, context);
        from_xml(project.data, project.container.project, file.string());
    } else {
        load_xml(project.data, file.c_str());
    }
    write(project.data, keys::head_file, fs::absolute(file).lexically_normal().string());
}

PointView view_of_project(const FurtherProject& project) {
    PointView view;
    view.name = project.file.stem().string();
    read(project.data, std::string(keys::sens_camera), view.record);
    view.stored = stored_pose(project.data, view.record.default_length_unit);
    const std::string picture = read(project.data, keys::resect_markers_view);
    const auto raw = std::ranges::find(raw_images(), picture, &RawImage::name);
    if (const auto stored = project.find(picture); stored)
        view.dots = stored->markers.markers;
    else if (raw != raw_images().end())
        view.dots = load_markers(project.data, raw->marker_file, view.record.nfy).markers;
    if (view.dots.empty())
        throw lack(project.file, "there are no markers of the picture '" + picture + "'");
    return view;
}

PointView read_further_view(const fs::path& file, TaskContext& context) {
    FurtherProject project;
    open_further_project(file, project, context);
    PointView view = view_of_project(project);
    view.field = project.find(image_names::field);
    view.sigmas = {project.find(image_names::sigma_common), project.find(image_names::sigma_area)};
    if (!view.field) {
        const std::string saved = read(project.data, keys::pressure_file);
        if (saved.empty()) throw lack(file, "it names no saved field");
        view.field =
            std::make_shared<const image>(read_image(output_folder(project.data) / saved, context));
    }
    return view;
}

std::vector<std::string> view_names(const dataSetInterface& data) {
    std::vector<std::string> result;
    const std::string names = read(data, keys::resect_views);
    for (std::size_t begin = 0; begin <= names.size();) {
        const std::size_t end = std::min(names.find(';', begin), names.size());
        const std::string_view name = trim(std::string_view(names).substr(begin, end - begin));
        begin = end + 1;
        if (!name.empty()) result.emplace_back(name);
    }
    return result;
}

std::vector<fs::path> further_projects(const dataSetInterface& data) {
    std::vector<fs::path> files;
    for (const std::string& name : view_names(data))
        files.push_back(find_input(data, name, keys::resect_views.path));
    return files;
}

std::vector<ResectView> resect_views(const std::vector<PointView>& views) {
    std::vector<ResectView> result;
    for (const PointView& view : views) {
        const PinholeCamera camera = pinhole_of(view.record);
        if (view.field) check_size(*view.field, camera, view.name);
        result.push_back({view.name, camera, view.dots, view.stored});
    }
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
