#include "process/model/ratio_on_mesh.h"

#include <cmath>
#include <limits>

#include "core/errors.h"
#include "core/keys.h"
#include "process/model/mesh_cache.h"
#include "process/model/model_checks.h"
#include "process/point/experiment_type.h"
#include "process/steps/correct_step.h"
#include "process/steps/corrected_pictures.h"
#include "process/steps/field_step.h"
#include "process/steps/ratio_pictures.h"
#include "process/steps/ratio_step.h"
#include "process/steps/step_settings.h"
#include "process/steps/temperature_step.h"

namespace vyn {

namespace {

/// The picture whose camera and markers tell the pose: gates are taken by one camera.
const RawImage& posed_picture(const dataSetInterface& data, std::size_t picture) {
    const bool gates = experiment_type(data) == ExperimentType::lifetime;
    return raw_images()[gates ? picture % 2 : picture];
}

/// Values at nodes or cells as an image, so that the operations on pictures serve them.
image as_image(const std::vector<double>& values) {
    constexpr std::size_t width = 4096;
    const std::size_t height = (values.size() + width - 1) / width;
    image picture(static_cast<int>(width), static_cast<int>(height));
    for (std::size_t y = 0; y < height; ++y) {
        float* value = picture.values().row(static_cast<int>(y));
        std::uint8_t* mask = picture.mask().row(static_cast<int>(y));
        for (std::size_t x = 0; x < width; ++x) {
            const std::size_t i = y * width + x;
            const bool seen = i < values.size() && !std::isnan(values[i]);
            value[x] = seen ? static_cast<float>(values[i]) : 0;
            mask[x] = seen ? 0 : 1;
        }
    }
    return picture;
}

void take_back(const image& picture, std::vector<double>& values) {
    const auto width = static_cast<std::size_t>(picture.width());
    for (std::size_t i = 0; i < values.size(); ++i) {
        const auto x = static_cast<int>(i % width);
        const auto y = static_cast<int>(i / width);
        values[i] = picture.mask()(x, y) ? std::numeric_limits<double>::quiet_NaN()
                                         : double{picture.values()(x, y)};
    }
}

}  // namespace

StepFacts ratio_on_mesh_facts(const StepView& view) {
    StepFacts facts = ratio_facts(view);
    const StepFacts of_field = field_facts(view);
    for (const StepResult& result : facts.gives)
        facts.settings.insert(facts.settings.end(), result.settings.begin(), result.settings.end());
    facts.settings.insert(facts.settings.end(), of_field.settings.begin(), of_field.settings.end());
    facts.behind.insert(facts.behind.end(), of_field.behind.begin(), of_field.behind.end());
    facts.told.insert(facts.told.end(), of_field.told.begin(), of_field.told.end());
    for (const std::size_t i : pictures_of_ratio(view)) {
        const RawImage& posed = posed_picture(view.data, i);
        facts.takes.push_back({.name = posed.name, .markers = true});
        SettingPaths camera;
        camera.add(camera_partner(view.data, posed).camera,
                   {"default_length_unit", "focus", "dx", "dy", "ncx", "ncy", "nfx", "nfy", "cx",
                    "cy", "a2", "a4"});
        for (std::string& path : camera.take())
            facts.settings.push_back(std::move(path));
        facts.told.emplace_back(camera_partner(view.data, posed).camera);
    }
    return facts;
}

std::vector<PointView> views_of_ratio(const StepRun& run) {
    dataSetInterface& data = run.session.data;
    if (!further_projects(data).empty())
        throw AlgoError("Algorithm error!",
                        "views of further projects cannot join a ratio that is formed on the mesh");
    if (temperature_wanted(data))
        throw AlgoError("Algorithm error!",
                        "a ratio that is formed on the mesh takes one wind-on temperature: set " +
                            std::string(keys::temperature_source.path) + " to number");
    auto found = corrected_pictures(run);
    if (!found) throw AlgoError("Field3D:2d field is absent", "a corrected picture is missing");
    filter_pictures(*found, filter_options(data), run.context);
    std::vector<PointView> views;
    for (const std::size_t i : pictures_of_ratio(run.view())) {
        const RawImage& posed = posed_picture(data, i);
        const auto raw = run.session.images.find(posed.name);
        if (!raw)
            throw AlgoError("Resection Failed!",
                            std::string("there is no picture '") + posed.name + "'");
        image inside = *(*found)[i];
        exclude_outside_regions({(*found)[i]}, inside);
        PointView view;
        view.name = raw_images()[i].name;
        view.field = std::make_shared<const image>(std::move(inside));
        view.dots = raw->markers.markers;
        read(data, std::string(camera_partner(data, posed).camera), view.record);
        if (views.empty()) view.stored = stored_pose(data, view.record.default_length_unit);
        views.push_back(std::move(view));
    }
    return views;
}

ProjectionResult put_ratio_on_mesh(const StepRun& run, field_data<double>& mesh,
                                   const std::string& unit,
                                   const std::vector<ProjectedView>& pictures,
                                   const ProjectionOptions& options) {
    dataSetInterface& data = run.session.data;
    const auto prepared = prepare_once(mesh, run.context);
    CorrectedPictures nodes;
    ProjectionResult result;
    const std::vector<std::size_t> numbers = pictures_of_ratio(run.view());
    for (std::size_t v = 0; v < pictures.size(); ++v) {
        ProjectionResult one = project_fields(*prepared, mm_per(unit), {pictures[v]}, "value", {},
                                              options, run.context);
        nodes[numbers[v]] = std::make_shared<const image>(as_image(one.quantities.front().values));
        if (v == 0)
            result = std::move(one);
        else
            result.counts.push_back(one.counts.front());
    }
    check_seen(result, pictures);
    const image ratio = ratio_of(nodes, ratio_limits(data), experiment_type(data), run.context);
    const image field = field_of_ratio(run, ratio, nullptr);
    std::erase_if(result.quantities, [](const auto& quantity) {
        return quantity.name == "sigma_pose" || quantity.name == "spread";
    });
    auto& values = result.quantities.front();
    values.name = mesh_quantity_name(field);
    values.unit = field.unit;
    take_back(field, values.values);
    for (auto& quantity : result.quantities)
        for (std::size_t i = 0; i < quantity.values.size(); ++i)
            if (std::isnan(values.values[i])) quantity.values[i] = values.values[i];
    measure_cover(*prepared, values, result);
    store_on_mesh(mesh, unit, pictures, result);
    return result;
}

}  // namespace vyn
