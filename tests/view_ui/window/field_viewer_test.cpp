#include "view/ui/window/field_viewer.h"

#include <QClipboard>
#include <QComboBox>
#include <QInputDialog>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMouseEvent>
#include <QScreen>
#include <QSignalSpy>
#include <QStatusBar>
#include <QToolBar>
#include <cmath>

#include "core/keys.h"
#include "tests/support/dialog_checks.h"
#include "tests/view_ui/viewer_fixture.h"
#include "view/edit/double_keys.h"
#include "view/ui/canvas/colour_bar.h"
#include "view/ui/window/open_windows.h"

namespace vyn {
namespace {

using test::ramp_image;

class FieldViewer : public test::ViewerTest {
  protected:
    FieldViewer() { get_images().add(ramp_image("field_P")); }
};

TEST_F(FieldViewer, KeysThatStandTwiceDoOneThingEach) {
    VynFieldViewer& viewer = show("field_P");
    const ViewerActions& a = viewer.actions();
    struct Case {
        Qt::Key key;
        MouseMode mode;
        QAction* expected;
    };
    // Commands that would open dialogs are only counted.
    for (QAction* action : {a.image_export, a.save, a.save_markers, a.revise_all_markers})
        QObject::disconnect(action, &QAction::triggered, &viewer, nullptr);
    const Case cases[] = {
        {Qt::Key_E, MouseMode::probe, a.image_export},
        {Qt::Key_E, MouseMode::marker_add, a.marker_edit_mode},
        {Qt::Key_A, MouseMode::probe, a.marker_add_mode},
        {Qt::Key_A, MouseMode::marker_move, a.marker_add_mode},
        {Qt::Key_A, MouseMode::marker_revise, a.revise_all_markers},
        {Qt::Key_S, MouseMode::zoom_in, a.save},
        {Qt::Key_S, MouseMode::marker_toggle, a.save_markers},
    };
    for (const Case& c : cases) {
        viewer.set_mode(c.mode);
        std::vector<std::unique_ptr<QSignalSpy>> spies;
        const QList<QAction*> sharing = {
            a.image_export, a.marker_edit_mode, a.marker_add_mode, a.revise_all_markers,
            a.save,         a.save_markers};
        for (QAction* action : sharing)
            spies.push_back(std::make_unique<QSignalSpy>(action, &QAction::triggered));
        QTest::keyClick(&viewer, c.key, Qt::ControlModifier);
        for (int i = 0; i < sharing.size(); ++i)
            EXPECT_EQ(spies[static_cast<std::size_t>(i)]->size(), sharing[i] == c.expected)
                << sharing[i]->objectName().toStdString() << " in mode " << int(c.mode);
    }
    EXPECT_EQ(a.image_export->shortcut(), a.marker_edit_mode->shortcut()) << "menus show both";
}

TEST_F(FieldViewer, NoOtherKeyStandsTwice) {
    VynFieldViewer& viewer = show("field_P");
    test::check_mnemonics(viewer);
    std::map<QString, QString> owners;
    for (const QAction* action : viewer.findChildren<QAction*>()) {
        const QString key = action->shortcut().toString();
        if (key.isEmpty() || action->shortcutContext() == Qt::WidgetShortcut) continue;
        const auto [owner, alone] = owners.emplace(key, action->text());
        EXPECT_TRUE(alone) << key.toStdString() << ": " << owner->second.toStdString() << " and "
                           << action->text().toStdString();
    }
    EXPECT_GT(owners.size(), 20U);
}

TEST_F(FieldViewer, ModesAreExclusiveAndEscapeProbes) {
    VynFieldViewer& viewer = show("field_P");
    QTest::keyClick(&viewer, Qt::Key_G, Qt::ControlModifier);
    EXPECT_EQ(viewer.mode(), MouseMode::graph);
    EXPECT_TRUE(viewer.actions().show_graph_mode->isChecked());
    QTest::keyClick(&viewer, Qt::Key_Escape);
    EXPECT_EQ(viewer.mode(), MouseMode::probe);
    EXPECT_FALSE(viewer.actions().show_graph_mode->isChecked());

    QTest::keyClick(&viewer, Qt::Key_Plus, Qt::ControlModifier);
    const double before = viewer.view().transform().zoom;
    const QPoint click = at(viewer, 30, 10);
    const QPointF clicked = viewer.view().transform().to_image(click);
    QTest::mouseClick(&viewer.view(), Qt::LeftButton, {}, click);
    EXPECT_NEAR(viewer.view().transform().zoom / before, std::sqrt(2), 1e-12);
    const QPointF now = viewer.view().transform().to_image(click);
    EXPECT_NEAR(now.x(), clicked.x(), 1e-9);
    EXPECT_NEAR(now.y(), clicked.y(), 1e-9);
    QTest::keyClick(&viewer, Qt::Key_Minus, Qt::ControlModifier);
    QTest::mouseClick(&viewer.view(), Qt::LeftButton, {}, click);
    EXPECT_NEAR(viewer.view().transform().zoom, before, 1e-9);
}

TEST_F(FieldViewer, StatusLineAndClipboardTellThePixel) {
    image picture = ramp_image("field_P");
    picture.quantity = {Quantity::Kind::pressure};
    picture.unit = "psi";
    picture.fill_region(1);
    picture.region()(3, 0) = 0;
    picture.mask()(4, 0) = 1;
    get_images().add(std::move(picture));
    write(vyn_db(), keys::convert_field, std::string("Cp"));  // not what computed the image
    VynFieldViewer& viewer = show("field_P");
    const std::pair<int, const char*> cases[] = {{2, "x=2 y=0, Pressure=102.000000 "},
                                                 {3, "x=3 y=0, ROI excluded"},
                                                 {4, "x=4 y=0, Background"}};
    for (const auto& [x, text] : cases) {
        QTest::mouseMove(&viewer.view(), at(viewer, x, 0));
        EXPECT_EQ(viewer.statusBar()->currentMessage().toStdString(), text);
    }
    QTest::mouseMove(&viewer.view(), at(viewer, 2, 0));
    QTest::keyClick(&viewer, Qt::Key_P, Qt::ControlModifier | Qt::ShiftModifier);
    EXPECT_EQ(QApplication::clipboard()->text().toStdString(), "x\t2\ny\t0\nPressure, psi\t102\n");
    QTest::keyClick(&viewer, Qt::Key_C, Qt::ControlModifier | Qt::ShiftModifier);
    EXPECT_EQ(QApplication::clipboard()->pixmap().size(), viewer.centralWidget()->size());
}

TEST_F(FieldViewer, FollowsTheRecomputedImageAndKeepsItsLimits) {
    VynFieldViewer& viewer = show("field_P");
    Fashion fashion = viewer.view().fashion();
    fashion.limits = {-5, 77};
    viewer.view().set_fashion(fashion);
    const ViewTransform place{3, {5, 5}};
    viewer.view().set_transform(place);
    image changed = ramp_image("field_P");
    changed.values()(2, 0) = 55555;
    get_images().add(std::move(changed));
    EXPECT_TRUE(QTest::qWaitFor([&] { return viewer.picture()->values()(2, 0) == 55555; }, 2000));
    EXPECT_EQ(viewer.view().fashion().limits, (Limits{-5, 77}));
    EXPECT_EQ(viewer.view().transform(), place);

    viewer.set_out_of_date(true, QStringLiteral("the dark level changed"));
    EXPECT_EQ(viewer.windowTitle(), QStringLiteral("field_P (out of date)[*]"));
    EXPECT_TRUE(viewer.findChild<QLabel*>(QStringLiteral("state"))
                    ->text()
                    .contains(QStringLiteral("the dark level changed")));
    viewer.set_out_of_date(false, {});
    EXPECT_EQ(viewer.windowTitle(), QStringLiteral("field_P[*]"));
}

TEST_F(FieldViewer, TellsTheProjectAndShowsWhatACameraTookInGrey) {
    image raw = ramp_image("wind_on_sens");
    raw.quantity = {Quantity::Kind::raw_counts};
    get_images().add(std::move(raw));
    write(vyn_db(), keys::head_file, std::string("/data/cone.xml"));
    VynFieldViewer& field = show("field_P", false, QStringLiteral("Pressure field"));
    EXPECT_EQ(field.windowTitle(), QStringLiteral("Pressure field - cone.xml[*]"));
    EXPECT_EQ(field.caption(), QStringLiteral("Pressure field"));
    EXPECT_EQ(field.view().fashion().palette->name, "rainbow");
    const VynFieldViewer& camera = show("wind_on_sens", true);
    EXPECT_EQ(camera.view().fashion().palette->name, "grey");
}

TEST_F(FieldViewer, ZoomIsToldAndSet) {
    VynFieldViewer& viewer = show("field_P");
    auto* box = viewer.findChild<QComboBox*>(QStringLiteral("zoom_factor"));
    viewer.view().set_transform({2, {0, 0}});
    EXPECT_EQ(box->currentText(), QStringLiteral("200 %"));
    const QPointF middle =
        viewer.view().transform().to_image(QRectF(viewer.view().rect()).center());
    for (const auto& [typed, zoom] : {std::pair{"50", 0.5}, {"1:1", 1.0}, {" 37.5%", 0.375}}) {
        box->lineEdit()->selectAll();
        QTest::keyClicks(box->lineEdit(), QLatin1String(typed));
        QTest::keyClick(box->lineEdit(), Qt::Key_Return);
        EXPECT_NEAR(viewer.view().transform().zoom, zoom, 1e-9) << typed;
    }
    EXPECT_EQ(box->currentText(), QStringLiteral("37.5 %"));
    const QPointF off =
        viewer.view().transform().to_image(QRectF(viewer.view().rect()).center()) - middle;
    EXPECT_LT(off.manhattanLength(), 1e-6);
    Q_EMIT box->activated(box->findText(QStringLiteral("Fit")));
    EXPECT_GT(viewer.view().transform().zoom, 5);
}

TEST_F(FieldViewer, ViewersStandAsideAreListedAndTiled) {
    VynFieldViewer& a = show("field_P", false, QStringLiteral("A & B"));
    VynFieldViewer& b = show("field_P");
    EXPECT_GE((a.pos() - b.pos()).manhattanLength(), 20);
    const QSize usual = a.size();
    a.resize(320, 240);
    EXPECT_EQ(a.size(), QSize(320, 240));
    auto* menu = b.findChild<QMenu*>(QStringLiteral("window_menu"));
    const auto entries = [menu] {
        Q_EMIT menu->aboutToShow();
        QStringList texts;
        for (const QAction* action : menu->actions())
            texts << action->text() + (action->isChecked() ? QStringLiteral(" *") : QString());
        return texts.mid(3);
    };
    EXPECT_EQ(entries(),
              QStringList({QStringLiteral("&1 A && B"), QStringLiteral("&2 field_P *")}));
    menu->findChild<QAction*>(QStringLiteral("tile_windows"))->trigger();
    EXPECT_FALSE(a.geometry().intersects(b.geometry()));
    EXPECT_TRUE(a.screen()->availableGeometry().contains(a.geometry()));
    a.resize(usual);  // the next viewer is of the size of the one closed last
    a.close();
    EXPECT_EQ(entries(), QStringList({QStringLiteral("&1 field_P *")}));
}

TEST(WindowPlaces, TilesCoverTheScreenAndTitlesStayUncovered) {
    const QRect area(10, 20, 1000, 700);
    for (int count = 1; count < 12; ++count) {
        const QList<QRect> tiles = tiled_places(area, count);
        int covered = 0;
        for (const QRect& tile : tiles) {
            EXPECT_TRUE(area.contains(tile));
            covered += tile.width() * tile.height();
        }
        EXPECT_EQ(covered, area.width() * area.height()) << count;
    }
    QList<QPoint> taken;
    for (int i = 0; i < 60; ++i) {
        const QPoint place = cascaded_place(area, {800, 600}, area.topLeft(), taken);
        EXPECT_TRUE(area.contains(place + QPoint(400, 300)));
        for (const QPoint& other : taken)
            EXPECT_NE(place, other);
        taken << place;
    }
}

TEST_F(FieldViewer, MarkersAreHiddenUntilTheyAreWorkedOn) {
    image marked = ramp_image("field_P");
    Marker marker;
    marker.x = 20;
    marker.y = 15;
    marked.markers.markers.push_back(marker);
    get_images().add(std::move(marked));
    VynFieldViewer& viewer = show("field_P");
    const QImage shown = viewer.view().grab().toImage();
    QTest::keyClick(&viewer, Qt::Key_H, Qt::ControlModifier);
    const QImage hidden = viewer.view().grab().toImage();
    EXPECT_NE(shown, hidden);
    EXPECT_TRUE(viewer.markers_hidden());
    viewer.set_mode(MouseMode::marker_move);
    EXPECT_FALSE(viewer.markers_hidden());
    EXPECT_EQ(viewer.view().grab().toImage(), shown);
}

TEST_F(FieldViewer, SaysThatItsImageWasRemovedAndShowsItAgain) {
    VynFieldViewer& viewer = show("field_P");
    get_images().remove("field_P");
    ASSERT_TRUE(QTest::qWaitFor([&] { return !viewer.picture(); }, 2000));
    viewer.grab();
    for (QAction* action : viewer.findChildren<QAction*>())
        if (action->isEnabled() && !action->isCheckable() && action != viewer.actions().open &&
            action != viewer.actions().marker_options &&
            viewer.findChild<QToolBar*>(QStringLiteral("file tools"))->actions().contains(action))
            ADD_FAILURE() << action->text().toStdString() << " is enabled without an image";
    EXPECT_EQ(viewer.findChild<QLabel*>(QStringLiteral("state"))->text(),
              QStringLiteral("No image"));
    for (const Qt::Key key : {Qt::Key_F, Qt::Key_E, Qt::Key_A, Qt::Key_S, Qt::Key_B, Qt::Key_0})
        QTest::keyClick(&viewer, key, Qt::ControlModifier);
    QTest::mouseClick(&viewer.view(), Qt::LeftButton, {}, {40, 40});
    get_images().add(ramp_image("field_P"));
    EXPECT_TRUE(QTest::qWaitFor([&] { return viewer.picture() != nullptr; }, 2000));
}

TEST_F(FieldViewer, DraggingTheColourBarMovesTheLimits) {
    VynFieldViewer& viewer = show("field_P");
    auto* bar = viewer.findChild<ColourBar*>();
    const auto limits = [&] { return viewer.view().fashion().limits; };
    const auto drag = [&](int from, int to) {
        const QPoint begin(15, from);
        const QPoint end(15, to);
        QTest::mousePress(bar, Qt::LeftButton, {}, begin);
        QMouseEvent move(QEvent::MouseMove, end, Qt::NoButton, Qt::LeftButton, {});
        QApplication::sendEvent(bar, &move);
        QTest::mouseRelease(bar, Qt::LeftButton, {}, end);
    };
    const Limits before = limits();
    const int top = bar->fontMetrics().height() + 10;
    drag(top, top + 60);
    EXPECT_LT(limits().maximum, before.maximum);
    EXPECT_EQ(limits().minimum, before.minimum);
    const Limits stretched = limits();
    drag(bar->height() / 2, bar->height() / 2 + 40);
    EXPECT_GT(limits().minimum, stretched.minimum);
    EXPECT_NEAR(limits().maximum - limits().minimum, stretched.maximum - stretched.minimum,
                0.01 * (stretched.maximum - stretched.minimum));
}

TEST_F(FieldViewer, LinkedViewersShowTheSamePart) {
    get_images().add(ramp_image("Iref", 60, 50));
    VynFieldViewer& a = show("field_P");
    VynFieldViewer& b = show("Iref");
    a.actions().link->trigger();
    b.actions().link->trigger();
    const auto middle = [](VynFieldViewer& viewer) {
        return viewer.view().transform().to_image(QRectF(viewer.view().rect()).center());
    };
    EXPECT_EQ(b.view().transform().zoom, a.view().transform().zoom);
    b.view().zoom_about({100, 100}, 2);
    EXPECT_EQ(a.view().transform().zoom, b.view().transform().zoom);
    EXPECT_NEAR(middle(a).x(), middle(b).x(), 1e-9);
    a.actions().link->trigger();
    b.view().zoom_about({100, 100}, 2);
    EXPECT_NE(a.view().transform().zoom, b.view().transform().zoom);
}

TEST_F(FieldViewer, BlinkAndDifferenceShowTheOtherImage) {
    image other = ramp_image("wind_on_sens_aligned");
    for (int y = 0; y < other.height(); ++y)
        for (int x = 0; x < other.width(); ++x)
            other.values()(x, y) -= static_cast<float>(x);
    get_images().add(image(other));
    VynFieldViewer& viewer = show("field_P");
    QSignalSpy probes(&viewer.view(), &VynFieldView::probe);
    const auto probed = [&](int x, int y) {
        QTest::mouseMove(&viewer.view(), at(viewer, 0, 0));
        QTest::mouseMove(&viewer.view(), at(viewer, x, y));
        return probes.last()[2].toFloat();
    };
    const auto choose_other = [] {
        test::when_shown<QInputDialog>([](QInputDialog& dialog) { dialog.accept(); });
    };
    const Fashion before = viewer.view().fashion();
    choose_other();
    viewer.actions().difference->trigger();
    EXPECT_TRUE(viewer.actions().difference->isChecked());
    EXPECT_EQ(probed(17, 5), 17);
    EXPECT_EQ(viewer.view().fashion().limits.minimum, -viewer.view().fashion().limits.maximum);
    EXPECT_EQ(viewer.shown_picture()->values()(20, 20), 20);

    get_images().add(ramp_image("wind_on_sens_aligned", 7, 7));
    EXPECT_TRUE(QTest::qWaitFor([&] { return !viewer.actions().difference->isChecked(); }, 2000))
        << "another size has no difference";
    get_images().add(std::move(other));
    choose_other();
    viewer.actions().blink->trigger();
    EXPECT_FALSE(viewer.actions().difference->isChecked());
    EXPECT_EQ(viewer.view().fashion(), before);
    EXPECT_EQ(probed(17, 5), 5100) << "the other one first";
    EXPECT_TRUE(QTest::qWaitFor([&] { return probed(17, 5) == 5117; }, 3000)) << "then our own";
    get_images().remove("wind_on_sens_aligned");
    EXPECT_TRUE(QTest::qWaitFor([&] { return !viewer.actions().blink->isChecked(); }, 2000));
    EXPECT_EQ(probed(17, 5), 5117);
}

TEST_F(FieldViewer, ThePointerShowsTheCellOfTheAlignmentByTexture) {
    const auto speckled = [](int x, int y) { return 1000 + 900 * std::sin(1.3 * x * y + x); };
    for (const auto& [name, shift] : {std::pair{"wind_off_sens_cor", 0}, {"wind_on_sens_cor", 3}}) {
        image picture = test::picture_of(
            120, 100, [&, by = shift](int x, int y) { return speckled(x - by, y); });
        picture.name = name;
        get_images().add(std::move(picture));
    }
    VynFieldViewer& viewer = show("wind_off_sens_cor");
    auto* verdict = viewer.findChild<QLabel*>(QStringLiteral("cell_verdict"));
    ASSERT_TRUE(verdict);
    QTest::mouseMove(&viewer.view(), at(viewer, 60, 50));
    EXPECT_TRUE(verdict->text().startsWith(QStringLiteral("No cell"))) << "hidden";
    viewer.findChild<QWidget*>(QStringLiteral("cell panel"))->show();
    QApplication::processEvents();
    QTest::mouseMove(&viewer.view(), at(viewer, 61, 50));
    QTest::mouseMove(&viewer.view(), at(viewer, 62, 51));
    EXPECT_TRUE(QTest::qWaitFor([&] {
        return verdict->text().contains(QStringLiteral("moved by (3.0"));
    })) << verdict->text().toStdString();
    QTest::mouseMove(&viewer.view(), at(viewer, 2, 2));
    EXPECT_TRUE(
        QTest::qWaitFor([&] { return verdict->text().startsWith(QStringLiteral("No cell")); }));
}

TEST_F(FieldViewer, ShowsADeviationInPerCentOfItsField) {
    image field = ramp_image("field_P");
    field.quantity = {Quantity::Kind::pressure};
    field.unit = "Pa";
    image sigma = field;
    sigma.name = "field_P_sigma";
    sigma.quantity.deviation = true;
    sigma.values().fill(7);
    get_images().add(image(field));
    VynFieldViewer& plain = show("field_P");
    EXPECT_FALSE(plain.actions().per_cent->isEnabled());
    EXPECT_TRUE(plain.actions().per_cent->statusTip().contains("no standard deviation"));

    get_images().add(image(sigma));
    VynFieldViewer& viewer = show("field_P_sigma");
    const Limits own{2, 9};
    Fashion fashion = viewer.view().fashion();
    fashion.limits = own;
    viewer.view().set_fashion(fashion);
    viewer.setModifiedChanged(true);
    QTest::keyClick(&viewer, Qt::Key_5, Qt::ControlModifier);
    EXPECT_TRUE(viewer.isWindowModified()) << "what was drawn on the image is still in no file";
    EXPECT_TRUE(viewer.actions().per_cent->isChecked());
    EXPECT_FLOAT_EQ(viewer.picture()->values()(10, 2), 700.0F / 2110);
    EXPECT_EQ(viewer.quantity(), QStringLiteral("SD of Pressure, %"));
    EXPECT_LT(viewer.view().fashion().limits.maximum, 8);
    EXPECT_FALSE(viewer.may_edit()) << "the list's image would become per cent";

    // The field is followed, too.
    field.values()(10, 2) = 70;
    get_images().add(std::move(field));
    EXPECT_TRUE(QTest::qWaitFor([&] { return viewer.picture()->values()(10, 2) == 10; }, 2000));
    get_images().remove("field_P");
    EXPECT_TRUE(QTest::qWaitFor([&] { return !viewer.picture(); }, 2000));

    QTest::keyClick(&viewer, Qt::Key_5, Qt::ControlModifier);
    EXPECT_EQ(viewer.picture()->values()(10, 2), 7);
    EXPECT_EQ(viewer.view().fashion().limits, own);
    EXPECT_TRUE(viewer.may_edit());
    EXPECT_FALSE(viewer.actions().per_cent->isEnabled());
}

TEST_F(FieldViewer, ClosesWithEverythingOn) {
    get_images().add(ramp_image("other"));
    auto* viewer = new VynFieldViewer(worker, "field_P", false, {});
    const QPointer<VynFieldViewer> gone(viewer);
    viewer->show();
    VynFieldViewer& stays = show("other");
    viewer->actions().link->trigger();
    stays.actions().link->trigger();
    test::when_shown<QInputDialog>([](QInputDialog& dialog) { dialog.accept(); });
    viewer->actions().blink->trigger();
    viewer->actions().advanced_fashion->trigger();
    viewer->actions().show_graph_mode->trigger();
    QTest::mousePress(&viewer->view(), Qt::LeftButton, {}, {50, 50});
    viewer->close();
    EXPECT_TRUE(QTest::qWaitFor([&] { return !gone; }, 2000));
    stays.view().zoom_about({10, 10}, 2);
    EXPECT_TRUE(stays.picture());
}

}  // namespace
}  // namespace vyn
