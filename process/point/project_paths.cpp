#include "process/point/project_paths.h"

#include "core/errors.h"
#include "core/file_names.h"
#include "core/keys.h"
#include "core/log.h"

namespace vyn {

namespace fs = std::filesystem;

fs::path project_folder(const dataSetInterface& data) {
    const fs::path file = read(data, keys::head_file);
    const fs::path folder = file.parent_path();
    return folder.empty() ? fs::path(".") : folder;
}

fs::path project_lock(const fs::path& project) {
    fs::path name(".");
    name += project.filename();
    name += ".lock";
    return project.parent_path() / name;
}

fs::path output_folder(const dataSetInterface& data) {
    const std::string folder = read(data, keys::head_dir);
    return folder.empty() ? project_folder(data) : fs::path(folder);
}

fs::path without_detours(const fs::path& file) {
    std::error_code ignored;
    fs::path straight = file.lexically_normal();
    if (straight == file) return file;
    // Behind a symbolic link ".." may lead elsewhere than the name tells.
    return !fs::exists(file, ignored) || fs::equivalent(file, straight, ignored) ? straight : file;
}

fs::path locate(const fs::path& name, const fs::path& folder) {
    const fs::path first = without_detours(name.is_relative() ? folder / name : name);
    if (!files_named(first).empty()) return first;
    const fs::path beside = folder / name.filename();
    return name.is_absolute() && !files_named(beside).empty() ? beside : fs::path();
}

fs::path find_input(const dataSetInterface& data, const std::string& file_name,
                    std::string_view key) {
    const fs::path named = file_name;
    const fs::path folder = project_folder(data);
    fs::path found = locate(named, folder);
    if (named.is_absolute() && !found.empty() && found != named)
        get_log().write(
            LogLevel::information,
            file_name + " is not there; taken from beside the project file: " + found.string());
    if (!found.empty()) return found;
    throw FileError("Can't open file for reading!",
                    without_detours(named.is_relative() ? folder / named : named).string() +
                        ": no such file (named by " + std::string(key) + ")");
}

namespace {

/// Settings that name a file to read end in "_file" or "/camera"; the program's own outputs and the
/// project file itself do not belong to the folder in that way.
bool names_input_file(const std::string& path) {
    for (const Key<std::string>& output :
         {keys::pressure_file, keys::pressure_mark_file, keys::field_3d_file})
        if (path == output.path) return false;
    return path.ends_with("_file") || path.ends_with("/camera");
}

}  // namespace

void rebase_names(dataSetInterface& data, const fs::path& old_folder, const fs::path& new_folder) {
    const fs::path from =
        fs::absolute(old_folder.empty() ? new_folder : old_folder).lexically_normal();
    const fs::path to = fs::absolute(new_folder).lexically_normal();
    std::vector<std::pair<std::string, std::string>> changed;
    data.for_each([&](const std::string& path, const any& value) {
        if (!names_input_file(path) || !value.holds<std::string>()) return;
        const fs::path name = value.get<std::string>();
        if (name.empty() || (name.is_relative() && (old_folder.empty() || from == to))) return;
        const fs::path full = (from / name).lexically_normal();
        const fs::path relative = full.lexically_relative(to);
        if (name.is_relative())
            changed.emplace_back(path, (relative.empty() ? full : relative).string());
        else if (!relative.empty() && *relative.begin() != "..")
            changed.emplace_back(path, relative.string());
    });
    for (const auto& [path, name] : changed)
        data.write(path, name);
}

}  // namespace vyn
