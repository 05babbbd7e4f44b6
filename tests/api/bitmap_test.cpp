#include "api/bitmap.h"

#include <cstdint>

#include <gtest/gtest.h>

namespace vyn {
namespace {

TEST(Bitmap, PadsItsRows) {
    for (const int width : {1, 15, 16, 17, 1000, 4096}) {
        const Bitmap<float> plane(width, 3);
        EXPECT_GE(plane.stride(), width);
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(plane.row(1)) % 64, 0U);
        // no two neighbouring rows fall on the same sets of a cache
        EXPECT_EQ(plane.stride() / 16 % 2, 1);
    }
}

TEST(Bitmap, RefusesAbsurdSizes) {
    EXPECT_THROW(Bitmap<float>(-1, 4), DimError);
    EXPECT_THROW(Bitmap<float>(max_bitmap_side + 1, 1), DimError);
    EXPECT_THROW(Bitmap<float>(max_bitmap_side, max_bitmap_side), DimError);
    EXPECT_TRUE(Bitmap<float>(0, 7).empty());
}

TEST(Bitmap, CopiesAndMoves) {
    Bitmap<int> a(5, 4, 3);
    Bitmap<int> b = a;
    b(4, 3) = 8;
    EXPECT_EQ(a(4, 3), 3);
    a = std::move(b);
    EXPECT_EQ(a(4, 3), 8);
    a = Bitmap<int>(a);
    EXPECT_EQ(a(4, 3), 8);
}

TEST(PlaneMemory, HandsOutDistinctBlocksThatCanBeWritten) {
    constexpr std::size_t bytes = std::size_t{9} << 20;
    for (int round = 0; round < 3; ++round) {
        std::vector<std::uint8_t*> blocks;
        for (std::uint8_t i = 0; i < 20; ++i) {
            blocks.push_back(static_cast<std::uint8_t*>(plane_memory::allocate(bytes)));
            blocks.back()[0] = i;
            blocks.back()[bytes - 1] = i;
        }
        for (std::uint8_t i = 0; i < 20; ++i) {
            EXPECT_EQ(blocks[i][0], i);
            EXPECT_EQ(blocks[i][bytes - 1], i);
            plane_memory::release(blocks[i], bytes);
        }
    }
    plane_memory::trim();
}

}  // namespace
}  // namespace vyn
