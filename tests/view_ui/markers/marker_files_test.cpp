#include "markers/marker_files.h"

#include <QDialogButtonBox>
#include <QFileDialog>
#include <QLineEdit>
#include <QPushButton>

#include <gtest/gtest.h>

#include "api/lens.h"
#include "calib/camera.h"
#include "core/keys.h"
#include "tests/support/full_disk.h"
#include "tests/view_ui/edit_fixture.h"

namespace vyn {
namespace {

class MarkerFiles : public test::EditTest {
  protected:
    /// Bright paint, markers 1 and 2.
    static image marked() {
        image picture(96, 72);
        picture.values().fill(100);
        for (const Point& place : {Point{12.25, 20.5}, Point{70.125, 60}}) {
            Marker marker;
            marker.x = place.x;
            marker.y = place.y;
            marker.id = static_cast<std::int32_t>(picture.markers.markers.size()) + 1;
            picture.markers.markers.push_back(marker);
        }
        picture.markers.hasX = picture.markers.hasY = true;
        return picture;
    }
    /// Types a file name into the next file dialog.
    void choose_file(const std::filesystem::path& file) {
        answer<QFileDialog>([this, file](QFileDialog& dialog) {
            filter = dialog.selectedNameFilter();
            proposed = dialog.selectedFiles().value(0);
            dialog.findChild<QLineEdit*>(QStringLiteral("fileNameEdit"))
                ->setText(QString::fromStdString(file.string()));
            dialog.findChild<QDialogButtonBox*>()
                ->button(dialog.acceptMode() == QFileDialog::AcceptSave ? QDialogButtonBox::Save
                                                                        : QDialogButtonBox::Open)
                ->click();
        });
    }
    static MarkerSet read_file(const std::filesystem::path& file) {
        MarkerSet set;
        read_markers(file.string(), set, 72);
        return set;
    }

