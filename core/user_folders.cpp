#include "core/user_folders.h"

#include <cstdlib>
#include <string>
#include <system_error>

#include <unistd.h>

namespace vyn {

std::filesystem::path state_folder() {
    // A relative path in the variable is to be ignored (XDG base directories).
    if (const char* state = std::getenv("XDG_STATE_HOME"); state && *state == '/')
        return std::filesystem::path(state) / "vynlite";
    if (const char* home = std::getenv("HOME"); home && *home)
        return std::filesystem::path(home) / ".local/state/vynlite";
    std::error_code ignored;
    return std::filesystem::temp_directory_path(ignored) / ("vynlite-" + std::to_string(getuid()));
}

std::filesystem::path window_log_file() {
    return state_folder() / "vynlite.log";
}

}  // namespace vyn
