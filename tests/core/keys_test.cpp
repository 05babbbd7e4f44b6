#include "core/keys.h"

#include <set>

#include <gmock/gmock.h>

namespace vyn {
namespace {

using testing::AllOf;
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

TEST(Keys, ReadingGivesTheDefaultOfTheTable) {
    simpleNamedDataSet data;
    EXPECT_EQ(read(data, keys::qped_cell), 16);
    EXPECT_EQ(read(data, keys::threshold_min), -1e6);
    EXPECT_EQ(read(data, keys::convert_field), "Pressure");
    EXPECT_TRUE(data.exists("project/processing/align/qped_cell"));
    write(data, keys::qped_cell, 24);
    EXPECT_EQ(read(data, keys::qped_cell), 24);
}

TEST(Keys, ParseTakesWhatTheTableAllows) {
    EXPECT_EQ(parse_setting("project/processing/align/qped_cell", " 2 ").get<int>(), 2);
    EXPECT_EQ(parse_setting("project/processing/align/qped_cell", "10000").get<int>(), 10000);
    EXPECT_EQ(parse_setting("project/flow/mach", "0.75").get<double>(), 0.75);
    EXPECT_EQ(parse_setting("project/head/dir", " a b ").get<std::string>(), " a b ");
    EXPECT_EQ(parse_setting("project/processing/convert/field", "Cp").get<std::string>(), "Cp");
}

TEST(Keys, ARefusedSettingIsAnErrorThatNamesItAndHelps) {
    struct Refused {
        const char* path;
        const char* value;
        const char* told;
    };
    const Refused cases[] = {
        {"project/flow/mech", "1", "did you mean \"project/flow/mach\"?"},
        {"qped_iter", "1", "did you mean \"project/processing/align/qped_iter\"?"},
        {"nothing like any of them", "1", "there is no setting"},
        {"", "1", "there is no setting"},
        {"project/flow/", "1", "sub-tree"},
        {"roject/processing/resection/", "1", "sub-tree"},
        {"project/processing/align/qped_iter", "1.5", "a whole number from 0 to 1000"},
        {"project/processing/align/qped_iter", "", "a whole number from 0 to 1000"},
        {"project/processing/align/qped_iter", "1001", "\"1001\" is not allowed"},
        {"project/processing/align/qped_cell", "1", "from 2 to 10000"},
        {"project/test/single", "2", "a whole number from 0 to 1"},
        {"project/flow/mach", "0,5", "it takes a number"},
        {"project/flow/mach", "nan", "it takes a number"},
        {"project/flow/mach", "-inf", "it takes a number"},
        {"project/processing/saturation_level", "-0.1", "from 0 to"},
        {"project/processing/convert/field", "cp", "\"P_Pstat\", \"Cp\""}};
    for (const Refused& refused : cases) {
        try {
            parse_setting(refused.path, refused.value);
            ADD_FAILURE() << refused.path << " took " << refused.value;
        } catch (const AlgoError& error) {
            EXPECT_THAT(error.detail, AllOf(HasSubstr(refused.path), HasSubstr(refused.told)));
        }
    }
}

}  // namespace
}  // namespace vyn
