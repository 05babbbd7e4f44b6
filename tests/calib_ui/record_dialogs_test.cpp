#include <QComboBox>
#include <QFileDialog>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QPushButton>
#include <QSpinBox>
#include <QTextEdit>
#include <QToolButton>

#include <gmock/gmock.h>
#include <qwt_plot_curve.h>

#include "calib/flow.h"
#include "calib/paint_law.h"
#include "calib/ui/camera_dialog.h"
#include "calib/ui/convert_dialog.h"
#include "calib/ui/light_dialog.h"
#include "calib/ui/paint_calibration_dialog.h"
#include "calib/ui/paint_dialog.h"
#include "calib/ui/paint_fit/paint_fit_dialog.h"
#include "calib/ui/paint_plot.h"
#include "calib/ui/test_dialog.h"
#include "calib/ui/uncertainty_dialog.h"
#include "tests/support/dialog_checks.h"
#include "tests/support/log_capture.h"
#include "tests/support/modal_driver.h"
#include "tests/support/temporary_folder.h"

namespace vyn::test {
namespace {

const std::string paint_tree(keys::sens_paint);
const std::string camera_tree(keys::refe_camera);

class NumberDialogs : public testing::TestWithParam<DialogCase> {};

TEST_P(NumberDialogs, StoreCancelAndRefuse) {
    check_number_dialog(GetParam());
    simpleNamedDataSet settings;
    check_mnemonics(*GetParam().make(settings));
}

template <class Dialog>
std::unique_ptr<QDialog> make(dataSetInterface& settings) {
    return std::make_unique<Dialog>(settings);
}

INSTANTIATE_TEST_SUITE_P(
    Records, NumberDialogs,
    testing::Values(DialogCase{"test", make<QVynTest>, "_w_on_t_edt", "project/flow/wind_on_t"},
                    DialogCase{"convert",
                               [](dataSetInterface& settings) {
                                   write(settings, keys::convert_threshold, 1);
                                   return make<QVynConvert>(settings);
                               },
                               "max_f", std::string(keys::convert_max.path)},
                    DialogCase{"uncertainty",
                               [](dataSetInterface& settings) {
                                   write(settings, keys::uncertainty_enable, 1);
                                   return make<UncertaintyDialog>(settings);
                               },
                               "t_on_sigma", std::string(keys::uncertainty_t_on_sigma.path)},
                    DialogCase{"light",
                               [](dataSetInterface& settings) {
                                   write(settings, keys::temperature_source,
                                         std::string("recovery"));
                                   return make<LightDialog>(settings);
                               },
                               "total", std::string(keys::temperature_total.path)},
                    DialogCase{"paint", make<QVynPaintCalibration>, "gamma21",
                               paint_tree + "gamma21"},
                    DialogCase{"camera",
                               [](dataSetInterface& settings) -> std::unique_ptr<QDialog> {
                                   return std::make_unique<QVynCamera>(settings, camera_tree);
                               },
                               "center_y_edit", camera_tree + "cy"}),
    [](const auto& instance) { return std::string(instance.param.name); });

QString conditions(const QWidget& dialog) {
    return child<QTextEdit>(dialog, "conditions").toPlainText();
}

/// The button in the edit of a file; cancelling leaves what stands there.
TEST(LightAndTemperature, FilesAreChosenByAButton) {
    QApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
    const TemporaryFolder folder;
    put_file(folder / "lamp.csv", "time,light\n");
    simpleNamedDataSet settings;
    write(settings, keys::lamp_monitor, std::string("readings"));
    LightDialog dialog(settings);
    auto& edit = child<QLineEdit>(dialog, "readings_file");
    ASSERT_EQ(edit.actions().size(), 1);
    ModalDriver driver;
    driver.expect<QFileDialog>(
        [&](QFileDialog& files) { choose_file(files, folder / "lamp.csv"); });
    edit.actions().front()->trigger();
    driver.expect<QFileDialog>([](QFileDialog& files) { files.reject(); });
    edit.actions().front()->trigger();
    dialog.accept();
    EXPECT_EQ(read(settings, keys::lamp_readings_file), (folder / "lamp.csv").string());
}

/// Its camera is a dialog within the dialog: nothing is stored before both are accepted.
TEST(LightAndTemperature, TheMapsCameraComesFromAFile) {
    const TemporaryFolder folder;
    cameraFeatures lens;
    lens.a2 = 3e-7;
    lens.cx = 160;
    write_camera((folder / "infrared.ini").string(), lens);
    simpleNamedDataSet settings;
    write(settings, keys::temperature_source, std::string("map"));
    const auto stored = [&] {
        cameraFeatures camera;
        read(std::as_const(settings), std::string(keys::temperature_camera), camera);
        return camera.a2;
    };
    for (const bool accepted : {false, true}) {
        LightDialog dialog(settings);
        ModalDriver driver;
        driver.expect<QVynCamera>([&](QVynCamera& camera) {
            EXPECT_TRUE(camera.open_file((folder / "infrared.ini").string()));
            EXPECT_FALSE(camera.findChild<QLineEdit*>(QStringLiteral("flat_edit")));
            camera.accept();
        });
        child<QPushButton>(dialog, "map_camera_btn").click();
        EXPECT_EQ(child<QLabel>(dialog, "map_camera").text(),
                  QStringLiteral("distortion corrected"));
        EXPECT_EQ(stored(), 0);
        accepted ? dialog.accept() : dialog.reject();
        EXPECT_EQ(stored(), accepted ? 3e-7 : 0);
    }
}

TEST(TestDialog, ANewProjectHasEmptyNamesAndTheDefaultUnits) {
    simpleNamedDataSet settings;
    const QVynTest dialog(settings);
    EXPECT_EQ(dialog.windowTitle(), QStringLiteral("Test conditions"));
    for (const char* name : {"_test_id_edt", "_test_point_id", "_model_id_edt"})
        EXPECT_EQ(child<QLineEdit>(dialog, name).text(), QString()) << name;
    EXPECT_EQ(child<QLineEdit>(dialog, "_p_unit_edt").text(), QStringLiteral("Pa"));
    EXPECT_EQ(child<QLineEdit>(dialog, "_t_unit").text(), QStringLiteral("K"));
    EXPECT_EQ(child<QLineEdit>(dialog, "_p_stat_edt").text(), QStringLiteral("0"));
}

TEST(TestDialog, ShowsWhatEntersTheLawWhileItIsTyped) {
    simpleNamedDataSet settings;
    paintFeatures paint;
    paint.gamma = {{{0, 0, 0}, {80000, 0, 0}, {20000, 0, 0}}};
    paint.pressure_unit = "Pa";
    paint.temperature_unit = "C";
    paint.minimal_temperature = 0;
    paint.maximal_temperature = 60;
    write(settings, paint_tree, paint);
    write(settings, std::string(keys::flow),
          flowFeatures{
              .wind_off_p = 1, .wind_off_t = 20, .wind_on_t = 25, .p_unit = "bar", .t_unit = "C"});
    settings.set_modified(false);
    const QVynTest dialog(settings);
    EXPECT_THAT(conditions(dialog).toStdString(), testing::HasSubstr("100000"));
    EXPECT_FALSE(conditions(dialog).contains(QStringLiteral("outside")));
    retype(child<QLineEdit>(dialog, "_t_unit"), "c");
    EXPECT_THAT(conditions(dialog).toStdString(), testing::HasSubstr("298.16"));
    EXPECT_TRUE(conditions(dialog).contains(QStringLiteral("outside the paint's range")));
    retype(child<QLineEdit>(dialog, "_p_unit_edt"), "mbar");
    EXPECT_TRUE(conditions(dialog).contains(QStringLiteral("\"mbar\" is no known unit name")));
    EXPECT_FALSE(settings.modified());
}

TEST(CameraDialog, FilesAndFieldsWithoutAnEditAreCarried) {
    const TemporaryFolder folder;
    cameraFeatures camera;
    camera.camera_name = "upper";
    camera.focus = 12.5;
    camera.dx = 0.0074;
    camera.ncx = 2048;
    camera.nfy = 1200;
    camera.a2 = -3e-9;
    camera.flat_file = "flat.tif";
    const std::string file = folder / "camera.ini";
    write_camera(file, camera);

    simpleNamedDataSet settings;
    write(settings, keys::head_dir, folder.path().string());
    QVynCamera dialog(settings, camera_tree);
    EXPECT_EQ(dialog.windowTitle(), QStringLiteral("Camera Features"));
    ModalDriver driver;
    driver.expect<QFileDialog>([&](QFileDialog& files) {
        EXPECT_EQ(files.directory().absolutePath().toStdString(), folder.path().string());
        choose_file(files, file);
    });
    child<QPushButton>(dialog, "open_btn").click();
    EXPECT_EQ(child<QLineEdit>(dialog, "dist_a2_edit").text(), QStringLiteral("-3e-09"));
    retype(child<QLineEdit>(dialog, "pixel_y_edit"), "0.0081");

    const std::string saved = folder / "saved.ini";
    driver.expect<QFileDialog>([&](QFileDialog& files) { choose_file(files, "saved"); });
    child<QPushButton>(dialog, "save_btn").click();
    dialog.accept();

    cameraFeatures stored;
    read(settings, camera_tree, stored);
    camera.dy = 0.0081;
    camera.camera = saved;
    EXPECT_EQ(stored, camera);
    cameraFeatures written;
    EXPECT_EQ(read_camera(saved, written), RecordOutcome::done);
    EXPECT_EQ(written, camera);

    put_file(folder / "other.ini", "[paint]\nfocus=3\n");
    driver.expect<QFileDialog>(
        [&](QFileDialog& files) { choose_file(files, folder / "other.ini"); });
    child<QPushButton>(dialog, "open_btn").click();
    ASSERT_EQ(driver.boxes.size(), 1U);
    EXPECT_THAT(driver.boxes[0].text, testing::HasSubstr("holds no camera"));
    EXPECT_EQ(child<QLineEdit>(dialog, "focus_edit").text(), QStringLiteral("12.5"));
}

/// Units are free text: an unknown one is kept and reported.
TEST(CameraDialog, AnUnknownUnitIsReported) {
    simpleNamedDataSet settings;
    QVynCamera dialog(settings, camera_tree);
    retype(child<QLineEdit>(dialog, "unit_edit"), "cm");
    const LogCapture log;
    dialog.accept();
    EXPECT_EQ(settings.read(camera_tree + "default_length_unit", std::string()), "cm");
    EXPECT_THAT(log.lines(), testing::Contains("4 cm: Incorrect length unit"));
}

/// A paint of a file is no law that was fitted to ports.
TEST(PaintDialog, AnOpenedPaintMayTakeTheWindOffRatioFromItsLaw) {
    const TemporaryFolder folder;
    const std::string file = folder / "p.clb";
    paintFeatures paint;
    paint.gamma[1][0] = 5;
    paint.pressure_unit = "Pa";
    paint.temperature_unit = "C";
    write_paint_calibration(file, paint);
    for (const auto& [answer, rule] :
         {std::pair{QMessageBox::No, "unity"}, {QMessageBox::Yes, "law"}}) {
        simpleNamedDataSet settings;
        write(settings, keys::convert_wind_off_ratio, std::string("unity"));
        QVynPaint dialog(settings);
        ModalDriver driver;
        driver.answer = answer;
        driver.expect<QFileDialog>([&](QFileDialog& files) { choose_file(files, file); });
        child<QPushButton>(dialog, "open_btn").click();
        EXPECT_EQ(driver.boxes.size(), 1U);
        dialog.accept();
        EXPECT_EQ(read(settings, keys::convert_wind_off_ratio), rule);
        EXPECT_EQ(settings.read(std::string(keys::flow) + "t_unit", std::string()), "C")
            << "test conditions start in the paint's units";
        EXPECT_EQ(read(settings, keys::in_situ_pressure_unit), "Pa") << "and so do ports";
    }
}

TEST(PaintDialog, NestedCalibrationIsStoredOnlyWithTheOuterDialog) {
    for (const bool keep : {false, true}) {
        simpleNamedDataSet settings;
        QVynPaint dialog(settings);
        EXPECT_EQ(dialog.windowTitle(), QStringLiteral("Vyn Paint"));
        ModalDriver driver;
        driver.expect<QVynPaintCalibration>([](QVynPaintCalibration& inner) {
            retype(child<QLineEdit>(inner, "gamma11"), "500");
            inner.accept();
        });
        child<QPushButton>(dialog, "calibration_btn").click();
        if (keep)
            dialog.accept();
        else
            dialog.reject();
        EXPECT_EQ(settings.read(paint_tree + "gamma11", 0.0), keep ? 500 : 0);
    }
}

TEST(PaintDialog, UnknownVersionLeavesThePaintAsItWas) {
    const TemporaryFolder folder;
    const std::string file = folder / "new.clb";
    put_file(file, "[version]\nhead=2.6\n[paint]\ngamma11=1\n");
    simpleNamedDataSet settings;
    settings.write(paint_tree + "gamma11", 7.0);
    QVynPaint dialog(settings);
    ModalDriver driver;
    driver.expect<QFileDialog>([&](QFileDialog& files) {
        EXPECT_EQ(files.windowTitle(), QStringLiteral("Vyn Paint Calibration"));
        choose_file(files, file);
    });
    child<QPushButton>(dialog, "open_btn").click();
    ASSERT_EQ(driver.boxes.size(), 1U);
    EXPECT_THAT(driver.boxes[0].text, testing::HasSubstr("Unknown file version"));
    dialog.accept();
    EXPECT_EQ(settings.read(paint_tree + "gamma11", 0.0), 7);
    paint_file_version().clear();
}

TEST(PaintDialog, TakesOverALawFittedToATable) {
    const TemporaryFolder folder;
    std::string text = "P [kPa];T [C];R\n";
    for (const double t : {10, 25, 40})
        for (const double r : {0.5, 0.8, 1.0, 1.2})
            text += std::to_string(-13 + 93 * r + 18 * r * r + 0.2 * t * r) + ";" +
                    std::to_string(t) + ";" + std::to_string(r) + "\n";
    put_file(folder / "good.csv", text);
    put_file(folder / "bad.csv", text + "1;2;x\n");
    simpleNamedDataSet settings;
    QVynPaint dialog(settings);
    ModalDriver driver;
    driver.expect<PaintFitDialog>([&](PaintFitDialog& fit) {
        check_mnemonics(fit);
        auto& file = child<QLineEdit>(fit, "table_file");
        auto& accept = child<QPushButton>(fit, "accept_btn");
        const auto words = [&] { return child<QLabel>(fit, "words").text().toStdString(); };
        file.setText(QString::fromStdString(folder / "bad.csv"));
        fit.refresh();
        EXPECT_THAT(words(), testing::HasSubstr("line 14: \"x\" is no finite number"));
        EXPECT_FALSE(accept.isEnabled());
        file.setText(QString::fromStdString(folder / "good.csv"));
        fit.refresh();
        EXPECT_THAT(words(), testing::HasSubstr("12, pressures"));
        auto& plot = child<QwtPlot>(fit, "residual_plot");
        EXPECT_EQ(plot.itemList(QwtPlotItem::Rtti_PlotCurve).size(), 12);
        child<QSpinBox>(fit, "temperature_order").setValue(1);
        ASSERT_TRUE(fit.fit());
        EXPECT_EQ(fit.fit()->temperature_order, 1);
        accept.click();
    });
    child<QPushButton>(dialog, "fit_btn").click();
    EXPECT_TRUE(child<QLabel>(dialog, "summary").text().contains(QStringLiteral(": known")));
    dialog.accept();
    paintFeatures paint;
    read(settings, paint_tree, paint);
    EXPECT_NEAR(paint.gamma[1][1], 200, 1e-2);
    EXPECT_TRUE(paint.covariance);
}

TEST(PaintCalibration, ConvertsValuesButNotCoefficients) {
    simpleNamedDataSet settings;
    settings.write(paint_tree + "gamma11", 3.0);
    settings.write(paint_tree + "maximal_pressure", 150000.0);
    settings.write(paint_tree + "tolerance_temperature", 10.0);
    QVynPaintCalibration dialog(settings);
    const auto convert = [&](const char* button, const char* unit) {
        for (QAction* action : child<QToolButton>(dialog, button).menu()->actions())
            if (action->text() == QLatin1String(unit)) action->trigger();
    };
    convert("default_pressure_unit_convert", "bar");
    convert("default_temperature_unit_convert", "f");
    dialog.accept();
    paintFeatures paint;
    read(settings, paint_tree, paint);
    EXPECT_EQ(paint.pressure_unit, "bar");
    EXPECT_NEAR(paint.maximal_pressure, 1.5, 1e-12);
    EXPECT_NEAR(paint.tolerance_temperature, 18, 1e-9);
    EXPECT_EQ(paint.gamma[0][0], 3);
}

TEST(PaintPlot, DrawsTheLawAtThreeTemperatures) {
    paintFeatures paint;
    paint.gamma = {{{-13000, 35, 0.15}, {93000, 210, -0.3}, {18000, -40, 0.2}}};
    paint.pressure_unit = "Pa";
    paint.temperature_unit = "C";
    paint.minimal_temperature = 0;
    paint.maximal_temperature = 60;
    paint.normalizing_temperature = 20;
    paint.minimal_pressure = 50000;
    paint.maximal_pressure = 130000;
    PaintPlot plot;
    plot.show_paint(paint);
    const QwtPlotItemList curves = plot.itemList(QwtPlotItem::Rtti_PlotCurve);
    ASSERT_EQ(curves.size(), 3);
    const double temperatures[] = {0, 20, 60};
    for (int i = 0; i < 3; ++i) {
        const auto& curve = dynamic_cast<const QwtPlotCurve&>(*curves[i]);
        for (const std::size_t at : {std::size_t{0}, curve.dataSize() - 1}) {
            const QPointF sample = curve.sample(static_cast<int>(at));
            const auto [a, b, c] = law_at(paint, temperatures[i]);
            EXPECT_NEAR(sample.y(), a + b * sample.x() + c * sample.x() * sample.x(), 1e-6);
        }
    }
    // The middle curve spans the paint's pressures.
    const auto& middle = dynamic_cast<const QwtPlotCurve&>(*curves[1]);
    EXPECT_NEAR(middle.minYValue(), 50000, 1);
    EXPECT_NEAR(middle.maxYValue(), 130000, 1);
}

}  // namespace
}  // namespace vyn::test
