#include <filesystem>
#include <map>
#include <memory>
#include <vector>

#include "api/image_io.h"
#include "cli/commands.h"
#include "cli/console.h"
#include "cli/interrupt.h"
#include "core/keys.h"
#include "core/project_file.h"
#include "process/project/ims.h"
#include "process/project/project_tasks.h"

namespace vyn::cli {

namespace {

struct GetOptions {
    std::string project;
    std::string key;
    bool table = false;
    bool images = false;
};

std::string allowed_values(const KeyInfo& key) {
    switch (key.allowed.kind) {
        case Allowed::Kind::range:
            return format_setting(any(key.allowed.low)) + " to " +
                   format_setting(any(key.allowed.high));
        case Allowed::Kind::list: {
            std::string text;
            for (const std::string_view value : key.allowed.list)
                text += (text.empty() ? "" : "|") + std::string(value);
            return text;
        }
        case Allowed::Kind::any:
            break;
    }
    return "any";
}

std::string table_text() {
    std::string text = "# key\ttype\tdefault\tallowed\tmeaning\n";
    for (const KeyInfo& key : key_table())
        text += key.path + "\t" + std::string(key.fallback.type()->name()) + "\t" +
                format_setting(key.fallback) + "\t" + allowed_values(key) + "\t" +
                std::string(key.meaning) + "\n";
    return text;
}

/// Every setting of the project, and those of the table that it leaves at their defaults.
std::map<std::string, std::string> settings_of(const std::string& project) {
    simpleNamedDataSet data;
    if (is_container(project)) {
        from_xml(data, read_ims_project(project), project);
    } else {
        load_xml(data, project.c_str());
    }
    std::map<std::string, std::string> settings;
    for (const KeyInfo& key : key_table())
        settings[key.path] = format_setting(key.fallback);
    data.for_each(
        [&](const std::string& path, const any& value) { settings[path] = format_setting(value); });
    return settings;
}

/// What the images of a container, or an image file, hold.
std::string images_text(const std::string& file) {
    InterruptProgress progress;
    std::vector<std::shared_ptr<const image>> pictures;
    if (is_container(file)) {
        pictures = read_ims_data(file, progress).images;
    } else {
        pictures.push_back(std::make_shared<const image>(read_image(file, progress)));
    }
    std::string text = "# name\twidth\theight\tquantity\tunit\n";
    for (const auto& picture : pictures)
        text += picture->name + "\t" + std::to_string(picture->width()) + "\t" +
                std::to_string(picture->height()) + "\t" + stored_name(picture->quantity) + "\t" +
                picture->unit + "\n";
    return text;
}

ExitStatus get(const GetOptions& options) {
    if (options.table) {
        print(table_text());
        return ExitStatus::done;
    }
    if (options.project.empty()) throw UsageError("get needs PROJECT or --table");
    if (options.images) {
        print(images_text(options.project));
        return ExitStatus::done;
    }
    const std::map<std::string, std::string> settings = settings_of(options.project);
    if (!options.key.empty()) {
        const auto found = settings.find(options.key);
        if (found == settings.end()) throw UsageError("there is no setting " + options.key);
        print(found->second + "\n");
        return ExitStatus::done;
    }
    std::string text;
    for (const auto& [path, value] : settings)
        text.append(path).append("=").append(value).append("\n");
    print(text);
    return ExitStatus::done;
}

}  // namespace

Work prepare_get(CLI::App& app, const GlobalOptions&) {
    const auto options = std::make_shared<GetOptions>();
    app.add_option("PROJECT", options->project, "project file (.xml) or container (.ims)");
    app.add_option("KEY", options->key, "setting whose value is printed; without it all");
    app.add_flag("--table", options->table,
                 "print the table of all settings: key, type, default, allowed values, meaning");
    app.add_flag("--images", options->images,
                 "print the images of a container, or what an image file holds: name, size, "
                 "quantity, unit");
    return [options] { return get(*options); };
}

}  // namespace vyn::cli
