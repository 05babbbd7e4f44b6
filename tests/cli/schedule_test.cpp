#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <future>
#include <iterator>
#include <map>
#include <random>
#include <set>
#include <sstream>
#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "api/image_io.h"
#include "tests/cli/program.h"
#include "tests/support/temporary_folder.h"

namespace vyn::test {
namespace {

namespace fs = std::filesystem;
using nlohmann::json;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

using Arguments = std::vector<std::string>;
/// What each point's folder holds, by name of the point.
using Texts = std::map<std::string, std::string>;

constexpr int points = 8;

std::string point_name(int number) {
    return "p00" + std::to_string(number);
}

/// A run of eight small points, made once for all tests; each works in a copy of it.
class ScheduleRun : public testing::Test {
  protected:
    static void SetUpTestSuite() {
        sample_ = std::make_unique<TemporaryFolder>();
        const ProgramRun made = run_program({"sample", *sample_ / "s", "--size", "160x120",
                                             "--points", std::to_string(points), "--quiet"});
        ASSERT_EQ(made.status, 0) << made.err;
    }
    static void TearDownTestSuite() { sample_.reset(); }

    ScheduleRun() {
        fs::copy(*sample_ / "s", folder_ / "s");
        table_ = folder_ / "s/run.csv";
    }

    std::string in(const std::string& name) const { return folder_ / "s" / name; }
    std::string of(const std::string& point, const std::string& file) const {
        return results_ / point / file;
    }

    ProgramRun schedule(const std::string& command, Arguments further = {}) const {
        return run_program(arguments(command, std::move(further)));
    }
    /// The same while the test goes on; `pid` gets its process.
    std::future<ProgramRun> started(Arguments further, pid_t& pid) const {
        const fs::path file = folder_ / "pid";
        fs::remove(file);
        auto run = std::async(std::launch::async, [this, further, file] {
            return run_program_redirected(arguments("run", further),
                                          "& echo $! > " + file.string() + "; wait $!");
        });
        EXPECT_TRUE(eventually([&] { return !get_text(file).empty(); }));
        pid = std::stoi(get_text(file));
        return run;
    }
    Arguments arguments(const std::string& command, Arguments further) const {
        further.insert(further.begin(), {"schedule", command, table_, "--results", results_});
        return further;
    }

    static std::string get_text(const fs::path& file) {
        std::ifstream in(file);
        std::stringstream text;
        text << in.rdbuf();
        return text.str();
    }

