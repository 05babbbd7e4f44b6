#include <fstream>

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "core/errors.h"
#include "core/keys.h"
#include "schedule/point_lock.h"
#include "schedule/point_state.h"
#include "tests/support/temporary_folder.h"

namespace vyn::test {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::HasSubstr;
using State = PointLock::State;

/// Last touched so many seconds ago.
void set_age(const fs::path& file, double seconds) {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    now.tv_sec -= static_cast<time_t>(seconds);
    const std::array times{now, now};
    ASSERT_EQ(utimensat(AT_FDCWD, file.c_str(), times.data(), 0), 0);
}

std::string this_host() {
    std::array<char, 256> host{};
    gethostname(host.data(), host.size() - 1);
    return host.data();
}

/// The number of a process that is no more.
pid_t dead_process() {
    const pid_t child = fork();
    if (child == 0) _exit(0);
    waitpid(child, nullptr, 0);
    return child;
}

TEST(PointLock, IsHeldByOneAndGoesWithIt) {
    const TemporaryFolder folder;
    {
        const PointLock first(folder.path());
        ASSERT_EQ(first.state(), State::held);
        const PointLock second(folder.path());
        EXPECT_EQ(second.state(), State::taken);
        const std::string me = "process " + std::to_string(getpid()) + " on " + this_host();
        EXPECT_EQ(second.holder(), me);
        EXPECT_EQ(PointLock::holder_of(folder.path()), me);
    }
    EXPECT_EQ(PointLock::holder_of(folder.path()), "");
    EXPECT_TRUE(fs::is_empty(folder.path()));
    const PointLock nowhere(folder / "no_such_folder");
    EXPECT_EQ(nowhere.state(), State::impossible);
    EXPECT_THAT(nowhere.holder(), HasSubstr("No such file"));
}

struct HolderCase {
    const char* name;
    std::string holder;
    double age;
    State state;
};

class LockOf : public testing::TestWithParam<HolderCase> {};

TEST_P(LockOf, IsTakenOverFromTheDeadOnly) {
    const TemporaryFolder folder;
    put_file(folder / "lock", GetParam().holder);
    set_age(folder / "lock", GetParam().age);
    const bool dead = GetParam().state == State::held;
    EXPECT_EQ(PointLock::holder_of(folder.path()), dead ? "" : GetParam().holder);
    const PointLock lock(folder.path());
    EXPECT_EQ(lock.state(), GetParam().state);
    EXPECT_EQ(lock.holder() == GetParam().holder, !dead);
    EXPECT_EQ(std::distance(fs::directory_iterator(folder.path()), {}), 1);  // nothing set aside
}

INSTANTIATE_TEST_SUITE_P(
    Holders, LockOf,
    testing::Values(HolderCase{"living_here",
                               "process " + std::to_string(getpid()) + " on " + this_host(), 60,
                               State::taken},
                    HolderCase{"dead_here",
                               "process " + std::to_string(dead_process()) + " on " + this_host(),
                               0, State::held},
                    HolderCase{"young_elsewhere", "process 1 on elsewhere",
                               PointLock::stale_after - 30, State::taken},
                    HolderCase{"old_elsewhere", "process 1 on elsewhere",
                               PointLock::stale_after + 30, State::held},
                    HolderCase{"old_and_empty", "", PointLock::stale_after + 30, State::held}),
    [](const auto& test) { return test.param.name; });

TEST(PointLock, TouchedIsNotStaleAndOfSeveralTakersOneGetsADeadOnes) {
    const TemporaryFolder folder;
    const fs::path file = folder / "lock";
    {
        const PointLock lock(folder.path());
        set_age(file, PointLock::stale_after + 30);
        lock.touch();
        EXPECT_EQ(PointLock(folder.path()).state(), State::taken);
    }
    constexpr int takers = 8;
    for (int round = 0; round < 20; ++round) {
        put_file(file, "process " + std::to_string(dead_process()) + " on " + this_host());
        std::array<int, 2> go{};
        std::array<int, 2> told{};
        std::array<int, 2> stay{};
        ASSERT_EQ(pipe(go.data()) + pipe(told.data()) + pipe(stay.data()), 0);
        const auto until_closed = [](std::array<int, 2>& ends) {
            close(ends[1]);
            char byte = 0;
            while (::read(ends[0], &byte, 1) > 0) {
            }
        };
        std::vector<pid_t> children;
        for (int i = 0; i < takers; ++i) {
            children.push_back(fork());
            if (children.back() != 0) continue;
            close(stay[1]);
            until_closed(go);
            const PointLock lock(folder.path());
            const char held = lock.state() == State::held ? 1 : 0;
            if (::write(told[1], &held, 1) != 1) _exit(1);
            until_closed(stay);  // the holder lives while the others try
            _exit(0);
        }
        close(go[1]);
        int held = 0;
        for (int i = 0; i < takers; ++i) {
            char one = 0;
            ASSERT_EQ(::read(told[0], &one, 1), 1);
            held += one;
        }
        close(stay[1]);
        for (const pid_t child : children)
            waitpid(child, nullptr, 0);
        for (const int end : {go[0], told[0], told[1], stay[0]})
            close(end);
        EXPECT_EQ(held, 1);
        fs::remove(file);
    }
}

/// A point of a base without settings that names one input.
struct OnePoint {
    explicit OnePoint(const fs::path& folder) {
        auto base = std::make_shared<BaseProject>();
        base->file = folder / "base.xml";
        point.name = "a";
        point.digest = "d";
        point.base = base;
        point.settings = {{std::string(keys::wind_on_sens_file.path), any(std::string("on.tif"))}};
    }
    SchedulePoint point;
};

TEST(PointState, IsReadAsItWasWritten) {
    const TemporaryFolder folder;
    EXPECT_FALSE(read_state(folder.path()));
    PointState state;
    state.outcome = PointState::Outcome::aborted;
    state.reason = "\"quoted\"\nand \xFF bytes";
    state.digest = "d";
    state.attempt = "host/1/x";
    state.started = state.finished = utc_now();
    state.quantity = "P, Pa";
    state.inputs = {{"role", "/a/b", 1234567890123, -5, "sha"}};
    state.warning_kinds = {{"saturation", 2}};
    state.warnings = {"one", "two"};
    state.figures = {{"rms_px", 0.1}, {"mean", 1e300}};
    write_state(folder.path(), state);
    const std::optional<PointState> again = read_state(folder.path());
    ASSERT_TRUE(again);
    EXPECT_EQ(again->outcome, state.outcome);
    EXPECT_THAT(again->reason, HasSubstr("\"quoted\"\nand "));
    EXPECT_EQ(again->attempt, state.attempt);
    EXPECT_EQ(again->figures, state.figures);
    EXPECT_EQ(again->warning_kinds, state.warning_kinds);
    EXPECT_THAT(again->warnings, ElementsAre("one", "two"));
    ASSERT_EQ(again->inputs.size(), 1U);
    EXPECT_EQ(again->inputs[0].size, 1234567890123U);
    EXPECT_EQ(again->inputs[0].time, -5);

    const std::string text = get_file(folder / "state.json");
    for (const std::string& damaged :
         {text.substr(0, text.size() / 2), std::string("[]"), std::string("{\"format\": 99}")}) {
        put_file(folder / "state.json", damaged);
        EXPECT_FALSE(read_state(folder.path())) << damaged;
        EXPECT_THROW(parse_state(damaged, "x"), FileError);
    }
}

TEST(PointState, TellsWhatChangedSince) {
    const TemporaryFolder folder;
    const fs::path picture = folder / "on.tif";
    put_file(picture, "pixels");
    OnePoint one(folder.path());
    PointState state;
    state.digest = "d";
    state.inputs = stamp_inputs(one.point, {});
    ASSERT_EQ(state.inputs.size(), 1U);
    EXPECT_EQ(state.inputs[0].sha256.size(), 64U);
    EXPECT_EQ(change_since(state, one.point), "");

    set_age(picture, 1000);  // touched, with the same content
    EXPECT_EQ(change_since(state, one.point), "");
    put_file(picture, "PIXELS");
    set_age(picture, 2000);
    EXPECT_EQ(change_since(state, one.point), "on.tif changed");
    put_file(picture, "more pixels");
    EXPECT_EQ(change_since(state, one.point), "on.tif changed");
    fs::remove(picture);
    EXPECT_EQ(change_since(state, one.point), "on.tif is gone");
    put_file(picture, "pixels");
    put_file(folder / "off.tif", "");
    one.point.settings.emplace_back(keys::wind_off_sens_file.path, any(std::string("off.tif")));
    EXPECT_EQ(change_since(state, one.point), "off.tif is new");
    one.point.settings.clear();
    EXPECT_EQ(change_since(state, one.point), "an input file was taken out");
    one.point.digest = "e";
    EXPECT_THAT(change_since(state, one.point), HasSubstr("table"));
}

}  // namespace
}  // namespace vyn::test
