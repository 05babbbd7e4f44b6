#include "core/file_names.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <system_error>

#include <fnmatch.h>

namespace vyn {

namespace fs = std::filesystem;

namespace {

/// Only * and ? are special: names of files do have brackets.
std::string quoted_brackets(const std::string& pattern) {
    std::string quoted;
    for (const char c : pattern) {
        if (c == '[' || c == '\\') quoted += '\\';
        quoted += c;
    }
    return quoted;
}

std::vector<fs::path> files_like(const fs::path& folder, const std::string& wanted) {
    const std::string pattern = quoted_brackets(wanted);
    std::vector<fs::path> files;
    std::error_code problem;
    for (fs::directory_iterator at(folder.empty() ? fs::path(".") : folder, problem), end;
         !problem && at != end; at.increment(problem)) {
        const fs::path name = at->path().filename();
        std::error_code ignored;
        if (fnmatch(pattern.c_str(), name.c_str(), FNM_PERIOD) == 0 && at->is_regular_file(ignored))
            files.push_back(folder / name);
    }
    std::ranges::sort(files, [](const fs::path& a, const fs::path& b) {
        return strverscmp(a.c_str(), b.c_str()) < 0;
    });
    return files;
}

}  // namespace

std::vector<fs::path> files_named(const fs::path& name) {
    std::error_code ignored;
    if (fs::exists(name, ignored)) return {name};
    std::vector<fs::path> files;
    std::string part = name.filename().string();
    // Missing files are asked for often: no folder is looked through for them.
    if (part.find_first_of("*?;") == part.npos) return {};
    while (true) {
        const std::size_t end = part.find(';');
        const std::vector<fs::path> found = files_like(name.parent_path(), part.substr(0, end));
        if (found.empty()) return {};
        for (const fs::path& file : found)
            if (std::ranges::find(files, file) == files.end()) files.push_back(file);
        if (end == part.npos) return files;
        part.erase(0, end + 1);
    }
}

fs::path name_of_files(const std::vector<fs::path>& files) {
    fs::path name;
    for (const fs::path& file : files)
        if (name.empty())
            name = file;
        else
            name += ";" + file.filename().string();
    return name;
}

}  // namespace vyn
