#include "process/point/set_input_task.h"

#include "process/steps/image_origin.h"

namespace vyn {

namespace {

void tell_left_out(const MarkerSet& markers, TaskContext& context) {
    if (!markers.left_out.empty()) context.message(markers.left_out);
}

}  // namespace

TaskOutcome SetInputTask::run(TaskContext& context) {
    dataSetInterface& data = session_.data;
    context.status(file_.empty() ? "Removing " + read(data, input_.file) : "Loading " + file_);
    const std::string old = read(data, input_.file);
    const bool modified = data.modified();
    write(data, input_.file, file_);
    try {
        apply(context);
    } catch (...) {
        write(data, input_.file, old);
        data.set_modified(modified);
        throw;
    }
    return TaskOutcome::done;
}

void SetInputTask::apply(TaskContext& context) const {
    using Role = InputFile::Role;
    switch (input_.role) {
        case Role::picture:
        case Role::dark:
        case Role::flat:
        case Role::temperature:
            load(input_.image, context);
            break;
        case Role::mask:
            if (session_.images.find(input_.image)) load(input_.image, context);
            break;
        case Role::markers:
            change_markers(context);
            break;
    }
}

void SetInputTask::load(std::string_view name, TaskContext& context) const {
    imagesList& images = session_.images;
    std::optional<image> picture = load_image(session_.data, name, context);
    throw_if_aborted(context);
    if (input_of_image(name)->role == InputFile::Role::picture) remove_results(images);
    if (!picture) {
        images.remove(name);
        return;
    }
    tell_left_out(picture->markers, context);
    images.add(std::move(*picture));
}

void SetInputTask::change_markers(TaskContext& context) const {
    const auto picture = session_.images.find(input_.image);
    if (!picture) return;
    image marked = *picture;
    marked.markers =
        file_.empty() ? MarkerSet() : load_markers(session_.data, input_.file, picture->height());
    tell_left_out(marked.markers, context);
    session_.images.add(std::move(marked));
    note_file_saved(session_.data, session_.images, input_.image, input_.role);
}

}  // namespace vyn
