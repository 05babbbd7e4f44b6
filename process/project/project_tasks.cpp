#include "process/project/project_tasks.h"

#include "api/image_io.h"
#include "core/ascii.h"
#include "core/keys.h"
#include "core/log.h"
#include "core/project_file.h"
#include "core/version.h"
#include "process/model/mesh_cache.h"
#include "process/model/model_inputs.h"
#include "process/point/input_files.h"
#include "process/point/missing_files.h"
#include "process/point/project_paths.h"
#include "process/point/raw_images.h"
#include "process/point/unsaved_work.h"
#include "process/project/ims.h"
#include "process/report/provenance.h"
#include "process/steps/image_origin.h"
#include "process/steps/port_point.h"

namespace vyn {

namespace fs = std::filesystem;

bool is_container(const fs::path& file) {
    return lower_extension(file) == "ims";
}

namespace {

/// Puts the old settings back unless the task got to its end.
class KeepSettings {
  public:
    explicit KeepSettings(dataSetInterface& data) : data_(data), modified_(data.modified()) {
        data.for_each(
            [&](const std::string& path, const any& value) { old_.emplace_back(path, value); });
    }
    ~KeepSettings() {
        if (accepted_) return;
        data_.replace(old_);
        data_.set_modified(modified_);
    }
    KeepSettings(const KeepSettings&) = delete;
    KeepSettings& operator=(const KeepSettings&) = delete;
    void accept() { accepted_ = true; }

