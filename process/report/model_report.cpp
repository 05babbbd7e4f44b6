#include "process/report/model_report.h"

#include <algorithm>

#include <nlohmann/json.hpp>

#include "process/model/mesh_cache.h"
#include "process/model/model_inputs.h"
#include "process/model/resect_json.h"
#include "process/model/residual_picture.h"
#include "process/page/page_rows.h"
#include "render/fashion.h"
#include "render/model/model_picture.h"

namespace vyn {

namespace {

constexpr int residual_side = 640;  // pixels
constexpr int model_width = 290;    // two of them with their bars fit a window
constexpr int model_height = 220;

struct Side {
    const char* label;
    double azimuth;
    double elevation;
};
constexpr Side sides[] = {
    {"from above", 180, 90}, {"from the front", 0, 0}, {"from starboard", 90, 0}};

/// As large as the other pictures.
ModelView as_camera(const field_data<double>& mesh) {
    const auto& camera = mesh.views.front();
    const double zoom = std::min(double(model_width) / std::max(camera.width, 1),
                                 double(model_height) / std::max(camera.height, 1));
    return view_of_camera(camera, mm_per(mesh.unit.empty() ? "mm" : mesh.unit), zoom);
}

std::vector<ModelReport::Picture> pictures_of(const field_data<double>& mesh, Progress& progress) {
    const auto prepared = prepare_once(mesh, progress);
    const auto& shown = mesh.quantities.front();
    FrameOptions frame;
    frame.limits = tidy(robust_limits(shown));
    frame.colour_bar = true;
    frame.label = shown.unit.empty() ? shown.name : shown.name + ", " + shown.unit;
    std::vector<ModelReport::Picture> pictures;
    const auto add = [&](const char* label, const ModelView& view) {
        ModelLook look;
        look.quantity = &shown;
        pictures.push_back({label, model_figure(mesh, prepared->surface, prepared->normals, view,
                                                look, frame, {}, progress)});
    };
    if (!mesh.views.empty() && mesh.views.front().width > 0)
        add("as the first camera", as_camera(mesh));
    else
        add("obliquely", view_from(30, 30, mesh, model_width, model_height));
    for (const Side& side : sides)
        add(side.label, view_from(side.azimuth, side.elevation, mesh, model_width, model_height));
    return pictures;
}

}  // namespace

ModelReport make_model_report(const RunReport& report, ExperimentType type,
                              const imagesList& images, const field_data<double>& mesh,
                              Progress& progress) {
    ModelReport result;
    if (mesh.quantities.empty()) return result;
    const auto& shown = mesh.quantities.front();
    result.quantity = shown.unit.empty() ? shown.name : shown.name + ", " + shown.unit;
    if (!report.model.empty()) {
        const auto text = nlohmann::json::parse(report.model);
        const auto& resection = text.at("resection");
        result.remarks = resection.at("remarks").get<std::vector<std::string>>();
        result.covered = text.at("projection").at("covered_share").get<double>();
        for (const auto& entry : resection.at("views")) {
            throw_if_aborted(progress);
            ModelReport::View view{{}, reported_view(entry), 1, {}};
            view.label = image_label(type, view.found.name);
            view.factor = residual_factor(view.found.markers, view.found.camera.width);
            const auto picture = images.find(view.found.name);
            view.residuals = residual_figure(picture.get(), view.found, view.factor, residual_side);
            result.views.push_back(std::move(view));
        }
    }
    Progress quiet;
    result.pictures = pictures_of(mesh, quiet);
    return result;
}

}  // namespace vyn
