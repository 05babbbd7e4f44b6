#pragma once

#include <functional>

#include "core/task.h"

namespace vyn {

/// What a task talks through while the window watches it: messages and questions are shown by the
/// GUI thread, and the task waits for the answer. An abort ends the wait.
class BoxContext final : public TaskContext {
  public:
    /// Raise Aborted when told to stop before the user answered.
    void message(const std::string& text) override;
    bool question(const std::string& text) override;

  private:
    bool ask(std::function<bool()> show);
};

}  // namespace vyn
