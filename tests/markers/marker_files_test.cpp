#include "markers/marker_files.h"

#include <ctime>

#include <gmock/gmock.h>

#include "core/errors.h"
#include "tests/support/error_of.h"
#include "tests/support/temporary_folder.h"

namespace vyn {
namespace {

using test::get_file;
using test::put_file;
using test::TemporaryFolder;
using testing::HasSubstr;
using Outcome = MarkerFileOutcome;

/// Every field differs from its default and has at most six digits, those that the files keep.
MarkerSet sample() {
    MarkerSet set;
    set.functionName = "P & <\"Pa\">\n\xC2\xB0";
    set.hasX = set.hasY = set.hasZ = set.hasF = true;
    set.markers = {{.x = 1e6, .y = 2, .z = -3.25, .f = 101325, .active = true, .id = 7},
                   {.x = 0.5, .y = 1e-7, .z = 1.25e+20, .f = 98000, .active = false, .id = -3}};
    return set;
}

MarkerFileResult read(const std::string& name, const std::string& text, MarkerSet& set) {
    const TemporaryFolder folder;
    put_file(folder / name, text);
    return read_markers(folder / name, set, 480);
}

TEST(MarkerFiles, ByteForByteAndBack) {
    const TemporaryFolder folder;
    MarkerSet set = sample();
    set.hasY = false;
    const auto start = [](std::time_t time) {
        char text[80];
        std::strftime(text, sizeof text, "<?xml version=\"1.0\"?>\n<!--%m/%d/%y %H:%M:%S-->\n",
                      std::localtime(&time));
        return std::string(text);
    };
    std::time_t now = std::time(nullptr);
    ASSERT_TRUE(write_markers(folder / "m.Mrk", set));
    const std::string text = get_file(folder / "m.Mrk");
    while (now < std::time(nullptr) && !text.starts_with(start(now)))
        ++now;
    EXPECT_EQ(text,
              start(now) +
                  "<ObjectMarkers>\n"
                  "    <NodesNumber>2</NodesNumber>\n"
                  "    <Function id=\"x\">\n        1e+06    0.5\n    </Function>\n"
                  "    <Function id=\"z\">\n        -3.25    1.25e+20\n    </Function>\n"
                  "    <Function id=\"f\" name=\"P &amp; &lt;&quot;Pa&quot;&gt;&#10;\xC2\xB0\">\n"
                  "        101325    98000\n    </Function>\n"
                  "    <Function id=\"active\">\n        1    0\n    </Function>\n"
                  "    <Function id=\"id\">\n        7    -3\n    </Function>\n"
                  "</ObjectMarkers>");
    write_markers(folder / "m.mrk", sample());
    ASSERT_TRUE(read_markers(folder / "m.mrk", set, 0));
    EXPECT_EQ(set, sample());

    // the text form, over an old file
    set.markers = {{.x = 120.5, .y = 310}, {.x = 123.456789, .y = -1.2345678e-5, .active = false}};
    put_file(folder / "m.MPT", std::string(1000, 'x'));
    ASSERT_TRUE(write_markers(folder / "m.MPT", set));
    EXPECT_EQ(get_file(folder / "m.MPT"), "120.5  310  0  0  1\n123.457  -1.23457e-05  0  0  0\n");
}

TEST(MarkerFiles, WhatIsNeitherWrittenNorRead) {
    const TemporaryFolder folder;
    MarkerSet set = sample();
    EXPECT_EQ(write_markers("", set).outcome, Outcome::no_name);
    EXPECT_EQ(read_markers("", set, 0).outcome, Outcome::no_name);
    for (const char* name : {"m.txt", "m.inm", "mrk", "folder.mrk/file"})
        EXPECT_EQ(write_markers(folder / name, set).outcome, Outcome::unknown_extension);
    EXPECT_EQ(write_markers(folder / "m.mrk", MarkerSet{}).outcome, Outcome::no_markers);
    EXPECT_EQ(write_markers(folder / "m.mpt", MarkerSet{}).outcome, Outcome::no_markers);
    EXPECT_TRUE(std::filesystem::is_empty(folder.path()));
    EXPECT_EQ(read("m.txt", "1 2 0 0 1\n", set).outcome, Outcome::unknown_extension);
    EXPECT_EQ(set, sample());
}

TEST(MarkerFiles, FailedOpenNamesUnitLineAndFile) {
    const std::string missing = TemporaryFolder() / "nowhere/m.";
    MarkerSet set = sample();
    const auto expect_place = [](const std::string& place, const auto& operation) {
        const auto error = test::error_of<FileError>(operation, place);
        EXPECT_STREQ(error.text, "File error!");
        EXPECT_THAT(error.detail, HasSubstr("nowhere"));
        EXPECT_THAT(error.file + (":" + std::to_string(error.line)), testing::StartsWith(place));
    };
    for (const auto& [name, place] :
         {std::pair{"mrk", "markers_io:104"}, {"mpt", "markersImport:78"}})
        expect_place(place, [&, &name = name] { write_markers(missing + name, set); });
    for (const auto& [name, place] : {std::pair{"mpt", "markersImport:50"},
                                      {"inm", "markersImport:50"},
                                      {"apm", "markersImport:87"},
                                      {"mrk", "markers_io:"}})
        expect_place(place, [&, &name = name] { read_markers(missing + name, set, 0); });
    EXPECT_EQ(set, sample());
}

struct TextCase {
    const char* name;
    std::string text;
    std::vector<Marker> markers;
    bool complete = true;  ///< nothing was left out
};
class TextMarkers : public testing::TestWithParam<TextCase> {};

TEST_P(TextMarkers, AreReadUntilOneDoesNotParse) {
    const TextCase& c = GetParam();
    MarkerSet set = sample();
    const MarkerFileResult result = read(c.name, c.text, set);
    EXPECT_EQ(result.outcome, c.markers.empty() ? Outcome::no_markers : Outcome::done);
    EXPECT_EQ(result.detail.empty(), c.complete) << result.detail;
    MarkerSet expected;
    expected.markers = c.markers;
    expected.hasX = expected.hasY = true;
    expected.hasZ = std::string(c.name) == "m.apm";
    EXPECT_EQ(set, expected);
}

const Marker first{.x = 1.5, .y = 2, .active = true, .id = 1};
const Marker second{.x = -300, .y = 4, .active = false, .id = 2};
const Marker in_space{.x = 1, .y = 2, .z = .25, .id = 1};
const std::string two = "1.5 2 0 0 1\n-3e2 4 7 8 0\n";
INSTANTIATE_TEST_SUITE_P(
    Files, TextMarkers,
    testing::Values(TextCase{"m.mpt", two, {first, second}},
                    TextCase{"m.mpt", "1.5\t2 0 0 -7\r\n\r\n-3e2 4 7\r\n8 0", {first, second}},
                    TextCase{"m.mpt", two + "5 word 0 0 1\n6 7 0 0 1\n", {first, second}, false},
                    TextCase{"m.mpt", two + "5 6 0 0", {first, second}, false},
                    TextCase{"m.mpt", two + "5 nan 0 0 1", {first, second}, false},
                    TextCase{"m.mpt", two + "5 6 0 0 99999999999", {first, second}, false},
                    TextCase{"m.mpt", "1,5 2 0 0 1", {}, false},
                    TextCase{"m.mpt", std::string("\0\xFF\xFE binary", 10), {}, false},
                    TextCase{"m.inm", "10 0 0 0 1", {{.x = 10, .y = 479, .id = 1}}},
                    TextCase{"m.apm", "", {}, false},
                    TextCase{"m.apm", "1 2 .25\n4 1e999 6", {in_space}, false}));

std::string document(const std::string& body) {
    return "<?xml version=\"1.0\"?><ObjectMarkers>" + body + "</ObjectMarkers>";
}
std::string three(const std::string& body) {
    return document("<NodesNumber> 3 </NodesNumber><Function id='x'>1 2\n\t3</Function>" + body);
}

TEST(XmlMarkers, OddColumnsGetDefaultsAndAreNamed) {
    MarkerSet set = sample();
    EXPECT_TRUE(
        read("m.mrk",
             three("<LengthUnit>2</LengthUnit><Function id='strange'>q</Function>"
                   "<Function id='active'>0 q 0.1</Function><Function id='id'>12 q -5</Function>"),
             set));
    MarkerSet expected;
    expected.hasX = true;
    expected.lengthUnit = 2;
    expected.markers = {{.x = 1, .active = false, .id = 12}, {.x = 2, .id = 2}, {.x = 3, .id = -5}};
    EXPECT_EQ(set, expected);

    expected.lengthUnit = 0;
    expected.functionName = "P";
    expected.markers = {{.x = 1, .id = 1}, {.x = 2, .id = 2}, {.x = 3, .id = 3}};
    for (const char* odd : {"0 2", "0 2 3 4", "", "1 two 3", "1 2 3,5"}) {
        const MarkerFileResult result =
            read("m.mrk",
                 three(std::string("<Function id='z'>") + odd +
                       "</Function><Function id='f' name='P'>" + odd + "</Function>"),
                 set);
        EXPECT_THAT(result.detail, testing::AllOf(HasSubstr("column z"), HasSubstr("column f"),
                                                  testing::Not(HasSubstr("column x"))));
        EXPECT_EQ(set, expected) << odd;
    }
    read("m.mrk", three("<Function id='active'>0 0</Function><Function id='id'>7 8</Function>"),
         set);
    EXPECT_EQ(set.markers, expected.markers);
    EXPECT_TRUE(read("m.mrk", document(""), set));
    EXPECT_EQ(set, MarkerSet{});
}

TEST(XmlMarkers, MalformedFilesLeaveTheSetUnchanged) {
    std::vector<std::pair<std::string, const char*>> cases{
        {three("<Function id='y'>1 nan 3</Function>"), "marker 2"},
        {three("<Function id='z'>1 2 -inf</Function>"), "marker 3"},
        {"<Markers/>", "ObjectMarkers"},
        {three("").substr(0, 60), ""},
        {"", ""},
        {"1 2 0 0 1\n", ""},
        {"<!DOCTYPE ObjectMarkers [<!ENTITY e \"1\">]><ObjectMarkers/>", ""}};
    for (const char* count : {"-1", "2000000000", "99999999999999999999", "1000", "three"})
        cases.emplace_back(document("<NodesNumber>" + std::string(count) + "</NodesNumber>"),
                           "NodesNumber");
    MarkerSet with_unit = sample();
    with_unit.lengthUnit = 3;
    const TemporaryFolder folder;
    write_markers(folder / "m.mrk", with_unit);
    cases.emplace_back(get_file(folder / "m.mrk"), "");
    EXPECT_THAT(cases.back().first, HasSubstr(">\n    <LengthUnit>0/<LengthUnit>\n    <Function"));
    for (const auto& [text, detail] : cases) {
        MarkerSet set = with_unit;
        const MarkerFileResult result = read("m.mrk", text, set);
        EXPECT_EQ(result.outcome, Outcome::malformed) << text;
        EXPECT_THAT(result.detail, testing::AllOf(HasSubstr("m.mrk"), HasSubstr(detail)));
        EXPECT_EQ(set, with_unit);
    }
}

}  // namespace
}  // namespace vyn
