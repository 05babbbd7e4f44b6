#include "view/ui/graph/graph_window.h"

#include <QCheckBox>
#include <QClipboard>
#include <QListWidget>
#include <QPushButton>
#include <QSpinBox>

#include <gtest/gtest.h>
#include <qwt_plot.h>
#include <qwt_scale_div.h>

#include "core/ui/number_edit.h"
#include "tests/support/picture_of.h"
#include "tests/view_ui/edit_fixture.h"

namespace vyn {
namespace {

class Graph : public test::EditTest {
  protected:
    static image ramp() {
        image picture = test::picture_of(90, 70, [](int x, int y) { return x + 1000 * (y % 2); });
        picture.mask()(30, 10) = 1;
        return picture;
    }
    GraphWindow& window() const { return *viewer->findChild<GraphWindow*>(); }
};

TEST_F(Graph, LinesDrawnOnTheImageBecomeCurves) {
    show(ramp(), "wind_on_sens");
    trigger("show_graph_mode");
    drag({{20, 10}, {30, 10}, {40, 10}});
    ASSERT_EQ(window().curves().size(), 1U);
    const LineProfile profile = window().curves()[0].profile;
    ASSERT_EQ(profile.samples.size(), 21U);
    EXPECT_EQ(profile.samples[5].value, 25);
    EXPECT_TRUE(std::isnan(profile.samples[10].value)) << "an excluded pixel";
    EXPECT_EQ(unbroken_parts(profile).size(), 2U);

    drag({{5, 5}, {5, 45}});
    ASSERT_EQ(window().curves().size(), 2U);
    EXPECT_NE(window().curves()[0].colour, window().curves()[1].colour);
    drag({{50, 20}, {80, 23}}, Qt::ShiftModifier);
    EXPECT_EQ(window().curves()[2].profile.to.y, 20) << "Shift keeps it straight";

    window().findChild<QSpinBox*>(QStringLiteral("width"))->setValue(3);
    EXPECT_NEAR(window().curves()[0].profile.samples[5].value, 25 + 2000 / 3.0, 1e-3);

    auto* list = window().findChild<QListWidget*>(QStringLiteral("lines"));
    list->setCurrentRow(0);
    QTest::mouseClick(window().findChild<QPushButton*>(QStringLiteral("remove")), Qt::LeftButton);
    ASSERT_EQ(window().curves().size(), 2U);
    EXPECT_EQ(window().curves()[0].profile.from.x, 5);
    QTest::mouseClick(window().findChild<QPushButton*>(QStringLiteral("clear")), Qt::LeftButton);
    EXPECT_TRUE(window().curves().empty());
}

TEST_F(Graph, LinesAreMovedWithTheMouseAndByTypedCoordinates) {
    show(ramp(), "wind_on_sens");
    trigger("show_graph_mode");
    drag({{20, 20}, {40, 20}});
    const auto line = [&] { return window().curves()[0].profile; };
    drag({{40, 20}, {35, 25}, {40, 30}});
    ASSERT_EQ(window().curves().size(), 1U) << "its end is taken, no new line begun";
    EXPECT_EQ(line().from, (Point{20, 20}));
    EXPECT_EQ(line().to, (Point{40, 30}));
    EXPECT_EQ(line().samples.back().value, 40);
    drag({{30, 25}, {32, 24}});
    EXPECT_EQ(line().from, (Point{22, 19}));
    EXPECT_EQ(line().to, (Point{42, 29}));

    const auto type = [&](const char* name, const char* text) {
        auto* edit = window().findChild<NumberEdit*>(QLatin1String(name));
        edit->setFocus();
        edit->selectAll();
        QTest::keyClicks(edit, QLatin1String(text));
        QTest::keyClick(edit, Qt::Key_Return);
    };
    type("start_y", "9.5");
    type("end_x", "50.25");
    EXPECT_EQ(line().from, (Point{22, 9.5}));
    EXPECT_EQ(line().to, (Point{50.25, 29}));
    type("end_x", "nonsense");
    EXPECT_EQ(line().to, (Point{50.25, 29}));
}

TEST_F(Graph, LinesAreLaidOverTheImagesOfOtherViewers) {
    image other = ramp();
    other.name = "wind_off_sens";
    for (int y = 0; y < other.height(); ++y)
        for (int x = 0; x < other.width(); ++x)
            other.values()(x, y) += 5000;
    get_images().add(std::move(other));
    get_images().add(test::ramp_image("of_another_size"));
    ViewerTest::show("wind_off_sens", true, QStringLiteral("Wind-off"));
    ViewerTest::show("of_another_size");
    show(ramp(), "wind_on_sens");
    trigger("show_graph_mode");
    drag({{20, 20}, {40, 20}});
    auto* images = window().findChild<QListWidget*>(QStringLiteral("images"));
    ASSERT_EQ(images->count(), 1);
    EXPECT_EQ(images->item(0)->text(), QStringLiteral("Wind-off"));
    EXPECT_EQ(window().curves().size(), 1U);
    images->item(0)->setCheckState(Qt::Checked);
    ASSERT_TRUE(QTest::qWaitFor([&] { return window().curves().size() == 2; }));
    EXPECT_EQ(window().curves()[0].profile.samples[5].value, 25);
    EXPECT_EQ(window().curves()[1].profile.samples[5].value, 5025);
    EXPECT_EQ(window().findChild<QListWidget*>(QStringLiteral("lines"))->count(), 1);
    window().copy_table();
    const QString table = QGuiApplication::clipboard()->text();
    EXPECT_TRUE(table.startsWith(QStringLiteral("line,distance,x,y,value,image\n1,0,20,20,20,")));
    EXPECT_TRUE(table.contains(QStringLiteral("1,5,25,20,5025,\"Wind-off\"")));

    image changed = *get_images().find("wind_off_sens");
    changed.values()(25, 20) = 1;
    get_images().add(std::move(changed));
    EXPECT_TRUE(
        QTest::qWaitFor([&] { return window().curves()[1].profile.samples[5].value == 1; }));
}

TEST_F(Graph, FollowsTheImageAndGoesEmptyWithIt) {
    show(ramp(), "wind_on_sens");
    trigger("show_graph_mode");
    drag({{20, 20}, {40, 20}});
    image changed = *published();
    changed.values()(25, 20) = 7777;
    viewer->replace_picture(changed);
    EXPECT_EQ(window().curves()[0].profile.samples[5].value, 7777);
    get_images().remove("wind_on_sens");
    EXPECT_TRUE(QTest::qWaitFor([&] { return window().curves().empty(); }));
}

TEST_F(Graph, RangesAreTypedOrAutomatic) {
    show(ramp(), "wind_on_sens");
    trigger("show_graph_mode");
    drag({{20, 20}, {40, 20}});
    const auto range = [&](int axis) {
        const QwtScaleDiv div = window().plot().axisScaleDiv(axis);
        return std::pair(div.lowerBound(), div.upperBound());
    };
    const auto type = [&](const char* name, const char* text) {
        auto* edit = window().findChild<NumberEdit*>(QLatin1String(name));
        edit->setText(QLatin1String(text));
        QTest::keyClick(edit, Qt::Key_Return);
    };
    const auto whole = range(QwtPlot::yLeft);
    EXPECT_LE(whole.first, 20);
    EXPECT_GE(whole.second, 40);
    auto* automatic = window().findChild<QCheckBox*>(QStringLiteral("automatic"));
    automatic->setChecked(false);
    type("y_from", "-5");
    type("y_to", "100");
    type("x_to", "nonsense");
    EXPECT_EQ(range(QwtPlot::yLeft), std::pair(-5.0, 100.0));
    automatic->setChecked(true);
    EXPECT_EQ(range(QwtPlot::yLeft), whole);
}

TEST_F(Graph, ExportsTheTableAndThePicture) {
    show(ramp(), "wind_on_sens");
    trigger("show_graph_mode");
    drag({{29, 10}, {31, 10}});
    const std::string expected =
        "line,distance,x,y,value\n1,0,29,10,29\n1,1,30,10,\n1,2,31,10,31\n";
    window().write_table(QString::fromStdString((folder / "p.csv").string()));
    EXPECT_EQ(test::get_file(folder / "p.csv"), expected);
    window().copy_table();
    EXPECT_EQ(QGuiApplication::clipboard()->text().toStdString(), expected);

    window().write_picture(QString::fromStdString((folder / "p.png").string()));
    const QImage picture(QString::fromStdString((folder / "p.png").string()));
    EXPECT_EQ(picture.width(), 2 * window().plot().width());
    window().write_picture(QString::fromStdString((folder / "p.svg").string()));
    EXPECT_NE(test::get_file(folder / "p.svg").find("<svg"), std::string::npos);
    window().write_picture(QString::fromStdString((folder / "p.pdf").string()));
    EXPECT_EQ(test::get_file(folder / "p.pdf").substr(0, 5), "%PDF-");

    answer_box(QMessageBox::Ok);
    window().write_table(QString::fromStdString((folder / "missing" / "p.csv").string()));
    EXPECT_EQ(answered, 1);
}

}  // namespace
}  // namespace vyn