    QString filter;
    QString proposed;
};

TEST_F(MarkerFiles, SavedAsTextUnlessSomethingWouldBeLost) {
    show(marked(), "wind_on_sens");
    choose_file(folder / "saved.mpt");
    trigger("save_markers");
    EXPECT_EQ(filter, QStringLiteral("Markers v.2.52 (*.mpt)"));
    EXPECT_EQ(test::get_file(folder / "saved.mpt"), "12.25  20.5  0  0  1\n70.125  60  0  0  1\n");
    EXPECT_EQ(read(vyn_db(), keys::wind_on_sens_mark_file), (folder / "saved.mpt").string());
}

TEST_F(MarkerFiles, TheLossIsNamedBeforeItHappens) {
    image picture = marked();
    picture.markers.markers[0].id = 40;
    picture.markers.markers[1].f = 5;
    show(std::move(picture), "wind_on_sens");
    choose_file(folder / "saved.mpt");
    answer_box(QMessageBox::No);
    trigger("save_markers");
    EXPECT_EQ(filter, QStringLiteral("Markers (*.mrk)"));
    EXPECT_TRUE(box_text.contains(QStringLiteral("marker numbers, function values")))
        << box_text.toStdString();
    EXPECT_FALSE(std::filesystem::exists(folder / "saved.mpt"));
    EXPECT_EQ(read(vyn_db(), keys::wind_on_sens_mark_file), "");

    choose_file(folder / "saved.mrk");
    trigger("save_markers");
    EXPECT_EQ(answered, 3) << "no question for the format that keeps all";
    EXPECT_EQ(read_file(folder / "saved.mrk").markers[0].id, 40);
}

/// Where the format's line for a length unit would be written.
TEST_F(MarkerFiles, AFileThatNobodyCouldReadIsOfferedWithoutTheUnit) {
    image picture = marked();
    picture.markers.hasZ = true;
    picture.markers.lengthUnit = 2;
    show(std::move(picture), "wind_on_sens");
    for (const auto& [button, written] :
         {std::pair{QMessageBox::No, false}, {QMessageBox::Yes, true}}) {
        choose_file(folder / "saved.mrk");
        answer_box(button);
        trigger("save_markers");
        EXPECT_TRUE(box_text.contains(QStringLiteral("nobody could read")))
            << box_text.toStdString();
        EXPECT_EQ(std::filesystem::exists(folder / "saved.mrk"), written);
    }
    EXPECT_EQ(read_file(folder / "saved.mrk").markers.size(), 2U);
}

/// In every viewer, until a file holds them.
TEST_F(MarkerFiles, TheStarMeansMarkersInNoFile) {
    image picture = marked();
    picture.note_markers_saved();
    picture.markers.markers[0].x += 1;
    show(std::move(picture), "wind_on_sens");
    EXPECT_TRUE(viewer->isWindowModified()) << "drawn elsewhere";
    choose_file(folder / "saved.mrk");
    trigger("save_markers");
    EXPECT_TRUE(QTest::qWaitFor([this] { return !viewer->isWindowModified(); }));
}

TEST_F(MarkerFiles, AFailedSaveSaysSoAndKeepsTheOldFile) {
    show(marked(), "wind_on_sens");
    trigger("marker_toggle_mode");
    click(12.25, 20.5);
    test::put_file(folder / "saved.mpt", "1 2 0 0 1\n");
    choose_file(folder / "saved.mpt");
    answer_box(QMessageBox::Yes);  // to replace it
    answer_box(QMessageBox::Ok);
    {
        const test::FullDisk disk(8);
        trigger("save_markers");
    }
    EXPECT_EQ(answered, 3);
    EXPECT_EQ(box_title, QStringLiteral("Markers"));
    EXPECT_EQ(box_text, QStringLiteral("Error writing Markers"));
    EXPECT_EQ(test::get_file(folder / "saved.mpt"), "1 2 0 0 1\n");
    EXPECT_EQ(read(vyn_db(), keys::wind_on_sens_mark_file), "");
    EXPECT_TRUE(viewer->isWindowModified());
}

TEST_F(MarkerFiles, LoadsEveryFormatAndKeepsTheMarkersWhenAFileIsBroken) {
    test::put_file(folder / "a.mpt", "1 2 0 0 1\n3 4 0 0 0\n");
    test::put_file(folder / "b.inm", "1 2 0 0 1\n");
    test::put_file(folder / "c.apm", "5 6 7\n");
    test::put_file(folder / "broken.mrk", "<ObjectMarkers><NodesNumber>");
    show(marked(), "wind_on_sens");
    const MarkerSet before = published()->markers;
    choose_file(folder / "broken.mrk");
    answer_box(QMessageBox::Ok);
    trigger("load_markers");
    EXPECT_EQ(answered, 2);
    EXPECT_EQ(published()->markers, before);

    const auto load = [this](const char* name) {
        choose_file(folder / name);
        trigger("load_markers");
    };
    load("a.mpt");
    ASSERT_EQ(markers().size(), 2U);
    EXPECT_FALSE(markers()[1].active);
    load("b.inm");
    ASSERT_EQ(markers().size(), 1U);
    EXPECT_EQ(markers()[0].y, 72 - 2 - 1);
    load("c.apm");
    EXPECT_EQ(markers()[0].z, 7);
    for (int step = 0; step < 3; ++step)
        trigger("undo");
    EXPECT_EQ(published()->markers, before);
}

TEST_F(MarkerFiles, MarkersOfACorrectedImageGoBackThroughTheLens) {
    cameraFeatures camera;
    camera.cx = 48;
    camera.cy = 36;
    camera.a2 = 2e-5;
    const Distortion lens = lens_of(camera);
    write(vyn_db(), std::string(keys::sens_camera), camera);
    write(vyn_db(), keys::wind_on_sens_mark_file, (folder / "raw.mrk").string());
    image raw = marked();
    raw.name = "wind_on_sens";
    const MarkerSet raw_markers = raw.markers;
    image corrected = raw;
    for (Marker& marker : corrected.markers.markers) {
        const Point ideal = ideal_position(lens, {marker.x, marker.y});
        marker.x = ideal.x;
        marker.y = ideal.y;
    }
    const MarkerSet ideal_markers = corrected.markers;
    ASSERT_GT(std::abs(ideal_markers.markers[1].x - raw_markers.markers[1].x), 0.1);
    raw.markers = {};
    get_images().add(std::move(raw));
    show(std::move(corrected), "wind_on_sens_cor");

    choose_file(folder / "raw.mrk");
    trigger("save_markers");
    // The file keeps six digits.
    const MarkerSet saved = read_file(folder / "raw.mrk");
    const MarkerSet camera_now = get_images().find("wind_on_sens")->markers;
    ASSERT_EQ(saved.markers.size(), 2U);
    ASSERT_EQ(camera_now.markers.size(), 2U);
    for (std::size_t i = 0; i < 2; ++i) {
        EXPECT_NEAR(saved.markers[i].x, raw_markers.markers[i].x, 1e-4);
        EXPECT_NEAR(camera_now.markers[i].x, raw_markers.markers[i].x, 1e-9);
        EXPECT_NEAR(camera_now.markers[i].y, raw_markers.markers[i].y, 1e-9);
    }
    EXPECT_EQ(published()->markers, ideal_markers) << "those shown stay in their frame";

    choose_file(folder / "raw.mrk");
    trigger("load_markers");
    EXPECT_NEAR(markers()[1].x, ideal_markers.markers[1].x, 1e-4);

    choose_file(folder / "ideal.mrk");
    trigger("save_markers");
    EXPECT_NEAR(read_file(folder / "ideal.mrk").markers[1].x, ideal_markers.markers[1].x, 1e-4);
    EXPECT_EQ(read(vyn_db(), keys::wind_on_sens_mark_file), (folder / "raw.mrk").string());
}

TEST_F(MarkerFiles, AllAreRemovedOnlyWhenTheQuestionIsAnsweredYes) {
    show(marked(), "wind_on_sens");
    answer_box(QMessageBox::No);
    trigger("clear_markers");
    EXPECT_EQ(box_text, QStringLiteral("Do you want to remove all markers?"));
    EXPECT_EQ(markers().size(), 2U);
    answer_box(QMessageBox::Yes);
    trigger("clear_markers");
    EXPECT_TRUE(markers().empty());
    EXPECT_EQ(answered, 2);
}

}  // namespace
}  // namespace vyn
