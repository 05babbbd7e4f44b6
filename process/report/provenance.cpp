#include "process/report/provenance.h"

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <set>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include <nlohmann/json.hpp>

#include "api/image_io.h"
#include "core/errors.h"
#include "core/keys.h"
#include "core/version.h"
#include "process/point/digest.h"
#include "process/point/input_files.h"
#include "process/point/project_paths.h"
#include "process/point/raw_images.h"

namespace vyn {

using json = nlohmann::json;

namespace {

std::atomic<ProvenanceDetail> chosen_detail{ProvenanceDetail::full};

/// As the user wants it told.
json told(json provenance) {
    if (chosen_detail == ProvenanceDetail::full) return provenance;
    provenance.erase("settings");
    for (json& input : provenance["inputs"])
        input.erase("file");
    return provenance;
}

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

/// "NAME > NAME > what" of an image's origin.
struct OriginItem {
    std::string image;  ///< the innermost name, or that of the image itself
    std::string what;
    std::string value;
    int depth = 0;
};

std::vector<OriginItem> items_of(const image& picture) {
    constexpr std::string_view nesting = " > ";
    std::vector<OriginItem> items;
    for (const auto& [path, value] : picture.origin) {
        OriginItem item{picture.name, path, value};
        for (auto at = item.what.find(nesting); at != std::string::npos;
             at = item.what.find(nesting)) {
            item.image = item.what.substr(0, at);
            item.what.erase(0, at + nesting.size());
            ++item.depth;
        }
        items.push_back(std::move(item));
    }
    return items;
}

json setting_json(const std::string& path, const std::string& text) {
    try {
        return setting_json(parse_setting(path, text));
    } catch (const AlgoError&) {
        return text;  // the image may come from a file of others
    }
}

/// The value of a file's item is its name and digest.
json input_json(const OriginItem& item, const imagesList& images) {
    const auto comma = item.value.rfind(", ");
    std::string file = item.value.substr(0, comma);
    const std::string digest =
        comma == std::string::npos ? std::string() : item.value.substr(comma + 2);
    const auto loaded = images.find(item.image);
    const bool image_file = item.what == "file";
    if (image_file && loaded && !digest.empty() && loaded->file_sha256 == digest)
        file = loaded->file_name;
    return {{"image", item.image},
            {"role", image_file                   ? "image"
                     : item.what == "marker file" ? "markers"
                                                  : "mask"},
            {"file", std::move(file)},
            {"sha256", digest}};
}

/// The text without the folders of full file names; a name ends at a blank.
std::string without_folders(const std::string& text) {
    constexpr std::string_view blanks = " \t\n\v\f\r";
    constexpr std::string_view before_name = " \t\n\v\f\r:\"(";
    std::string result;
    for (std::size_t at = 0; at < text.size(); ++at) {
        result += text[at];
        const bool begins =
            text[at] == '/' && (at == 0 || before_name.find(text[at - 1]) != before_name.npos);
        if (!begins) continue;
        std::size_t last = at;  // slash of the name
        for (std::size_t i = at + 1; i < text.size() && blanks.find(text[i]) == blanks.npos; ++i) {
            if (text[i] != '/') continue;
            if (i == last + 1) break;
            last = i;
        }
        if (last == at) continue;
        result.pop_back();
        at = last;
    }
    return result;
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
    return told({{"program", std::string("VynLite ") + program_version},
                 {"settings", std::move(settings)},
                 {"inputs", std::move(inputs)}});
}

json provenance(const image& picture, const imagesList& images) {
    json settings = json::object();
    json inputs = json::array();
    std::set<std::string> known;
    std::vector<OriginItem> items = items_of(picture);
    // The image's own settings come before those of what it was made from.
    std::ranges::stable_sort(items, {}, &OriginItem::depth);
    for (const OriginItem& item : items) {
        if (find_key(item.what)) {
            settings.emplace(item.what, setting_json(item.what, item.value));
        } else if (item.what.ends_with("file") && known.insert(item.image + item.what).second) {
            inputs.push_back(input_json(item, images));
        }
    }
    return told({{"program", std::string("VynLite ") + program_version},
                 {"settings", std::move(settings)},
                 {"inputs", std::move(inputs)}});
}

void set_provenance_detail(ProvenanceDetail detail) {
    chosen_detail = detail;
    set_origin_in_files(detail == ProvenanceDetail::full ? OriginInFiles::told
                                                         : OriginInFiles::left_out);
}

json source_file(const std::filesystem::path& file) {
    json source{{"sha256", file_sha256(file)}};
    if (chosen_detail == ProvenanceDetail::full) source["file"] = file.string();
    return source;
}

json told_settings(json settings) {
    return chosen_detail == ProvenanceDetail::full ? std::move(settings) : json::object();
}

std::string for_report(std::string text, const dataSetInterface& data, const imagesList& images) {
    if (chosen_detail == ProvenanceDetail::full) return text;
    std::set<std::string> folders{project_folder(data).string()};
    for (const auto& picture : images.all())
        folders.insert(std::filesystem::path(picture->file_name).parent_path().string());
    for (const std::string& folder : folders) {
        if (folder.size() < 2) continue;  // of a relative name
        const std::string prefix = folder + "/";
        for (auto at = text.find(prefix); at != std::string::npos; at = text.find(prefix, at))
            text.erase(at, prefix.size());
    }
    return without_folders(text);
}

void leave_out_names(dataSetInterface& settings) {
    std::vector<std::pair<std::string, std::string>> changed;
    settings.for_each([&](const std::string& path, const any& value) {
        if (!value.holds<std::string>() || value.get<std::string>().empty()) return;
        const KeyInfo* key = find_key(path);
        if (path.ends_with("unit") || (key && key->allowed.kind == Allowed::Kind::list)) return;
        changed.emplace_back(path, std::string());
        for (const InputFile& input : input_files())
            if (input.file.path == path && input_of_image(input.image) == &input)
                changed.back().second = input.image;
    });
    for (const auto& [path, name] : changed)
        settings.write(path, name);
}

bool names_are_told() {
    return chosen_detail == ProvenanceDetail::full;
}

}  // namespace vyn
