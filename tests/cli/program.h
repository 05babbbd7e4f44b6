#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace vyn::test {

/// How a run of vynlite-batch ended and what it printed.
struct ProgramRun {
    int status = -1;  ///< exit status; -1 when it was killed
    std::string out;
    std::string err;
};

/// The program's path.
std::string batch_program();

/// Runs vynlite-batch with these arguments and waits for it.
ProgramRun run_program(const std::vector<std::string>& arguments);
/// The same with a shell redirection of its own, such as "> /dev/full".
ProgramRun run_program_redirected(const std::vector<std::string>& arguments,
                                  const std::string& redirection);

}  // namespace vyn::test
