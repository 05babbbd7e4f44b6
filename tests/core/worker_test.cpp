#include "core/worker.h"

#include <functional>
#include <stdexcept>

#include <gmock/gmock.h>

#include "core/errors.h"
#include "core/messages.h"
#include "tests/support/log_capture.h"

namespace vyn {
namespace {

using test::LogCapture;
using testing::ElementsAre;

constexpr std::uint32_t long_enough = 10'000;
using Body = std::function<TaskOutcome(TaskContext&)>;

struct FunctionTask final : Task {
    explicit FunctionTask(Body body) : body_(std::move(body)) {}
    TaskOutcome run(TaskContext& context) override { return body_(context); }
    Body body_;
};

/// The task, which only the worker keeps.
std::weak_ptr<Task> post(Worker& worker, Body body) {
    auto task = std::make_shared<FunctionTask>(std::move(body));
    worker.post(task, std::make_shared<TaskContext>());
    return task;
}

/// A body with this outcome.
Body ends(TaskOutcome outcome) {
    return [outcome](TaskContext&) { return outcome; };
}

TEST(WorkerTest, AFailedTaskLeavesOneLineAtLevelOneAndTheWorkerReady) {
    const std::vector<std::pair<std::function<void()>, const char*>> failures{
        {[] {
             throw SystemError("It broke", 5, "", {"a/b", 12});
         },
         "1 Worker thread system Error:It broke at a/b:12"},
        {[] {
             throw FileError("File error!", "x.tif: no", {"a/b", 12});
         },
         "1 Worker thread generic Error File error! at a/b:12"},
        {[] { throw std::length_error("too long"); }, "1 Worker thread unknown exception"},
        {[] { throw 1; }, "1 Worker thread unknown exception"}};
    Worker worker;
    for (const auto& [fail, line] : failures) {
        const LogCapture log(LogLevel::failure);
        post(worker, [&fail = fail](TaskContext&) {
            fail();
            return TaskOutcome::done;
        });
        ASSERT_TRUE(worker.wait_done(long_enough));
        EXPECT_THAT(log.lines(), ElementsAre(line));
    }
}

TEST(WorkerTest, HoldsItsMutexAndIsNotIdleWhileATaskRuns) {
    Worker worker;
    Event running;
    Event go_on;
    post(worker, [&](TaskContext&) {
        running.set();
        wait(go_on, long_enough);
        return TaskOutcome::done;
    });
    ASSERT_TRUE(wait(running, long_enough));
    EXPECT_FALSE(idle_flag());
    EXPECT_FALSE(worker.task_mutex().lock(0));
    EXPECT_FALSE(worker.wait_done(0));
    EXPECT_THROW(post(worker, ends(TaskOutcome::done)), StateError);
    go_on.set();
    EXPECT_TRUE(worker.wait_done(long_enough));
    EXPECT_TRUE(worker.task_mutex().lock(long_enough));
    worker.task_mutex().unlock();
}

TEST(WorkerTest, ReleasesATaskThatEndedAndTakesTheNextAtOnce) {
    Worker worker;
    int runs = 0;
    for (int i = 0; i < 300; ++i) {
        const auto task = post(worker, [&](TaskContext&) {
            ++runs;
            return TaskOutcome::done;
        });
        ASSERT_TRUE(worker.wait_done(long_enough));
        ASSERT_EQ(runs, i + 1) << "an old end was taken for the new one's";
        ASSERT_TRUE(task.expired());
    }
}

TEST(WorkerTest, ItsEndAbortsTheRunningTask) {
    const LogCapture log;
    {
        Worker worker;
        post(worker, [](TaskContext& context) -> TaskOutcome {
            while (true)
                throw_if_aborted(context);
        });
    }
    EXPECT_THAT(log.lines(), ElementsAre("3 Aborted"));
    EXPECT_TRUE(idle_flag());
}

TEST(JobTest, EndsAsItsWorstTaskStopsAtAFailedOneAndKeepsWhy) {
    using enum TaskOutcome;
    const Body torn = [](TaskContext&) -> TaskOutcome {
        throw FileError("File error!", "x.tif: torn");
    };
    const Body abort = [](TaskContext& running) {
        running.abort();
        return done;
    };
    struct Case {
        std::vector<Body> bodies;
        TaskOutcome outcome;
        int runs;
        bool throws = false;
        std::string failure = {};
    };
    for (const Case& c :
         {Case{{}, idle, 0}, Case{{ends(done_with_errors), ends(done)}, done_with_errors, 2},
          Case{{ends(done), ends(failed), ends(done)}, failed, 2},
          Case{{torn, ends(done)}, failed, 1, true, "File error!: x.tif: torn"},
          Case{{abort, ends(done)}, aborted, 1, true}}) {
        TaskContext context;
        Job job;
        int runs = 0;
        for (const Body& body : c.bodies)
            job.append(std::make_unique<FunctionTask>([&](TaskContext& running) {
                ++runs;
                return body(running);
            }));
        if (c.throws)
            EXPECT_ANY_THROW(job.run(context));
        else
            EXPECT_EQ(job.run(context), c.outcome);
        EXPECT_EQ(job.outcome(), c.outcome);
        EXPECT_EQ(job.failure(), c.failure);
        EXPECT_EQ(runs, c.runs);
    }
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
