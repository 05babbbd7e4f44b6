#include <QComboBox>
#include <QLineEdit>
#include <QRadioButton>
#include <QTest>
#include <QTextBrowser>

#include <gmock/gmock.h>

#include "api/image_io.h"
#include "api/image_list.h"
#include "app/pages/elided_label.h"
#include "core/keys.h"
#include "core/numbers.h"
#include "core/task.h"
#include "process/report/field_comparison.h"
#include "sample/synthetic_point.h"
#include "tests/app/app_fixture.h"
#include "tests/cli/program.h"
#include "tests/support/dialog_checks.h"
#include "tests/support/project_fixture.h"

namespace vyn::test {
namespace {

using testing::HasSubstr;

/// A user at the main window, with a test point whose truth is known but no project.
class WholeWorkflow : public AppTest {
  protected:
    WholeWorkflow() {
        TaskContext context;
        const SyntheticPoint point = make_synthetic_point({.width = 320, .height = 240}, context);
        write_synthetic_point(point, folder.path(), context);
        std::filesystem::remove(folder / "project.xml");
        truth = point.truth;
        for (const Marker& dot : point.truth_markers.markers)
            dots.push_back({dot.x, dot.y});
    }

    /// Presses a button of the page as soon as it can be pressed.
    void press_page(const char* name) {
        auto& button = child<QAbstractButton>(name);
        ASSERT_TRUE(QTest::qWaitFor([&] { return button.isEnabled(); }, 10000))
            << name << ": " << button.toolTip().toStdString();
        QTest::mouseClick(&button, Qt::LeftButton);
    }
    void select(const char* button, const char* caption, const char* file) {
        choose_file(QStringLiteral("Select ") + QLatin1String(caption), folder / file);
        press_page(button);
    }
    /// Presses a button of the page and answers its dialog.
    void in_dialog(const char* button, const char* caption,
                   const std::function<void(QDialog&)>& answer) {
        expect_dialog(QString::fromLatin1(caption), answer);
        press_page(button);
        EXPECT_TRUE(all_answered()) << caption;
    }
    /// Presses a button of a dialog that asks for a file.
    void choose_in(QDialog& dialog, const char* button, const char* caption, const char* file) {
        choose_file(QString::fromLatin1(caption), folder / file);
        QTest::mouseClick(&vyn::test::child<QAbstractButton>(dialog, button), Qt::LeftButton);
    }
    bool wait_for_state(const char* label, const char* words) {
        return QTest::qWaitFor(
            [&] { return child<ElidedLabel>(label).text().contains(QLatin1String(words)); }, 10000);
    }

    void make_project();
    void choose_files();
    void enter_settings();
    void calibrate_at_ports();
    std::string check_and_export();

    /// Root mean square error of the field, in pascal, off the edges and dots.
    double error_of_field() const {
        Progress progress;
        return compare_fields(*get_images().find(image_names::field), truth,
                              {.edge = 12, .dots = dots, .dot_distance = 7}, progress)
            .rms_error;
    }

