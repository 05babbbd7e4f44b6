#include "process/report/provenance.h"

#include <algorithm>
#include <filesystem>
#include <string>
#include <system_error>

#include <nlohmann/json.hpp>

#include "core/keys.h"
#include "core/version.h"
#include "process/point/digest.h"
#include "process/point/project_paths.h"
#include "process/point/raw_images.h"

namespace vyn {

using json = nlohmann::json;

namespace {

json setting_json(const any& value) {
    if (value.holds<int>()) return value.get<int>();
    if (value.holds<double>()) return value.get<double>();
    return value.get<std::string>();
}

/// The marker files that the project names, with digests; those that are not there are left out.
json marker_files(const dataSetInterface& data) {
    json files = json::array();
    const std::string project = data.exists(keys::head_file.path)
                                    ? data.value(keys::head_file.path).get<std::string>()
                                    : std::string();
    for (const RawImage& raw : raw_images()) {
        const any named = data.value(raw.marker_file.path);
        if (!named.holds<std::string>() || named.get<std::string>().empty()) continue;
        const std::filesystem::path file =
            locate(named.get<std::string>(), std::filesystem::path(project).parent_path());
        std::error_code ignored;
        if (!std::filesystem::is_regular_file(file, ignored)) continue;
        files.push_back({{"image", raw.name},
                         {"role", "markers"},
                         {"file", file.string()},
                         {"sha256", file_sha256(file)}});
    }
    return files;
}

}  // namespace

json provenance(const dataSetInterface& data, const imagesList& images) {
    json settings = json::object();
    data.for_each(
        [&](const std::string& path, const any& value) { settings[path] = setting_json(value); });
    json inputs = marker_files(data);
    for (const auto& picture : images.all()) {
        const auto& results = image_names::results;
        const bool loaded = std::ranges::find(results, picture->name) == results.end();
        if (loaded && !picture->file_sha256.empty())
            inputs.push_back({{"image", picture->name},
                              {"role", "image"},
                              {"file", picture->file_name},
                              {"sha256", picture->file_sha256}});
    }
    return {{"program", std::string("VynLite ") + program_version},
            {"settings", std::move(settings)},
            {"inputs", std::move(inputs)}};
}

}  // namespace vyn