  private:
    dataSetInterface& data_;
    std::vector<std::pair<std::string, any>> old_;
    bool modified_;
    bool accepted_ = false;
};

/// The inputs in a container that the settings name as those in it do.
void take_stored_inputs(const dataSetInterface& data, const fs::path& container, imagesList& images,
                        TaskContext& context) {
    simpleNamedDataSet stored;
    from_xml(stored, read_ims_project(container), container.string());
    const auto wanted = [&](const std::string& name) {
        const InputFile* input = input_of_image(name);
        return input && read(stored, input->file) == read(data, input->file);
    };
    for (const auto& picture : read_ims_data(container, context, wanted).images)
        images.add(picture);
}

/// The pictures whose file, markers, mask and settings are what they were when they were read.
void take_loaded(const dataSetInterface& data,
                 const std::vector<std::shared_ptr<const image>>& loaded, imagesList& images) {
    for (const auto& picture : loaded) {
        const InputFile* input = input_of_image(picture->name);
        if (input && !picture->origin.empty() && !images.find(picture->name) &&
            !read(data, input->file).empty() && picture->origin == input_origin(data, *input))
            images.add(picture);
    }
}

/// The mesh that the project names, where that was asked for.
std::optional<field_data<double>> read_geometry(const dataSetInterface& data,
                                                ReadProject::Geometry wanted,
                                                TaskContext& context) {
    using Geometry = ReadProject::Geometry;
    const std::string mesh = read(data, keys::mesh_file);
    const bool named = !mesh.empty() && !read(data, keys::mesh_mark_file).empty();
    if (wanted == Geometry::leave_out || (wanted == Geometry::if_named && !named))
        return std::nullopt;
    if (mesh.empty()) {
        get_log().write(LogLevel::information, "Mesh is not defined!");
        return std::nullopt;
    }
    if (read(data, keys::mesh_mark_file).empty()) {
        get_log().write(LogLevel::information, "Mesh markers are not defined!");
        return std::nullopt;
    }
    context.status("Reading geometry");
    return with_wanted_mirror(read_mesh_once(find_input(data, mesh, keys::mesh_file.path), context),
                              data);
}

/// The same; a mesh that was not asked for in so many words keeps no project from being opened.
std::optional<field_data<double>> read_geometry_if_possible(const dataSetInterface& data,
                                                            ReadProject::Geometry wanted,
                                                            TaskContext& context,
                                                            RunReport& report) {
    if (wanted != ReadProject::Geometry::if_named) return read_geometry(data, wanted, context);
    try {
        const UnloggedErrors told_below;
        return read_geometry(data, wanted, context);
    } catch (const FileError& error) {
        warn(report, WarningKind::settings,
             "The model's mesh is left out: " + (error.detail.empty() ? error.text : error.detail));
        return std::nullopt;
    }
}

/// The container with the settings, but none of the names in it.
ImsData anonymous(const dataSetInterface& data, ImsData ims) {
    simpleNamedDataSet settings;
    from_xml(settings, to_xml(data), "settings");
    leave_out_names(settings);
    ds2ims(settings, ims);
    for (auto& picture : ims.images) {
        image unnamed = *picture;
        unnamed.file_name.clear();
        unnamed.origin.clear();
        picture = std::make_shared<const image>(std::move(unnamed));
    }
    return ims;
}

void write_project(const dataSetInterface& data, const imagesList& images, const fs::path& file,
                   TaskContext& context) {
    if (!is_container(file)) {
        save_xml(data, file.c_str());
        return;
    }
    ImsData ims{.version = file_version, .project = {}, .images = images.all()};
    if (names_are_told())
        ds2ims(data, ims);
    else
        ims = anonymous(data, std::move(ims));
    write_ims_strings(file, ims, context);
}

}  // namespace

TaskOutcome ReadProjectTask::run(TaskContext& context) {
    dataSetInterface& data = session_.data;
    const std::string name = request_.file.string();
    context.status("Reading IMS file:" + name);

    KeepSettings settings(data);
    imagesList read_images;
    if (is_container(request_.file)) {
        from_xml(data, read_ims_project(request_.file), name);
        // Of the inputs only those that the project names; results have no names in it.
        const auto wanted = [&](const std::string& image) {
            const InputFile* input = input_of_image(image);
            return !input || !read(data, input->file).empty();
        };
        for (const auto& picture : read_ims_data(request_.file, context, wanted).images)
            read_images.add(picture);
    } else {
        load_xml(data, name.c_str());
    }
    if (const std::string complaint = non_finite_setting(data); !complaint.empty())
        throw FileError("File error!", name + ": " + complaint);
    RunReport unread;
    RunReport& report = request_.report ? *request_.report : unread;
    for (const std::string& complaint : check_settings(data))
        warn(report, WarningKind::settings, std::string(name).append(": ").append(complaint));
    if (!request_.inputs.empty()) take_stored_inputs(data, request_.inputs, read_images, context);
    write(data, keys::head_file, fs::absolute(request_.file).lexically_normal().string());
    for (const auto& [path, value] : request_.settings)
        data.set_value(path, value, /*is_default=*/false);
    data.set_modified(!request_.settings.empty());

    context.status("Reading image files");
    fixMarkersDs(data, read_images);
    take_loaded(data, request_.loaded, read_images);
    for (image& picture : load_wanted(read_images, report, context))
        read_images.add(std::move(picture));
    std::optional<field_data<double>> geometry =
        read_geometry_if_possible(data, request_.geometry, context, report);
    throw_if_aborted(context);

    imagesList& images = session_.images;
    remove_results(images);
    images.clear();
    for (const auto& picture : read_images.all())
        images.add(picture);
    session_.field = geometry ? std::move(*geometry) : field_data<double>();
    settings.accept();
    return TaskOutcome::done;
}

std::vector<image> ReadProjectTask::load_wanted(const imagesList& present, RunReport& report,
                                                TaskContext& context) const {
    if (request_.missing == ReadProject::MissingFiles::refuse)
        return load_images(session_.data, present, context);
    for (const MissingFile& missing : missing_files(session_.data, present))
        warn(report, WarningKind::settings, missing_text(session_.data, missing));
    simpleNamedDataSet there;
    copy_without_missing_files(session_.data, there);
    return load_images(there, present, context);
}

TaskOutcome StoreLawTask::run(TaskContext& context) {
    const std::string name = file_.string();
    context.status("Storing the paint calibration:" + name);
    simpleNamedDataSet data;
    if (!is_container(file_)) {
        load_xml(data, name.c_str());
        store_calibration(data, calibration_, wind_off_ratio_);
        save_xml(data, name.c_str());
        return TaskOutcome::done;
    }
    ImsData ims = read_ims_data(file_, context);
    from_xml(data, ims.project, name);
    store_calibration(data, calibration_, wind_off_ratio_);
    ds2ims(data, ims);
    write_ims_strings(file_, ims, context);
    return TaskOutcome::done;
}

TaskOutcome CreateProjectTask::run(TaskContext& context) {
    context.status("Writing IMS file:" + file_.string());
    const fs::path real = fs::absolute(file_).lexically_normal();
    write(*settings_, keys::head_file, real.string());
    write_project(*settings_, imagesList(), real, context);
    return TaskOutcome::done;
}

TaskOutcome WriteProjectTask::run(TaskContext& context) {
    dataSetInterface& data = session_.data;
    context.status("Writing IMS file:" + file_.string());
    const fs::path real = fs::absolute(file_).lexically_normal();
    KeepSettings settings(data);
    rebase_names(data, read(data, keys::head_file).empty() ? fs::path() : project_folder(data),
                 real.parent_path());
    write(data, keys::head_file, real.string());
    write_project(data, session_.images, real, context);
    if (is_container(real)) note_contained(session_.images);
    settings.accept();
    data.set_modified(false);
    return TaskOutcome::done;
}

}  // namespace vyn