    /// Looks every millisecond, for a minute.
    template <class Look>
    static bool eventually(const Look& look) {
        for (int i = 0; i < 60000; ++i) {
            if (look()) return true;
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        return false;
    }

    /// One of the processes of points that the scheduler has.
    static pid_t child_of(pid_t scheduler) {
        const std::string id = std::to_string(scheduler);
        pid_t child = 0;
        EXPECT_TRUE(eventually([&] {
            std::istringstream children(get_text("/proc/" + id + "/task/" + id + "/children"));
            return static_cast<bool>(children >> child);
        }));
        return child;
    }

    Texts each(const std::string& file) const {
        Texts texts;
        for (int i = 1; i <= points; ++i)
            if (fs::exists(of(point_name(i), file)))
                texts[point_name(i)] = get_file(of(point_name(i), file));
        return texts;
    }
    Texts attempts() const {
        Texts attempts;
        for (const auto& [point, state] : each("state.json"))
            attempts[point] = json::parse(state).at("attempt");
        return attempts;
    }
    /// The points that a run says it computed, in their order.
    static std::vector<std::string> computed(const std::string& err, const char* how = " done") {
        std::vector<std::string> names;
        std::istringstream lines(err);
        for (std::string line; std::getline(lines, line);)
            if (const std::size_t at = line.find("] "); at != std::string::npos)
                if (line.substr(at + 6).starts_with(how)) names.push_back(line.substr(at + 2, 4));
        std::ranges::sort(names);
        return names;
    }
    static std::vector<std::string> all_points() {
        std::vector<std::string> names;
        for (int i = 1; i <= points; ++i)
            names.push_back(point_name(i));
        return names;
    }

    /// The fields are those that each point's project gives alone, whoever computed them.
    void expect_fields_of_single_runs(const Arguments& further = {}) const {
        for (int i = 1; i <= points; ++i) {
            const std::string alone = folder_ / "alone.imp";
            Arguments arguments{"run", of(point_name(i), "point.xml"), "--save", "field_P=" + alone,
                                "--force"};
            arguments.insert(arguments.end(), further.begin(), further.end());
            const ProgramRun run = run_program(arguments);
            ASSERT_EQ(run.status, 0) << run.err;
            EXPECT_EQ(get_file(of(point_name(i), "pressure.imp")), get_file(alone)) << i;
        }
    }
    /// Markers whose numbers are those of others.
    static std::string exchanged(std::string markers) {
        for (const char* axis : {"\"x\">", "\"y\">"}) {
            const std::size_t at = markers.find(axis) + std::strlen(axis);
            const std::size_t end = markers.find('<', at);
            std::istringstream words(markers.substr(at, end - at));
            std::vector<std::string> places{std::istream_iterator<std::string>(words), {}};
            std::ranges::shuffle(places, std::mt19937(1));  // the same way for both axes
            std::string text;
            for (const std::string& place : places)
                text += place + " ";
            markers.replace(at, end - at, text);
        }
        return markers;
    }
    void expect_no_locks() const {
        for (const auto& entry : fs::recursive_directory_iterator(results_))
            EXPECT_NE(entry.path().filename(), "lock") << entry.path();
    }

    static std::unique_ptr<TemporaryFolder> sample_;
    TemporaryFolder folder_;
    std::string table_;
    fs::path results_ = folder_ / "results";
};

std::unique_ptr<TemporaryFolder> ScheduleRun::sample_;

TEST_F(ScheduleRun, GivesTheSameBitsOnAnyNumberOfJobsAndThreads) {
    const ProgramRun first = schedule("run", {"--jobs", "1"});
    ASSERT_EQ(first.status, 0) << first.err;
    EXPECT_EQ(computed(first.err), all_points());
    expect_fields_of_single_runs();
    const Texts fields = each("pressure.imp");
    ASSERT_EQ(fields.size(), points);
    EXPECT_EQ(std::set<std::string>({fields.at("p001"), fields.at("p002")}).size(), 2U);
    results_ = folder_ / "others";
    const ProgramRun other = run_program(
        {"--threads", "2", "schedule", "run", table_, "--results", results_, "--jobs", "3"});
    ASSERT_EQ(other.status, 0) << other.err;
    EXPECT_EQ(each("pressure.imp"), fields);

    // Nothing is computed again; everything is, without --resume.
    const Texts before = attempts();
    EXPECT_EQ(computed(schedule("run", {"--resume"}).err, " was done before"), all_points());
    EXPECT_EQ(attempts(), before);
    EXPECT_EQ(schedule("status").out, "8 done\n");
    EXPECT_EQ(computed(schedule("run", {"--only", "*3"}).err), Arguments{"p003"});
    EXPECT_NE(attempts(), before);
}

TEST_F(ScheduleRun, NamesFaultsAndComputesOnlyThoseAgain) {
    const std::string table = get_file(table_);
    const std::string markers = get_file(in("wind_on_p004.mrk"));
    fs::rename(in("wind_on_p002.tif"), in("away.tif"));
    put_file(in("wind_on_p004.mrk"), exchanged(markers));
    std::string faulty = table;
    faulty.replace(faulty.find("mark_file\n"), 10, "mark_file,saturation_level\n");
    faulty.replace(faulty.find("p006,,,"), 7, "p006,,,,100");
    put_file(table_, faulty);

    const ProgramRun run = schedule("run");
    EXPECT_EQ(run.status, 1);
    EXPECT_THAT(run.err,
                AllOf(HasSubstr("p002: "), HasSubstr("wind_on_p002.tif"),
                      HasSubstr("p004: the images"), HasSubstr("p006: share of saturated pixels")));
    const ProgramRun status = schedule("status");
    EXPECT_EQ(status.status, 1);
    EXPECT_THAT(status.out, HasSubstr("5 done, 1 beyond a limit, 2 failed\n"));
    EXPECT_EQ(each("pressure.imp").size(), 6U);
    EXPECT_EQ(schedule("summary", {"--limit", "saturated=1"}).status, 1);
    EXPECT_THAT(get_file(results_ / "index.html"), HasSubstr("6 done, 2 failed"));
    EXPECT_THAT(get_file(results_ / "summary.csv"), HasSubstr("p004,,failed,"));
    const ProgramRun check = schedule("check");
    EXPECT_EQ(check.status, 1);
    EXPECT_EQ(check.out, "row 4, column wind_on_file: there is no file wind_on_p002.tif\n");

    const Texts before = attempts();
    fs::rename(in("away.tif"), in("wind_on_p002.tif"));
    put_file(in("wind_on_p004.mrk"), markers);
    put_file(table_, table);
    EXPECT_THAT(schedule("status").out, HasSubstr("p006: out of date: the table"));
    const ProgramRun again = schedule("run", {"--resume"});
    EXPECT_EQ(again.status, 0) << again.err;
    EXPECT_EQ(computed(again.err), (Arguments{"p002", "p004", "p006"}));
    for (const auto& [point, attempt] : attempts())
        EXPECT_EQ(attempt != before.at(point),
                  point == "p002" || point == "p004" || point == "p006")
            << point;
    EXPECT_EQ(schedule("status").out, "8 done\n");
    expect_fields_of_single_runs();
}

/// An old field would pass as that of the computation that failed; other files are not its own,
/// whatever they are called.
TEST_F(ScheduleRun, TakesTheOldFieldOfAFailedPointAwayAndNothingElse) {
    ASSERT_EQ(schedule("run", {"--only", "p002"}).status, 0);
    ASSERT_TRUE(fs::exists(of("p002", "pressure.imp")));
    fs::remove(in("wind_on_p002.tif"));
    const fs::path before = fs::current_path();
    fs::current_path(folder_.path());
    put_file("pressure.imp", "of the user");
    EXPECT_EQ(schedule("run", {"--only", "p002"}).status, 1);
    EXPECT_EQ(get_text("pressure.imp"), "of the user");
    fs::current_path(before);
    EXPECT_FALSE(fs::exists(of("p002", "pressure.imp")));
    EXPECT_FALSE(fs::exists(of("p002", "thumbnail.png")));
}

TEST_F(ScheduleRun, IsSharedOutAmongSchedulersWithoutComputingTwice) {
    for (const Arguments& further : {Arguments{"--jobs", "1"}, Arguments{"--resume"}}) {
        auto other = std::async(std::launch::async, [&] { return schedule("run", further); });
        const ProgramRun one = schedule("run", further);
        const ProgramRun two = other.get();
        EXPECT_EQ(one.status + two.status, 0) << one.err << two.err;
        EXPECT_EQ(computed(one.err + two.err), all_points());
        expect_no_locks();
        EXPECT_EQ(schedule("status").out, "8 done\n");
        results_ = folder_ / "again";
    }
    results_ = folder_ / "parts";
    std::string told;
    for (const char* part : {"1/3", "2/3", "3/3"})
        told += schedule("run", {"--shard", part}).err;
    EXPECT_EQ(computed(told), all_points());
    EXPECT_EQ(schedule("run", {"--shard", "4/3"}).status, 2);
}

/// Points slow enough to be killed.
class KilledRun : public ScheduleRun {
  protected:
    static void SetUpTestSuite() {
        sample_ = std::make_unique<TemporaryFolder>();
        const ProgramRun made = run_program(
            {"sample", *sample_ / "s", "--size", "1000x800", "--points", "3", "--quiet"});
        ASSERT_EQ(made.status, 0) << made.err;
    }

