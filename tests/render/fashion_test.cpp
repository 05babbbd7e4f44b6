#include "render/fashion.h"

#include <cmath>

#include <gtest/gtest.h>

#include "render/difference.h"
#include "render/ticks.h"

namespace vyn {
namespace {

TEST(Ticks, AreRoundNumbersWithinTheLimits) {
    struct Case {
        double low;
        double high;
        int most;
        std::vector<std::string> texts;
    };
    const Case cases[] = {
        {0, 1, 6, {"0.0", "0.2", "0.4", "0.6", "0.8", "1.0"}},
        {-0.31, 0.3, 4, {"-0.2", "0.0", "0.2"}},
        {78060, 98630, 5, {"80000", "85000", "90000", "95000"}},
        {1e-7, 3e-7, 3, {"1e-07", "2e-07", "3e-07"}},
        {2e8, 4e8, 3, {"2e+08", "3e+08", "4e+08"}},
        {5, 5, 5, {}},
        {7, 3, 5, {}},
        {0, std::numeric_limits<double>::infinity(), 5, {}},
        {std::nan(""), 1, 5, {}},
        {1e15, 1e15 + 1e-3, 5, {}},
    };
    for (const Case& c : cases)
        EXPECT_EQ(make_ticks(c.low, c.high, c.most).texts, c.texts) << c.low << ' ' << c.high;
}

TEST(Fashion, TidyLimitsKeepAThousandthOfTheirRange) {
    const Limits tidied = tidy({78061.2346, 98629.8765});
    EXPECT_EQ(tidied, (Limits{78060, 98630}));
    EXPECT_EQ(tidy({0.123456, 0.234567}), (Limits{0.1235, 0.2346}));
    EXPECT_EQ(tidy({5.5555, 5.5555}), (Limits{5.5555, 5.5555}));
    EXPECT_EQ(tidy({-1e308, 1e308}), (Limits{-1e308, 1e308}));
}

TEST(Fashion, SuggestedVectorsReachTheirNeighbours) {
    Displacement map{Bitmap<float>(200, 100, 0.3F), Bitmap<float>(200, 100, 0.4F), 8};
    map.u(0, 0) = std::nanf("");
    image picture(1600, 800);
    picture.displacement = map;
    const VectorStyle style = suggested_vectors(picture);
    EXPECT_EQ(style.u_skip, 5);
    EXPECT_NEAR(style.scale * 0.5, 5 * 8, 1) << "length 0.5 pixel, every fifth node";
    // The grid as an image of its own has a node in every pixel.
    image grid(200, 100);
    grid.displacement = map;
    EXPECT_NEAR(suggested_vectors(grid).scale * 0.5, 5, 0.2);
    EXPECT_EQ(suggested_vectors(image(3, 3)).scale, 1);
}

TEST(DifferenceLimits, AreEvenAboutZero) {
    auto a = std::make_shared<image>(1200, 900);
    auto b = std::make_shared<image>(1200, 900);
    a->values().fill(10);
    b->values().fill(12.5F);
    for (int x = 0; x < 5; ++x)
        a->values()(x, 0) = 1e9F;  // a few wild pixels do not count
    const auto levels = [](const auto& picture) { return ImageLevels(picture); };
    EXPECT_EQ(difference_limits(levels(a), levels(b)), (Limits{-2.5, 2.5}));
    b->mask().fill(1);
    EXPECT_EQ(difference_limits(levels(a), levels(b)), (Limits{0, 0}));
}

}  // namespace
}  // namespace vyn
