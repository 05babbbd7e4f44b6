#include "process/model/field_on_mesh.h"

#include <algorithm>
#include <cmath>

#include "core/errors.h"
#include "core/log.h"
#include "process/model/mesh_cache.h"
#include "process/model/model_checks.h"
#include "process/model/model_inputs.h"

namespace vyn {

namespace {

field_data<double>::View stored_view(const ProjectedView& view) {
    field_data<double>::View stored;
    stored.name = view.name;
    for (std::size_t i = 0; i < 9; ++i)
        stored.rotation[i] =
            view.pose.rotation(static_cast<Eigen::Index>(i / 3), static_cast<Eigen::Index>(i % 3));
    stored.shift = {view.pose.shift.x(), view.pose.shift.y(), view.pose.shift.z()};
    stored.fx = view.camera.fx;
    stored.fy = view.camera.fy;
    stored.lens = view.camera.lens;
    stored.field_lens = view.field_lens;
    stored.width = view.camera.width;
    stored.height = view.camera.height;
    stored.rms = view.rms;
    return stored;
}

}  // namespace

ProjectionResult put_fields_on_mesh(field_data<double>& mesh, const std::string& unit,
                                    const std::vector<ProjectedView>& views,
                                    const ProjectionOptions& options, Progress& progress) {
    const image& first = *views.front().field;
    for (const ProjectedView& view : views)
        if (view.field->quantity != first.quantity || view.field->unit != first.unit)
            throw AlgoError("Algorithm error!",
                            view.name + " holds " + quantity_words(*view.field) + ", " +
                                views.front().name + " " + quantity_words(first));
    const auto prepared = prepare_once(mesh, progress);
    for (const std::string& line : describe(mesh, prepared->surface))
        get_log().write(LogLevel::progress, "mesh: " + line);
    ProjectionResult result = project_fields(
        *prepared, mm_per(unit), views, mesh_quantity_name(first), first.unit, options, progress);
    check_seen(result, views);
    store_on_mesh(mesh, unit, views, result);
    return result;
}

void put_sigmas_on_mesh(const imagesList& images, field_data<double>& mesh, const std::string& unit,
                        const ProjectedView& view, const ProjectionOptions& options,
                        Progress& progress) {
    const auto common = images.find(image_names::sigma_common);
    const auto area = images.find(image_names::sigma_area);
    if (!common || !area || !common->values().same_size(view.field->values()) ||
        !area->values().same_size(view.field->values()))
        return;
    const auto prepared = prepare_once(mesh, progress);
    const auto project = [&](const image& sigma, const char* name) {
        ProjectedView of_sigma = view;
        of_sigma.field = &sigma;
        of_sigma.covariance = {};
        return project_fields(*prepared, mm_per(unit), {of_sigma}, name, sigma.unit, options,
                              progress);
    };
    ProjectionResult random = project(*area, "sigma_random");
    const auto pixels =
        std::ranges::find(random.quantities, "px", &field_data<double>::Quantity::name);
    auto& values = random.quantities.front().values;
    for (std::size_t i = 0; i < values.size(); ++i)
        values[i] /= std::sqrt(std::max(1.0, pixels->values[i]));
    mesh.quantities.push_back(std::move(project(*common, "sigma_common").quantities.front()));
    mesh.quantities.push_back(std::move(random.quantities.front()));
}

void store_on_mesh(field_data<double>& mesh, const std::string& unit,
                   const std::vector<ProjectedView>& views, const ProjectionResult& result) {
    mesh.quantities = result.quantities;
    mesh.unit = unit;
    mesh.views.clear();
    for (const ProjectedView& view : views)
        mesh.views.push_back(stored_view(view));
}

}  // namespace vyn
