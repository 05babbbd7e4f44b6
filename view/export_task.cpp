#include "view/export_task.h"

#include <algorithm>

#include <nlohmann/json.hpp>

#include "api/image_io.h"
#include "api/tecplot.h"
#include "core/ascii.h"
#include "core/version.h"
#include "process/point/unsaved_work.h"
#include "process/report/json_text.h"
#include "process/report/provenance.h"
#include "render/figure_file.h"
#include "view/save_rules.h"

namespace vyn {

namespace fs = std::filesystem;

namespace {

constexpr const char* field_extension = "imp";

}  // namespace

std::string ExportType::filter() const {
    std::string patterns;
    for (const auto& extension : extensions)
        patterns += (patterns.empty() ? "*." : " *.") + extension;
    return label + " (" + patterns + ")";
}

const ExportType& type_for(const std::vector<ExportType>& types, const ExportType& chosen,
                           const fs::path& file) {
    const std::string extension = lower_extension(file);
    const auto has = [&](const ExportType& type) {
        return std::ranges::find(type.extensions, extension) != type.extensions.end();
    };
    if (has(chosen)) return chosen;
    const auto found = std::ranges::find_if(types, has);
    return found == types.end() ? chosen : *found;
}

fs::path ExportType::named(fs::path file) const {
    if (std::ranges::find(extensions, lower_extension(file)) == extensions.end())
        file += "." + extensions.front();
    return file;
}

std::vector<ExportType> image_file_types() {
    std::vector<ExportType> types;
    for (const auto& format : get_2dio().formats()) {
        const FormatInfo& info = format->info();
        if (info.can_write && !info.extensions.empty())
            types.push_back({ExportKind::image_file, info.label, info.extensions});
    }
    std::stable_partition(types.begin(), types.end(), [](const ExportType& type) {
        return type.extensions.front() == field_extension;
    });
    return types;
}

std::vector<ExportType> export_types() {
    std::vector<ExportType> types{{ExportKind::picture, "PNG graphics file", {"png"}},
                                  {ExportKind::tecplot, "Techplot", {"dat"}},
                                  {ExportKind::picture, "SVG drawing", {"svg"}},
                                  {ExportKind::picture, "PDF document", {"pdf"}}};
    for (ExportType& type : image_file_types())
        types.push_back(std::move(type));
    return types;
}

TaskOutcome ExportTask::run(TaskContext& context) {
    context.status("Writing " + request_.file.string());
    const std::string settings = request_.project_results
                                     ? json_text(provenance(*request_.picture, session_.images))
                                     : std::string();
    switch (request_.kind) {
        case ExportKind::picture: {
            PictureTexts texts{{"Software", std::string("VynLite ") + program_version},
                               {"Title", request_.options.title}};
            if (const auto& picture = *request_.picture; picture.quantity.known())
                texts.emplace_back("Quantity", field_label(picture).text());
            if (!settings.empty()) texts.emplace_back("Description", settings);
            write_figure(field_figure(*request_.picture, request_.options), request_.file, texts);
            break;
        }
        case ExportKind::tecplot:
            write_tecplot(*request_.picture, request_.caption, request_.file, context,
                          request_.sigma.get());
            break;
        case ExportKind::image_file: {
            ImageWriteOptions options;
            options.provenance = settings;
            write_image(*request_.picture, request_.file, options, context);
            if (lower_extension(request_.file) == field_extension)
                note_written(session_.images, request_.picture);
            break;
        }
    }
    return TaskOutcome::done;
}

}  // namespace vyn
