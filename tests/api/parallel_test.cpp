#include "api/parallel.h"

#include <atomic>
#include <mutex>
#include <set>
#include <stdexcept>

#include <gtest/gtest.h>

namespace vyn {
namespace {

TEST(ParallelRows, CoverEveryRowOnceInBlocksThatIgnoreTheThreads) {
    for (const int rows : {0, 1, 7, 16, 1000})
        for (const int block : {1, 16, 2000}) {
            std::set<std::pair<int, int>> blocks[2];
            for (const int threads : {1, 2}) {
                const ThreadLimit limit(threads);
                std::vector<int> visits(static_cast<std::size_t>(rows));
                std::mutex mutex;
                Progress progress;
                parallel_rows(rows, block, progress, [&](int y0, int y1) {
                    for (int y = y0; y < y1; ++y)
                        ++visits[static_cast<std::size_t>(y)];
                    const std::lock_guard lock(mutex);
                    blocks[threads - 1].insert({y0, y1});
                });
                EXPECT_EQ(visits, std::vector<int>(static_cast<std::size_t>(rows), 1));
            }
            EXPECT_EQ(blocks[0], blocks[1]);
        }
}

TEST(ParallelRows, RethrowTheBodysException) {
    Progress progress;
    std::atomic<int> finished = 0;
    EXPECT_THROW(parallel_rows(100, 1, progress,
                               [&](int y0, int) {
                                   if (y0 == 3) throw std::runtime_error("row 3");
                                   ++finished;
                               }),
                 std::runtime_error);
    EXPECT_LT(finished, 100);
}

class StopsAfter final : public Progress {
  public:
    explicit StopsAfter(int polls) : polls_left_(polls) {}
    bool aborted() const override { return polls_left_.fetch_sub(1) <= 0; }

  private:
    mutable std::atomic<int> polls_left_;
};

TEST(ParallelRows, StopSoonAfterAnAbort) {
    StopsAfter progress(10);
    std::atomic<int> blocks = 0;
    EXPECT_THROW(parallel_rows(1000, 1, progress, [&](int, int) { ++blocks; }), Aborted);
    EXPECT_LE(blocks, 10);
}

class Recorder final : public Progress {
  public:
    void fraction(double done) override { fractions.push_back(done); }
    std::vector<double> fractions;
};

TEST(ParallelRows, ReportGrowingShares) {
    Recorder progress;
    parallel_rows(64, 4, progress, [](int, int) {});
    ASSERT_EQ(progress.fractions.size(), 16U);
    EXPECT_TRUE(std::is_sorted(progress.fractions.begin(), progress.fractions.end()));
    EXPECT_EQ(progress.fractions.back(), 1.0);
}

}  // namespace
}  // namespace vyn
