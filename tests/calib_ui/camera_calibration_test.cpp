#include <QFileDialog>
#include <QLineEdit>
#include <QPushButton>
#include <QTableWidget>
#include <QTextEdit>
#include <QTimer>
#include <fstream>

#include <gmock/gmock.h>

#include "calib/ui/camera_calibration/camera_calibration_dialog.h"
#include "calib/ui/camera_calibration/intrinsics_table.h"
#include "core/keys.h"
#include "core/numbers.h"
#include "process/point/marker_io.h"
#include "process/project/project_tasks.h"
#include "process/steps/chain.h"
#include "process/steps/result_state.h"
#include "sample/model_point.h"
#include "tests/support/dialog_checks.h"
#include "tests/support/modal_driver.h"
#include "tests/support/project_fixture.h"

namespace vyn::test {
namespace {

using testing::Contains;
using testing::HasSubstr;

const std::string camera_tree(keys::sens_camera);

/// A point on the model whose project's camera is a bit wrong.
class CameraCalibrationWindow : public ProjectTest {
  protected:
    CameraCalibrationWindow() {
        register_plugins("*.3dio");
        QApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
        ModelPointOptions options;
        options.point.width = 320;
        options.point.height = 240;
        options.mesh_nodes = 1000;
        write_model_point(make_model_point(options, context), folder.path(), context);
        run(ReadProjectTask(program_session(), {.file = folder / "project.xml",
                                                .geometry = ReadProject::Geometry::leave_out,
                                                .settings = {}}));
        truth = camera();
        wrong = truth;
        wrong.focus *= 1.01;
        wrong.a2 *= 0.7;
        write(vyn_db(), camera_tree, wrong);
        write_camera(folder / "camera.ini", wrong);
    }

    static cameraFeatures camera() {
        cameraFeatures record;
        read(std::as_const(vyn_db()), camera_tree, record);
        return record;
    }
    cameraFeatures camera_of_file() const {
        cameraFeatures record;
        read_camera(folder / "camera.ini", record);
        return record;
    }
    static void set_free(CameraCalibrationDialog& dialog, const IntrinsicsTable::Free& free) {
        child<IntrinsicsTable>(dialog, "intrinsics").set_free(free);
    }
    static void press(CameraCalibrationDialog& dialog, const char* button) {
        // A failed job keeps its box open; nobody may wait for it.
        QTimer::singleShot(20000, &dialog, [] {
            QWidget* box = QApplication::activeModalWidget();
            if (!box) return;
            for (const auto* text : box->findChildren<QTextEdit*>())
                ADD_FAILURE() << text->toPlainText().toStdString();
            box->close();
        });
        child<QPushButton>(dialog, button).click();
    }
    static QString cell(CameraCalibrationDialog& dialog, const char* table, int row, int column) {
        return child<QTableWidget>(dialog, table).item(row, column)->text();
    }
    void add_markers(CameraCalibrationDialog& dialog, const std::string& file) {
        ModalDriver driver;
        driver.expect([file](QDialog& files) { choose_file(files, file); });
        press(dialog, "add_markers_btn");
    }
    /// What a camera sees of a disc of markers that lie `bulge` mm out of its plane.
    void write_disc(double bulge, const Pose& pose) {
        std::ofstream places(folder / "disc.apm");
        MarkerSet dots;
        dots.hasX = dots.hasY = true;
        int id = 0;
        for (int ring = 1; ring <= 3; ++ring)
            for (int k = 0; k < 8; ++k) {
                const double angle = 0.785 * k + 0.2 * ring;
                const Eigen::Vector3d place(70.0 * ring * std::cos(angle),
                                            55.0 * ring * std::sin(angle), bulge * (k % 3));
                places << place.x() << ' ' << place.y() << ' ' << place.z() << '\n';
                const auto pixel = raw_pixel(pinhole_of(truth), pose.in_camera(place));
                // Dots are found to a few hundredths of a pixel.
                dots.markers.push_back({.x = pixel->x + 0.03 * std::sin(7.0 * id),
                                        .y = pixel->y + 0.03 * std::cos(5.0 * id),
                                        .id = id + 1});
                ++id;
            }
        write_marker_file(folder / "disc.mrk", dots);
        write(vyn_db(), keys::mesh_mark_file, (folder / "disc.apm").string());
    }

