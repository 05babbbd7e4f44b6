#include "view/ui/canvas/preparation.h"

#include <atomic>
#include <stdexcept>
#include <thread>
#include <vector>

#include <QtTest/QTest>
#include <gtest/gtest.h>

#include "core/progress.h"

namespace vyn {
namespace {

using When = Preparation::When;

/// Runs until it is told to stop; `stopped` tells that it was.
auto endless(std::atomic<bool>& stopped) {
    return [&stopped](Progress& progress) {
        while (!progress.aborted())
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        stopped = true;
        throw_if_aborted(progress);
        return 0;
    };
}

TEST(Preparation, TheLatestRequestWinsAndTheOlderOneIsAborted) {
    for (const When when : {When::behind, When::at_once}) {
        Preparation preparation;
        std::vector<int> delivered;
        const auto deliver = [&](std::future<int> result) { delivered.push_back(result.get()); };
        std::atomic<bool> stopped{false};
        preparation.start(When::behind, endless(stopped), deliver);
        QTest::qWait(20);
        EXPECT_TRUE(preparation.running());
        preparation.start(
            when, [](Progress&) { return 2; }, deliver);
        ASSERT_TRUE(QTest::qWaitFor([&] { return stopped && !preparation.running(); }, 5000));
        QTest::qWait(20);
        EXPECT_EQ(delivered, std::vector<int>{2});
    }
}

TEST(Preparation, ErrorsReachWhoAsked) {
    Preparation preparation;
    std::string error;
    preparation.start(
        When::behind, [](Progress&) -> int { throw std::runtime_error("no memory"); },
        [&](std::future<int> result) {
            try {
                result.get();
            } catch (const std::exception& thrown) {
                error = thrown.what();
            }
        });
    ASSERT_TRUE(QTest::qWaitFor([&] { return !preparation.running(); }, 5000));
    EXPECT_EQ(error, "no memory");
}

TEST(Preparation, EndsWhileItRuns) {
    std::atomic<bool> stopped{false};
    bool delivered = false;
    {
        Preparation preparation;
        preparation.start(When::behind, endless(stopped),
                          [&](std::future<int>) { delivered = true; });
        QTest::qWait(20);
    }
    EXPECT_TRUE(stopped) << "what it computed from may be gone now";
    QTest::qWait(20);
    EXPECT_FALSE(delivered);
}

}  // namespace
}  // namespace vyn
