#include "core/data_set.h"

#include <atomic>
#include <limits>
#include <thread>

#include <gmock/gmock.h>

namespace vyn {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

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

    data.set_modified(false);
    data.remove("a/c");
    EXPECT_FALSE(data.modified());
    data.remove("a/");
    EXPECT_TRUE(data.modified());
    EXPECT_FALSE(data.exists("a/b"));
    data.write("a/b", 1);
    data.clear();
    EXPECT_FALSE(data.modified());
    EXPECT_THAT(paths(data), ElementsAre());
}

TEST(DataSet, NodesHoldAValueAndChildrenAndKnowTheirType) {
    simpleNamedDataSet data;
    EXPECT_FALSE(data.node("a/b", false));
    const auto node = data.node("a/b/", true);
    ASSERT_TRUE(node);
    EXPECT_EQ(node->value_type(), nullptr);
    EXPECT_FALSE(data.exists("a/b"));
    data.write("a/b/c", 1);
    data.write("a/b", 2.5);
    data.write("a-b", 3);
    EXPECT_EQ(node->value_type(), VynTypeTraits<double>::vyn_type);
    EXPECT_EQ(node->value().get<double>(), 2.5);
    EXPECT_THAT(paths(data), ElementsAre("a/b", "a/b/c", "a-b"));
    EXPECT_FALSE(data.exists("a"));
}

TEST(DataSet, KeepsNoReferenceToAValueHeldElsewhere) {
    simpleNamedDataSet data;
    int elsewhere = 1;
    data.set_value("a", any::const_ref(elsewhere), false);
    data.value_or_create("b", any::const_ref(elsewhere));
    elsewhere = 2;
    EXPECT_EQ(data.read("a", 0), 1);
    EXPECT_EQ(data.read("b", 0), 1);
}

TEST(DataSet, PathsWithAnEmptyNameAreAlgorithmErrorsThatNameThem) {
    simpleNamedDataSet data;
    std::string deep = "x";
    for (int i = 1; i < 100; ++i)
        deep += "/x";
    EXPECT_NO_THROW(data.write(deep, 1));
    for (const std::string& path : {std::string(), std::string("/"), std::string("/a"),
                                    std::string("a//b"), std::string("a//"), deep + "/x"}) {
        try {
            data.write(path, 1);
            ADD_FAILURE() << path;
        } catch (const AlgoError& error) {
            EXPECT_STREQ(error.text, "Algorithm error!");
            EXPECT_THAT(error.detail, HasSubstr("\"" + path + "\""));
        }
        EXPECT_THROW(data.exists(path), AlgoError);
    }
    EXPECT_THROW(data.replace({{"a", any(1)}, {"b//c", any(1)}}), AlgoError);
    EXPECT_EQ(paths(data).size(), 1u) << "a refused replacement changes nothing";
}

TEST(DataSet, TwoThreadsAgreeOnTheDefaultOfANewKey) {
    simpleNamedDataSet data;
    std::atomic<int> disagreements{0};
    for (int round = 0; round < 50; ++round) {
        data.clear();
        std::atomic<int> ready{0};
        const auto reader = [&](int mine, int& got) {
            ++ready;
            while (ready < 2)
                std::this_thread::yield();
            got = data.read("project/key", mine);
            data.write("project/of" + std::to_string(mine), mine);
            data.for_each([](const std::string&, const any&) {});
        };
        int first = 0;
        int second = 0;
        {
            const std::jthread one([&] { reader(1, first); });
            const std::jthread two([&] { reader(2, second); });
        }
        if (first != second) ++disagreements;
        EXPECT_EQ(paths(data).size(), 3u);
    }
    EXPECT_EQ(disagreements, 0);
}

}  // namespace
}  // namespace vyn
