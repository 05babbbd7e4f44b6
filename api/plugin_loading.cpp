#include <algorithm>
#include <cstdlib>
#include <system_error>

#include <dlfcn.h>
#include <fnmatch.h>
#include <sys/stat.h>
#include <unistd.h>

#include "api/image_io.h"
#include "core/log.h"

namespace vyn {

namespace fs = std::filesystem;

namespace {

std::vector<fs::path> split_search_path(const std::string& text) {
    std::vector<fs::path> folders;
    for (std::size_t begin = 0; begin <= text.size();) {
        const std::size_t end = std::min(text.find(':', begin), text.size());
        if (end > begin) folders.emplace_back(text.substr(begin, end - begin));
        begin = end + 1;
    }
    return folders;
}

/// Plug-in files below the folder, sorted by file name so that the order does not depend on the
/// file system.
std::vector<fs::path> find_plugins(const fs::path& folder, const char* pattern) {
    std::vector<fs::path> files;
    std::error_code problem;
    fs::recursive_directory_iterator entry(folder, fs::directory_options::skip_permission_denied,
                                           problem);
    for (; !problem && entry != fs::recursive_directory_iterator(); entry.increment(problem))
        if (fnmatch(pattern, entry->path().filename().c_str(), 0) == 0 &&
            !fs::is_directory(entry->path(), problem))
            files.push_back(fs::absolute(entry->path()));
    std::ranges::sort(files, {}, [](const fs::path& file) { return file.filename(); });
    return files;
}

void report(const fs::path& file, const std::string& what) {
    get_log().write(LogLevel::error, "Plug-in " + file.string() + " is left out: " + what);
}

/// Adds the format that a library exports under the symbol; gives the number of formats added.
template <class Format>
int add_format(const fs::path& file, const void* symbol, FormatRegistry<Format>& registry) {
    const auto& entry = *static_cast<const PluginEntry<Format>*>(symbol);
    if (entry.interface_version != plugin_interface_version) {
        report(file, "it was built for plug-in interface " +
                         std::to_string(entry.interface_version) + ", this program has " +
                         std::to_string(plugin_interface_version));
        return 0;
    }
    try {
        return registry.add(std::unique_ptr<Format>(entry.create())) ? 1 : 0;
    } catch (const std::exception& error) {
        report(file, error.what());
        return 0;
    }
}

/// Loads one library for the rest of the process: its code stands behind the registered formats.
int load_plugin(const fs::path& file) {
    void* library = dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!library) {
        report(file, dlerror());
        return 0;
    }
    const void* image_entry = dlsym(library, "vyn_plugin_2dio");
    const void* mesh_entry = dlsym(library, "vyn_plugin_3dio");
    if (!image_entry && !mesh_entry) {
        report(file, "it exports neither vyn_plugin_2dio nor vyn_plugin_3dio");
        return 0;
    }
    int added = 0;
    if (image_entry) added += add_format(file, image_entry, get_2dio());
    if (mesh_entry) added += add_format(file, mesh_entry, get_3dio());
    return added;
}

/// Code is loaded only from full names, and from where nobody else can put it.
bool is_trusted(const fs::path& folder) {
    struct stat info {};
    const bool there = stat(folder.c_str(), &info) == 0;
    const bool others_write =
        there && ((info.st_mode & S_IWOTH) != 0 || (info.st_uid != 0 && info.st_uid != geteuid()));
    if (folder.is_absolute() && !others_write) return true;
    get_log().write(LogLevel::information,
                    "No plug-ins are loaded from " + folder.string() +
                        (folder.is_absolute() ? ": others may write to it" : ": no full name"));
    return false;
}

/// Plug-ins lie beside it, wherever the program is that loaded it, such as an interpreter.
fs::path folder_of_this_library() {
    static const char here = 0;
    Dl_info info{};
    dladdr(&here, &info);
    std::error_code problem;
    return fs::canonical(info.dli_fname ? info.dli_fname : "", problem).parent_path();
}

}  // namespace

std::vector<fs::path> plugin_folders() {
    if (const char* chosen = std::getenv("VYNLITE_PLUGINS")) {
        std::vector<fs::path> folders = split_search_path(chosen);
        std::erase_if(folders, [](const fs::path& folder) { return !is_trusted(folder); });
        return folders;
    }
    const fs::path folder = folder_of_this_library();
    return folder.empty() ? std::vector<fs::path>() : std::vector<fs::path>{folder / "plugins"};
}

int register_plugins(const char* pattern) {
    int added = 0;
    for (const auto& folder : plugin_folders())
        for (const auto& file : find_plugins(folder, pattern))
            added += load_plugin(file);
    return added;
}

}  // namespace vyn