    image truth;
    std::vector<Point> dots;
};

void WholeWorkflow::make_project() {
    expect_dialog(QStringLiteral("Experiment Type"), [](QDialog& dialog) {
        vyn::test::child<QRadioButton>(dialog, "rbSingle").setChecked(true);
        QTest::mouseClick(&vyn::test::child<QAbstractButton>(dialog, "pbOk"), Qt::LeftButton);
    });
    choose_file(QStringLiteral("New project"), folder / "point.xml");
    action("fileNewAction").trigger();
    ASSERT_TRUE(window->experiment_page());
}

void WholeWorkflow::choose_files() {
    select("wind_off_select", "Wind-Off: Image", "wind_off.tif");
    select("wind_off_bkgr_select", "Wind-Off: Background", "wind_off_dark.tif");
    select("wind_off_mark_select", "Wind-Off: Markers", "wind_off.mrk");
    select("wind_on_select", "Wind-On: Image", "wind_on.tif");
    select("wind_on_bkgr_select", "Wind-On: Background", "wind_on_dark.tif");
    select("wind_on_mark_select", "Wind-On: Markers", "wind_on.mrk");
    for (const char* name : {"wind_off_dark_edit", "wind_on_dark_edit"}) {
        retype(child<QLineEdit>(name), "2400");
        QTest::keyClick(&child<QLineEdit>(name), Qt::Key_Return);
    }
}

void WholeWorkflow::enter_settings() {
    in_dialog("cam_sens_btn", "Camera Features", [this](QDialog& dialog) {
        choose_in(dialog, "open_btn", "Camera Features", "camera.ini");
        QTest::mouseClick(&vyn::test::child<QAbstractButton>(dialog, "ok_btn"), Qt::LeftButton);
    });
    in_dialog("sens_paint_btn", "Vyn Paint", [this](QDialog& dialog) {
        choose_in(dialog, "open_btn", "Vyn Paint Calibration", "paint.clb");
        QTest::mouseClick(&button_of(dialog, QStringLiteral("OK")), Qt::LeftButton);
    });
    in_dialog("test_btn", "Test conditions", [](QDialog& dialog) {
        for (const auto& [name, text] : {std::pair{"_p_unit_edt", "Pa"},
                                         {"_t_unit", "C"},
                                         {"_p_stat_edt", "90000"},
                                         {"_p_dyn_edt", "25000"},
                                         {"_w_off_p_edt", "100000"},
                                         {"_w_on_t_edt", "20"},
                                         {"_w_off_t_edt", "20"}})
            retype(vyn::test::child<QLineEdit>(dialog, name), text);
        QTest::mouseClick(&vyn::test::child<QAbstractButton>(dialog, "buttonOk"), Qt::LeftButton);
    });
    in_dialog("align_btn", "Vyn Align", [](QDialog& dialog) {
        auto& order = vyn::test::child<QComboBox>(dialog, "markers_order");
        order.setCurrentIndex(order.findText(QStringLiteral("2")));
        QTest::keyClick(&dialog, Qt::Key_Return);
    });
}

void WholeWorkflow::calibrate_at_ports() {
    in_dialog("in_situ_btn", "In-situ calibration", [this](QDialog& dialog) {
        choose_in(dialog, "btn_select_markers", "Pressure Ports", "ports.mrk");
        choose_in(dialog, "btn_select_cal", "Vyn Paint Calibration", "in_situ.clb");
        retype(vyn::test::child<QLineEdit>(dialog, "edt_p_units"), "Pa");
        vyn::test::child<QComboBox>(dialog, "cmb_order").setCurrentIndex(2);
        expect_dialog(QStringLiteral("In-Situ Calibration results"), [](QDialog& results) {
            EXPECT_TRUE(vyn::test::child<QAbstractButton>(results, "unity").isChecked());
            QTest::mouseClick(&vyn::test::child<QAbstractButton>(results, "accept_btn"),
                              Qt::LeftButton);
        });
        QTest::mouseClick(&vyn::test::child<QAbstractButton>(dialog, "btn_calculate"),
                          Qt::LeftButton);
    });
}

/// The text of the check, which is also exported.
std::string WholeWorkflow::check_and_export() {
    std::string text;
    in_dialog("check_btn", "Check of the point", [&](QDialog& dialog) {
        text = vyn::test::child<QTextBrowser>(dialog, "txt_check").toPlainText().toStdString();
        choose_in(dialog, "btn_export", "Export the check of the point", "check.html");
        QTest::mouseClick(&button_of(dialog, QStringLiteral("Close")), Qt::LeftButton);
    });
    return text;
}

TEST_F(WholeWorkflow, FromAnEmptyProjectToTheFieldCalibratedAtThePortsAndItsReport) {
    make_project();
    choose_files();
    enter_settings();
    press_page("calc_all_btn");
    EXPECT_TRUE(wait_for_state("field_P_state", "up to date"));
    // The model is warmer than was entered, which the ports tell.
    EXPECT_GT(error_of_field(), 500);
    calibrate_at_ports();
    EXPECT_TRUE(std::filesystem::exists(folder / "in_situ.clb"));
    EXPECT_EQ(read(vyn_db(), keys::convert_wind_off_ratio), "unity");
    EXPECT_TRUE(wait_for_state("field_P_state", "out of date"));
    EXPECT_TRUE(wait_for_state("Iref_state", "up to date"));
    press_page("calc_field_btn");
    EXPECT_TRUE(wait_for_state("field_P_state", "up to date"));
    EXPECT_LT(error_of_field(), 150);

    const std::string checked = check_and_export();
    EXPECT_THAT(checked, HasSubstr("The pictures are aligned."));
    const std::string differences = "Differences: root mean square ";
    ASSERT_THAT(checked, HasSubstr(differences));
    const std::size_t at = checked.find(differences) + differences.size();
    const std::string rms = checked.substr(at, checked.find(" Pa", at) - at);
    EXPECT_LT(parse_double(rms).value_or(1e9), 150) << rms;
    EXPECT_THAT(get_file(folder / "check.html"), HasSubstr(differences + rms + " Pa,"));

    // The saved project means the same to the command line.
    action("fileSaveAction").trigger();
    const ProgramRun batch = run_program({"run", folder / "point.xml", "--quiet", "--save",
                                          "field_P=" + std::string(folder / "batch.imp")});
    ASSERT_EQ(batch.status, 0) << batch.err;
    EXPECT_TRUE(
        same_bits(*get_images().find(image_names::field), read_image(folder / "batch.imp")));
    EXPECT_TRUE(all_answered()) << shown;
    vyn_db().set_modified(false);
}

}  // namespace
}  // namespace vyn::test
