#include "schedule/summary.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "core/errors.h"
#include "core/numbers.h"
#include "schedule/cluster_script.h"
#include "tests/support/temporary_folder.h"

namespace vyn::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using Kind = PointStatus::Kind;

TEST(FigureLimits, TellWhatIsBeyond) {
    FigureLimits limits = usual_limits();
    EXPECT_THAT(beyond_limits({{"saturated", 0.02}, {"rms_px", 9}}, limits),
                ElementsAre("share of saturated pixels is 0.02, more than 0.01"));
    parse_limit("saturated=0.5", limits);
    parse_limit("coverage=0.9", limits);
    EXPECT_THAT(beyond_limits({{"saturated", 0.5}, {"coverage", 0.9}}, limits), IsEmpty());
    EXPECT_THAT(beyond_limits({{"coverage", 0.8999}}, limits),
                ElementsAre(HasSubstr("0.8999, less than 0.9")));
    for (const char* wrong : {"rms=1", "mean=1", "rms_px", "rms_px=", "rms_px=nan", "rms_px=1px"})
        EXPECT_THROW(parse_limit(wrong, limits), AlgoError) << wrong;
}

/// Names and texts that HTML, addresses, shells and tables would take for their own.
class OddRun : public testing::Test {
  protected:
    OddRun() {
        schedule_.file = folder_ / "it's <b> & \"c\".csv";
        schedule_.results = folder_ / "results";
        for (const char* name : {"plain", "<i>50% #1?", "last"}) {
            SchedulePoint point;
            point.name = name;
            schedule_.points.push_back(point);
        }
        statuses_.resize(3);
        PointState state;
        state.figures = {{"rms_px", 0.1}, {"saturated", 0.25}};
        state.warnings = {"<script>alert(1)</script>, \"x\""};
        statuses_[0] = {Kind::done, "", state};
        state.figures = {{"rms_px", 1.0 / 3}};
        statuses_[1] = {Kind::beyond, "a, \"b\"", state};
        statuses_[2] = {Kind::skipped, "", std::nullopt};
        std::filesystem::create_directories(schedule_.folder_of(schedule_.points[1]));
        put_file(schedule_.folder_of(schedule_.points[1]) / "page.html", "");
        put_file(schedule_.folder_of(schedule_.points[1]) / "thumbnail.png", "x");
    }

    TemporaryFolder folder_;
    Schedule schedule_;
    std::vector<PointStatus> statuses_;
};

TEST_F(OddRun, IsReadBackFromItsTable) {
    put_file(folder_ / "summary.csv", summary_csv(schedule_, statuses_));
    const Table table = read_table(folder_ / "summary.csv");
    const auto cell = [&](std::size_t row, const char* head) {
        const auto column = std::ranges::find(table.heads, head) - table.heads.begin();
        return table.rows.at(row).cells.at(static_cast<std::size_t>(column));
    };
    ASSERT_EQ(table.rows.size(), 3U);
    EXPECT_EQ(cell(1, "point"), "<i>50% #1?");
    EXPECT_EQ(cell(1, "reason"), "a, \"b\"");
    EXPECT_EQ(parse_double(cell(1, "rms_px")), 1.0 / 3);
    EXPECT_EQ(cell(1, "saturated"), "");
    EXPECT_EQ(cell(2, "state"), "skipped");
}

TEST_F(OddRun, IsOnePageWithoutForeignMarkup) {
    const std::string page = index_page(schedule_, statuses_, {{"saturated", 0.01}});
    EXPECT_THAT(page, Not(HasSubstr("<script>alert")));
    EXPECT_THAT(page, Not(HasSubstr("<i>")));
    EXPECT_THAT(page, HasSubstr("href=\"%3Ci%3E50%25%20%231%3F/page.html\""));
    EXPECT_THAT(page, HasSubstr("<td class=\"number beyond\" data-key=\"0.25\">0.25</td>"));
    EXPECT_THAT(page, HasSubstr("data:image/png;base64,"));
    EXPECT_THAT(page, HasSubstr("3 points: 1 done, 1 beyond a limit, 1 skipped"));
    // trends where two points have the figure
    EXPECT_THAT(page, HasSubstr("root mean square, px along the run"));
    EXPECT_THAT(page, Not(HasSubstr("saturated pixels along the run")));
}

TEST_F(OddRun, OfThousandsHasNoPictures) {
    schedule_.points.resize(2000, schedule_.points[1]);
    statuses_.resize(2000, statuses_[1]);
    const std::string page = index_page(schedule_, statuses_, {});
    EXPECT_THAT(page, Not(HasSubstr("data:image/png")));
    EXPECT_THAT(page, HasSubstr("without pictures"));
}

TEST_F(OddRun, BecomesScriptsThatAShellReads) {
    ClusterRequest request;
    request.program = "/opt/o'x/vynlite-batch";
    request.points_per_task = 2;
    EXPECT_EQ(task_count(schedule_, request), 2);
    schedule_.points[0].skip = true;
    EXPECT_EQ(task_count(schedule_, request), 1);
    schedule_.points.resize(9);
    const std::string script = slurm_array_script(schedule_, request);
    EXPECT_THAT(script, HasSubstr("#SBATCH --array=1-4\n"));
    EXPECT_THAT(script, HasSubstr("\n'/opt/o'\\''x/vynlite-batch' --quiet schedule run "));
    put_file(folder_ / "script.sh", script);
    EXPECT_EQ(std::system(("sh -n " + (folder_ / "script.sh").string()).c_str()), 0);
}

}  // namespace
}  // namespace vyn::test
