#include <QComboBox>
#include <QDialogButtonBox>
#include <QLineEdit>
#include <QPushButton>
#include <QScrollArea>
#include <QTest>

#include "align/ui/align_dialog.h"
#include "api/image_list.h"
#include "app/about.h"
#include "app/help_pages.h"
#include "app/new_point_dialog.h"
#include "app/pages/reading_dialog.h"
#include "app/point_check_dialog.h"
#include "app/type_dialog.h"
#include "calib/ui/calibration_results.h"
#include "calib/ui/camera_calibration/camera_calibration_dialog.h"
#include "calib/ui/camera_dialog.h"
#include "calib/ui/convert_dialog.h"
#include "calib/ui/in_situ_dialog.h"
#include "calib/ui/light_dialog.h"
#include "calib/ui/paint_calibration_dialog.h"
#include "calib/ui/paint_dialog.h"
#include "calib/ui/paint_fit/paint_fit_dialog.h"
#include "calib/ui/port_editor.h"
#include "calib/ui/test_dialog.h"
#include "calib/ui/uncertainty_dialog.h"
#include "core/keys.h"
#include "core/ui/busy_box.h"
#include "core/ui/window_size.h"
#include "schedule/ui/new_run_dialog.h"
#include "tests/app/app_fixture.h"
#include "view/ui/association/resection_dialog.h"
#include "view/ui/look/advanced_fashion_dialog.h"
#include "view/ui/look/picture_dialog.h"
#include "view/ui/look/threshold_dialog.h"
#include "view/ui/markers/marker_controller.h"
#include "view/ui/markers/marker_finding.h"
#include "view/ui/markers/marker_options_dialog.h"
#include "view/ui/markers/marker_pairing.h"
#include "view/ui/window/field_viewer.h"

