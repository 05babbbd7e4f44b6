#include <algorithm>
#include <iostream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/cli/program.h"
#include "tests/support/temporary_folder.h"

namespace vyn::test {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

struct Refusal {
    const char* name;
    std::vector<std::string> arguments;  ///< "@/" stands for the test's folder
    int status;
    std::vector<std::string> told;  ///< what the error line must name
};

void PrintTo(const Refusal& refusal, std::ostream* stream) {
    *stream << refusal.name;
}

class Refused : public testing::TestWithParam<Refusal> {};

/// Status, one clear line, no output, and nothing changed on disk.
TEST_P(Refused, WithOneLineAndStatus) {
    const TemporaryFolder folder;
    ASSERT_EQ(run_program({"new", folder / "p.xml"}).status, 0);
    const std::string project = get_file(folder / "p.xml");
    put_file(folder / "text.tif", "this is no image");
    put_file(folder / "M.INM", "1 2 0 0 1\n");
    put_file(folder / "m.mpt", "1 2 0 0 1\n");
    put_file(folder / "m.txt", "1 2 0 0 1\n");
    put_file(folder / "p.clb", "[version]\nhead=9.99\n");

    std::vector<std::string> arguments = GetParam().arguments;
    for (std::string& argument : arguments)
        if (const auto at = argument.find("@/"); at != std::string::npos)
            argument.replace(at, 1, folder.path().string());
    const ProgramRun run = run_program(arguments);
    EXPECT_EQ(run.status, GetParam().status) << run.err;
    EXPECT_EQ(run.out, "");
    EXPECT_THAT(run.err, StartsWith("vynlite-batch: "));
    EXPECT_EQ(std::count(run.err.begin(), run.err.end(), '\n'), 1) << run.err;
    for (const std::string& word : GetParam().told)
        EXPECT_THAT(run.err, HasSubstr(word));
    EXPECT_EQ(get_file(folder / "p.xml"), project);
    EXPECT_FALSE(std::filesystem::exists(folder / "out.png"));
    EXPECT_FALSE(std::filesystem::exists(folder / "q.xml"));
}

INSTANTIATE_TEST_SUITE_P(
    WrongUsage, Refused,
    testing::Values(
        Refusal{"no_command", {}, 2, {"command is missing"}},
        Refusal{"unknown_command", {"paint"}, 2, {"paint"}},
        Refusal{"unknown_option", {"get", "@/p.xml", "--tabel"}, 2, {"--tabel"}},
        Refusal{"threads", {"--threads", "-1", "get", "@/p.xml"}, 2, {"threads"}},
        Refusal{"unknown_key",
                {"new", "@/q.xml", "--set", "project/nothing=1"},
                2,
                {"project/nothing"}},
        Refusal{"bad_value",
                {"new", "@/q.xml", "--set", "project/processing/convert/field=Temperature"},
                2,
                {"project/processing/convert/field", "Temperature"}},
        Refusal{
            "bad_number", {"new", "@/q.xml", "--set", "project/flow/mach=0,8"}, 2, {"mach", "0,8"}},
        Refusal{"no_value", {"new", "@/q.xml", "--set", "project/flow/mach"}, 2, {"KEY=VALUE"}},
        Refusal{"get_unknown", {"get", "@/p.xml", "project/nothing"}, 2, {"project/nothing"}},
        Refusal{"get_nothing", {"get"}, 2, {"PROJECT"}},
        Refusal{"inm_without_height", {"markers", "@/M.INM", "@/out.mrk"}, 2, {"--height"}},
        Refusal{"pair_without_height", {"markers", "pair", "@/m.mpt", "@/M.INM"}, 2, {"--height"}},
        Refusal{"sample_size", {"sample", "@/s", "--size", "63x480"}, 2, {"63"}},
        Refusal{"sample_size_text", {"sample", "@/s", "--size", "640"}, 2, {"--size"}},
        Refusal{"sample_order", {"sample", "@/s", "--order", "4"}, 2, {"--order"}},
        Refusal{"sample_lens", {"sample", "@/s", "--a2", "-1e-4"}, 2, {"a2"}},
        Refusal{"sample_field", {"sample", "@/s", "--field", "Mach"}, 2, {"--field"}}));

INSTANTIATE_TEST_SUITE_P(
    Failures, Refused,
    testing::Values(
        Refusal{"missing_project", {"get", "@/missing.xml"}, 1, {"missing.xml"}},
        Refusal{"no_project", {"get", "@/m.mpt"}, 1, {"m.mpt"}},
        Refusal{"existing_project", {"new", "@/p.xml"}, 1, {"p.xml", "--force"}},
        Refusal{"no_folder", {"new", "@/none/q.xml"}, 1, {"none/q.xml"}},
        Refusal{"target_is_a_folder", {"new", "@/", "--force"}, 1, {}},
        Refusal{
            "missing_paint", {"new", "@/q.xml", "--paint", "@/missing.clb"}, 1, {"missing.clb"}},
        Refusal{
            "missing_camera", {"new", "@/q.xml", "--camera", "@/missing.ini"}, 1, {"missing.ini"}},
        Refusal{"missing_image", {"convert", "@/missing.tif", "@/out.png"}, 1, {"missing.tif"}},
        Refusal{"no_image", {"convert", "@/text.tif", "@/out.png"}, 1, {"text.tif"}},
        Refusal{"convert_existing", {"convert", "@/text.tif", "@/p.xml"}, 1, {"p.xml", "--force"}},
        Refusal{"missing_markers", {"markers", "@/missing.mpt", "@/out.mrk"}, 1, {"missing.mpt"}},
        Refusal{"marker_format_in", {"markers", "@/m.txt", "@/out.mrk"}, 1, {"m.txt"}},
        Refusal{"marker_format_out", {"markers", "@/m.mpt", "@/out.txt"}, 1, {"out.txt"}},
        Refusal{"compare_no_image", {"compare", "@/text.tif", "@/text.tif"}, 1, {"text.tif"}},
        Refusal{"sample_into_a_file", {"sample", "@/m.mpt/s", "--size", "64x64"}, 1, {"m.mpt"}}));

/// What was asked for did not arrive: that is a failure, whatever the command.
TEST(StandardOutput, FullOrClosedIsAFailure) {
    for (const char* redirection : {"> /dev/full", ">&-"})
        for (const std::string option : {"--help", "--version", "get --table"}) {
            std::vector<std::string> arguments{option};
            if (option == "get --table") arguments = {"get", "--table"};
            const ProgramRun run = run_program_redirected(arguments, redirection);
            EXPECT_EQ(run.status, 1) << option << redirection;
            EXPECT_THAT(run.err, HasSubstr("standard output"));
        }
    EXPECT_THAT(run_program({"--help"}).out, HasSubstr("Exit status"));
    EXPECT_THAT(run_program({"--version"}).out, StartsWith("vynlite-batch 2."));
}

}  // namespace
}  // namespace vyn::test
