#include "tests/cli/program.h"

#include <cstdlib>

#include <sys/wait.h>

#include "tests/support/temporary_folder.h"

namespace vyn::test {

namespace {

std::string quoted(const std::string& text) {
    std::string result = "'";
    for (const char c : text)
        result += c == '\'' ? "'\\''" : std::string(1, c);
    return result + "'";
}

}  // namespace

std::string batch_program() {
    return VYN_BATCH_PROGRAM;
}

ProgramRun run_program_redirected(const std::vector<std::string>& arguments,
                                  const std::string& redirection) {
    const TemporaryFolder folder;
    std::string command = quoted(VYN_BATCH_PROGRAM);
    for (const std::string& argument : arguments)
        command += " " + quoted(argument);
    command += " > " + quoted(folder / "out") + " 2> " + quoted(folder / "err") + " < /dev/null " +
               redirection;
    const int status = std::system(command.c_str());
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, get_file(folder / "out"),
            get_file(folder / "err")};
}

ProgramRun run_program(const std::vector<std::string>& arguments) {
    return run_program_redirected(arguments, "");
}

}  // namespace vyn::test