namespace vyn::test {
namespace {

using Made = std::unique_ptr<QDialog>;

template <class Dialog, class... Arguments>
Made make(Arguments&&... arguments) {
    return std::make_unique<Dialog>(std::forward<Arguments>(arguments)...);
}

/// What dialogs belong to.
struct Scene {
    explicit Scene(Worker& by) : worker(by), viewer(by, "wind_on_sens", false, {}), box(by) {}
    Worker& worker;
    VynFieldViewer viewer;
    MarkerController markers{viewer};
    QBusyBox box;
};

struct Case {
    const char* name;
    Made (*make)(Scene& scene);
};

const Case cases[] = {
    {"align", [](Scene&) { return make<QVynAlign>(vyn_db()); }},
    {"camera", [](Scene&) { return make<QVynCamera>(vyn_db(), std::string(keys::sens_camera)); }},
    {"convert", [](Scene&) { return make<QVynConvert>(vyn_db()); }},
    {"light", [](Scene&) { return make<LightDialog>(vyn_db()); }},
    {"reading", [](Scene&) { return make<ReadingDialog>(vyn_db()); }},
    {"uncertainty", [](Scene&) { return make<UncertaintyDialog>(vyn_db()); }},
    {"paint", [](Scene&) { return make<QVynPaint>(vyn_db()); }},
    {"paint_calibration", [](Scene&) { return make<QVynPaintCalibration>(vyn_db()); }},
    {"paint_fit", [](Scene&) { return make<PaintFitDialog>(std::string()); }},
    {"test", [](Scene&) { return make<QVynTest>(vyn_db()); }},
    {"resection", [](Scene&) { return make<ResectionDialog>(vyn_db()); }},
    {"in_situ", [](Scene& scene) { return make<form_calibr_single>(scene.worker); }},
    {"calibration_results", [](Scene&) { return make<VynCalResults>(vyn_db()); }},
    {"ports",
     [](Scene&) {
         return make<PortEditor>(MarkerSet(), std::filesystem::path(),
                                 static_cast<QWidget*>(nullptr));
     }},
    {"camera_calibration",
     [](Scene& scene) { return make<CameraCalibrationDialog>(scene.worker); }},
    {"new_run", [](Scene&) { return make<NewRunDialog>(QString()); }},
    {"new_point", [](Scene&) { return make<NewPointDialog>(std::vector<NextPoint>()); }},
    {"type", [](Scene&) { return make<ExperimentTypeDialog>(); }},
    {"about", [](Scene&) { return make<QVynLiteAbout>(); }},
    {"markers", [](Scene&) { return make<MarkerOptionsDialog>(); }},
    {"threshold",
     [](Scene&) { return make<ThresholdDialog>(Limits(), static_cast<QWidget*>(nullptr)); }},
    {"fashion", [](Scene&) { return make<QFashionDlg>(Fashion()); }},
    {"advanced_fashion",
     [](Scene&) { return make<QAdvFashionDlg>(Fashion(), std::vector<PictureChoice>()); }},
    {"picture", [](Scene&) { return make<PictureDialog>(PictureOptions(), 640, 480, true); }},
    {"marker_finding",
     [](Scene& scene) { return make<MarkerFindingDialog>(scene.viewer, scene.markers); }},
    {"marker_pairing",
     [](Scene& scene) { return make<MarkerPairingDialog>(scene.viewer, scene.markers); }},
    {"point_check",
     [](Scene& scene) { return make<PointCheckDialog>(scene.box, std::make_shared<RunReport>()); }},
    {"busy", [](Scene& scene) { return make<QBusyBox>(scene.worker); }},
};

class Dialogs : public AppTest, public testing::WithParamInterface<Case> {
  protected:
    ~Dialogs() override { pretend_screen({}); }
};

/// A laptop, and a small screen at twice the size of everything.
TEST_P(Dialogs, FitSmallScreensAndHaveAPageOfTheManual) {
    for (const QSize room : {QSize(1280, 720), QSize(800, 500)}) {
        pretend_screen(room);
        Scene scene(worker);
        const Made dialog = GetParam().make(scene);
        EXPECT_NE(help_page_of(dialog.get()), QStringLiteral("index"));
        dialog->show();
        EXPECT_TRUE(QTest::qWaitForWindowExposed(dialog.get()));
        EXPECT_LE(dialog->width(), room.width());
        EXPECT_LE(dialog->height(), room.height());
        const auto* scrolled = dialog->findChild<QScrollArea*>(QStringLiteral("scrolled_content"));
        EXPECT_TRUE(!scrolled || scrolled->viewport()->height() > room.height() / 2)
            << "hardly anything is seen at " << room.width() << ": "
            << scrolled->viewport()->height() << " of " << dialog->height();
        for (const auto* buttons : dialog->findChildren<QDialogButtonBox*>())
            for (const QAbstractButton* button : buttons->buttons())
                EXPECT_TRUE(dialog->rect().contains(
                    QRect(button->mapTo(dialog.get(), QPoint()), button->size())))
                    << button->text().toStdString() << " at " << room.width();
        dialog->hide();  // as after exec
    }
}

TEST_F(AppTest, ReadingShowsTheLayoutOfRawFilesAsFields) {
    write(vyn_db(), keys::files_raw_layout,
          std::string("height=5, width=10 type=f32 order=little colour=3"));
    ReadingDialog dialog(vyn_db());
    const auto field = [&](const char* name) {
        return dialog.findChild<QLineEdit*>(QLatin1String(name));
    };
    EXPECT_EQ(field("raw_width")->text(), QStringLiteral("10"));
    EXPECT_EQ(dialog.findChild<QComboBox*>(QStringLiteral("raw_type"))->currentData().toString(),
              QStringLiteral("f32"));
    field("raw_frames")->setText(QStringLiteral("3"));
    dialog.accept();
    EXPECT_EQ(read(vyn_db(), keys::files_raw_layout),
              "width=10 height=5 type=f32 frames=3 colour=3")
        << "what is usual is left out, what nobody knows is kept for the reader to refuse";

    ReadingDialog again(vyn_db());
    for (const char* name : {"raw_width", "raw_height"})
        again.findChild<QLineEdit*>(QLatin1String(name))->clear();
    again.reject();
    EXPECT_NE(read(vyn_db(), keys::files_raw_layout), "");
}

INSTANTIATE_TEST_SUITE_P(All, Dialogs, testing::ValuesIn(cases),
                         [](const auto& row) { return row.param.name; });

}  // namespace
}  // namespace vyn::test
