#include "schedule/table.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "core/errors.h"
#include "tests/support/temporary_folder.h"

namespace vyn::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

using Cells = std::vector<std::string>;

struct TextCase {
    const char* name;
    std::string bytes;
};

class TableOf : public testing::TestWithParam<TextCase> {};

/// One table in every dress: heads point, name and value; rows 3 and 5 of a spreadsheet.
TEST_P(TableOf, ReadsTheSame) {
    const TemporaryFolder folder;
    put_file(folder / "t.csv", GetParam().bytes);
    const Table table = read_table(folder / "t.csv");
    EXPECT_THAT(table.heads, ElementsAre("point", "name", "value"));
    ASSERT_EQ(table.rows.size(), 2U);
    EXPECT_THAT(table.rows[0].cells, ElementsAre("a", "D\xC3\xBCse", "1"));
    EXPECT_THAT(table.rows[1].cells, ElementsAre("b", "", "2"));
    EXPECT_EQ(table.rows[0].number, 3);
    EXPECT_EQ(table.rows[1].number, 5);
}

INSTANTIATE_TEST_SUITE_P(
    Texts, TableOf,
    testing::Values(
        TextCase{"commas", "point,name,value\n# day 1, run 2\na,D\xC3\xBCse,1\n\nb,,2\n"},
        TextCase{"semicolons", "point;name;value\r\n#\r\na;D\xC3\xBCse;1\r\n;;\r\nb;;2"},
        TextCase{"tabs", "point\tname\tvalue\n#\na\tD\xC3\xBCse\t1\n\t\t\nb\t\t2\n"},
        TextCase{"quotes",
                 "\"point\",\"name\", value \n#\n\"a\",\"D\xC3\xBCse\",1\n\nb,\"\",2,,\n"},
        TextCase{"latin_1", "point,name,value\n#\na,D\xFCse,1\n\nb,,2\n"},
        TextCase{"byte_order_mark", "\xEF\xBB\xBFpoint,name,value\n#\na,D\xC3\xBCse,1\n\nb,,2\n"},
        TextCase{"old_macintosh", "point,name,value\r#\ra,D\xC3\xBCse,1\r\rb,,2\r"}),
    [](const auto& test) { return test.param.name; });

TEST(Table, IsWrittenAgainAsItStood) {
    const TemporaryFolder folder;
    const std::string text =
        "# day 1; run 2\npoint;note\na;\"x; \"\"y\"\",\tz\nmore\"\n# b was late\nb;0,5\n";
    put_file(folder / "t.csv", text);
    const Table table = read_table(folder / "t.csv");
    ASSERT_EQ(table.rows.size(), 2U);
    EXPECT_THAT(table.rows[0].cells, ElementsAre("a", "x; \"y\",\tz\nmore"));
    EXPECT_THAT(table.rows[1].cells, ElementsAre("b", "0,5"));
    put_file(folder / "again.csv", csv_text(table));
    const Table again = read_table(folder / "again.csv");
    EXPECT_EQ(again.rows[0].cells, table.rows[0].cells);
    EXPECT_EQ(again.rows[1].cells, table.rows[1].cells);
    EXPECT_THAT(get_file(folder / "again.csv"), HasSubstr("# b was late\nb;"));
}

TEST(Table, OfJsonHasSettingsThenRulesThenPoints) {
    const TemporaryFolder folder;
    put_file(folder / "t.json", R"({"settings": {"static_p": 90000.5, "skip": false},
        "rules": [{"points": "^a", "mach": 0.85}],
        "points": [{"point": "a1", "alpha": -2, "note": null}, {"mach": "0.9", "point": "b1"}]})");
    const Table table = read_table(folder / "t.json");
    EXPECT_THAT(table.heads, ElementsAre("point", "static_p", "skip", "mach", "alpha", "note"));
    ASSERT_EQ(table.rows.size(), 4U);
    EXPECT_EQ(table.rows[0].cells, (Cells{"/.*/", "90000.5", "0", "", "", ""}));
    EXPECT_EQ(table.rows[1].cells, (Cells{"/^a/", "", "", "0.85", "", ""}));
    EXPECT_EQ(table.rows[2].cells, (Cells{"a1", "", "", "", "-2", ""}));
    EXPECT_EQ(table.rows[3].cells, (Cells{"b1", "", "", "0.9", "", ""}));
}

struct RefusedCase {
    const char* name;
    const char* file;
    std::string bytes;
    const char* why;
};

class RefusedTable : public testing::TestWithParam<RefusedCase> {};

TEST_P(RefusedTable, SaysWhereAndWhy) {
    const TemporaryFolder folder;
    const std::filesystem::path file = folder / GetParam().file;
    put_file(file, GetParam().bytes);
    try {
        read_table(file);
        FAIL() << "was read";
    } catch (const FileError& error) {
        EXPECT_THAT(error.what(), HasSubstr(file.string()));
        EXPECT_THAT(error.what(), HasSubstr(GetParam().why));
    }
}

INSTANTIATE_TEST_SUITE_P(
    Texts, RefusedTable,
    testing::Values(
        RefusedCase{"empty", "t.csv", "", "the table is empty"},
        RefusedCase{"comments_only", "t.csv", "# nothing\n\n", "the table is empty"},
        RefusedCase{"utf_16", "t.csv", std::string("\xFF\xFEp\0o\0", 6), "UTF-16"},
        RefusedCase{"bytes", "t.csv", std::string("point\0a", 7), "no text"},
        RefusedCase{"open_quote", "t.csv", "point,note\na,\"b\nc,d\n", "quotation mark"},
        RefusedCase{"quote_within", "t.csv", "point,note\na,b\nc,\"d\"e\n", "row 3"},
        RefusedCase{"too_many_cells", "t.csv", "point,note\na,b,,c\n", "row 2 has 4 cells"},
        RefusedCase{"no_json", "t.json", "{\"points\": [", "this is no JSON"},
        RefusedCase{"no_list", "t.json", "{\"points\": {}}", "there is no list \"points\""},
        RefusedCase{"unknown_part", "t.json", R"({"points": [], "rule": []})", "\"rule\""},
        RefusedCase{"nested", "t.json", R"({"points": [{"point": ["a"]}]})", "point 1: \"point\""},
        RefusedCase{"rule_without_points", "t.json", R"({"points": [], "rules": [{"mach": 1}]})",
                    "rule 1"}),
    [](const auto& test) { return test.param.name; });

}  // namespace
}  // namespace vyn::test
