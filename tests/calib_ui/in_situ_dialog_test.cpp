#include "calib/ui/in_situ_dialog.h"

#include <QCheckBox>
#include <QClipboard>
#include <QComboBox>
#include <QFileDialog>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSpinBox>
#include <QTableWidget>
#include <QTest>
#include <QTextEdit>
#include <QToolTip>

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>
#include <qwt_plot_curve.h>

#include "calib/ui/calibration_plot.h"
#include "calib/ui/calibration_results.h"
#include "calib/ui/port_editor.h"
#include "calib/ui/port_table.h"
#include "core/keys.h"
#include "markers/marker_files.h"
#include "process/project/project_tasks.h"
#include "process/steps/chain.h"
#include "sample/synthetic_point.h"
#include "tests/cli/program.h"
#include "tests/support/dialog_checks.h"
#include "tests/support/log_capture.h"
#include "tests/support/modal_driver.h"
#include "tests/support/project_fixture.h"
#include "view/ui/canvas/field_view.h"
#include "view/ui/markers/marker_table.h"
#include "view/ui/window/field_viewer.h"

namespace vyn::test {
namespace {

using testing::Contains;
using testing::HasSubstr;

const std::string tree(keys::sens_paint);

/// The dialog over an open synthetic point whose ratio image is computed.
class InSitu : public ProjectTest {
  protected:
    static void SetUpTestSuite() {
        sample = new TemporaryFolder;
        register_plugins("*.2dio");
        Progress no_progress;
        write_synthetic_point(make_synthetic_point({.width = 320, .height = 240}, no_progress),
                              sample->path(), no_progress);
    }
    static void TearDownTestSuite() {
        delete sample;
        sample = nullptr;
    }

    InSitu() {
        EXPECT_EQ(
            run(ReadProjectTask(
                program_session(),
                {.file = project(), .geometry = ReadProject::Geometry::leave_out, .settings = {}})),
            TaskOutcome::done);
        EXPECT_EQ(
            run(*vyn::calculate(Goal::ratio, program_session(), std::make_shared<RunReport>())),
            TaskOutcome::done);
        vyn_db().set_modified(false);
        set_ports(port_file());
        child<QLineEdit>(dialog, "edt_cal_file").setText(QString::fromStdString(law_file));
        child<QLineEdit>(dialog, "edt_p_units").setText(QStringLiteral("Pa"));
    }

    static std::filesystem::path project() { return *sample / "project.xml"; }
    static std::string port_file() { return *sample / "ports.mrk"; }
    void set_ports(const std::string& file) {
        child<QLineEdit>(dialog, "edt_mrk_file").setText(QString::fromStdString(file));
    }
    void calculate() { child<QPushButton>(dialog, "btn_calculate").click(); }

    static paintFeatures stored() {
        paintFeatures paint;
        read(vyn_db(), tree, paint);
        return paint;
    }
    /// What the command line fits to the same ports.
    nlohmann::json by_command_line(const std::string& ports) {
        const ProgramRun done =
            run_program({"calibrate", project(), "--ports", ports, "--terms", "3", "--area", "5",
                         "--unit", "Pa", "--report", folder / "report.json", "--quiet", "--force"});
        EXPECT_EQ(done.status, 0) << done.err;
        return nlohmann::json::parse(get_file(folder / "report.json"))["calibration"];
    }
    static void expect_law(const paintFeatures& paint, const nlohmann::json& calibration) {
        EXPECT_EQ(paint.gamma[0][0], calibration["coefficients"]["gamma11"].get<double>());
        EXPECT_EQ(paint.gamma[1][0], calibration["coefficients"]["gamma21"].get<double>());
        EXPECT_EQ(paint.gamma[2][0], calibration["coefficients"]["gamma31"].get<double>());
    }
    static QPoint place_of(const CalibrationPlot& plot, double ratio, double pressure) {
        return {static_cast<int>(std::lround(plot.transform(QwtPlot::xBottom, ratio))),
                static_cast<int>(std::lround(plot.transform(QwtPlot::yLeft, pressure)))};
    }