    Worker worker;
    cameraFeatures truth;
    cameraFeatures wrong;
};

/// The true camera comes back from a wrong record, accepted it stands in settings and file, and
/// nothing changes while it is not.
TEST_F(CameraCalibrationWindow, FindsTheCameraAndStoresItWhenAccepted) {
    const IntrinsicsTable::Free focus_and_a2{true, false, false, true, false};
    {
        CameraCalibrationDialog dialog(worker);
        EXPECT_FALSE(child<QPushButton>(dialog, "accept_btn").isEnabled());
        set_free(dialog, focus_and_a2);
        press(dialog, "calibrate_btn");
        ASSERT_TRUE(dialog.result());
        press(dialog, "close_btn");
        EXPECT_EQ(camera(), wrong);
        EXPECT_EQ(camera_of_file().focus, wrong.focus);
    }
    const auto corrected_state = [] {
        return ImageStates(vyn_db(), get_images()).of(raw_images()[0].corrected_name).kind;
    };
    run(*vyn::calculate(Goal::correct_wind_off, program_session(), std::make_shared<RunReport>()));
    EXPECT_EQ(corrected_state(), ImageState::Kind::current);
    const std::string reference_tree(keys::refe_camera);
    cameraFeatures other_filter = wrong;
    other_filter.flat_file = "flat_refe.tif";
    write(vyn_db(), reference_tree, other_filter);
    CameraCalibrationDialog dialog(worker);
    set_free(dialog, focus_and_a2);
    press(dialog, "calibrate_btn");
    ASSERT_TRUE(dialog.result());
    const ViewResult& found = dialog.result()->found.views[0];
    ASSERT_EQ(found.freed.size(), 2U);
    ASSERT_TRUE(dialog.result()->before[0]);
    EXPECT_GT(dialog.result()->before[0]->rms, 10 * found.rms);
    EXPECT_EQ(dialog.result()->before[0]->used, found.used);
    const double focus = parse_double(cell(dialog, "intrinsics", 0, 2).toStdString()).value_or(0);
    const double sigma = parse_double(cell(dialog, "intrinsics", 0, 3).toStdString()).value_or(0);
    EXPECT_NEAR(focus, truth.focus, 5 * sigma);
    EXPECT_LT(sigma, 1e-3 * truth.focus);
    EXPECT_EQ(cell(dialog, "intrinsics", 1, 3), QStringLiteral("held"));

    press(dialog, "accept_btn");
    EXPECT_EQ(dialog.QDialog::result(), QDialog::Accepted);
    EXPECT_EQ(corrected_state(), ImageState::Kind::out_of_date);
    const cameraFeatures accepted = camera();
    EXPECT_NEAR(accepted.focus, truth.focus, 5 * sigma);
    EXPECT_NEAR(accepted.a2 / truth.a2, 1, 0.01);
    EXPECT_EQ(accepted.cx, truth.cx);
    EXPECT_EQ(accepted.camera, wrong.camera);
    cameraFeatures reference;
    read(std::as_const(vyn_db()), reference_tree, reference);
    EXPECT_EQ(reference.flat_file, "flat_refe.tif");
    reference.flat_file = accepted.flat_file;
    EXPECT_EQ(reference, accepted) << "the same camera behind another filter";
    EXPECT_NEAR(camera_of_file().focus / accepted.focus, 1, 1e-6);
    EXPECT_NEAR(camera_of_file().a2 / accepted.a2, 1, 1e-6);
}

TEST_F(CameraCalibrationWindow, IsAbortedWithoutAResult) {
    CalibrationViewTask view(program_session(), CalibrationViewTask::Kind::own, {});
    run(view);
    TaskContext stopped;
    stopped.abort();
    CalibrateCameraTask task(program_session(), {view.view()->seen},
                             {true, false, false, false, false});
    EXPECT_THROW(task.run(stopped), Aborted);
    EXPECT_TRUE(task.result()->found.views.empty());
    EXPECT_EQ(camera(), wrong);
}

/// Markers nearly in a plane, nearly at right angles, cannot tell the focus: it is held and the
/// reason said; a second picture from another side tells it.
TEST_F(CameraCalibrationWindow, WarnsOfAPlaneAndTakesFurtherPictures) {
    const auto pose = [](double tilt) {
        return Pose{rotation_of({tilt, 0.3 * tilt, 0}), {5, -8, 1500}};
    };
    write_disc(0, pose(0.02));
    CameraCalibrationDialog dialog(worker);
    press(dialog, "remove_view_btn");
    EXPECT_FALSE(child<QPushButton>(dialog, "calibrate_btn").isEnabled());
    add_markers(dialog, folder / "disc.mrk");
    set_free(dialog, {true, false, false, false, false});
    press(dialog, "calibrate_btn");
    ASSERT_TRUE(dialog.result());
    EXPECT_THAT(dialog.remarks(), Contains(HasSubstr("cannot tell the focal length")));
    EXPECT_FALSE(child<QPushButton>(dialog, "accept_btn").isEnabled());

    write_disc(0, pose(0.5));
    add_markers(dialog, folder / "disc.mrk");
    EXPECT_EQ(dialog.result(), nullptr);
    press(dialog, "calibrate_btn");
    ASSERT_TRUE(dialog.result());
    ASSERT_EQ(dialog.result()->found.views.size(), 2U);
    EXPECT_TRUE(child<QPushButton>(dialog, "accept_btn").isEnabled());
    const FreedIntrinsic& focus = dialog.result()->found.views[0].freed[0];
    EXPECT_NEAR(focus.value, pinhole_of(truth).fx, 4 * focus.sigma);
    EXPECT_LT(focus.sigma, 0.01 * focus.value);
}

}  // namespace
}  // namespace vyn::test
