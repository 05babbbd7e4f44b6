#include "process/page/page_state.h"

#include <algorithm>

#include "core/keys.h"
#include "process/point/project_paths.h"
#include "process/steps/step_table.h"

namespace vyn {

namespace {

using Role = InputFile::Role;

std::string counted(std::size_t count, const char* what) {
    return std::to_string(count) + ' ' + what + (count == 1 ? "" : "s");
}

std::string note_of(const InputFile& input, const image& picture) {
    if (input.role == Role::mask) return {};
    if (input.role == Role::markers) {
        if (picture.markers.markers.empty()) return {};
        return picture.has_unsaved_markers()
                   ? std::to_string(picture.markers.markers.size()) + " drawn, not saved"
                   : counted(picture.markers.markers.size(), "marker");
    }
    return std::to_string(picture.width()) + " x " + std::to_string(picture.height());
}

RowState row_state(const dataSetInterface& data, const imagesList& images, ImageStates& states,
                   const PageRow& row) {
    RowState shown;
    const auto picture = images.find(row.input.image);
    shown.file = read(data, row.input.file);
    shown.path = located_file(data, row.input).string();
    shown.loaded = picture != nullptr;
    if (picture) shown.note = note_of(row.input, *picture);
    shown.unsaved = picture && row.input.role == Role::markers &&
                    !picture->markers.markers.empty() && picture->has_unsaved_markers();
    shown.missing = !shown.file.empty() && shown.path.empty();
    if (shown.missing)
        shown.problem = "The file is not there: " + shown.file;
    else if (row.input.role == Role::markers || row.input.role == Role::mask)
        return shown;
    else if (const ImageState state = states.of(row.input.image);
             state.kind == ImageState::Kind::out_of_date)
        shown.problem = "Load it anew: " + state.reason + '.';
    else if (!shown.file.empty() && !picture)
        shown.problem = "The file is not loaded.";
    else if (const std::string size = size_problem(data, images, row.input); !size.empty())
        shown.problem = "It " + size + '.';
    return shown;
}

/// Mesh or markers on it; both are read when they are opened.
RowState model_row(const dataSetInterface& data, Key<std::string> file) {
    RowState shown;
    shown.file = read(data, file);
    if (shown.file.empty()) return shown;
    shown.path = locate(shown.file, project_folder(data)).string();
    shown.missing = shown.path.empty();
    if (shown.missing) shown.problem = "The file is not there: " + shown.file;
    return shown;
}

/// Parts of the uncertainty are kept on request only.
bool is_expected(const std::string& result, const StepView& view) {
    const bool is_part =
        std::ranges::find(image_names::sigma_terms, result) != std::end(image_names::sigma_terms);
    return (!is_part || read(view.data, keys::uncertainty_terms) != 0) && would_give(result, view);
}

}  // namespace

PageState page_state(const dataSetInterface& data, const imagesList& images,
                     const MeshSummary& mesh) {
    PageState state;
    state.type = experiment_type(data);
    ImageStates states(data, images);
    const auto add_row = [&](const PageRow& row) {
        state.rows[row.stem] = row_state(data, images, states, row);
    };
    for (const PageCard& card : page_cards(state.type))
        for (const PageRow& row : card.rows)
            add_row(row);
    for (const PageRow& row : flat_rows(state.type))
        add_row(row);
    add_row(temperature_row());
    for (const std::string& name : page_results(state.type))
        if (images.find(name) || is_expected(name, {data, images}))
            state.results.push_back({name, image_label(state.type, name), states.of(name)});
    if (mesh.loaded)
        state.results.push_back({model_result, "Field on the model", states.of_mesh(mesh)});
    state.mesh = model_row(data, keys::mesh_file);
    state.mesh.loaded = mesh.loaded;
    if (mesh.loaded) state.mesh.note = counted(mesh.triangles, "face");
    state.model_markers = model_row(data, keys::mesh_mark_file);
    state.needs = step_needs(data, images);
    state.remarks = input_remarks(data, images);
    return state;
}

}  // namespace vyn
