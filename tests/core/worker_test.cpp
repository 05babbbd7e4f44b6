#include "core/worker.h"

#include <functional>
#include <stdexcept>

#include <gmock/gmock.h>

#include "core/errors.h"
#include "core/messages.h"
#include "tests/core/log_capture.h"

namespace vyn {
namespace {

using test::LogCapture;
using testing::ElementsAre;

constexpr std::uint32_t long_enough = 10'000;

class FunctionTask final : public Task {
  public:
    using Body = std::function<TaskOutcome(TaskContext&)>;
    explicit FunctionTask(Body body) : body_(std::move(body)) {}
    TaskOutcome run(TaskContext& context) override { return body_(context); }

  private:
    Body body_;
};

std::shared_ptr<Task> task(FunctionTask::Body body) {
    return std::make_shared<FunctionTask>(std::move(body));
}

void run(Worker& worker, FunctionTask::Body body) {
    worker.post(task(std::move(body)), std::make_shared<TaskContext>());
    ASSERT_TRUE(worker.wait_done(long_enough));
}

TaskOutcome nothing(TaskContext&) {
    return TaskOutcome::done;
}

TEST(WorkerTest, AFailedTaskLeavesOneLineAtLevelOneAndTheWorkerReady) {
    const std::vector<std::pair<std::function<void()>, const char*>> failures{
        {[] { throw SystemError("a/b", 12, "It broke", 5); },
         "1 Worker thread system Error:It broke at a/b:12"},
        {[] { throw FileError("a/b", 12, "File error!", "x.tif: no"); },
         "1 Worker thread generic Error File error! at a/b:12"},
        {[] { throw std::length_error("too long"); }, "1 Worker thread unknown exception"},
        {[] { throw 1; }, "1 Worker thread unknown exception"}};
    Worker worker;
    for (const auto& [fail, line] : failures) {
        const LogCapture log;
        run(worker, [&](TaskContext&) {
            fail();
            return TaskOutcome::done;
        });
        EXPECT_THAT(log.lines_of_level(1), ElementsAre(line));
    }
}

TEST(WorkerTest, HoldsItsMutexAndIsNotIdleWhileATaskRuns) {
    Worker worker;
    Event running;
    Event go_on;
    worker.post(task([&](TaskContext&) {
                    running.set();
                    wait(go_on, long_enough);
                    return TaskOutcome::done;
                }),
                std::make_shared<TaskContext>());
    ASSERT_TRUE(wait(running, long_enough));
    EXPECT_FALSE(idle_flag());
    EXPECT_FALSE(worker.task_mutex().lock(0));
    EXPECT_FALSE(worker.wait_done(0));
    EXPECT_THROW(worker.post(task(nothing), std::make_shared<TaskContext>()), StateError);
    go_on.set();
    EXPECT_TRUE(worker.wait_done(long_enough));
    EXPECT_TRUE(worker.task_mutex().lock(long_enough));
    worker.task_mutex().unlock();
}

TEST(WorkerTest, TakesTheNextTaskRightAfterTheEndOfOne) {
    Worker worker;
    int runs = 0;
    for (int i = 0; i < 300; ++i) {
        run(worker, [&](TaskContext&) {
            ++runs;
            return TaskOutcome::done;
        });
        ASSERT_EQ(runs, i + 1) << "an old end was taken for the new one's";
    }
}

TEST(WorkerTest, ATaskThatEndedIsReleased) {
    Worker worker;
    auto job = task(nothing);
    const std::weak_ptr<Task> watched = job;
    worker.post(std::move(job), std::make_shared<TaskContext>());
    ASSERT_TRUE(worker.wait_done(long_enough));
    EXPECT_TRUE(watched.expired());
}

TEST(WorkerTest, ItsEndAbortsTheRunningTask) {
    const LogCapture log;
    {
        Worker worker;
        worker.post(task([&](TaskContext& context) -> TaskOutcome {
                        while (true)
                            throw_if_aborted(context);
                    }),
                    std::make_shared<TaskContext>());
    }
    EXPECT_THAT(log.lines(), ElementsAre("3 Aborted"));
    EXPECT_TRUE(idle_flag());
}

TEST(JobTest, EndsAsItsWorstTaskAndStopsAtTheFirstFailedOne) {
    TaskContext context;
    const auto outcome_of = [&](std::vector<TaskOutcome> ends) {
        Job job;
        std::size_t runs = 0;
        for (const TaskOutcome end : ends)
            job.append(std::make_unique<FunctionTask>([&runs, end](TaskContext&) {
                ++runs;
                return end;
            }));
        const TaskOutcome returned = job.run(context);
        EXPECT_EQ(returned, job.outcome());
        return std::pair(returned, runs);
    };
    using enum TaskOutcome;
    EXPECT_EQ(outcome_of({}), std::pair(idle, std::size_t{0}));
    EXPECT_EQ(outcome_of({done_with_errors, done}), std::pair(done_with_errors, std::size_t{2}));
    EXPECT_EQ(outcome_of({done, failed, done}), std::pair(failed, std::size_t{2}));
}

TEST(JobTest, KeepsWhatStoppedItForTheUser) {
    TaskContext context;
    const auto end_of = [&](FunctionTask::Body body) {
        Job job;
        job.append(std::make_unique<FunctionTask>(std::move(body)));
        job.append(std::make_unique<FunctionTask>([](TaskContext&) -> TaskOutcome {
            ADD_FAILURE() << "a task ran after the job was stopped";
            return TaskOutcome::done;
        }));
        EXPECT_ANY_THROW(job.run(context));
        return std::pair(job.outcome(), job.failure());
    };
    EXPECT_EQ(end_of([](TaskContext&) -> TaskOutcome {
                  throw FileError("a", 1, "File error!", "x.tif: torn");
              }),
              std::pair(TaskOutcome::failed, std::string("File error!: x.tif: torn")));
    EXPECT_EQ(end_of([](TaskContext& running) {
                  running.abort();
                  return TaskOutcome::done;
              }),
              std::pair(TaskOutcome::aborted, std::string()));
}

TEST(TaskContextTest, ANewStatusStartsAStageAndIsLogged) {
    TaskContext context;
    const LogCapture log;
    context.status("Reading");
    context.fraction(0.5);
    EXPECT_EQ(context.snapshot().fraction, 0.5);
    context.status("Reading");
    EXPECT_EQ(context.snapshot().fraction, 0.5);
    context.status("Writing", "Writing file:x");
    EXPECT_EQ(context.snapshot().fraction, 0.0);
    EXPECT_EQ(context.snapshot().status, "Writing");
    context.fraction(7);
    EXPECT_EQ(context.snapshot().fraction, 1.0);
    EXPECT_THAT(log.lines(), ElementsAre("4 Reading", "4 Reading", "4 Writing file:x"));
    std::vector<std::string> names;
    for (const StageTime& stage : context.finish_stages())
        names.push_back(stage.name);
    EXPECT_THAT(names, ElementsAre("Reading", "Writing"));
    EXPECT_EQ(context.finish_stages().size(), 2u);
}

TEST(Messages, GoWhereTheProgramSentThemAndADefaultQuestionIsNo) {
    TaskContext context;
    EXPECT_FALSE(context.question("Overwrite?"));
    std::string told;
    set_custom_message_fun([&](const char* text) { told += text; },
                           [](const char*) { return true; });
    context.message("Done");
    EXPECT_TRUE(context.question("Overwrite?"));
    set_default_message_fun();
    EXPECT_FALSE(context.question("Overwrite?"));
    EXPECT_EQ(told, "Done");
}

}  // namespace
}  // namespace vyn
