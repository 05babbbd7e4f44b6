#pragma once

#include <filesystem>

namespace vyn {

/// Where the program keeps what outlives a run but is no setting (log, recovery copies):
/// "vynlite" in $XDG_STATE_HOME, or in ~/.local/state where that is not set. Not created here.
/// Empty when the user has no home.
std::filesystem::path state_folder();

}  // namespace vyn
