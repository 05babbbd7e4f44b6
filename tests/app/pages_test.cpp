#include <QApplication>
#include <QCheckBox>
#include <QDialogButtonBox>
#include <QDropEvent>
#include <QFileDialog>
#include <QInputDialog>
#include <QLabel>
#include <QLineEdit>
#include <QMimeData>
#include <QPushButton>
#include <QTest>
#include <QTimer>
#include <QToolButton>

#include <gmock/gmock.h>

#include "app/messages.h"
#include "app/pages/elided_label.h"
#include "app/pages/form_double_basic.h"
#include "app/pages/form_single_basic.h"
#include "calib/ui/camera_dialog.h"
#include "calib/ui/paint_dialog.h"
#include "core/keys.h"
#include "core/messages.h"
#include "process/project/project_tasks.h"
#include "process/steps/chain.h"
#include "sample/synthetic_point.h"
#include "tests/support/modal_driver.h"
#include "tests/support/project_fixture.h"
#include "tests/support/warns.h"

namespace vyn::test {
namespace {

/// A page in a window that is driven by mouse and keys, with a synthetic point on disk.
class Pages : public ProjectTest {
  protected:
    Pages() {
        write_synthetic_point(make_synthetic_point({.width = 160, .height = 120}, context),
                              folder.path(), context);
    }

    void open_project() {
        run(ReadProjectTask(program_session(), {.file = folder / "project.xml",
                                                .geometry = ReadProject::Geometry::leave_out,
                                                .settings = {}}));
    }
    template <class Form>
    void show_page() {
        page = std::make_unique<Form>(worker);
        page->resize(1200, 800);
        page->show();
        page->refresh();
        activate();
    }
    /// Gives the page the keyboard, which nobody does after a dialog on this platform.
    void activate() { QApplication::setActiveWindow(page.get()); }

    template <class Widget>
    Widget* child(const char* name) {
        auto* found = page->findChild<Widget*>(QLatin1String(name));
        EXPECT_TRUE(found) << name;
        return found;
    }
    /// Presses a button as soon as it can be pressed.
    void press(const char* name) {
        auto* button = child<QAbstractButton>(name);
        ASSERT_TRUE(QTest::qWaitFor([&] { return button->isEnabled(); }, 10000))
            << name << ": " << button->toolTip().toStdString();
        QTest::mouseClick(button, Qt::LeftButton);
    }
    /// Presses a select button and answers its file dialog; cancels it without a file.
    void select(const char* button, const std::string& file) {
        driver.expect<QFileDialog>([this, file](QFileDialog& dialog) {
            if (file.empty())
                dialog.reject();
            else
                choose_file(dialog, folder / file);
        });
        press(button);
    }
    bool wait_for_text(const char* label, const QString& words) {
        auto* shown = child<ElidedLabel>(label);
        const auto whole = [&] { return shown->text() + QStringLiteral(", ") + shown->note(); };
        const bool right = QTest::qWaitFor([&] { return whole().contains(words); }, 10000);
        if (!right) ADD_FAILURE() << label << ": " << whole().toStdString();
        return right;
    }

    Worker worker;
    std::unique_ptr<BasicPage> page;
    /// From now on the busy box is closed when it says that there are errors.
    void close_boxes_with_errors() {
        QObject::connect(&close_box, &QTimer::timeout, [] {
            auto* box = qobject_cast<QBusyBox*>(QApplication::activeModalWidget());
            auto* button =
                box ? box->findChild<QPushButton*>(QStringLiteral("abort_btn")) : nullptr;
            if (button && button->text() == QStringLiteral("There are errors!")) button->click();
        });
        close_box.start(20);
    }

