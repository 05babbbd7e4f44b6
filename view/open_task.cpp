#include "view/open_task.h"

#include "api/image_io.h"
#include "core/ascii.h"
#include "core/errors.h"
#include "core/keys.h"
#include "core/project_file.h"
#include "process/point/raw_images.h"
#include "process/project/ims.h"
#include "view/save_rules.h"

namespace vyn {

namespace fs = std::filesystem;

namespace {

std::vector<image> project_images(const fs::path& file, TaskContext& context) {
    simpleNamedDataSet data;
    load_xml(data, file.c_str());
    write(data, keys::head_file, fs::absolute(file).lexically_normal().string());
    return load_images(data, imagesList(), context);
}

}  // namespace

TaskOutcome OpenImagesTask::run(TaskContext& context) {
    context.status("Reading " + file_.string());
    const std::string extension = lower_extension(file_);
    imagesList found;
    if (extension == "ims") {
        for (const auto& picture : read_ims_data(file_, context).images)
            found.add(picture);
    } else if (extension == "xml") {
        for (image& picture : project_images(file_, context))
            found.add(std::move(picture));
    } else {
        image picture = read_image(file_, context);
        if (picture.name.empty()) picture.name = file_.stem().string();
        found.add(std::move(picture));
    }
    throw_if_aborted(context);
    const auto images = found.all();
    if (images.empty())
        throw FileError("File error!", file_.string() + " holds no image to look at");
    into_->clear();
    for (const auto& picture : images)
        into_->add(picture);
    return TaskOutcome::done;
}

}  // namespace vyn
