#pragma once

#include <QObject>
#include <QThreadPool>
#include <functional>
#include <future>
#include <memory>
#include <type_traits>

#include "core/task.h"

namespace vyn {

class image;

/// Computes for a window behind its back what its next picture needs, so that the window answers
/// meanwhile and shows what it has. Only the latest request counts.
///
/// Each has a thread of its own beside the program's worker: a long job and what is shown do not
/// wait for each other.
class Preparation : public QObject {
  public:
    enum class When { at_once, behind };
    /// Up to a megapixel (some 5 ms) at once, so that nothing flickers.
    static When when_for(const image& picture);

    explicit Preparation(QObject* parent = nullptr);
    /// Aborts what runs and waits for it.
    ~Preparation() override;

    /// Runs `compute(progress)`, which must not touch widgets; then `deliver(future)` on the GUI
    /// thread, whose future holds the result or throws what `compute` threw. What was under way is
    /// aborted and never delivered.
    template <class Compute, class Deliver>
    void start(When when, Compute compute, Deliver deliver) {
        using Result = std::invoke_result_t<Compute, Progress&>;
        const auto task =
            std::make_shared<std::packaged_task<Result(Progress&)>>(std::move(compute));
        run(
            when, [task](Progress& progress) { (*task)(progress); },
            [task, deliver] { deliver(task->get_future()); });
    }
    void cancel();
    bool running() const { return context_ != nullptr; }

  private:
    void run(When when, const std::function<void(Progress&)>& compute,
             const std::function<void()>& deliver);
    void finish(const std::shared_ptr<TaskContext>& context, const std::function<void()>& deliver);

    QThreadPool pool_;
    std::shared_ptr<TaskContext> context_;  ///< of the latest request, until it is delivered
};

}  // namespace vyn
