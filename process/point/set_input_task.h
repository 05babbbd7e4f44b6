#pragma once

#include <string>
#include <utility>

#include "core/task.h"
#include "process/point/input_files.h"
#include "process/point/session.h"

namespace vyn {

/// Puts a file in one of the project's places for input files, or takes it out (empty name), and
/// brings the image list in line; the same name again loads the file anew. A camera picture that is
/// loaded or taken out removes the results. Another mask loads its camera picture anew. Settings
/// and images stay as they were when anything fails.
class SetInputTask final : public Task {
  public:
    SetInputTask(Session session, InputFile input, std::string file)
        : session_(session), input_(input), file_(std::move(file)) {}
    TaskOutcome run(TaskContext& context) override;

  private:
    void apply(TaskContext& context) const;
    void load(std::string_view name, TaskContext& context) const;
    void change_markers(TaskContext& context) const;

    Session session_;
    InputFile input_;
    std::string file_;
};

}  // namespace vyn
