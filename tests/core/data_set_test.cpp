#include "core/data_set.h"

#include <atomic>
#include <limits>
#include <thread>

#include <gmock/gmock.h>

#include "tests/support/error_of.h"

namespace vyn {
namespace {

using testing::ElementsAre;

std::vector<std::string> paths(const dataSetInterface& data) {
    std::vector<std::string> found;
    data.for_each([&](const std::string& path, const any&) { found.push_back(path); });
    return found;
}

TEST(DataSet, AReadCreatesItsKeyWithTheDefaultAndLeavesTheProjectUnmodified) {
    simpleNamedDataSet data;
    EXPECT_EQ(data.read("a/b", 7), 7);
    EXPECT_TRUE(data.exists("a/b"));
    EXPECT_EQ(data.read("a/b", 8), 7);
    EXPECT_EQ(data.read("a/b", "text"), "text") << "a value of another type gives way";
    EXPECT_EQ(data.read("a/b", 9), 9);
    EXPECT_FALSE(data.modified());
}

TEST(DataSet, OnlyAChangeMarksTheProjectAsModified) {
    simpleNamedDataSet data;
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const auto modifies = [&](auto value) {
        data.set_modified(false);
        data.write("a/b", value);
        return data.modified();
    };
    EXPECT_TRUE(modifies(0.0));
    EXPECT_FALSE(modifies(0.0));
    EXPECT_TRUE(modifies(-0.0));
    EXPECT_TRUE(modifies(nan));
    EXPECT_FALSE(modifies(nan));
    EXPECT_TRUE(modifies(0));
    EXPECT_TRUE(modifies("0"));
    EXPECT_FALSE(modifies("0"));

    data.remove("a/c");
    EXPECT_FALSE(data.modified());
    data.remove("a/");
    EXPECT_TRUE(data.modified());
    EXPECT_FALSE(data.exists("a/b"));
    data.clear();
    EXPECT_FALSE(data.modified());
}

TEST(DataSet, NodesHoldAValueOfTheirOwnAndChildren) {
    simpleNamedDataSet data;
    EXPECT_FALSE(data.node("a/b", false));
    const auto node = data.node("a/b/", true);
    ASSERT_TRUE(node);
    EXPECT_EQ(node->value_type(), nullptr);
    EXPECT_FALSE(data.exists("a/b"));
    data.write("a/b/c", 1);
    data.write("a/b", 2.5);
    int elsewhere = 3;
    data.set_value("a-b", any::const_ref(elsewhere), false);
    data.value_or_create("c", any::const_ref(elsewhere));
    elsewhere = 4;
    EXPECT_EQ(data.read("a-b", 0), 3) << "no reference is kept";
    EXPECT_EQ(data.read("c", 0), 3);
    EXPECT_EQ(node->value_type(), VynTypeTraits<double>::vyn_type);
    EXPECT_EQ(node->value().get<double>(), 2.5);
    EXPECT_THAT(paths(data), ElementsAre("a/b", "a/b/c", "a-b", "c"));
    EXPECT_FALSE(data.exists("a"));
}

TEST(DataSet, PathsWithAnEmptyNameAreAlgorithmErrorsThatNameThem) {
    simpleNamedDataSet data;
    std::string deep = "x";
    for (int i = 1; i < 100; ++i)
        deep += "/x";
    data.write(deep, 1);
    for (const std::string& path : {std::string(), std::string("/"), std::string("/a"),
                                    std::string("a//b"), std::string("a//"), deep + "/x"}) {
        const auto error = test::error_of<AlgoError>([&] { data.write(path, 1); }, path);
        EXPECT_STREQ(error.text, "Algorithm error!");
        EXPECT_THAT(error.detail, testing::HasSubstr("\"" + path + "\""));
        EXPECT_THROW(data.exists(path), AlgoError);
    }
    EXPECT_THROW(data.replace({{"a", any(1)}, {"b//c", any(1)}}), AlgoError);
    EXPECT_THAT(paths(data), ElementsAre(deep)) << "a refused replacement changes nothing";
}

TEST(DataSet, TwoThreadsAgreeOnTheDefaultOfANewKey) {
    simpleNamedDataSet data;
    for (int round = 0; round < 50; ++round) {
        data.clear();
        std::atomic<int> ready{0};
        int got[2]{};
        const auto reader = [&](int mine) {
            ++ready;
            while (ready < 2)
                std::this_thread::yield();
            got[mine] = data.read("project/key", mine);
            data.write("project/of" + std::to_string(mine), mine);
            paths(data);
        };
        {
            const std::jthread one(reader, 0);
            const std::jthread two(reader, 1);
        }
        EXPECT_EQ(got[0], got[1]);
        EXPECT_EQ(paths(data).size(), 3u);
    }
}

}  // namespace
}  // namespace vyn
