#include "process/point/save_image_task.h"

#include <nlohmann/json.hpp>

#include "api/image_io.h"
#include "api/image_list.h"
#include "core/errors.h"
#include "core/keys.h"
#include "core/log.h"
#include "process/point/marker_io.h"
#include "process/point/project_paths.h"
#include "process/point/unsaved_work.h"
#include "process/report/json_text.h"
#include "process/report/provenance.h"

namespace vyn {

namespace {

void write_with_provenance(const Session& session, const image& picture,
                           const std::filesystem::path& file, TaskContext& context) {
    context.status("Writing " + file.string());
    ImageWriteOptions options;
    options.provenance = json_text(provenance(picture, session.images));
    write_image(picture, file, options, context);
}

}  // namespace

TaskOutcome SaveImageTask::run(TaskContext& context) {
    const auto picture = session_.images.find(name_);
    if (!picture)
        throw StateError("State error!",
                         "there is no image " + name_ + " to save as " + file_.string());
    write_with_provenance(session_, *picture, file_, context);
    return TaskOutcome::done;
}

namespace {

struct FieldFiles {
    std::filesystem::path field;
    std::filesystem::path markers;
    std::filesystem::path mesh;  ///< empty: none
};

FieldFiles named_files(const Session& session) {
    const dataSetInterface& data = session.data;
    const std::filesystem::path folder = output_folder(data);
    FieldFiles files{folder / read(data, keys::pressure_file),
                     folder / read(data, keys::pressure_mark_file),
                     {}};
    const std::string mesh = read(data, keys::field_3d_file);
    if (session.field.has_data() && !mesh.empty()) files.mesh = folder / mesh;
    return files;
}

}  // namespace

std::vector<std::filesystem::path> named_field_files(const Session& session) {
    const FieldFiles named = named_files(session);
    std::vector<std::filesystem::path> files{named.field, named.markers};
    if (!named.mesh.empty()) files.push_back(named.mesh);
    return files;
}

std::vector<std::filesystem::path> field_files(const Session& session) {
    const auto field = session.images.find(image_names::field);
    if (!field) return {};
    const FieldFiles named = named_files(session);
    std::vector<std::filesystem::path> files{named.field};
    if (!field->markers.markers.empty()) files.push_back(named.markers);
    if (!named.mesh.empty() && !session.field.quantities.empty()) files.push_back(named.mesh);
    return files;
}

namespace {

/// Markers of another field must not be taken for those of the one just written.
void set_aside(const std::filesystem::path& markers) {
    std::error_code failed;
    if (!std::filesystem::is_regular_file(markers, failed)) return;
    const std::filesystem::path old = markers.string() + ".old";
    std::filesystem::rename(markers, old, failed);
    get_log().write(LogLevel::information,
                    failed
                        ? markers.string() + " belongs to another field and could not be renamed"
                        : "The field has no markers; " + markers.string() +
                              " belongs to another one and is " + old.filename().string() + " now");
}

}  // namespace

TaskOutcome SaveFieldTask::run(TaskContext& context) {
    const auto field = session_.images.find(image_names::field);
    if (!field) {
        context.message("Field is not calculated!");
        return TaskOutcome::failed;
    }
    const FieldFiles files = named_files(session_);
    write_with_provenance(session_, *field, files.field, context);
    if (field->markers.markers.empty())
        set_aside(files.markers);
    else
        write_marker_file(files.markers, field->markers);
    if (!files.mesh.empty() && !session_.field.quantities.empty()) {
        context.status("Saving 3-D field:" + files.mesh.string());
        write_field(session_.field, files.mesh, context);
    }
    note_written(session_.images, field);
    return TaskOutcome::done;
}

}  // namespace vyn
