#include "core/project_file.h"

#include <bit>
#include <cstdint>
#include <limits>

#include <gmock/gmock.h>

#include "core/version.h"
#include "core/xml_document.h"
#include "tests/support/error_of.h"
#include "tests/support/temporary_folder.h"

namespace vyn {
namespace {

using test::get_file;
using test::put_file;
using testing::HasSubstr;

/// Every value as text that differs when a type or a bit does.
std::vector<std::string> content(const dataSetInterface& data) {
    std::vector<std::string> lines;
    data.for_each([&](const std::string& path, const any& value) {
        std::string text = path + "|" + std::string(value.type()->name()) + "|";
        if (value.holds<int>()) text += std::to_string(value.get<int>());
        if (value.holds<double>())
            text += std::to_string(std::bit_cast<std::uint64_t>(value.get<double>()));
        if (value.holds<std::string>()) text += value.get<std::string>();
        lines.push_back(text);
    });
    return lines;
}

/// What XML can hold when escaped well, and what it cannot.
const std::vector<std::string> nasty_strings{
    "", " ", "\t leading and trailing \r\n", "<&\"'>]]>-->&amp;&#10;\rlone return\x7F",
    "\xE6\xB8\xAC\xE5\xAE\x9A \xF0\x9F\x8C\xAC \xC2\x85 \xE2\x80\xA8", "/home/test/Bild 1.tif",
    // from here on: control characters, non-characters, invalid UTF-8
    std::string("nul\0inside", 10), "\x01\x1F", "\xEF\xBF\xBE", "\xEF\xBF\xBF", "\xFF\xFE",
    "\xC0\x80 overlong", "\xED\xA0\x80 surrogate", "\xF4\x90\x80\x80 beyond", "cut \xE6\xB8"};

using Limits = std::numeric_limits<double>;

/// A NaN with a payload and a signalling one among them.
const std::vector<double> nasty_doubles({0.0, -0.0, 0.1, 1.0 / 3, Limits::max(), Limits::min(),
                                         Limits::denorm_min(), Limits::infinity(),
                                         -Limits::infinity(), Limits::quiet_NaN(),
                                         -Limits::quiet_NaN(),
                                         std::bit_cast<double>(std::uint64_t{0x7FF80000DEADBEEF}),
                                         std::bit_cast<double>(std::uint64_t{0xFFF0000000000001})});

void fill_with_nasty_values(dataSetInterface& data) {
    int i = 0;
    for (const double value : nasty_doubles)
        data.write("doubles/d" + std::to_string(i++), value);
    for (const std::string& value : nasty_strings) {
        data.write("project/strings/s" + std::to_string(i++), value);
        if (!value.empty() && value.find('/') == std::string::npos)
            data.write("project/names/" + value + "/leaf", value);
    }
    data.write("project", std::numeric_limits<int>::min());
    data.write("project/names", "a value above others");
    data.write("node", 1);
    data.write("node/node", 2);
    data.write("node/9 lives", 3);
    std::string deep = "deep";
    for (int level = 1; level < 100; ++level)
        deep += "/n";
    data.write(deep, 6);
}

TEST(ProjectFile, ReadsBackExactlyWhatWasWritten) {
    const test::TemporaryFolder folder;
    const std::string file = folder / "project.xml";
    simpleNamedDataSet written;
    fill_with_nasty_values(written);
    save_xml(written, file.c_str());
    EXPECT_TRUE(written.modified());

    simpleNamedDataSet read;
    read.write("left/over", 1);
    load_xml(read, file.c_str());
    EXPECT_EQ(content(read), content(written));
    EXPECT_FALSE(read.modified());
    EXPECT_EQ(to_xml(read), get_file(file));

    simpleNamedDataSet empty;
    from_xml(read, to_xml(empty), "empty");
    EXPECT_TRUE(content(read).empty());
}

TEST(ProjectFile, IsPlainForReaders) {
    simpleNamedDataSet data;
    data.write("project/flow/mach", 0.75);
    data.write("project/flow/p_unit", "Pa");
    data.write("project/test/single", 1);
    EXPECT_EQ(to_xml(data),
              "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
              "<vyn_project version=\"2.51\">\n"
              "  <project>\n    <flow>\n"
              "      <mach type=\"double\" value=\"0.75\"/>\n"
              "      <p_unit type=\"string\" value=\"Pa\"/>\n"
              "    </flow>\n    <test>\n"
              "      <single type=\"int\" value=\"1\"/>\n"
              "    </test>\n  </project>\n</vyn_project>\n");
}

TEST(ProjectFile, AFailedSaveKeepsTheOldFile) {
    const test::TemporaryFolder folder;
    put_file(folder / "file", "old");
    simpleNamedDataSet data;
    EXPECT_THROW(save_xml(data, (folder / "file/project.xml").c_str()), FileError);
    data.write("huge", std::string(70u << 20, 'x'));
    EXPECT_THROW(save_xml(data, (folder / "file").c_str()), FileError);
    EXPECT_EQ(get_file(folder / "file"), "old");
    EXPECT_THROW(save_xml(data, ""), FileError);
    EXPECT_THROW(load_xml(data, nullptr), FileError);
    EXPECT_THROW(load_xml(data, folder.path().c_str()), FileError);
}

std::string project(const std::string& inside) {
    return "<vyn_project version=\"2.51\">" + inside + "</vyn_project>";
}

std::string repeated(const std::string& text, int count) {
    std::string result;
    for (int i = 0; i < count; ++i)
        result += text;
    return result;
}

std::string billion_laughs() {
    std::string entities = "<!ENTITY l0 \"ha\">";
    for (int i = 1; i < 30; ++i)
        entities += "<!ENTITY l" + std::to_string(i) + " \"" +
                    repeated("&l" + std::to_string(i - 1) + ";", 10) + "\">";
    return "<!DOCTYPE vyn_project [" + entities + "]>" +
           project("<a type=\"string\" value=\"&l29;\"/>");
}

struct Hostile {
    const char* name;
    std::string text;
    const char* told;
};

class HostileProject : public testing::TestWithParam<Hostile> {};

TEST_P(HostileProject, IsOneFileErrorWithItsPlaceAndChangesNothing) {
    simpleNamedDataSet data;
    data.write("project/kept", 1);
    const auto before = content(data);
    const auto error =
        test::error_of<FileError>([&] { from_xml(data, GetParam().text, "bad.xml"); });
    EXPECT_THAT(error.detail, testing::ContainsRegex("^bad\\.xml:[0-9]+:[0-9]+: "));
    EXPECT_THAT(error.detail, HasSubstr(GetParam().told));
    EXPECT_EQ(content(data), before);
    EXPECT_TRUE(data.modified());
}

INSTANTIATE_TEST_SUITE_P(
    Files, HostileProject,
    testing::Values(
        Hostile{"empty", "", ""}, Hostile{"binary", std::string("\0\1\2\xFF\xFE", 5), ""},
        Hostile{"doctype", "<!DOCTYPE vyn_project>\n" + project(""), "DOCTYPE"},
        Hostile{"external_dtd", "<!DOCTYPE a SYSTEM \"/dev/zero\">" + project(""), "DOCTYPE"},
        Hostile{"billion_laughs", billion_laughs(), "DOCTYPE"},
        Hostile{"unknown_entity", project("&x;"), ""},
        Hostile{"truncated", project("<a type=\"int\" value=\"1\"/>").substr(0, 50), ""},
        Hostile{"bad_utf8", project("<a type=\"string\" value=\"\xFF\"/>"), ""},
        Hostile{"deep", project(repeated("<a>", 300) + repeated("</a>", 300)), "nested too deep"},
        Hostile{"very_deep", repeated("<a>", 1'000'000), "nested too deep"},
        Hostile{
            "too_deep_a_path",
            project(repeated("<a>", 150) + "<b type=\"int\" value=\"1\"/>" + repeated("</a>", 150)),
            "too deep"},
        Hostile{"other_root", "<ObjectMarkers/>", "no project file"},
        Hostile{"no_version", "<vyn_project/>", "no valid version"},
        Hostile{"odd_version", "<vyn_project version=\"2\"/>", "no valid version"},
        Hostile{"newer_minor", "<vyn_project version=\"2.52\"/>", "newer"},
        Hostile{"newer_major", "<vyn_project version=\"3.0\"/>", "newer"},
        Hostile{"type", project("<a type=\"bool\" value=\"1\"/>"), "\"bool\""},
        Hostile{"no_value", project("<a type=\"int\"/>"), "<a>"},
        Hostile{"not_an_int", project("<a type=\"int\" value=\"1.5\"/>"), "<a>"},
        Hostile{"int_too_large", project("<a type=\"int\" value=\"3000000000\"/>"), "<a>"},
        Hostile{"decimal_comma", project("\n<a type=\"double\" value=\"1,5\"/>"), "<a>"},
        Hostile{"short_bits", project("<a type=\"double\" bits=\"7ff8\"/>"), "<a>"},
        Hostile{"odd_bytes", project("<a type=\"string\" bytes=\"123\"/>"), "<a>"},
        Hostile{"no_hex", project("<a type=\"string\" bytes=\"-1\"/>"), "<a>"},
        Hostile{"twice", project("<a/><node name=\"a\"/>"), "twice"},
        Hostile{"slash", project("<node name=\"a/b\"/>"), "no valid name"},
        Hostile{"no_name", project("<node name=\"\"/>"), "no valid name"},
        Hostile{"text", project("<a type=\"string\" value=\"\">lost</a>"), "outside of the tags"}),
    [](const auto& test) { return test.param.name; });

TEST(XmlDocument, GivesElementsWithTheirTextAndPlace) {
    const XmlElement root = parse_xml(
        "<ObjectMarkers>\n <NodesNumber> 2 </NodesNumber>\n"
        " <Function id=\"x\">1<![CDATA[ <&]]> &#x1F32C;</Function><Function id=\"y\"/>\n"
        "</ObjectMarkers>",
        "marks.xml");
    EXPECT_EQ(root.name, "ObjectMarkers");
    ASSERT_EQ(root.children.size(), 3u);
    EXPECT_EQ(root.child("NodesNumber")->text, " 2 ");
    EXPECT_EQ(root.child("Function")->text, "1 <& \xF0\x9F\x8C\xAC");
    EXPECT_EQ(root.child("Function")->line, 3u);
    EXPECT_EQ(*root.children[2].attribute("id"), "y");
    EXPECT_EQ(root.child("absent"), nullptr);
    EXPECT_EQ(root.attribute("id"), nullptr);
}

}  // namespace
}  // namespace vyn
