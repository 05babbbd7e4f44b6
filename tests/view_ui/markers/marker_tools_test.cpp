#include <QCheckBox>
#include <QClipboard>
#include <QDialogButtonBox>
#include <QPushButton>
#include <QSlider>
#include <QSpinBox>
#include <QTableWidget>
#include <cmath>

#include <gtest/gtest.h>

#include "core/keys.h"
#include "core/ui/number_edit.h"
#include "tests/support/dotted_image.h"
#include "tests/view_ui/edit_fixture.h"
#include "view/ui/markers/marker_info.h"
#include "view/ui/markers/marker_table.h"

namespace vyn {
namespace {

image dotted(const std::vector<Point>& dots) {
    return test::dotted_image(96, 72, dots);
}

image one_bright_pixel(int x, int y) {
    image picture(96, 72);
    picture.values().fill(10);
    picture.values()(x, y) = 100;
    return picture;
}

class MarkerTools : public test::EditTest {
  protected:
    static constexpr Point first{20.3, 20.4};
    static constexpr Point second{50.2, 30.7};
    /// How far a quadratic surface may be off the middle of a round dot.
    static constexpr double tolerance = 0.2;

    void show_dots() { show(dotted({first, second}), "wind_on_sens"); }
    void expect_near(const Marker& marker, Point place) {
        EXPECT_NEAR(marker.x, place.x, tolerance);
        EXPECT_NEAR(marker.y, place.y, tolerance);
    }
};

TEST_F(MarkerTools, AddMoveToggleDeleteUndoWithTheMouse) {
    show_dots();
    trigger("marker_add_mode");
    click(21, 21, Qt::RightButton);
    EXPECT_TRUE(markers().empty()) << "only the left button adds";
    click(21, 21);
    click(49, 30);
    ASSERT_EQ(markers().size(), 2U);
    expect_near(markers()[0], first);
    expect_near(markers()[1], second);
    EXPECT_EQ(markers()[1].id, 2);

    trigger("marker_move_mode");
    drag({{20, 20}, {30, 40}, {51, 32}});
    expect_near(markers()[0], second);
    drag({{51, 31}, {70, 50}}, Qt::ShiftModifier);
    EXPECT_NEAR(std::hypot(markers()[1].x - second.x, markers()[1].y - second.y),
                std::hypot(19, 19), 0.2)
        << "Shift puts it exactly here, and the upper of two markers is picked";
    drag({{90, 60}, {10, 10}});
    EXPECT_EQ(markers().size(), 2U) << "nothing there to drag";

    trigger("marker_toggle_mode");
    click(50, 31);
    EXPECT_FALSE(markers()[0].active);

    trigger("marker_del_mode");
    click(50, 31);
    ASSERT_EQ(markers().size(), 1U);
    EXPECT_EQ(markers()[0].id, 2);

    QTest::keyClick(viewer, Qt::Key_Z, Qt::ControlModifier);
    ASSERT_EQ(markers().size(), 2U);
    EXPECT_FALSE(markers()[0].active);
    for (int step = 0; step < 5; ++step)
        QTest::keyClick(viewer, Qt::Key_Z, Qt::ControlModifier);
    EXPECT_TRUE(markers().empty());
    EXPECT_FALSE(viewer->isWindowModified());
    QTest::keyClick(viewer, Qt::Key_Z, Qt::ControlModifier | Qt::ShiftModifier);
    ASSERT_EQ(markers().size(), 1U);
    expect_near(markers()[0], first);
    EXPECT_TRUE(viewer->isWindowModified());
}

TEST_F(MarkerTools, EscapeEndsADragWithoutAChange) {
    show_dots();
    trigger("marker_add_mode");
    click(20, 20);
    trigger("marker_move_mode");
    const std::vector<Marker> before = markers();
    QTest::mousePress(&view(), Qt::LeftButton, Qt::NoModifier, at(20, 20));
    QTest::mouseMove(&view(), at(40, 40));
    trigger("probe_mode");
    QTest::mouseRelease(&view(), Qt::LeftButton, Qt::NoModifier, at(40, 40));
    EXPECT_EQ(markers(), before);
}

TEST_F(MarkerTools, ReviseOneAndAll) {
    image picture = dotted({first, second});
    for (const Point& near : {Point{21.5, 19.5}, Point{49.1, 31.2}, Point{85, 65}}) {
        Marker marker;
        marker.x = near.x;
        marker.y = near.y;
        marker.id = static_cast<std::int32_t>(picture.markers.markers.size()) + 1;
        picture.markers.markers.push_back(marker);
    }
    show(std::move(picture), "wind_on_sens");
    trigger("marker_revise_mode");
    click(21.5, 19.5);
    expect_near(markers()[0], first);
    EXPECT_EQ(markers()[1].x, 49.1);
    // The key revises all in this mode.
    QTest::keyClick(viewer, Qt::Key_A, Qt::ControlModifier);
    expect_near(markers()[1], second);
    EXPECT_EQ(markers()[2].x, 85) << "there is no dot";
    EXPECT_EQ(viewer->mode(), MouseMode::marker_revise);
}

TEST_F(MarkerTools, ABrightPixelWithinHalfTheSizeIsTakenAndBeyondTheQuestionIsAsked) {
    write(vyn_db(), keys::marker_size, 5);
    write(vyn_db(), keys::marker_pit, 0);
    show(one_bright_pixel(42, 30), "wind_on_sens");
    trigger("marker_add_mode");
    click(40, 30);
    EXPECT_EQ(answered, 0);
    ASSERT_EQ(markers().size(), 1U);
    EXPECT_NEAR(markers()[0].x, 42, 1e-6);
    EXPECT_NEAR(markers()[0].y, 30, 1e-6);

    answer_box(QMessageBox::No);
    click(39, 30);
    EXPECT_EQ(answered, 1);
    EXPECT_EQ(box_title, QStringLiteral("Marker Add"));
    EXPECT_EQ(box_text, QStringLiteral("Local Min or Max not found.\n\n"
                                       "Would You like to mark central point?"));
    EXPECT_EQ(default_button, QMessageBox::Yes);
    EXPECT_EQ(markers().size(), 1U);
    answer_box(QMessageBox::NoButton);
    click(39, 30);
    EXPECT_EQ(answered, 2);
    EXPECT_EQ(markers().size(), 1U) << "Escape is No";
    answer_box(QMessageBox::Yes);
    click(39, 30);
    EXPECT_EQ(answered, 3);
    ASSERT_EQ(markers().size(), 2U);
    EXPECT_EQ(markers()[1].x, 39) << "the click itself";
    EXPECT_EQ(markers()[1].y, 30);
}

TEST_F(MarkerTools, AnExcludedNeighbourhoodGivesAMarkerWithoutAQuestion) {
    write(vyn_db(), keys::marker_size, 5);
    image picture = one_bright_pixel(42, 30);
    picture.mask().fill(1);
    show(std::move(picture), "wind_on_sens");
    trigger("marker_add_mode");
    click(40, 30);
    ASSERT_EQ(markers().size(), 1U);
    EXPECT_EQ(markers()[0].x, 40);
    click(40, 300);
    EXPECT_EQ(markers().size(), 1U) << "beside the image";
}

TEST_F(MarkerTools, ThePanelShowsAndChangesTheCurrentMarker) {
    show_dots();
    trigger("marker_add_mode");
    click(20, 20);
    click(50, 31);
    trigger("marker_edit_mode");
    click(20, 20);
    auto* panel = viewer->findChild<VynMarkerInfo*>();
    ASSERT_NE(panel, nullptr);
    EXPECT_TRUE(panel->isVisible());
    const auto field = [&](const char* name) {
        return panel->findChild<NumberEdit*>(QLatin1String(name));
    };
    EXPECT_EQ(field("number")->number(), 1);
    EXPECT_NEAR(*field("x")->number(), first.x, tolerance);
    const double exact = markers()[0].x;
    field("number")->setText(QStringLiteral("17"));
    field("function")->setText(QStringLiteral("101325,5"));
    QTest::keyClick(field("function"), Qt::Key_Return);
    EXPECT_EQ(markers()[0].id, 17);
    EXPECT_EQ(markers()[0].f, 101325.5);
    EXPECT_EQ(markers()[0].x, exact) << "digits that are not shown stay";
    field("x")->selectAll();
    QTest::keyClicks(field("x"), QStringLiteral("22.5"));
    QTest::keyClick(field("x"), Qt::Key_Return);
    EXPECT_EQ(markers()[0].x, 22.5);
    EXPECT_TRUE(published()->markers.hasF);

    QTest::mouseClick(panel->findChild<QPushButton*>(QStringLiteral("next")), Qt::LeftButton);
    EXPECT_EQ(field("number")->number(), 2);
    QTest::mouseClick(panel->findChild<QCheckBox*>(QStringLiteral("active")), Qt::LeftButton,
                      Qt::NoModifier, QPoint(8, 8));
    EXPECT_FALSE(markers()[1].active);

    field("number")->setText(QStringLiteral("17"));
    answer_box(QMessageBox::Ok);
    panel->accept();
    EXPECT_EQ(answered, 1) << "the number is taken";
    EXPECT_EQ(markers()[1].id, 2);
    field("x")->setText(QStringLiteral("left"));
    panel->accept();
    EXPECT_EQ(answered, 1) << "a text is marked, nothing more";
    panel->read();
    EXPECT_NEAR(*field("x")->number(), second.x, tolerance);
    panel->go_prev();
    EXPECT_EQ(field("number")->number(), 17);
}

TEST_F(MarkerTools, TheTableTakesPastedPressuresAndManyAtOnce) {
    show_dots();
    trigger("marker_add_mode");
    click(50, 31);
    click(20, 20);
    auto* table = viewer->findChild<QTableWidget*>(QStringLiteral("marker_table"));
    ASSERT_NE(table, nullptr);
    ASSERT_EQ(table->rowCount(), 2);
    // Sorted by x the second marker comes first, and what is pasted follows the lines.
    table->sortByColumn(1, Qt::AscendingOrder);
    table->setCurrentCell(0, 3);
    QGuiApplication::clipboard()->setText(QStringLiteral("98000\n97500,5\n"));
    viewer->findChild<MarkerTable*>()->paste();
    EXPECT_EQ(markers()[1].f, 98000);
    EXPECT_EQ(markers()[0].f, 97500.5);
    EXPECT_TRUE(published()->markers.hasF);
    table->selectColumn(4);
    table->item(0, 4)->setText(QStringLiteral("0"));
    EXPECT_FALSE(markers()[0].active || markers()[1].active);
    answer_box(QMessageBox::Ok);
    table->item(0, 0)->setText(QStringLiteral("1"));
    EXPECT_EQ(answered, 1) << "the number is taken";
    EXPECT_EQ(markers()[1].id, 2);
    trigger("undo");
    EXPECT_TRUE(markers()[0].active && markers()[1].active) << "one step";
}

/// What was typed is kept when the panel goes on to the next marker.
TEST_F(MarkerTools, ThePanelKeepsWhatWasTyped) {
    show_dots();
    trigger("marker_add_mode");
    click(20, 20);
    click(50, 31);
    auto* panel = viewer->findChild<VynMarkerInfo*>();
    auto* value = panel->findChild<NumberEdit*>(QStringLiteral("function"));
    value->setText(QStringLiteral("5"));
    panel->go_next();
    value->setText(QStringLiteral("6"));
    panel->go_prev();
    EXPECT_EQ(markers()[1].f + markers()[0].f, 11);
    value->setText(QStringLiteral("none"));
    panel->go_next();
    EXPECT_EQ(value->text(), QStringLiteral("none")) << "no number: it stays here";
}

TEST_F(MarkerTools, OptionsAreKeptOrDropped) {
    show_dots();
    const auto dialog_with = [this](QDialog::DialogCode end) {
        answer<QDialog>([end](QDialog& dialog) {
            EXPECT_EQ(dialog.windowTitle(), QStringLiteral("Markers Option"));
            auto* size = dialog.findChild<QSpinBox*>(QStringLiteral("size"));
            EXPECT_EQ(size->suffix(), QStringLiteral(" pix "));
            size->setValue(13);
            dialog.findChild<QCheckBox*>(QStringLiteral("pit"))->setChecked(false);
            dialog.done(QDialog::Rejected);
            if (end == QDialog::Accepted) dialog.accept();
        });
        trigger("abjust_markers_options");
    };
    dialog_with(QDialog::Rejected);
    EXPECT_EQ(read(vyn_db(), keys::marker_size), 9);
    dialog_with(QDialog::Accepted);
    EXPECT_EQ(read(vyn_db(), keys::marker_size), 13);
    EXPECT_EQ(read(vyn_db(), keys::marker_pit), 0);
}

TEST_F(MarkerTools, FoundDotsAreShownBeforeTheyBecomeMarkers) {
    show_dots();
    trigger("find_markers");
    auto* dialog = viewer->findChild<QDialog*>(QStringLiteral("MarkerFinding"));
    ASSERT_NE(dialog, nullptr);
    auto* ok = dialog->findChild<QDialogButtonBox*>()->button(QDialogButtonBox::Ok);
    EXPECT_FALSE(ok->isEnabled());
    QTest::mouseClick(dialog->findChild<QPushButton*>(QStringLiteral("find")), Qt::LeftButton);
    EXPECT_TRUE(markers().empty());
    ASSERT_TRUE(ok->isEnabled());
    auto* table = dialog->findChild<QTableWidget*>(QStringLiteral("candidates"));
    ASSERT_EQ(table->rowCount(), 2);
    auto* cut = dialog->findChild<QSlider*>(QStringLiteral("cut"));
    const int gap = cut->value();
    cut->setValue(cut->maximum());
    EXPECT_FALSE(ok->isEnabled()) << "no candidate is as good";
    EXPECT_EQ(table->item(0, 0)->text(), QString());
    cut->setValue(gap);
    EXPECT_GE(table->item(0, 5)->text().toDouble() * cut->maximum(), gap);
    EXPECT_NE(table->item(0, 0)->text(), QString());
    QTest::mouseClick(ok, Qt::LeftButton);
    ASSERT_EQ(markers().size(), 2U);
    expect_near(markers()[0], first);
    expect_near(markers()[1], second);
    trigger("undo");
    EXPECT_TRUE(markers().empty());
}

TEST_F(MarkerTools, PairingTakesOverTheNumbersOfTheOtherImage) {
    std::vector<Point> places{{20, 20}, {50, 22}, {80, 21}, {22, 50}, {51, 52}, {79, 49}};
    image other(96, 72);
    image picture(96, 72);
    other.name = "wind_off_sens";
    for (std::size_t i = 0; i < places.size(); ++i) {
        Marker marker;
        marker.x = places[i].x;
        marker.y = places[i].y;
        marker.id = static_cast<std::int32_t>(101 + i);
        other.markers.markers.push_back(marker);
        marker.x += 1.5;
        marker.y -= 0.5;
        marker.id = static_cast<std::int32_t>(places.size() - i);
        picture.markers.markers.push_back(marker);
    }
    picture.values().fill(1);
    get_images().add(std::move(other));
    show(std::move(picture), "wind_on_sens");
    trigger("pair_markers");
    auto* dialog = viewer->findChild<QDialog*>(QStringLiteral("MarkerPairing"));
    ASSERT_NE(dialog, nullptr);
    QTest::mouseClick(dialog->findChild<QPushButton*>(QStringLiteral("pair")), Qt::LeftButton);
    EXPECT_EQ(markers()[0].id, 6) << "nothing changes before it is accepted";
    auto* ok = dialog->findChild<QDialogButtonBox*>()->button(QDialogButtonBox::Ok);
    ASSERT_TRUE(ok->isEnabled());
    QTest::mouseClick(ok, Qt::LeftButton);
    for (std::size_t i = 0; i < places.size(); ++i)
        EXPECT_EQ(markers()[i].id, static_cast<std::int32_t>(101 + i));
}

}  // namespace
}  // namespace vyn
