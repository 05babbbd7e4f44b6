#include "process/model/field_on_mesh.h"

#include <algorithm>

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

void put_sigmas_on_mesh(const std::vector<FieldSigmas>& sigmas, field_data<double>& mesh,
                        const std::string& unit, const std::vector<ProjectedView>& views,
                        const ProjectionOptions& options, Progress& progress) {
    if (std::ranges::none_of(sigmas, &FieldSigmas::known)) return;
    for (std::size_t v = 0; v < views.size(); ++v)
        if (!sigmas[v].known() || !sigmas[v].common->values().same_size(views[v].field->values()) ||
            !sigmas[v].area->values().same_size(views[v].field->values())) {
            get_log().write(LogLevel::information,
                            views[v].name +
                                " holds no standard deviations of its field (a container keeps "
                                "them); there are none on the mesh");
            return;
        }
    const auto prepared = prepare_once(mesh, progress);
    const auto project = [&](const char* name, bool independent) {
        std::vector<ProjectedView> of_sigmas = views;
        for (std::size_t v = 0; v < views.size(); ++v) {
            of_sigmas[v].field = (independent ? sigmas[v].area : sigmas[v].common).get();
            of_sigmas[v].covariance = {};
        }
        ProjectionOptions of_errors = options;
        of_errors.independent_errors = independent;
        ProjectionResult result =
            project_fields(*prepared, mm_per(unit), of_sigmas, name, of_sigmas.front().field->unit,
                           of_errors, progress);
        mesh.quantities.push_back(std::move(result.quantities.front()));
    };
    project("sigma_common", false);
    project("sigma_random", true);
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
