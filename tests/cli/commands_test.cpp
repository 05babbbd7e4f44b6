#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "sample/synthetic_point.h"
#include "tests/cli/program.h"
#include "tests/support/temporary_folder.h"

namespace vyn::test {
namespace {

using testing::HasSubstr;

/// Runs the program and expects it to succeed without a word on standard error.
std::string output_of(const std::vector<std::string>& arguments) {
    const ProgramRun run = run_program(arguments);
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.err, "");
    return run.out;
}

TEST(NewAndGet, KeepSettingsAndDefaults) {
    const TemporaryFolder folder;
    const std::string project = folder / "p.xml";
    output_of({"new", project, "--set", "project/flow/static_p=90000.125", "--set",
               "project/test/test_id=a = b"});
    EXPECT_EQ(output_of({"get", project, "project/flow/static_p"}), "90000.125\n");
    EXPECT_EQ(output_of({"get", project, "project/test/test_id"}), "a = b\n");
    EXPECT_EQ(output_of({"get", project, "project/test/single"}), "1\n");
    EXPECT_EQ(output_of({"get", project, "project/processing/align/markers_box"}), "16\n");
    EXPECT_EQ(output_of({"get", project, "project/head/file"}),
              std::filesystem::canonical(project).string() + "\n");

    const std::string all = output_of({"get", project});
    EXPECT_THAT(all, HasSubstr("project/flow/static_p=90000.125\n"));
    EXPECT_THAT(all, HasSubstr("project/flow/mach=0\n"));

    const std::string before = get_file(project);
    output_of({"new", project, "--force", "--set", "project/flow/static_p=1"});
    EXPECT_NE(get_file(project), before);
}

TEST(NewAndGet, TakeOverRecords) {
    const TemporaryFolder folder;
    const std::filesystem::path sample = folder / "sample";
    output_of({"sample", sample, "--size", "80x64"});
    const std::string project = folder / "p.xml";
    const ProgramRun made =
        run_program({"new", project, "--paint", sample / "paint.clb", "--camera",
                     sample / "camera.ini", "--set", "project/sens_paint/gamma12=7"});
    EXPECT_EQ(made.status, 0) << made.err;
    EXPECT_EQ(output_of({"get", project, "project/sens_paint/gamma21"}), "93000\n");
    EXPECT_EQ(output_of({"get", project, "project/sens_paint/gamma12"}), "7\n");
    EXPECT_EQ(output_of({"get", project, "project/sens_cam/nfx"}), "80\n");
    EXPECT_EQ(output_of({"get", project, "project/sens_cam/flat_file"}),
              (sample / "flat.tif").string() + "\n");
}

TEST(Markers, ConvertBetweenFormats) {
    const TemporaryFolder folder;
    put_file(folder / "a.inm", "12.5 100 0 0 1\n30 50 0 0 0\n");
    output_of({"markers", folder / "a.inm", folder / "b.mrk", "--height", "480"});
    output_of({"markers", folder / "b.mrk", folder / "c.mpt"});
    EXPECT_EQ(get_file(folder / "c.mpt"), "12.5  379  0  0  1\n30  429  0  0  0\n");
    EXPECT_EQ(run_program({"markers", folder / "b.mrk", folder / "c.mpt"}).status, 1);
    output_of({"markers", folder / "b.mrk", folder / "c.mpt", "--force"});
}

/// The format's line for a length unit makes a file that nobody can read.
TEST(Markers, WithAUnitAreWrittenWithoutItOrNotAtAll) {
    const TemporaryFolder folder;
    put_file(folder / "unit.mrk",
             "<ObjectMarkers><NodesNumber>1</NodesNumber><LengthUnit>2</LengthUnit>"
             "<Function id='x'>1</Function><Function id='y'>2</Function>"
             "<Function id='z'>3</Function></ObjectMarkers>");
    const std::vector<std::string> arguments{"markers", folder / "unit.mrk", folder / "new.mrk"};
    const ProgramRun refused = run_program(arguments);
    EXPECT_EQ(refused.status, 1);
    EXPECT_THAT(refused.err, HasSubstr("length unit nobody could read"));
    EXPECT_FALSE(std::filesystem::exists(folder / "new.mrk"));
    EXPECT_EQ(run_program({"-y", "markers", folder / "unit.mrk", folder / "new.mrk"}).status, 0);
    EXPECT_EQ(run_program({"markers", folder / "new.mrk", folder / "again.mrk"}).status, 0);
}

TEST(Filter, SmoothsFillsAndRefusesNonsense) {
    const TemporaryFolder folder;
    output_of({"sample", folder / "s", "--size", "80x64"});
    const std::string source = folder / "s/truth.tif";
    const auto valid = [&](const std::string& file) {
        const std::string json = output_of({"compare", file, source, "--json"});
        return nlohmann::json::parse(json);
    };
    output_of({"filter", source, folder / "same.tif", "--dx", "1"});
    EXPECT_EQ(valid(folder / "same.tif").at("rms_error").get<double>(), 0);
    output_of({"filter", source, folder / "smooth.tif", "--type", "4", "--dx", "9", "--dy", "5"});
    EXPECT_GT(valid(folder / "smooth.tif").at("rms_error").get<double>(), 0);
    // holes are filled and nothing else changes
    output_of({"filter", source, folder / "full.tif", "--fill", "90", "--holes-only",
               "--iterations", "3"});
    EXPECT_EQ(valid(folder / "full.tif").at("rms_error").get<double>(), 0);
    EXPECT_NE(get_file(folder / "full.tif"), get_file(folder / "same.tif"));

    EXPECT_EQ(run_program({"filter", source, folder / "smooth.tif"}).status, 1);
    EXPECT_EQ(run_program({"filter", source, folder / "x.tif", "--type", "5"}).status, 2);
    EXPECT_EQ(run_program({"filter", source, folder / "x.tif", "--fill", "-1"}).status, 2);
}

TEST(Markers, AreFoundRefinedAndPaired) {
    const TemporaryFolder folder;
    const std::filesystem::path sample = folder / "sample";
    std::filesystem::create_directory(sample);
    output_of({"sample", sample, "--size", "400x300"});
    const std::string off = folder / "off.mpt";
    const std::string on = folder / "on.mrk";
    const std::string found = output_of({"markers", "find", sample / "wind_off.tif", off});
    output_of({"markers", "find", sample / "wind_on.tif", on, "--size", "4..9", "--expect", "200"});
    EXPECT_THAT(found,
                testing::MatchesRegex("found [1-9][0-9]+ dots(, the best left out of .*)?\n"));
    const std::vector<std::string> all{
        "markers", "find", sample / "wind_off.tif", folder / "all.mrk", "--cut", "0", "--list"};
    EXPECT_THAT(output_of(all), testing::StartsWith("number,x,y,diameter,contrast,quality\n"));
    const auto number_of_dots = [](const std::string& text) { return std::stoi(text.substr(6)); };

    const std::string pairs = output_of({"markers", "pair", off, on, "--order", "2"});
    EXPECT_THAT(pairs, HasSubstr("Number of pairs = " + std::to_string(number_of_dots(found))));
    EXPECT_THAT(pairs, HasSubstr("Order with the smallest leave-one-out error = 2"));
    EXPECT_EQ(run_program({"markers", "pair", off, on, "--order", "4"}).status, 2);

    const std::string refined = folder / "refined.mpt";
    const std::vector<std::string> refine{
        "markers", "refine", sample / "wind_off.tif", off, refined, "--size", "13"};
    EXPECT_THAT(output_of(refine), HasSubstr("refined " + found.substr(6, found.find(' ', 6) - 6)));
    const std::string by_surface = get_file(refined);
    // The project's setting is the method that --method would name.
    output_of({"new", folder / "p.xml", "--set", "project/processing/align/markers_refine=1"});
    std::vector<std::string> by_setting = refine;
    by_setting.insert(by_setting.end(), {"--force", "--project", folder / "p.xml"});
    output_of(by_setting);
    const std::string by_dot = get_file(refined);
    EXPECT_NE(by_dot, by_surface);
    std::vector<std::string> by_method = refine;
    by_method.insert(by_method.end(), {"--force", "--method", "dot"});
    output_of(by_method);
    EXPECT_EQ(get_file(refined), by_dot);
}

TEST(Markers, SubCommandsRefuseWhatMakesNoSense) {
    const TemporaryFolder folder;
    const std::string sample = folder / "sample";
    std::filesystem::create_directory(sample);
    output_of({"sample", sample, "--size", "64x64"});
    const std::string image = sample + "/flat.tif";
    const std::string target = folder / "found.mrk";
    for (const std::string size : {"7", "9..3", "0..5", "3..nan", "3..1000"})
        EXPECT_EQ(run_program({"markers", "find", image, target, "--size", size}).status, 2)
            << size;
    EXPECT_EQ(run_program({"markers"}).status, 2);
    EXPECT_EQ(run_program({"markers", "find", image, target, "another"}).status, 2);
    EXPECT_EQ(run_program({"run", sample + "/project.xml", "--expect", "5"}).status, 2);
    const ProgramRun nothing = run_program({"markers", "find", image, target});
    EXPECT_EQ(nothing.status, 1);
    EXPECT_THAT(nothing.err, HasSubstr("no dots"));
    EXPECT_FALSE(std::filesystem::exists(target));
}

/// Sample to field to comparison, as a user would script it.
TEST(WholePoint, ComesBackThroughTheBatchProgram) {
    const TemporaryFolder folder;
    const std::filesystem::path sample = folder / "sample";
    output_of({"sample", sample, "--order", "2", "--field", "Cp"});
    const ProgramRun run = run_program({"run", sample / "project.xml", "--quiet", "--save",
                                        "field_P=" + (folder / "field.tif").string()});
    ASSERT_EQ(run.status, 0) << run.err;
    const std::vector<std::string> compare{
        "compare", folder / "field.tif", sample / "truth.tif", "--edge",
        "12",      "--markers",          sample / "truth.mrk"};
    EXPECT_THAT(output_of(compare), HasSubstr("RMS error"));
    std::vector<std::string> as_json = compare;
    as_json.emplace_back("--json");
    const nlohmann::json result = nlohmann::json::parse(output_of(as_json));
    EXPECT_GT(result.at("count").get<int>(), 50000);
    EXPECT_LT(result.at("rms_percent").get<double>(), 0.02);
    EXPECT_GT(result.at("rms_error").get<double>(), 0);

    // Through other formats and back, nothing is lost, nor what the numbers are.
    EXPECT_EQ(result.at("quantity"), "cp");
    std::string last = folder / "field.tif";
    for (const char* name : {"a.fits", "b.imp", "c.tif"}) {
        output_of({"convert", last, folder / name});
        last = folder / name;
    }
    std::vector<std::string> again = as_json;
    again[1] = last;
    EXPECT_EQ(nlohmann::json::parse(output_of(again)), result);
    EXPECT_THAT(output_of({"get", last, "--images"}), HasSubstr("\tcp\t\n"));
    output_of({"filter", last, folder / "smooth.imp", "--force"});
    EXPECT_THAT(output_of({"get", folder / "smooth.imp", "--images"}), HasSubstr("\tcp\t\n"));
    EXPECT_THAT(run_program({"compare", last, sample / "wind_off.tif"}).err,
                HasSubstr("the field holds pressure coefficient, the truth raw intensity"));
}

TEST(Sample, RepeatsItselfBySeed) {
    const TemporaryFolder folder;
    const auto sample = [&](const std::string& name, std::vector<std::string> options) {
        std::vector<std::string> arguments{"sample", folder / name, "--size", "96x80", "--noise"};
        arguments.insert(arguments.end(), options.begin(), options.end());
        output_of(arguments);
    };
    sample("a", {"--seed", "5"});
    sample("b", {"--seed", "5", "--threads", "1"});
    sample("c", {"--seed", "6"});
    for (const std::string& name : synthetic_file_names()) {
        const std::string first = get_file(folder / ("a/" + name));
        EXPECT_NE(first, "") << name;
        // Marker files carry the time of writing.
        if (name.ends_with(".mrk")) continue;
        EXPECT_EQ(first, get_file(folder / ("b/" + name))) << name;
    }
    EXPECT_NE(get_file(folder / "a/wind_off.tif"), get_file(folder / "c/wind_off.tif"));

    const ProgramRun refused = run_program({"sample", folder / "a", "--size", "96x80"});
    EXPECT_EQ(refused.status, 1);
    EXPECT_THAT(refused.err, HasSubstr("--force"));
    sample("a", {"--force"});
}

/// From nothing to a field and its page, with the two channels of one command line.
class TwoChannels : public testing::TestWithParam<const char*> {};

TEST_P(TwoChannels, SampleRunAndPage) {
    const TemporaryFolder folder;
    output_of({"sample", folder / "s", "--size", "240x180", GetParam()});
    const std::string project = folder / "s/project.xml";
    const ProgramRun run =
        run_program({"run", project, "--save", "field_P=" + (folder / "field.tif").string(),
                     "--html", folder / "page.html", "--ports", folder / "s/ports.mrk"});
    ASSERT_EQ(run.status, 0) << run.err;
    const auto difference = nlohmann::json::parse(
        output_of({"compare", folder / "field.tif", folder / "s/truth.tif", "--edge", "12",
                   "--markers", folder / "s/truth.mrk", "--json"}));
    EXPECT_LT(difference.at("rms_error").get<double>(), 30);  // of 22000
    const std::string page = get_file(folder / "page.html");
    EXPECT_THAT(page, HasSubstr("Differences: root mean square"));
    EXPECT_THAT(page, HasSubstr("The pictures are aligned."));
    EXPECT_THAT(page, HasSubstr(">difference, Pa</th>"));

    const ProgramRun again = run_program({"run", project, "--html", folder / "page.html"});
    EXPECT_EQ(again.status, 1);
    EXPECT_THAT(again.err, HasSubstr("page.html"));
    EXPECT_EQ(get_file(folder / "page.html"), page);
    EXPECT_EQ(run_program({"run", project, "--ports", folder / "s/ports.mrk"}).status, 2);
    const ProgramRun dots = run_program(
        {"run", project, "--html", folder / "new.html", "--ports", folder / "s/truth.mrk"});
    EXPECT_EQ(dots.status, 1);
    EXPECT_THAT(dots.err, HasSubstr("have no pressures"));
    const ProgramRun fourth = run_program({"run", project, "--set", "project/test/s3f=1"});
    EXPECT_EQ(fourth.status, 1);
    EXPECT_THAT(fourth.err, HasSubstr("not available"));
}

INSTANTIATE_TEST_SUITE_P(Types, TwoChannels, testing::Values("--binary", "--lifetime"));

}  // namespace
}  // namespace vyn::test
