#include <filesystem>
#include <functional>
#include <iostream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <unistd.h>

#include "core/file_lock.h"
#include "process/point/project_paths.h"
#include "tests/cli/program.h"
#include "tests/support/temporary_folder.h"

namespace vyn::test {
namespace {

using testing::HasSubstr;
using testing::Not;

void replace_in(const std::filesystem::path& file, const std::string& old,
                const std::string& with) {
    std::string text = get_file(file);
    const std::size_t at = text.find(old);
    ASSERT_NE(at, std::string::npos) << file << ": " << old;
    put_file(file, text.replace(at, old.size(), with));
}

/// The markers of the wind-on picture as text, with what follows them.
void markers_as_text(const std::filesystem::path& point, const std::string& behind) {
    ASSERT_EQ(run_program({"markers", point / "wind_on.mrk", point / "wind_on.mpt"}).status, 0);
    put_file(point / "wind_on.mpt", get_file(point / "wind_on.mpt") + behind);
    replace_in(point / "project.xml", "\"wind_on.mrk\"", "\"wind_on.mpt\"");
}

/// A good point with one thing made wrong.
struct WrongInput {
    const char* name;
    std::function<void(const std::filesystem::path& point)> spoil;
    int status;
    std::vector<std::string> told;
    std::vector<std::string> settings{};
};

void PrintTo(const WrongInput& wrong, std::ostream* stream) {
    *stream << wrong.name;
}

class WrongInputs : public testing::TestWithParam<WrongInput> {};

TEST_P(WrongInputs, AreNotTakenWithoutAWord) {
    const TemporaryFolder folder;
    const std::filesystem::path point = folder / "point";
    ASSERT_EQ(run_program({"sample", point, "--size", "240x180", "-q"}).status, 0);
    GetParam().spoil(point);
    std::vector<std::string> arguments{"run", point / "project.xml", "--report", folder / "r.json"};
    for (const std::string& setting : GetParam().settings)
        arguments.insert(arguments.end(), {"--set", setting});
    const ProgramRun run = run_program(arguments);
    EXPECT_EQ(run.status, GetParam().status) << run.err;
    const auto report = nlohmann::json::parse(get_file(folder / "r.json"));
    const std::string warnings =
        report.at("warnings").dump() + (run.status == 0 ? "" : report.value("failure", ""));
    for (const std::string& words : GetParam().told) {
        EXPECT_THAT(run.err, HasSubstr(words));
        EXPECT_THAT(warnings, HasSubstr(nlohmann::json(words).dump().substr(
                                  1, nlohmann::json(words).dump().size() - 2)));
    }
}

const auto nothing = [](const std::filesystem::path&) {};
const auto in_file = [](const char* file, std::string old, std::string with) {
    return [=](const std::filesystem::path& point) { replace_in(point / file, old, with); };
};

INSTANTIATE_TEST_SUITE_P(
    Points, WrongInputs,
    testing::Values(WrongInput{"swapped_numbers",
                               in_file("wind_on.mrk", "        1    2    3", "        3    2    1"),
                               0,
                               {"Marker No 1 is 5", "Marker No 3 is 5", "left out"}},
                    WrongInput{"decimal_comma",
                               in_file("wind_on.mrk", "41.3686", "41,3686"),
                               1,
                               {"wind_on.mrk: column y", "41,3686", "decimal point"}},
                    WrongInput{"no_column",
                               in_file("wind_on.mrk", "id=\"y\"", "id=\"why\""),
                               1,
                               {"wind_on.mrk: there is no column y"}},
                    WrongInput{"text_cut_off",
                               [](const auto& point) { markers_as_text(point, "7 8 0 O 1\n"); },
                               0,
                               {"wind_on.mpt: marker 31 (line 31)", "\"O\""}},
                    WrongInput{"value_without_type",
                               in_file("project.xml", "<static_p type=\"double\" ", "<static_p "),
                               1,
                               {"project.xml:", "<static_p>: a value without its type"}},
                    WrongInput{"misspelled_name",
                               in_file("project.xml", "<mach ", "<mech "),
                               0,
                               {"project/flow/mech", "did you mean"}},
                    WrongInput{"out_of_range",
                               in_file("project.xml", "<markers_enable type=\"int\" value=\"1\"",
                                       "<markers_enable type=\"int\" value=\"7\""),
                               0,
                               {"markers_enable: \"7\" is not what it takes", "as it stands"}},
                    WrongInput{"not_finite",
                               in_file("project.xml", "value=\"90000\"", "value=\"nan\""),
                               1,
                               {"project/flow/static_p: nan"}},
                    WrongInput{"lens_without_centre",
                               nothing,
                               0,
                               {"119.5 and 89.5"},
                               {"project/sens_cam/cx=0", "project/sens_cam/cy=0"}},
                    WrongInput{"saturated",
                               nothing,
                               0,
                               {"wind_off_sens: ", "saturated"},
                               {"project/processing/saturation_level=30000"}},
                    WrongInput{"all_markers_outside",
                               [](const auto& point) {
                                   put_file(point / "out.mpt",
                                            "900 10 0 0 1\n910 10 0 0 1\n900 20 0 0 1\n");
                               },
                               0,
                               {"all 3 markers lie outside"},
                               {"project/test_point/wind_on_sens_mark_file=out.mpt"}}),
    [](const auto& instance) { return std::string(instance.param.name); });

/// Where the flat field of a camera record is looked for, in which order.
TEST(FlatField, LiesBesideItsCamerasRecord) {
    const TemporaryFolder folder;
    const std::filesystem::path point = folder / "point";
    ASSERT_EQ(run_program({"sample", point, "--size", "64x64", "-q"}).status, 0);
    std::filesystem::create_directory(folder / "camera");
    replace_in(point / "project.xml", "\"camera.ini\"", "\"../camera/camera.ini\"");
    const auto flat = [&] {
        const ProgramRun run = run_program(
            {"run", point / "project.xml", "-q", "--report", folder / "r.json", "--force"});
        EXPECT_EQ(run.status, 0) << run.err;
        std::string found;
        const auto report = nlohmann::json::parse(get_file(folder / "r.json"));
        for (const auto& input : report.at("inputs"))
            if (const std::string file = input.at("file"); file.ends_with("flat.tif")) found = file;
        return std::filesystem::weakly_canonical(found);
    };
    EXPECT_EQ(flat(), std::filesystem::canonical(point / "flat.tif"));
    std::filesystem::copy_file(point / "flat.tif", folder / "camera/flat.tif");
    EXPECT_EQ(flat(), std::filesystem::canonical(folder / "camera/flat.tif"));
}

/// Markers that were found once are in the container, and give the same bits again.
TEST(Container, KeepsFoundMarkers) {
    const TemporaryFolder folder;
    const std::filesystem::path point = folder / "point";
    ASSERT_EQ(run_program({"sample", point, "--size", "240x180", "-q"}).status, 0);
    const auto run = [&](const std::string& project, const std::string& field,
                         std::vector<std::string> more) {
        more.insert(more.begin(),
                    {"run", project, "-q", "--save", "Iref=" + (folder / field).string()});
        const ProgramRun ended = run_program(more);
        EXPECT_EQ(ended.status, 0) << ended.err;
    };
    run(point / "project.xml", "a.fits",
        {"--auto-markers", "--report", folder / "r.json", "--save-project", folder / "a.ims",
         "--set", "project/test_point/wind_off_sens_mark_file=", "--set",
         "project/test_point/wind_on_sens_mark_file="});
    const auto alignment = nlohmann::json::parse(get_file(folder / "r.json")).at("alignment");
    EXPECT_EQ(alignment.at("suggested_order"), 2);
    EXPECT_LT(alignment.at("max_absolute_error_px").get<double>(), 0.05);
    run(folder / "a.ims", "b.fits", {});
    const auto difference = nlohmann::json::parse(
        run_program({"compare", folder / "a.fits", folder / "b.fits", "--json"}).out);
    EXPECT_EQ(difference.at("max_error"), 0);
    EXPECT_GT(difference.at("count"), 20000);
}

TEST(Projects, ThatAreOpenElsewhereAreNotWritten) {
    const TemporaryFolder folder;
    const std::string project = folder / "p.xml";
    ASSERT_EQ(run_program({"new", project}).status, 0);
    const std::string before = get_file(project);
    const FileLock window(project_lock(project));
    for (const auto& arguments :
         {std::vector<std::string>{"new", project, "--force", "--set", "project/flow/mach=0.8"},
          {"run", project, "--save-project", project, "--force"}}) {
        const ProgramRun run = run_program(arguments);
        EXPECT_EQ(run.status, 1);
        EXPECT_THAT(run.err, HasSubstr("is open elsewhere (process " + std::to_string(getpid())));
    }
    EXPECT_EQ(get_file(project), before);
}

/// Neither images nor reports tell where they come from, and a quiet program is quiet.
TEST(Anonymous, TellsNoPathsAndSettings) {
    const TemporaryFolder folder;
    const std::filesystem::path point = folder / "point";
    ASSERT_EQ(run_program({"sample", point, "--size", "240x180", "-q"}).status, 0);
    replace_in(point / "wind_on.mrk", "        1    2    3", "        3    2    1");
    for (const bool anonymous : {false, true}) {
        std::vector<std::string> arguments{"run",      point / "project.xml",
                                           "-q",       "--force",
                                           "--save",   "Iref=" + (folder / "r.tif").string(),
                                           "--report", folder / "r.json",
                                           "--html",   folder / "r.html"};
        if (anonymous) arguments.emplace_back("--anonymous");
        const ProgramRun run = run_program(arguments);
        EXPECT_EQ(run.status, 0);
        EXPECT_EQ(run.err, "");
        std::vector<std::string> copy{"convert", folder / "r.tif", folder / "c.tif", "--force"};
        if (anonymous) copy.emplace_back("--anonymous");
        EXPECT_EQ(run_program(copy).status, 0);
        for (const char* file : {"r.tif", "r.json", "r.html", "c.tif"}) {
            const std::string text = get_file(folder / file);
            EXPECT_EQ(text.find(folder.path().string()) == std::string::npos, anonymous) << file;
        }
        EXPECT_EQ(get_file(folder / "r.tif").find("filter_thinning") == std::string::npos,
                  anonymous);
        EXPECT_EQ(get_file(folder / "r.json").find("gamma11") == std::string::npos, anonymous);
    }
}

/// Of a container the settings stay, so that it gives the same field again, but nobody's names.
TEST(Anonymous, ContainersComputeWithoutNames) {
    const TemporaryFolder folder;
    const std::filesystem::path point = folder / "point";
    ASSERT_EQ(run_program({"sample", point, "--size", "240x180", "-q"}).status, 0);
    const auto run_to = [&](const std::filesystem::path& project, const std::string& to) {
        const ProgramRun run =
            run_program({"run", project, "-q", "--anonymous", "--set",
                         "project/test/test_id=secret", "--save-project", folder / (to + ".ims"),
                         "--save", "field_P=" + (folder / (to + ".tif")).string()});
        EXPECT_EQ(run.status, 0) << run.err;
    };
    run_to(point / "project.xml", "first");
    const ProgramRun settings = run_program({"get", folder / "first.ims"});
    for (const char* name : {"secret", "wind_on.tif", "camera.ini", "/"})
        EXPECT_THAT(settings.out, Not(HasSubstr("=" + std::string(name)))) << name;
    EXPECT_EQ(get_file(folder / "first.ims").find(point.string()), std::string::npos);
    EXPECT_THAT(run_program({"get", folder / "first.ims", "--images"}).out,
                testing::AllOf(HasSubstr("wind_on_sens\t240\t180"), HasSubstr("field_P")));
    run_to(folder / "first.ims", "second");
    EXPECT_THAT(run_program({"compare", folder / "first.tif", folder / "second.tif"}).out,
                HasSubstr("max error        0  "));
}

TEST(SaveField, TouchesNoOtherFieldsFiles) {
    const TemporaryFolder folder;
    const std::filesystem::path point = folder / "point";
    ASSERT_EQ(run_program({"sample", point, "--size", "64x64", "-q"}).status, 0);
    put_file(point / "pressure.mrk", "another field's");
    std::vector<std::string> arguments{"run",   point / "project.xml",
                                       "-q",    "--save-field",
                                       "--set", "project/processing/align/markers_enable=0"};
    for (const char* kind : {"off", "on"})
        arguments.insert(arguments.end(), {"--set", "project/test_point/wind_" + std::string(kind) +
                                                        "_sens_mark_file="});
    const ProgramRun refused = run_program(arguments);
    EXPECT_EQ(refused.status, 1);
    EXPECT_THAT(refused.err, HasSubstr("pressure.mrk (--force replaces it)"));
    EXPECT_FALSE(std::filesystem::exists(point / "pressure.imp"));
    arguments.emplace_back("--force");
    EXPECT_EQ(run_program(arguments).status, 0);
    EXPECT_TRUE(std::filesystem::exists(point / "pressure.imp"));
    EXPECT_FALSE(std::filesystem::exists(point / "pressure.mrk"));
    EXPECT_EQ(get_file(point / "pressure.mrk.old"), "another field's");
}

}  // namespace
}  // namespace vyn::test