    ModalDriver driver;
    QTimer close_box;
};

TEST_F(Pages, ResultsTellWhenTheyAreOutOfDateAndAreSaved) {
    open_project();
    show_page<FormSingleBasic>();
    activate();
    auto* edit = child<QLineEdit>("wind_on_dark_edit");
    QTest::mouseClick(edit, Qt::LeftButton);
    edit->selectAll();
    QTest::keyClicks(edit, QStringLiteral("2300"));
    EXPECT_EQ(read(vyn_db(), keys::wind_on_sens_dark), 2400) << "before it is left";
    QTest::keyClick(edit, Qt::Key_Tab);
    EXPECT_FALSE(edit->hasFocus());
    EXPECT_EQ(read(vyn_db(), keys::wind_on_sens_dark), 2300);
    press("calc_all_btn");
    EXPECT_TRUE(wait_for_text("field_P_state", "up to date"));

    vyn_db().write(std::string(keys::flow) + "wind_on_t", 300.0);
    EXPECT_TRUE(wait_for_text("field_P_state", "out of date: wind-on temperature changed"));
    EXPECT_TRUE(wait_for_text("Iref_state", "up to date"));
    press("calc_field_btn");
    EXPECT_TRUE(wait_for_text("field_P_state", "up to date"));

    image drawn = *get_images().find(image_names::ratio);
    drawn.markers.markers.clear();
    get_images().add(std::move(drawn));
    driver.answer = QMessageBox::No;
    press("calc_ratio_btn");
    ASSERT_EQ(driver.boxes.size(), 1u);
    EXPECT_THAT(driver.boxes[0].text, testing::HasSubstr("I/Iref"));
    EXPECT_TRUE(get_images().find(image_names::ratio)->markers.markers.empty());

    press("save_field_btn");
    EXPECT_TRUE(std::filesystem::exists(folder / "pressure.imp"));
    put_file(folder / "pressure.imp", "old");
    press("save_field_btn");
    EXPECT_EQ(driver.boxes.size(), 2u);
    EXPECT_EQ(get_file(folder / "pressure.imp"), "old");
}

TEST_F(Pages, TheAlignmentByTextureIsTriedWithoutTouchingTheField) {
    write_synthetic_point(
        make_synthetic_point({.width = 160, .height = 120, .order = 1, .bending = 1}, context),
        folder.path(), context);
    open_project();
    write(vyn_db(), keys::qped_enable, 0);
    show_page<FormSingleBasic>();
    press("calc_all_btn");
    EXPECT_TRUE(wait_for_text("field_P_state", "up to date"));
    auto* trial = child<QAbstractButton>("try_texture_btn");
    EXPECT_FALSE(trial->isEnabled());
    EXPECT_TRUE(trial->toolTip().contains(QStringLiteral("Switch on")));
    auto* row = child<QWidget>("displacement_state");
    EXPECT_FALSE(row->isVisible());
    const auto field = get_images().find(image_names::field);

    write(vyn_db(), keys::qped_enable, 1);
    std::string viewed;
    QObject::connect(page.get(), &BasicPage::show_image,
                     [&](const std::string& name) { viewed = name; });
    press("try_texture_btn");
    EXPECT_TRUE(wait_for_text("displacement_state", "up to date"));
    EXPECT_TRUE(row->isVisible());
    EXPECT_EQ(viewed, image_names::displacement);
    EXPECT_TRUE(QTest::qWaitFor([&] {
        return child<QLabel>("run_state")->text().contains(QStringLiteral("cells measured"));
    }));
    EXPECT_EQ(get_images().find(image_names::field), field);

    viewed.clear();
    write(vyn_db(), keys::qped_cell, 400);
    close_boxes_with_errors();
    press("try_texture_btn");
    EXPECT_TRUE(QTest::qWaitFor([&] {
        return child<QLabel>("run_state")->text().contains(QStringLiteral("cell of 400"));
    })) << child<QLabel>("run_state")->text().toStdString();
    EXPECT_EQ(viewed, "");
}

TEST_F(Pages, NumbersThatAreNoneAreMarkedAndNotWritten) {
    open_project();
    show_page<FormSingleBasic>();
    auto* edit = child<QLineEdit>("wind_on_dark_edit");
    QTest::mouseClick(edit, Qt::LeftButton);
    QTest::keyClicks(edit, QStringLiteral("x"));
    QTest::keyClick(edit, Qt::Key_Tab);
    page->refresh();
    QTest::qWait(500);
    EXPECT_EQ(edit->text(), "2400x");
    EXPECT_TRUE(edit->toolTip().startsWith(QStringLiteral("Please enter")));
    EXPECT_EQ(read(vyn_db(), keys::wind_on_sens_dark), 2400);
}

TEST_F(Pages, SaturatedPixelsAreCountedAndExcludedWhenAskedFor) {
    open_project();
    const auto& values = get_images().find(image_names::wind_on_sens)->values();
    float highest = 0;
    for (int y = 0; y < values.height(); ++y)
        highest =
            std::max(highest, *std::max_element(values.row(y), values.row(y) + values.width()));
    write(vyn_db(), keys::saturation_level, static_cast<double>(highest));
    show_page<FormSingleBasic>();
    QTest::mouseClick(child<QCheckBox>("saturation_exclude"), Qt::LeftButton, {}, QPoint(8, 8));
    const auto loaded = get_images().find(image_names::wind_on_sens);
    int excluded = 0;
    for (int y = 0; y < loaded->height(); ++y)
        for (int x = 0; x < loaded->width(); ++x)
            excluded += loaded->mask()(x, y) != 0;
    EXPECT_GE(excluded, 1);
    auto* remarks = child<QLabel>("remarks");
    EXPECT_TRUE(QTest::qWaitFor(
        [&] {
            return remarks->text().contains(QStringLiteral("Wind-On: %1 pixel%2")
                                                .arg(excluded)
                                                .arg(excluded == 1 ? " is" : "s are"));
        },
        5000))
        << remarks->text().toStdString();
}

TEST_F(Pages, RowsSelectViewAndRemove) {
    open_project();
    show_page<FormSingleBasic>();
    press("calc_all_btn");
    std::vector<std::string> shown;
    QObject::connect(page.get(), &ExperimentPage::show_image,
                     [&](const std::string& name, bool flag, const QString& title) {
                         shown.push_back(name + (flag ? " file " : " ") + title.toStdString());
                     });
    press("wind_on_bkgr_view_btn");
    press("wind_off_sens_cor_view_btn");
    press("field_P_view_btn");
    EXPECT_THAT(shown, testing::ElementsAre("wind_on_dark_sens file Wind-Off background",
                                            "wind_off_sens_cor Wind-Off cerrected",
                                            "field_P Pressure field"));

    select("wind_on_select", "");  // cancelled
    EXPECT_TRUE(get_images().find(image_names::field));
    press("wind_on_remove_btn");
    EXPECT_FALSE(get_images().find(image_names::wind_on_sens));
    EXPECT_FALSE(get_images().find(image_names::field));
    EXPECT_EQ(read(vyn_db(), keys::wind_on_sens_file), "");
    EXPECT_TRUE(wait_for_text("field_P_state", "not calculated"));
    const auto* view = child<QToolButton>("wind_on_view_btn");
    EXPECT_TRUE(QTest::qWaitFor([&] { return !view->isEnabled(); }, 10000));
    EXPECT_FALSE(child<QPushButton>("calc_all_btn")->isEnabled());

    select("wind_on_select", "wind_on.tif");
    EXPECT_TRUE(wait_for_text("wind_on_file", "wind_on.tif"));
    put_file(folder / "wind_on.tif", get_file(folder / "wind_off.tif"));
    auto* reload = child<QToolButton>("wind_on_reload_btn");
    ASSERT_TRUE(QTest::qWaitFor([&] { return reload->isVisible(); }, 10000));
    EXPECT_THAT(child<ElidedLabel>("wind_on_file")->toolTip().toStdString(),
                testing::HasSubstr("changed on disk"));
    press("wind_on_reload_btn");
    EXPECT_TRUE(same_bits(*get_images().find(image_names::wind_on_sens),
                          *get_images().find(image_names::wind_off_sens)));
}

TEST_F(Pages, DrawnMarkersAreShownAskedForAndSaved) {
    open_project();
    show_page<FormSingleBasic>();
    const auto drawn = [&] {
        const auto picture = get_images().find(image_names::wind_on_sens);
        return picture && picture->has_unsaved_markers();
    };
    image picture = *get_images().find(image_names::wind_on_sens);
    const std::size_t count = picture.markers.markers.size() + 1;
    picture.markers.markers.push_back({.x = 11, .y = 12, .id = 99});
    get_images().add(std::move(picture));
    EXPECT_TRUE(wait_for_text("wind_on_mark_file",
                              QString::number(count) + QStringLiteral(" drawn, not saved")));
    driver.answer = QMessageBox::No;
    for (const char* button : {"wind_on_remove_btn", "wind_on_mark_remove_btn"}) {
        press(button);
        EXPECT_TRUE(drawn()) << button;
    }
    select("wind_on_select", "wind_off.tif");
    EXPECT_TRUE(drawn());
    ASSERT_EQ(driver.boxes.size(), 3u);
    for (const auto& box : driver.boxes)
        EXPECT_THAT(box.text, testing::HasSubstr("in no file and will be lost:\nWind-On\n"));

    driver.expect<QFileDialog>([this](QFileDialog& dialog) {
        // Where the folder is listed already, the file proposed is chosen in the list.
        dialog.selectFile(QString::fromStdString(folder / "drawn.mrk"));
        choose_file(dialog, folder / "drawn.mrk");
    });
    press("wind_on_mark_save_btn");
    EXPECT_FALSE(drawn());
    EXPECT_TRUE(wait_for_text("wind_on_mark_file", QString::number(count) + " markers"));
    EXPECT_FALSE(child<QToolButton>("wind_on_mark_save_btn")->isVisible());
    press("wind_on_mark_remove_btn");  // without a question
    EXPECT_EQ(driver.boxes.size(), 3u);
}

/// Who chooses a marker file that ends too early is told, and so is who runs with it.
TEST_F(Pages, AMarkerFileThatIsCutOffIsSaid) {
    open_project();
    show_page<FormSingleBasic>();
    put_file(folder / "cut.mpt", "10 12 0 0 1\n90 14 0 0 1\n30 80 0 O 1\n");
    set_custom_message_fun(show_information, ask_question);
    select("wind_on_mark_select", "cut.mpt");
    set_default_message_fun();
    ASSERT_EQ(driver.boxes.size(), 1u);
    EXPECT_THAT(driver.boxes[0].text, testing::HasSubstr("cut.mpt: marker 3 (line 3)"));
    EXPECT_EQ(get_images().find(image_names::wind_on_sens)->markers.markers.size(), 2u);
    const auto report = std::make_shared<RunReport>();
    run(*calculate(Goal::all, program_session(), report));
    EXPECT_THAT(report->warnings,
                testing::Contains(warns(WarningKind::markers, "cut.mpt: marker 3")));
}

TEST_F(Pages, ABrokenFileKeepsTheOldStateAndSaysWhy) {
    open_project();
    put_file(folder / "text.tif", "this is no picture");
    show_page<FormSingleBasic>();
    close_boxes_with_errors();
    select("wind_off_select", "text.tif");
    EXPECT_EQ(read(vyn_db(), keys::wind_off_sens_file), "wind_off.tif");
    auto* said = child<QLabel>("run_state");
    EXPECT_TRUE(QTest::qWaitFor([&] { return said->text().contains("text.tif"); }, 5000))
        << said->text().toStdString();
}

TEST_F(Pages, DroppedFilesFindTheirPlace) {
    write(vyn_db(), keys::head_file, (folder / "new.xml").string());
    show_page<FormSingleBasic>();
    EXPECT_TRUE(page->take_file(QString::fromStdString((folder / "wind_on.tif").string())));
    EXPECT_TRUE(get_images().find(image_names::wind_on_sens));
    driver.expect<QInputDialog>([](QInputDialog& question) { question.accept(); });
    put_file(folder / "picture.tif", get_file(folder / "wind_off.tif"));
    EXPECT_TRUE(page->take_file(QString::fromStdString((folder / "picture.tif").string())));
    EXPECT_TRUE(get_images().find(image_names::wind_off_sens)) << "the first place offered";

    auto* row = child<ElidedLabel>("wind_on_bkgr_file");
    QMimeData dragged;
    dragged.setUrls(
        {QUrl::fromLocalFile(QString::fromStdString((folder / "wind_on_dark.tif").string()))});
    QDragEnterEvent enter(QPoint(2, 2), Qt::CopyAction, &dragged, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(row->parentWidget(), &enter);
    QDropEvent drop(QPointF(2, 2), Qt::CopyAction, &dragged, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(row->parentWidget(), &drop);
    EXPECT_TRUE(QTest::qWaitFor(
        [] { return get_images().find(image_names::wind_on_dark_sens) != nullptr; }, 5000));
}

TEST_F(Pages, DroppedRecordsAreShownInTheirDialogs) {
    write(vyn_db(), keys::head_file, (folder / "new.xml").string());
    show_page<FormSingleBasic>();
    const auto drop = [&](const char* name) {
        return page->take_file(QString::fromStdString((folder / name).string()));
    };
    driver.expect<QVynCamera>([](QVynCamera& dialog) { dialog.reject(); });
    EXPECT_TRUE(drop("camera.ini"));
    cameraFeatures camera;
    read(vyn_db(), std::string(keys::sens_camera), camera);
    EXPECT_EQ(camera.focus, 0) << "only looked at";
    driver.expect<QVynCamera>([](QVynCamera& dialog) { dialog.accept(); });
    EXPECT_TRUE(drop("camera.ini"));
    read(vyn_db(), std::string(keys::sens_camera), camera);
    EXPECT_GT(camera.focus, 0);
    EXPECT_TRUE(get_images().find(image_names::flat_sens)) << "the camera's flat field";
    write(vyn_db(), keys::temperature_map_file, std::string("infrared.tif"));
    driver.expect<QInputDialog>([](QInputDialog& dialog) {
        dialog.setTextValue(QStringLiteral("Camera of the temperature map"));
        dialog.accept();
    });
    driver.expect<QVynCamera>([](QVynCamera& dialog) { dialog.accept(); });
    EXPECT_TRUE(drop("camera.ini"));
    cameraFeatures infrared;
    read(vyn_db(), std::string(keys::temperature_camera), infrared);
    EXPECT_EQ(infrared.a2, camera.a2);
    EXPECT_NE(infrared.a2, 0);
    driver.expect<QVynPaint>([](QVynPaint& dialog) { dialog.accept(); });
    EXPECT_TRUE(drop("paint.clb"));
    paintFeatures paint;
    read(vyn_db(), std::string(keys::sens_paint), paint);
    EXPECT_NE(paint.gamma, paintFeatures().gamma);
    put_file(folder / "other.ini", "[window]\nsize=3\n");
    EXPECT_TRUE(drop("other.ini"));
    ASSERT_EQ(driver.boxes.size(), 1u);
    EXPECT_THAT(driver.boxes[0].text, testing::HasSubstr("other.ini holds no paint"));
}

TEST_F(Pages, TypesHaveTheirRowsAndTheFourthSaysSo) {
    write(vyn_db(), keys::test_single, 0);
    show_page<FormDoubleBasic>();
    EXPECT_EQ(page->label(), "Double Channel Basic");
    EXPECT_TRUE(child<QToolButton>("wind_on_refe_bkgr_select"));
    write(vyn_db(), keys::test_lifetime, 1);
    page->refresh();
    EXPECT_EQ(page->label(), "Lifetime Basic");
    EXPECT_TRUE(QTest::qWaitFor(
        [&] { return child<QPushButton>("calc_all_btn")->toolTip().contains("Wind-On Gate 1"); },
        5000));

    write(vyn_db(), keys::test_s3f, 1);
    show_page<FormSingleBasic>();
    auto* remarks = child<QLabel>("remarks");
    EXPECT_TRUE(QTest::qWaitFor([&] { return remarks->text().contains("not available"); }, 5000));
}

}  // namespace
}  // namespace vyn::test
