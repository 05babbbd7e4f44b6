#include "api/image.h"

#include <functional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "api/image_list.h"
#include "core/errors.h"
#include "tests/support/error_of.h"

namespace vyn::test {
namespace {

struct Missing {
    const char* label;
    std::function<void(image&)> use;
    int line;
};

class MissingPlane : public testing::TestWithParam<Missing> {};

TEST_P(MissingPlane, IsAnAlgorithmError) {
    image picture(3, 2);
    picture.drop_values();
    picture.drop_mask();
    const auto error = test::error_of<AlgoError>([&] { GetParam().use(picture); });
    EXPECT_EQ(error.code, 6);
    EXPECT_EQ(error.where(), "Algorithm error! at api/image:" + std::to_string(GetParam().line));
}

INSTANTIATE_TEST_SUITE_P(Accessors, MissingPlane,
                         testing::Values(Missing{"values", [](image& i) { i.values(); }, 335},
                                         Missing{"mask", [](image& i) { i.mask(); }, 343},
                                         Missing{"region", [](image& i) { i.region(); }, 351},
                                         Missing{"check", [](const image& i) { i.check_planes(); },
                                                 335}),
                         [](const auto& test) { return std::string(test.param.label); });

TEST(Image, PlanesOfDifferentShapesAreRejectedEvenWithEqualCounts) {
    EXPECT_THROW(image(Bitmap<float>(6, 4, 0.f), Bitmap<std::uint8_t>(4, 6, 0)), DimError);
    image picture(6, 4);
    EXPECT_NO_THROW(picture.check_planes());
    picture.set_mask(Bitmap<std::uint8_t>(4, 6, 0));
    EXPECT_THROW(picture.check_planes(), DimError);
    EXPECT_NO_THROW(image().check_planes());
}

TEST(Image, FillRegionMakesThePlaneInTheSizeOfTheValues) {
    image picture(6, 4);
    EXPECT_FALSE(picture.has_region());
    for (const auto value : {std::uint8_t{1}, std::uint8_t{7}}) {
        picture.fill_region(value);
        ASSERT_TRUE(picture.region().same_size(picture.values()));
        EXPECT_EQ(picture.region()(0, 0), value);
        EXPECT_EQ(picture.region()(5, 3), value);
    }
    picture.set_region(Bitmap<std::uint8_t>(2, 2, 0));
    picture.fill_region(1);
    EXPECT_TRUE(picture.region().same_size(picture.values()));
    picture.drop_region();
    EXPECT_FALSE(picture.has_region());
}

image named(const std::string& name, float value) {
    image picture(1, 1);
    picture.name = name;
    picture.values()(0, 0) = value;
    return picture;
}

TEST(Image, CopiesShareTheirPlanesUntilOneIsWrittenTo) {
    image first = named("first", 1);
    image second = first;
    EXPECT_TRUE(second.shares_values_with(first));
    second.mask()(0, 0) = 1;
    EXPECT_TRUE(second.shares_values_with(first));
    EXPECT_EQ(std::as_const(first).mask()(0, 0), 0);
    second.values()(0, 0) = 7;
    EXPECT_FALSE(second.shares_values_with(first));
    EXPECT_EQ(std::as_const(first).values()(0, 0), 1);
    const float* own = &second.values()(0, 0);
    EXPECT_EQ(&second.values()(0, 0), own);
}

TEST(ImageList, PublishesSnapshotsByName) {
    imagesList list;
    EXPECT_EQ(list.find("Iref"), nullptr);
    list.add(named("wind_on_sens", 2));
    list.add(named("Iref", 1));
    const auto held = list.find("Iref");
    list.add(named("Iref", 3));
    EXPECT_EQ(held->values()(0, 0), 1);
    EXPECT_EQ(list.find("Iref")->values()(0, 0), 3);
    EXPECT_EQ(list.names(), (std::vector<std::string>{"Iref", "wind_on_sens"}));
    EXPECT_EQ(list.all().at(1)->name, "wind_on_sens");
    EXPECT_TRUE(list.remove("Iref"));
    EXPECT_FALSE(list.remove("Iref"));
    EXPECT_THROW(list.add(std::shared_ptr<const image>()), AlgoError);
    list.clear();
    EXPECT_TRUE(list.names().empty());
}

TEST(ImageList, IsUsedByManyThreadsAtOnce) {
    imagesList list;
    {
        std::vector<std::jthread> threads;
        for (int t = 0; t < 4; ++t)
            threads.emplace_back([&list, t] {
                for (int i = 0; i < 500; ++i) {
                    list.add(named(std::to_string(i % 7), static_cast<float>(t)));
                    for (const auto& picture : list.all()) {
                        image own = *picture;
                        own.values()(0, 0) = -1;
                        EXPECT_GE(picture->values()(0, 0), 0);
                    }
                    list.remove(std::to_string((i + t) % 7));
                }
            });
    }
    EXPECT_LE(list.names().size(), 7u);
}

}  // namespace
}  // namespace vyn::test
