#include "process/model/view_coverage.h"

#include <cmath>

#include <gtest/gtest.h>

namespace vyn::test {
namespace {

TEST(ViewCoverage, SharesAndSpreadByCamera) {
    const double none = std::nan("");
    field_data<double> mesh;
    EXPECT_TRUE(view_coverage(mesh).empty());
    mesh.quantities = {{"view", {1, 1, 2, 1, none}, "", {}},
                       {"views", {2, 1, 1, 2, none}, "", {}},
                       {"spread", {3, 0, 0, 4, none}, "Pa", {}}};
    mesh.views.resize(2);
    mesh.views[1].name = "right";
    mesh.views[1].rms = 0.25;
    const auto seen = view_coverage(mesh);
    ASSERT_EQ(seen.size(), 2u);
    EXPECT_EQ(seen[0].best_share, 0.75);
    EXPECT_DOUBLE_EQ(seen[0].shared_share, 2.0 / 3);
    EXPECT_DOUBLE_EQ(seen[0].spread, std::sqrt(12.5));
    EXPECT_EQ(seen[1].best_share, 0.25);
    EXPECT_EQ(seen[1].shared_share, 0);
    EXPECT_TRUE(std::isnan(seen[1].spread));
    EXPECT_EQ(seen[1].rms, 0.25);
}

}  // namespace
}  // namespace vyn::test
