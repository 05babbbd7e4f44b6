#pragma once

#include <filesystem>

namespace vyn {

/// Where the program keeps what outlives a run but is no setting (log, recovery copies):
/// "vynlite" in $XDG_STATE_HOME, or in ~/.local/state where that is not set; a user without a home
/// has "vynlite-USERNUMBER" in the folder for temporary files. Not created here.
std::filesystem::path state_folder();
/// Where the window keeps its log.
std::filesystem::path window_log_file();

}  // namespace vyn
