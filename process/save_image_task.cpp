#include "process/save_image_task.h"

#include <nlohmann/json.hpp>

#include "api/image_io.h"
#include "api/image_list.h"
#include "core/errors.h"
#include "core/keys.h"
#include "markers/marker_files.h"
#include "process/project_paths.h"
#include "process/run_report.h"

namespace vyn {

namespace {

void write_with_provenance(const image& picture, const std::filesystem::path& file,
                           TaskContext& context) {
    context.status("Writing " + file.string());
    ImageWriteOptions options;
    options.provenance = provenance(vyn_db(), get_images()).dump();
    write_image(picture, file, options);
}

}  // namespace

TaskOutcome SaveImageTask::run(TaskContext& context) {
    const auto picture = get_images().find(name_);
    if (!picture)
        throw StateError("process/save_image_task", __LINE__, "State error!",
                         "there is no image " + name_ + " to save as " + file_.string());
    write_with_provenance(*picture, file_, context);
    return TaskOutcome::done;
}

TaskOutcome SaveFieldTask::run(TaskContext& context) {
    const auto field = get_images().find(image_names::field);
    if (!field) {
        context.message("Field is not calculated!");
        return TaskOutcome::failed;
    }
    dataSetInterface& data = vyn_db();
    const std::filesystem::path folder = output_folder(data);
    write_with_provenance(*field, folder / read(data, keys::pressure_file), context);
    if (!field->markers.markers.empty())
        write_markers((folder / read(data, keys::pressure_mark_file)).string(), field->markers);
    return TaskOutcome::done;
}

}  // namespace vyn
