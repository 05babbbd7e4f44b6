#pragma once

#include <cstddef>
#include <filesystem>
#include <span>
#include <string>
#include <vector>

#include <sys/types.h>

#include "core/progress.h"

namespace vyn::plugins {

/// The output of a program that was started for it. The program ends with the object.
class ChildOutput {
  public:
    /// Raises std::system_error when the program cannot be started.
    ChildOutput(const std::filesystem::path& program, const std::vector<std::string>& arguments);
    ~ChildOutput();
    ChildOutput(const ChildOutput&) = delete;
    ChildOutput& operator=(const ChildOutput&) = delete;

    /// Fills all of `bytes`; false when the output ends before. Throws Aborted while it waits.
    bool read(std::span<std::byte> bytes, const Progress& progress);
    /// Up to the next line feed, which is left out; false when there is none within `most`
    /// characters.
    bool read_line(std::string& line, std::size_t most, const Progress& progress);
    /// True when the program ended by itself with status 0. To be asked after its last output.
    bool ended_well();

  private:
    std::size_t read_some(std::span<std::byte> bytes, const Progress& progress);

    pid_t process_ = -1;
    int output_ = -1;
};

}  // namespace vyn::plugins
