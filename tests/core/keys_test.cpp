#include "core/keys.h"

#include <set>

#include <gmock/gmock.h>

#include "tests/support/error_of.h"

namespace vyn {
namespace {

using testing::HasSubstr;

TEST(Keys, PathsAreUniqueAndEveryDefaultIsAllowedAndReadsBack) {
    std::set<std::string> paths;
    for (const KeyInfo& key : key_table()) {
        EXPECT_TRUE(paths.insert(key.path).second) << key.path << " stands twice";
        EXPECT_FALSE(key.path.ends_with('/')) << key.path;
        EXPECT_EQ(find_key(key.path), &key);
        const std::string text = format_setting(key.fallback);
        const any parsed = parse_setting(key.path, text);
        EXPECT_EQ(parsed.type(), key.fallback.type()) << key.path;
        EXPECT_EQ(format_setting(parsed), text) << key.path;
    }
}

TEST(Keys, ReadGivesTheDefaultsOfTheTableAndParseTakesWhatItAllows) {
    simpleNamedDataSet data;
    EXPECT_EQ(read(data, keys::qped_cell), 16);
    EXPECT_EQ(read(data, keys::threshold_min), -1e6);
    EXPECT_EQ(read(data, keys::convert_field), "Pressure");
    write(data, keys::qped_cell, 24);
    EXPECT_EQ(data.read("project/processing/align/qped_cell", 0), 24);
    EXPECT_EQ(parse_setting("project/processing/align/qped_cell", " 8 ").get<int>(), 8);
    EXPECT_EQ(parse_setting("project/processing/align/qped_cell", "10000").get<int>(), 10000);
    EXPECT_EQ(parse_setting("project/flow/mach", "0.75").get<double>(), 0.75);
    EXPECT_EQ(parse_setting("project/head/dir", " a b ").get<std::string>(), " a b ");
    EXPECT_EQ(parse_setting("project/processing/convert/field", "Cp").get<std::string>(), "Cp");
}

TEST(Keys, SettingsOfOthersAreCheckedAndWholeNumbersAreNumbers) {
    simpleNamedDataSet data;
    const std::string pressure = std::string(keys::flow) + "wind_off_p";
    data.write(pressure, 100000);
    data.write(keys::convert_field.path, "Presure");
    data.write(keys::spline_degree.path, 9);
    data.write(keys::markers_order.path, "2");
    data.write("project/flow/mech", 1);
    data.write("others/own", 1);
    data.write("roject/processing/resection/own", 1);
    data.set_modified(false);
    const std::vector<std::string> complaints = check_settings(data);
    ASSERT_EQ(complaints.size(), 4u);
    EXPECT_THAT(complaints[0],
                HasSubstr("\"project/flow/mech\"; did you mean \"project/flow/mach"));
    EXPECT_THAT(complaints[1],
                HasSubstr("markers_order: \"2\" is not what it takes, a whole number;"
                          " its default \"1\" is used"));
    EXPECT_THAT(complaints[2], HasSubstr("spline_degree: \"9\""));
    EXPECT_THAT(complaints[3], HasSubstr("\"Presure\" is not what it takes, one of \"Pressure\""));
    EXPECT_EQ(data.read(pressure, 0.0), 100000.0);
    EXPECT_FALSE(data.modified());
    for (int i = 0; i < 1000; ++i)
        data.write("project/flow/no" + std::to_string(i), 1);
    const std::vector<std::string> many = check_settings(data);
    EXPECT_LT(many.size(), 110u);
    EXPECT_THAT(many.back(), HasSubstr("901 more names"));
}

TEST(Keys, ARefusedSettingIsAnErrorThatNamesItAndHelps) {
    const std::tuple<const char*, const char*, const char*> cases[] = {
        {"project/flow/mech", "1", "did you mean \"project/flow/mach\"?"},
        {"qped_iter", "1", "did you mean \"project/processing/align/qped_iter\"?"},
        {"nothing like any of them", "1", "there is no setting"},
        {"project/flow/", "1", "sub-tree"},
        {"roject/processing/resection/", "1", "sub-tree"},
        {"project/processing/align/qped_iter", "1.5", "a whole number from 1 to 100"},
        {"project/processing/align/qped_iter", "101", "\"101\" is not allowed"},
        {"project/processing/align/qped_cell", "1", "from 4 to 10000"},
        {"project/test/single", "2", "a whole number from 0 to 1"},
        {"project/flow/mach", "0,5", "it takes a number"},
        {"project/flow/mach", "nan", "it takes a number"},
        {"project/flow/mach", "-inf", "it takes a number"},
        {"project/processing/saturation_level", "-0.1", "from 0 to"},
        {"project/processing/convert/field", "cp", "\"P_Pstat\", \"Cp\""}};
    for (const auto& [path, value, told] : cases) {
        const auto error = test::error_of<AlgoError>(
            [&path = path, &value = value] { parse_setting(path, value); }, path);
        EXPECT_THAT(error.detail, testing::AllOf(HasSubstr(path), HasSubstr(told)));
    }
}

}  // namespace
}  // namespace vyn
