#include "calib/ui/label_places.h"

#include <QSize>

#include <gtest/gtest.h>

namespace vyn::test {
namespace {

struct Crowd {
    const char* name;
    int count;
    double step;  ///< between neighbours along the curve, pixels
    QSize canvas;
    QSizeF label;
    double symbol;
};

class LabelPlaces : public testing::TestWithParam<Crowd> {};

TEST_P(LabelPlaces, CoverNothingAndStayInside) {
    const Crowd& c = GetParam();
    LabelSurroundings around{QRectF(QPointF(), c.canvas), c.symbol, {}};
    QVector<QPointF> points;
    for (int i = 0; i < c.count; ++i)
        points.append({20 + i % 4 * 0.28 * c.canvas.width() + i * c.step,
                       c.canvas.height() * (0.9 - 0.2 * (i % 4)) - i * c.step});
    for (int i = 0; i <= 100; ++i)
        around.curve.append({c.canvas.width() * i / 100.0, c.canvas.height() * (1 - i / 100.0)});
    const QVector<QRectF> labels = place_labels(points, QVector<QSizeF>(c.count, c.label), around);
    ASSERT_EQ(labels.size(), c.count);
    for (int i = 0; i < c.count; ++i) {
        EXPECT_TRUE(around.canvas.contains(labels[i])) << i;
        EXPECT_EQ(labels[i].size(), c.label);
        for (int k = 0; k < c.count; ++k) {
            EXPECT_FALSE(k < i && labels[i].intersects(labels[k])) << i << " and " << k;
            EXPECT_FALSE(labels[i].contains(points[k])) << i << " over point " << k;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(
    Crowds, LabelPlaces,
    testing::Values(Crowd{"alone", 1, 0, {400, 250}, {24, 15}, 9},
                    Crowd{"at_one_place", 5, 0, {400, 250}, {24, 15}, 9},
                    Crowd{"sixty_in_four_heaps", 60, 0.2, {400, 250}, {24, 15}, 9},
                    Crowd{"sixty_at_twice_the_size", 60, 0.4, {800, 500}, {48, 30}, 18}),
    [](const auto& instance) { return std::string(instance.param.name); });

TEST(LabelPlacesInACorner, WithoutRoomEveryLabelStillHasAPlace) {
    const QVector<QRectF> labels =
        place_labels(QVector<QPointF>(30, {10, 10}), QVector<QSizeF>(30, {24, 15}),
                     {QRectF(0, 0, 60, 40), 9, {}});
    ASSERT_EQ(labels.size(), 30);
    for (const QRectF& label : labels)
        EXPECT_TRUE(QRectF(0, 0, 60, 40).contains(label));
}

}  // namespace
}  // namespace vyn::test
