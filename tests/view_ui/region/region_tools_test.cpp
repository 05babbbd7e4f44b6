#include <QComboBox>
#include <QDialogButtonBox>
#include <QFileDialog>
#include <QLineEdit>
#include <QPushButton>

#include <gtest/gtest.h>

#include "core/keys.h"
#include "core/ui/number_edit.h"
#include "process/point/lamp_monitor.h"
#include "process/point/raw_images.h"
#include "tests/support/picture_of.h"
#include "tests/view_ui/edit_fixture.h"
#include "view/ui/look/histogram_plot.h"

namespace vyn {
namespace {

class RegionTools : public test::EditTest {
  protected:
    void show_ramp() {
        image picture = test::picture_of(90, 70, [](int x, int) { return x; });
        picture.file_name = (folder / "on.tif").string();
        write_image(picture, folder / "on.tif");
        write(vyn_db(), keys::wind_on_sens_file, (folder / "on.tif").string());
        show(std::move(picture), "wind_on_sens");
    }
    bool excluded(int x, int y) const { return published()->mask()(x, y) != 0; }
    std::int64_t excluded_count() const {
        std::int64_t count = 0;
        for (int y = 0; y < published()->height(); ++y)
            for (int x = 0; x < published()->width(); ++x)
                count += excluded(x, y) ? 1 : 0;
        return count;
    }
    void choose(const char* box, int item) {
        viewer->findChild<QComboBox*>(QLatin1String(box))->setCurrentIndex(item);
    }
};

TEST_F(RegionTools, ShapesDrawnWithTheMouseExcludePixels) {
    show_ramp();
    trigger("region_rectangle");
    drag({{10, 10}, {15, 12}, {20, 14}});
    EXPECT_EQ(excluded_count(), 11 * 5);
    EXPECT_TRUE(excluded(10, 10) && excluded(20, 14));

    trigger("region_polygon");
    click(40, 10);
    click(50, 10);
    click(50, 20);
    QTest::mouseDClick(&view(), Qt::LeftButton, Qt::NoModifier, at(50, 20));
    EXPECT_EQ(excluded_count(), 55 + 55) << "0 to 9 pixels in ten rows, left rim and top included";
    EXPECT_TRUE(excluded(49, 15) && !excluded(41, 15));

    choose("region action", 1);
    trigger("region_brush");
    drag({{0, 12}, {80, 12}});
    EXPECT_FALSE(excluded(15, 12));

    trigger("undo");
    EXPECT_TRUE(excluded(15, 12));
    trigger("undo");
    trigger("undo");
    EXPECT_EQ(excluded_count(), 0);
    trigger("redo");
    EXPECT_EQ(excluded_count(), 55);
    trigger("region_invert");
    EXPECT_EQ(excluded_count(), 90 * 70 - 55);
}

TEST_F(RegionTools, MarkersAndRegionsAreUndoneInTheOrderTheyWereMade) {
    show_ramp();
    trigger("region_rectangle");
    drag({{10, 10}, {20, 14}});
    trigger("marker_add_mode");
    write(vyn_db(), keys::marker_size, 4);
    answer_box(QMessageBox::Yes);
    click(40, 40);
    trigger("region_rectangle");
    drag({{60, 10}, {70, 14}});
    trigger("undo");
    EXPECT_EQ(markers().size(), 1U);
    EXPECT_EQ(excluded_count(), 55);
    trigger("undo");
    EXPECT_TRUE(markers().empty());
    EXPECT_EQ(excluded_count(), 55) << "taking the marker back leaves the mask alone";
    trigger("undo");
    EXPECT_EQ(excluded_count(), 0);
    trigger("redo");
    trigger("redo");
    EXPECT_EQ(markers().size(), 1U);
    EXPECT_EQ(excluded_count(), 55);
}

TEST_F(RegionTools, ARectangleShowsWhereTheLampIsSeen) {
    show_ramp();
    choose("region plane", 2);
    trigger("region_invert");
    trigger("region_ellipse");
    drag({{30, 30}, {50, 50}});
    EXPECT_EQ(excluded_count(), 0);
    EXPECT_EQ(read(vyn_db(), keys::lamp_monitor), "none") << "only a rectangle can be one";
    const QImage before = view().grab().toImage();
    trigger("region_rectangle");
    drag({{40, 14}, {20, 10}});
    EXPECT_EQ(read(vyn_db(), keys::lamp_monitor), "region");
    EXPECT_EQ(lamp_monitor(vyn_db()), (MonitorBox{20, 10, 21, 5}));
    EXPECT_EQ(excluded_count(), 0) << "nothing is drawn into the picture";
    drag({{80, 60}, {95, 75}});
    EXPECT_EQ(lamp_monitor(vyn_db()), (MonitorBox{80, 60, 10, 10})) << "up to the picture's edge";
    drag({{40, 14}, {20, 10}});
    EXPECT_NE(view().grab().toImage().pixel(at(30, 9.5)), before.pixel(at(30, 9.5)));

    vyn_db().write(std::string(keys::sens_camera) + "a2", 1e-5);
    const auto shown = lamp_monitor_in(vyn_db(), "wind_on_sens");
    ASSERT_TRUE(shown);
    EXPECT_GT(shown->lower_right.x, 40.1) << "where the lens shows it";
    EXPECT_TRUE(set_lamp_monitor(vyn_db(), "wind_on_sens", *shown));
    EXPECT_EQ(lamp_monitor(vyn_db()), (MonitorBox{20, 10, 21, 5}));
    EXPECT_EQ(lamp_monitor_in(vyn_db(), "wind_off_sens_cor")->upper_left.x, 20);
    EXPECT_FALSE(lamp_monitor_in(vyn_db(), "field_P"));
    EXPECT_FALSE(set_lamp_monitor(vyn_db(), "wind_on_refe", *shown));
}

TEST_F(RegionTools, AThresholdDrawsIntoTheRegionPlane) {
    show_ramp();
    choose("region plane", 1);
    const QImage before = view().grab().toImage();
    answer<QDialog>([&](QDialog& dialog) {
        dialog.findChild<NumberEdit*>(QStringLiteral("low"))->setText(QStringLiteral("80"));
        dialog.findChild<NumberEdit*>(QStringLiteral("high"))->clear();
        const QImage preview = view().grab().toImage();
        const auto tinted = [&](int x) {
            return preview.pixel(at(x, 5)) != before.pixel(at(x, 5));
        };
        EXPECT_TRUE(tinted(80));
        EXPECT_FALSE(tinted(79));
        auto* histogram = dialog.findChild<HistogramPlot*>();
        Q_EMIT histogram->limits_dragged({70, 90});
        EXPECT_EQ(dialog.findChild<NumberEdit*>(QStringLiteral("low"))->number(), 70);
        dialog.findChild<NumberEdit*>(QStringLiteral("low"))->setText(QStringLiteral("80"));
        dialog.findChild<NumberEdit*>(QStringLiteral("high"))->clear();
        dialog.accept();
    });
    trigger("region_threshold");
    ASSERT_TRUE(published()->has_region());
    EXPECT_NE(published()->region()(80, 5), 0);
    EXPECT_EQ(published()->region()(79, 5), 0);
    EXPECT_EQ(excluded_count(), 0);
}

TEST_F(RegionTools, TheSavedMaskIsUsedWhenTheImageIsLoadedAgain) {
    show_ramp();
    trigger("region_ellipse");
    drag({{30, 20}, {50, 40}});
    const image edited = *published();
    ASSERT_GT(excluded_count(), 200);
    EXPECT_TRUE(viewer->isWindowModified());
    answer<QFileDialog>([](QFileDialog& dialog) {
        EXPECT_TRUE(dialog.selectedFiles().value(0).endsWith(QStringLiteral("on_mask.png")));
        dialog.findChild<QDialogButtonBox*>()->button(QDialogButtonBox::Save)->click();
    });
    trigger("save_mask");
    EXPECT_FALSE(viewer->isWindowModified());
    EXPECT_EQ(read(vyn_db(), keys::wind_on_sens_mask_file), (folder / "on_mask.png").string());
    const std::string bytes = test::get_file(folder / "on_mask.png");
    ASSERT_GT(bytes.size(), 25U);
    EXPECT_EQ(bytes[24], 8) << "bits of a pixel";

    const std::vector<image> loaded = load_images(vyn_db(), imagesList(), context);
    ASSERT_EQ(loaded.size(), 1U);
    EXPECT_TRUE(test::same_bits(loaded[0], edited));
}

}  // namespace
}  // namespace vyn
