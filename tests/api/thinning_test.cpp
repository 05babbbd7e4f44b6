#include "api/thinning.h"

#include <cstdlib>

#include <gtest/gtest.h>

#include "tests/api/pictures.h"

namespace vyn {
namespace {

image by_definition(const image& picture, int depth) {
    image out = picture;
    for (int y = 0; y < out.height(); ++y)
        for (int x = 0; x < out.width(); ++x) {
            if (picture.has_region() && picture.region()(x, y) == 0) continue;
            for (int j = 0; j < out.height(); ++j)
                for (int i = 0; i < out.width(); ++i)
                    if (std::abs(i - x) <= depth && std::abs(j - y) <= depth &&
                        picture.mask()(i, j) != 0 && out.mask()(x, y) == 0)
                        out.mask()(x, y) = 1;
        }
    return out;
}

class Thinning : public testing::TestWithParam<int> {};

TEST_P(Thinning, ExcludesWhatIsNearExcludedPixels) {
    for (const test::Size size : {test::Size{1, 1}, {1, 30}, {23, 1}, {70, 31}, {130, 40}}) {
        image picture = test::random_image(size, 1, test::Values::special);
        // few holes, far from each other
        for (int y = 0; y < size.height; ++y)
            for (int x = 0; x < size.width; ++x)
                picture.mask()(x, y) =
                    (x * 7 + y * 13) % 101 == 50 ? std::uint8_t{9} : std::uint8_t{0};
        Progress progress;
        image own = picture;
        thin(own, GetParam(), progress);
        EXPECT_EQ(test::bits(own), test::bits(by_definition(picture, GetParam())));

        picture.set_region(test::random_region(size, 2));
        own = picture;
        thin(own, GetParam(), progress);
        EXPECT_EQ(test::bits(own), test::bits(by_definition(picture, GetParam())));
    }
}

INSTANTIATE_TEST_SUITE_P(Depths, Thinning, testing::Values(-1, 0, 1, 2, 5, 29, 1000000));

TEST(Thinning, AFullPictureKeepsItsBorderAndAnAbortedOneItsMask) {
    image picture(20, 10);
    picture.values().fill(1);
    Progress progress;
    const image before = picture;
    thin(picture, 3, progress);
    EXPECT_EQ(test::bits(picture), test::bits(before));

    picture.mask()(4, 4) = 1;
    const image holed = picture;
    test::Stopped stopped;
    EXPECT_THROW(thin(picture, 3, stopped), Aborted);
    EXPECT_EQ(test::bits(picture), test::bits(holed));
}

}  // namespace
}  // namespace vyn