    /// What a run that nobody disturbs gives.
    void expect_whole() {
        const Texts fields = each("pressure.imp");
        EXPECT_EQ(fields.size(), 3U);
        results_ = folder_ / "undisturbed";
        EXPECT_EQ(schedule("run").status, 0);
        EXPECT_EQ(each("pressure.imp"), fields);
    }
};

TEST_F(KilledRun, LosesOnlyThePointWhoseProcessDied) {
    pid_t scheduler = 0;
    auto run = started({"--jobs", "1"}, scheduler);
    kill(child_of(scheduler), SIGKILL);
    const ProgramRun ended = run.get();
    EXPECT_EQ(ended.status, 1);
    EXPECT_THAT(ended.err, HasSubstr("p001: its process ended early: Killed"));
    EXPECT_EQ(computed(ended.err), (Arguments{"p002", "p003"}));
    expect_no_locks();
    EXPECT_EQ(computed(schedule("run", {"--resume"}).err), Arguments{"p001"});
    expect_whole();
}

TEST_F(KilledRun, GoesOnAfterTheSchedulerDied) {
    pid_t scheduler = 0;
    auto run = started({"--jobs", "2"}, scheduler);
    const pid_t point = child_of(scheduler);
    EXPECT_THAT(schedule("status").out, HasSubstr("running"));
    kill(scheduler, SIGKILL);
    EXPECT_EQ(run.get().status, 128 + SIGKILL);
    EXPECT_TRUE(eventually([&] { return kill(point, 0) != 0; }));  // it went with its scheduler
    EXPECT_THAT(schedule("status").out, Not(HasSubstr("running")));
    const ProgramRun again = schedule("run", {"--resume"});
    EXPECT_EQ(again.status, 0) << again.err;
    expect_no_locks();
    expect_whole();
}

TEST_F(KilledRun, StopsWhenInterruptedAndTellsOfAnEditedTable) {
    pid_t scheduler = 0;
    auto run = started({"--jobs", "1"}, scheduler);
    child_of(scheduler);
    kill(scheduler, SIGINT);
    const ProgramRun ended = run.get();
    EXPECT_EQ(ended.status, 1);
    EXPECT_THAT(ended.err, HasSubstr("interrupted; run --resume goes on"));
    EXPECT_THAT(schedule("status").out, AllOf(HasSubstr("1 aborted"), HasSubstr("2 waiting")));
    expect_no_locks();

    run = started({"--resume", "--jobs", "1"}, scheduler);
    child_of(scheduler);
    put_file(table_, get_file(table_) + "p004,,wind_on_p001.tif,wind_on_p001.mrk\n");
    const ProgramRun edited = run.get();
    EXPECT_EQ(edited.status, 0) << edited.err;
    EXPECT_THAT(edited.err, HasSubstr("run.csv changed while it ran"));
    EXPECT_EQ(computed(schedule("run", {"--resume"}).err), Arguments{"p004"});
    fs::remove_all(results_ / "p004");
    put_file(table_, get_file(*sample_ / "s/run.csv"));
    expect_whole();
}

/// On a disk of 33 MB the scheduler's reserve is soon gone; where none can be mounted the test is
/// skipped.
TEST_F(ScheduleRun, StopsBeforeADiskIsFullAndGoesOnWhenThereIsRoom) {
    if (std::system("unshare -rm true 2>/dev/null") != 0) GTEST_SKIP() << "no disk can be mounted";
    put_file(folder_ / "disk.sh", R"(set -e
mkdir "$1/results"
mount -t tmpfs -o size=33m small "$1/results"
! "$2" schedule run "$3" --results "$1/results" --jobs 1 2>"$1/full"
"$2" schedule status "$3" --results "$1/results" >"$1/status" || true
mount -o remount,size=90m "$1/results"
"$2" schedule run "$3" --results "$1/results" --resume 2>"$1/again"
cp -r "$1/results" "$1/copied"
)");
    const std::string command = "unshare -rm bash " + (folder_ / "disk.sh").string() + " " +
                                folder_.path().string() + " " + batch_program() + " " + table_;
    ASSERT_EQ(std::system(command.c_str()), 0) << get_text(folder_ / "full");
    EXPECT_THAT(get_file(folder_ / "full"), HasSubstr("the disk is full; no further point"));
    EXPECT_THAT(get_file(folder_ / "status"), AllOf(HasSubstr("waiting"), HasSubstr("done")));
    EXPECT_EQ(computed(get_file(folder_ / "full") + get_file(folder_ / "again")), all_points());
    results_ = folder_ / "copied";
    expect_fields_of_single_runs();
}

TEST_F(ScheduleRun, StandsOnAContainerOrFindsMarkersItself) {
    ASSERT_EQ(schedule("run").status, 0);
    const auto values_of = [&](const std::string& point) {
        const image field = read_image(of(point, "pressure.imp"));
        std::vector<float> values;
        for (int y = 0; y < field.height(); ++y)
            for (int x = 0; x < field.width(); ++x)
                values.push_back(field.mask()(x, y) != 0 ? -1 : field.values()(x, y));
        return values;
    };
    if (get_2dio().formats().empty()) register_plugins("*.2dio");
    std::vector<std::vector<float>> expected;
    for (int i = 1; i <= points; ++i)
        expected.push_back(values_of(point_name(i)));
    ASSERT_EQ(run_program({"run", in("project.xml"), "--save-project", in("base.ims")}).status, 0);
    std::string table = get_file(table_);
    table.replace(table.find("project.xml"), 11, "base.ims");
    put_file(table_, table);
    results_ = folder_ / "contained";
    const ProgramRun contained = schedule("run");
    EXPECT_EQ(contained.status, 0) << contained.err;
    for (int i = 1; i <= points; ++i)
        EXPECT_EQ(values_of(point_name(i)), expected[static_cast<std::size_t>(i - 1)]) << i;

    std::string project = get_file(in("project.xml"));
    for (const std::string name : {"wind_off.mrk", "wind_on.mrk"})
        project.replace(project.find('"' + name + '"') + 1, name.size(), "");
    put_file(in("unmarked.xml"), project);
    table = "point,base,auto_markers,wind_on_file\n/.*/,unmarked.xml,1,wind_on_{point}.tif\n";
    for (const std::string& point : all_points())
        table += point + ",,,\n";
    put_file(table_, table);
    results_ = folder_ / "found";
    const ProgramRun found = schedule("run");
    EXPECT_EQ(found.status, 0) << found.err;
    expect_fields_of_single_runs({"--auto-markers"});
}

/// The mesh and its rays are prepared once and used by every point.
TEST(ScheduleOfAModel, SharesItsMeshWithTheSameBits) {
    const TemporaryFolder folder;
    ASSERT_EQ(run_program({"sample", folder / "m", "--mesh", "--size", "320x240", "--mesh-nodes",
                           "4000", "--quiet"})
                  .status,
              0);
    put_file(folder / "m/run.csv",
             "point,base,wind_off_p [Pa]\na,project.xml,100000\nb,project.xml,101000\n");
    const ProgramRun run = run_program({"schedule", "run", folder / "m/run.csv"});
    ASSERT_EQ(run.status, 0) << run.err;
    std::set<std::string> fields;
    for (const std::string point : {"a", "b"}) {
        const fs::path in = folder / "m/run_results" / point;
        const ProgramRun alone =
            run_program({"run", in / "point.xml", "--save-mesh", folder / "alone.vtp", "--force"});
        ASSERT_EQ(alone.status, 0) << alone.err;
        fields.insert(get_file(in / "field.vtp"));
        EXPECT_EQ(get_file(in / "field.vtp"), get_file(folder / "alone.vtp"));
    }
    EXPECT_EQ(fields.size(), 2U);
}

}  // namespace
}  // namespace vyn::test