    inline static TemporaryFolder* sample = nullptr;
    const std::string law_file = folder / "law.clb";
    Worker worker;
    form_calibr_single dialog{worker};
    ModalDriver driver;
};

TEST_F(InSitu, AcceptStoresTheLawOfTheCommandLine) {
    EXPECT_EQ(dialog.windowTitle(), QStringLiteral("In-situ calibration"));
    EXPECT_EQ(child<QComboBox>(dialog, "cmb_order").count(), 3);
    driver.expect<VynCalResults>([](VynCalResults& results) {
        const QString summary = child<QLabel>(results, "summary").text();
        EXPECT_TRUE(summary.startsWith(QStringLiteral("<center>gamma11=<b>")));
        EXPECT_TRUE(summary.endsWith(QStringLiteral("<br> Save results?</center>")));
        const QString meaning = child<QTextEdit>(results, "meaning").toPlainText();
        EXPECT_TRUE(meaning.contains(QStringLiteral("fa = 1 (unity)"))) << meaning.toStdString();
        EXPECT_TRUE(meaning.contains(QStringLiteral("enters the law as Pa")));
        QTest::mouseClick(&child<QPushButton>(results, "accept_btn"), Qt::LeftButton);
    });
    calculate();
    EXPECT_EQ(dialog.result(), QDialog::Accepted);
    const nlohmann::json calibration = by_command_line(port_file());
    expect_law(stored(), calibration);
    EXPECT_EQ(read(vyn_db(), keys::convert_wind_off_ratio), "unity");
    EXPECT_EQ(read(vyn_db(), keys::in_situ_calibration_file), law_file);
    paintFeatures in_file;
    ASSERT_EQ(read_paint_calibration(law_file, in_file), RecordOutcome::done);
    EXPECT_EQ(in_file.pressure_unit, "Pa");
    EXPECT_NEAR(in_file.gamma[0][0], stored().gamma[0][0], 1e-9 * std::abs(in_file.gamma[0][0]));
}

TEST_F(InSitu, CorrectsTheProjectsLaw) {
    const paintFeatures before = stored();
    auto& order = child<QComboBox>(dialog, "cmb_order");
    auto& sigma = child<QLineEdit>(dialog, "edt_port_sigma");
    EXPECT_TRUE(order.isEnabled() && !sigma.isEnabled());
    child<QComboBox>(dialog, "cmb_model").setCurrentIndex(1);
    EXPECT_TRUE(!order.isEnabled() && sigma.isEnabled());
    sigma.setText(QStringLiteral("50"));
    // The same pressures in another unit: the law's is pascal.
    MarkerSet ports;
    ASSERT_TRUE(read_markers(port_file(), ports, 240));
    for (Marker& port : ports.markers)
        port.f /= 1e5;
    const std::string in_bar = folder / "bar.mrk";
    ASSERT_TRUE(write_markers(in_bar, ports));
    set_ports(in_bar);
    child<QLineEdit>(dialog, "edt_p_units").setText(QStringLiteral("bar"));
    driver.expect<VynCalResults>([&](VynCalResults& results) {
        EXPECT_TRUE(child<QLabel>(results, "summary").text().contains(QStringLiteral("k = ")));
        EXPECT_FALSE(child<QCheckBox>(results, "unity").isEnabled());
        // out and back in
        const double k = results.calibration().hybrid->constants.ratio_gain;
        auto& table = child<PortTable>(results, "port_table");
        Q_EMIT table.port_toggled(0);
        EXPECT_NE(results.calibration().hybrid->constants.ratio_gain, k);
        Q_EMIT table.port_toggled(0);
        EXPECT_EQ(results.calibration().hybrid->constants.ratio_gain, k);
        QTest::mouseClick(&child<QPushButton>(results, "accept_btn"), Qt::LeftButton);
    });
    calculate();
    EXPECT_EQ(dialog.result(), QDialog::Accepted);
    const paintFeatures law = stored();
    ASSERT_TRUE(law.covariance);
    // The sample's ports are those of its paint: k is 1, and fa is in the coefficients.
    const double fa = law.gamma[1][0] / before.gamma[1][0];
    EXPECT_NEAR(law.gamma[2][0] / before.gamma[2][0], fa * fa, 1e-9);
    EXPECT_NEAR(law.gamma[2][2] / before.gamma[2][2], fa * fa, 1e-9);
    EXPECT_NEAR(fa, 0.99, 0.02);
    EXPECT_EQ(read(vyn_db(), keys::convert_wind_off_ratio), "unity");
    EXPECT_EQ(read(vyn_db(), keys::uncertainty_at_ports), 1);
    EXPECT_EQ(read(vyn_db(), keys::in_situ_model), "k");
}

TEST_F(InSitu, RejectStoresNothing) {
    const auto before = vyn_db().revision();
    driver.expect<VynCalResults>([](VynCalResults& results) {
        child<QCheckBox>(results, "unity").setChecked(false);
        EXPECT_TRUE(child<QTextEdit>(results, "meaning")
                        .toPlainText()
                        .contains(QStringLiteral("(by the law)")));
        child<QPushButton>(results, "reject_btn").click();
    });
    calculate();
    EXPECT_EQ(dialog.result(), QDialog::Rejected);
    EXPECT_EQ(vyn_db().revision(), before);
    EXPECT_FALSE(std::filesystem::exists(law_file));
    const form_calibr_single again(worker);
    EXPECT_EQ(child<QLineEdit>(again, "edt_cal_file").text().toStdString(), law_file);
    EXPECT_EQ(child<QLineEdit>(again, "edt_mrk_file").text().toStdString(), port_file());
}

TEST_F(InSitu, AClickTakesAPortOutAndPutsItBack) {
    const nlohmann::json all = by_command_line(port_file());
    MarkerSet ports;
    ASSERT_TRUE(read_markers(port_file(), ports, 240));
    const int out = 2;
    for (Marker& port : ports.markers)
        if (port.id == all["ports"][out]["number"]) port.active = false;
    const std::string fewer = folder / "fewer.mrk";
    ASSERT_TRUE(write_markers(fewer, ports));
    const nlohmann::json without = by_command_line(fewer);
    ASSERT_NE(all["coefficients"], without["coefficients"]);

    driver.expect<VynCalResults>([&](VynCalResults& results) {
        auto& plot = child<CalibrationPlot>(results, "calibration_plot");
        const auto click = [&] {
            QTest::mouseClick(
                plot.canvas(), Qt::LeftButton, {},
                place_of(plot, all["ports"][out]["ratio"], all["ports"][out]["pressure"]));
        };
        const QString summary = child<QLabel>(results, "summary").text();
        QTest::mouseMove(plot.canvas(),
                         place_of(plot, all["ports"][out]["ratio"], all["ports"][out]["pressure"]));
        QApplication::processEvents();
        EXPECT_TRUE(QToolTip::text().contains(QStringLiteral("Residual")));
        click();
        expect_law(results.calibration().paint, without);
        EXPECT_NE(child<QLabel>(results, "summary").text(), summary);
        click();
        expect_law(results.calibration().paint, all);
        EXPECT_EQ(child<QLabel>(results, "summary").text(), summary);
        // The same from the table, then stored with fa by the law.
        child<PortTable>(results, "port_table").item(out, 0)->setCheckState(Qt::Unchecked);
        child<QCheckBox>(results, "unity").setChecked(false);
        child<QPushButton>(results, "accept_btn").click();
    });
    calculate();
    expect_law(stored(), without);
    EXPECT_EQ(read(vyn_db(), keys::convert_wind_off_ratio), "law");
}

TEST_F(InSitu, SaveWritesThePortsAndTheCurveHasAHundredSteps) {
    const std::string csv = folder / "ports.csv";
    driver.expect<VynCalResults>([&](VynCalResults& results) {
        driver.expect([&](QDialog& files) { choose_file(files, csv); });
        QPushButton& save = child<QPushButton>(results, "save_btn");
        EXPECT_EQ(save.toolTip(), QStringLiteral("Save Calibration information into CVS file"));
        save.click();
        for (QwtPlotItem* item : child<CalibrationPlot>(results, "calibration_plot").itemList())
            if (item->title().text() == QLatin1String("Fitting")) {
                EXPECT_EQ(dynamic_cast<QwtPlotCurve&>(*item).dataSize(), 101U);
            }
        results.reject();
    });
    calculate();
    const std::string text = get_file(csv);
    EXPECT_TRUE(text.starts_with("Number,I0/I,P\n"));
    const auto lines = std::count(text.begin(), text.end(), '\n');
    EXPECT_EQ(static_cast<std::size_t>(lines), by_command_line(port_file())["ports"].size() + 1);
}

TEST_F(InSitu, AFileThatCannotBeWrittenIsSaidBeforeAnythingIsChosen) {
    dialog.show();
    for (const char* file : {"/nowhere/law.clb", "/"}) {
        child<QLineEdit>(dialog, "edt_cal_file").setText(QLatin1String(file));
        calculate();
    }
    EXPECT_TRUE(dialog.isVisible());
    ASSERT_EQ(driver.boxes.size(), 2U);
    EXPECT_THAT(driver.boxes[0].text, HasSubstr("no folder /nowhere"));
    EXPECT_THAT(driver.boxes[1].text, HasSubstr("is a folder"));
}

/// The results come back as they were until the law has a file, or is given up.
TEST_F(InSitu, AFileThatMustStayKeepsTheChosenPorts) {
    const std::string kept = get_file(*sample / "paint.clb");
    child<QLineEdit>(dialog, "edt_cal_file").setText(QStringLiteral("paint.clb"));
    const auto before = vyn_db().revision();
    paintFeatures chosen;
    driver.answer = QMessageBox::Cancel;
    driver.expect<VynCalResults>([&](VynCalResults& results) {
        child<PortTable>(results, "port_table").item(2, 0)->setCheckState(Qt::Unchecked);
        chosen = results.calibration().paint;
        results.accept();
    });
    driver.expect<VynCalResults>([&](VynCalResults& results) {
        EXPECT_EQ(results.calibration().paint, chosen);
        results.reject();
    });
    calculate();
    ASSERT_EQ(driver.boxes.size(), 1U);
    EXPECT_THAT(driver.boxes[0].text, HasSubstr("paint.clb exists"));
    EXPECT_EQ(get_file(*sample / "paint.clb"), kept);
    EXPECT_EQ(vyn_db().revision(), before);
}

TEST_F(InSitu, PortsAreDrawnOnTheRatioImage) {
    dialog.show();
    child<QPushButton>(dialog, "btn_show_ports").click();
    auto* viewer = dialog.findChild<VynFieldViewer*>();
    ASSERT_NE(viewer, nullptr);
    EXPECT_EQ(viewer->image_name(), "Iref");
    MarkerSet ports;
    ASSERT_TRUE(read_markers(port_file(), ports, 240));
    VynFieldView& view = viewer->view();
    view.set_transform({.zoom = 8,
                        .origin = QPointF(ports.markers[0].x, ports.markers[0].y) -
                                  QPointF(view.width(), view.height()) / 16});
    const auto seen_with = [&](int side) {
        child<QSpinBox>(dialog, "spn_approx").setValue(side);
        return view.grab().toImage();
    };
    const QImage wide = seen_with(9);
    const QImage narrow = seen_with(1);
    // The upper edge of the first port's square, where the narrow one has nothing.
    const Marker& port = ports.markers[0];
    const QPointF corner =
        view.transform().to_widget({std::trunc(port.x - 4) - 0.5, std::trunc(port.y - 4) - 0.5});
    const int y = static_cast<int>(std::lround(corner.y()));
    int drawn = 0;
    for (int x = 0; x < 9 * 8; ++x) {
        const int column = static_cast<int>(std::lround(corner.x())) + x;
        drawn += wide.pixel(column, y) != narrow.pixel(column, y);
    }
    EXPECT_EQ(drawn, 9 * 8);
}

TEST_F(InSitu, TwentyPressuresArePastedInOneGo) {
    dialog.show();
    MarkerSet ports;
    ASSERT_TRUE(read_markers(port_file(), ports, 240));
    const std::string file = folder / "mine.mrk";
    std::filesystem::copy_file(port_file(), file);
    set_ports(file);
    QString column;
    for (std::size_t i = 0; i < ports.markers.size(); ++i)
        column += QString::number(90000 + 10 * int(i)) + QLatin1Char('\n');
    driver.expect<PortEditor>([&](PortEditor& editor) {
        child<QTableWidget>(editor, "marker_table").setCurrentCell(0, 3);
        QGuiApplication::clipboard()->setText(column);
        editor.findChild<MarkerTable*>()->paste();
        editor.accept();
    });
    child<QPushButton>(dialog, "btn_edit_ports").click();
    MarkerSet pasted;
    ASSERT_TRUE(read_markers(file, pasted, 240));
    ASSERT_EQ(pasted.markers.size(), ports.markers.size());
    for (std::size_t i = 0; i < ports.markers.size(); ++i)
        EXPECT_EQ(pasted.markers[i].f, 90000 + 10 * double(i));
    EXPECT_TRUE(pasted.hasF);

    // A file that is not there yet, named when it is written.
    set_ports("");
    driver.expect<PortEditor>([&](PortEditor& editor) {
        QGuiApplication::clipboard()->setText(QStringLiteral("7\t30\t40\t95000\t1\n"));
        editor.findChild<MarkerTable*>()->paste();
        driver.expect<QFileDialog>(
            [&](QFileDialog& files) { choose_file(files, folder / "new.mrk"); });
        editor.accept();
    });
    child<QPushButton>(dialog, "btn_edit_ports").click();
    ASSERT_TRUE(read_markers(folder / "new.mrk", pasted, 240));
    EXPECT_EQ(pasted.markers.at(0).id, 7);
    EXPECT_EQ(child<QLineEdit>(dialog, "edt_mrk_file").text().toStdString(), folder / "new.mrk");
}

TEST_F(InSitu, AFailureIsSaidInABoxAndInTheLogAndStoresNothing) {
    set_ports(folder / "none.mrk");
    const auto before = vyn_db().revision();
    const LogCapture log;
    calculate();
    set_ports(port_file());
    get_images().clear();
    calculate();
    ASSERT_EQ(driver.boxes.size(), 2U);
    EXPECT_EQ(driver.boxes[0].caption, "Calibration");
    EXPECT_EQ(driver.boxes[0].text, "Error Reading Markers");
    EXPECT_EQ(driver.boxes[1].text, "I/Iref image doesn't exists");
    EXPECT_THAT(log.lines(), Contains(HasSubstr("Calibration file doesn't exists:")));
    EXPECT_EQ(vyn_db().revision(), before);
}

TEST(CalibrationResults, VectorsOfDifferentLengthAreReported) {
    simpleNamedDataSet settings;
    VynCalResults results(settings);
    const LogCapture log;
    EXPECT_FALSE(results.set_data({1, 2}, {1, 2}, {1}, {}));
    EXPECT_THAT(log.lines(), Contains(HasSubstr("VynCalResult:different pts and data sizes!")));
    EXPECT_TRUE(results.set_data({1, 1}, {1, 2}, {1, 2}, {1, 0, 0}));
    EXPECT_THAT(log.lines(), Contains(HasSubstr("VynCalResult:curve fitting incomplete!")));
}

}  // namespace
}  // namespace vyn::test
