#include "app/model_commands.h"

#include <QListWidget>
#include <QTableWidget>
#include <QTest>
#include <bit>

#include "app/experiment_page.h"
#include "core/keys.h"
#include "core/project_file.h"
#include "core/ui/number_edit.h"
#include "process/point/session.h"
#include "tests/app/model_point_fixture.h"
#include "tests/support/dialog_checks.h"
#include "tests/support/log_capture.h"
#include "view/ui/association/resection_dialog.h"
#include "view/ui/model/model_viewer.h"

namespace vyn::test {
namespace {

class ModelInTheWindow : public ModelPointTest {
  protected:
    ModelCommands& commands() { return *window->findChild<ModelCommands*>(); }
    static const field_data<double>& mesh() { return program_session().field; }
    /// The page looks at files behind the window's back.
    bool wait_for_state(const QString& words) {
        const auto said = [&] { return action("resectAction").statusTip(); };
        return QTest::qWaitFor([&] { return said().contains(words); }, 5000);
    }
};

/// From a project without a model to the field on it: mesh and markers are opened, Calculate All
/// goes on to the model, the view follows; what is changed makes the values stale.
TEST_F(ModelInTheWindow, IsOpenedComputedShownAndSaved) {
    simpleNamedDataSet data;
    load_xml(data, (folder / "project.xml").c_str());
    write(data, keys::mesh_file, std::string());
    write(data, keys::mesh_mark_file, std::string());
    save_xml(data, (folder / "plain.xml").c_str());
    window->open_files({QString::fromStdString((folder / "plain.xml").string())});
    EXPECT_FALSE(action("resectAction").isEnabled());
    EXPECT_FALSE(action("saveField3dAction").isEnabled());

    choose_file(QStringLiteral("Open mesh"), folder / "model.vtp");
    action("openMeshAction").trigger();
    EXPECT_TRUE(mesh().has_data());
    const auto row_says = [&](const char* row, const char* words) {
        return QTest::qWaitFor(
            [&] { return child<QWidget>(row).toolTip().contains(QLatin1String(words)); });
    };
    EXPECT_TRUE(row_says("mesh_file", "model.vtp"));
    child<QAbstractButton>("mesh_remove_btn").click();
    EXPECT_FALSE(mesh().has_data());
    EXPECT_EQ(read(vyn_db(), keys::mesh_file), "");
    choose_file(QStringLiteral("Open mesh"), folder / "model.vtp");
    child<QAbstractButton>("mesh_select").click();
    EXPECT_TRUE(mesh().has_data());
    press(QStringLiteral("Resect 3-D"), QStringLiteral("OK"));
    action("resectAction").trigger();
    EXPECT_NE(shown.find("Calculate the field first"), std::string::npos);
    choose_file(QStringLiteral("Open 3D markers"), folder / "markers3d.mrk");
    child<QAbstractButton>("mesh_mark_select").click();
    EXPECT_TRUE(row_says("mesh_mark_file", "markers3d.mrk"));
    child<QAbstractButton>("mesh_mark_remove_btn").click();
    EXPECT_EQ(read(vyn_db(), keys::mesh_mark_file), "");
    choose_file(QStringLiteral("Open 3D markers"), folder / "markers3d.mrk");
    action("openMarkers3dAction").trigger();
    EXPECT_NE(read(vyn_db(), keys::mesh_mark_file).find("markers3d.mrk"), std::string::npos);

    window->calculateCalculate_AllAction_activated();
    ASSERT_FALSE(mesh().quantities.empty());
    EXPECT_TRUE(wait_for_state(QStringLiteral("up to date")));
    child<QAbstractButton>("field_3d_view_btn").click();
    ASSERT_TRUE(commands().viewer());
    const auto seen = commands().viewer()->canvas().model();
    ASSERT_EQ(seen->mesh.quantities.size(), mesh().quantities.size());

    // The batch program gives the same bits.
    choose_file(QStringLiteral("Save 3-D field"), folder / "window.vtp");
    action("saveField3dAction").trigger();
    Progress silent;
    const auto saved = read_field(folder / "window.vtp", silent);
    for (std::size_t q = 0; q < saved.quantities.size(); ++q)
        for (std::size_t i = 0; i < saved.quantities[q].values.size(); ++i)
            ASSERT_EQ(std::bit_cast<std::uint64_t>(saved.quantities[q].values[i]),
                      std::bit_cast<std::uint64_t>(mesh().quantities[q].values[i]));

    write(vyn_db(), keys::resect_obliqueness, 40.0);
    EXPECT_TRUE(wait_for_state(QStringLiteral("out of date: ")));
    action("resectAction").trigger();
    EXPECT_TRUE(wait_for_state(QStringLiteral("are up to date")));
    const auto again = commands().viewer()->canvas().model();
    EXPECT_NE(again, seen);
    // The page's own command is followed, too.
    write(vyn_db(), keys::resect_obliqueness, 50.0);
    window->experiment_page()->calculate_all();
    EXPECT_NE(commands().viewer()->canvas().model(), again);
    EXPECT_TRUE(all_answered());
    vyn_db().set_modified(false);
}

/// What is no mesh, and markers of images, leave the old state.
TEST_F(ModelInTheWindow, RefusesOtherFiles) {
    window->open_files({QString::fromStdString((folder / "project.xml").string())});
    const std::size_t vertices = mesh().vertices.size();
    EXPECT_GT(vertices, 1000u) << "read with the project";
    put_file(folder / "bad.stl", "solid nothing");
    put_file(folder / "points.obj", "v 0 0 0\nv 1 0 0\nv 0 1 0\n");
    put_file(folder / "none.apm", "x y z\n1 2 3\n");
    for (const auto& [caption, name, file] :
         {std::tuple{"Open mesh", "openMeshAction", "bad.stl"},
          std::tuple{"Open mesh", "openMeshAction", "points.obj"},
          std::tuple{"Open 3D markers", "openMarkers3dAction", "none.apm"},
          std::tuple{"Open 3D markers", "openMarkers3dAction", "wind_off.mrk"}}) {
        choose_file(QString::fromLatin1(caption), folder / file);
        press(QStringLiteral("Vyn, Processing"), QStringLiteral("There are errors!"));
        action(name).trigger();
    }
    EXPECT_EQ(mesh().vertices.size(), vertices);
    EXPECT_EQ(read(vyn_db(), keys::mesh_mark_file), "markers3d.mrk");
    vyn_db().set_modified(false);
    // A mesh that is gone keeps no project from being opened.
    std::filesystem::remove(folder / "model.vtp");
    window->open_files({QString::fromStdString((folder / "project.xml").string())});
    ASSERT_TRUE(window->experiment_page());
    EXPECT_FALSE(mesh().has_data());
    vyn_db().set_modified(false);
}

/// Each keeps the values that there are and says in the log what is wrong.
TEST_F(ModelInTheWindow, RefusesToComputeFromWhatCannotBeRight) {
    window->open_files({QString::fromStdString((folder / "project.xml").string())});
    window->calculateCalculate_AllAction_activated();
    ASSERT_FALSE(mesh().quantities.empty());
    const double* before = mesh().quantities.front().values.data();
    cameraFeatures camera;
    read(vyn_db(), std::string(keys::sens_camera), camera);
    const auto with = [&](auto change) {
        cameraFeatures changed = camera;
        change(changed);
        write(vyn_db(), std::string(keys::sens_camera), changed);
    };
    struct Case {
        std::function<void()> spoil;
        const char* words;
    };
    for (const Case& bad :
         {Case{[&] { with([](cameraFeatures& c) { c.focus = 0; }); }, "the camera cannot be used"},
          Case{[&] { with([](cameraFeatures& c) { c.nfx *= 2; }); },
               "240 x 180 pixels, but the camera's record 480 x 180"},
          Case{[&] {
                   with([](cameraFeatures&) {});
                   write(vyn_db(), keys::resect_obliqueness, 0.0);
               },
               "no camera sees any part of the mesh: "},
          Case{[] { write(vyn_db(), keys::resect_markers_unit, std::string("m")); },
               "one of the two may be in another unit"}}) {
        bad.spoil();
        const LogCapture log;
        press(QStringLiteral("Vyn, Processing"), QStringLiteral("There are errors!"));
        action("resectAction").trigger();
        EXPECT_THAT(log.lines(), testing::Contains(testing::HasSubstr(bad.words)));
        EXPECT_EQ(mesh().quantities.front().values.data(), before);
    }
    vyn_db().set_modified(false);
}

/// Every setting has an edit; further cameras come and go as lines of a list.
TEST_F(ModelInTheWindow, SettingsAreEditedInADialog) {
    window->open_files({QString::fromStdString((folder / "project.xml").string())});
    window->calculateCalculate_AllAction_activated();
    const QString caption = QStringLiteral("Resection and model");
    expect_dialog(caption, [&](QDialog& shown_dialog) {
        auto& dialog = dynamic_cast<ResectionDialog&>(shown_dialog);
        check_mnemonics(dialog);
        auto* seen = dialog.findChild<QTableWidget*>(QStringLiteral("view_coverage"));
        ASSERT_TRUE(seen);
        EXPECT_EQ(seen->rowCount(), 1);
        EXPECT_EQ(seen->item(0, 2)->text(), QStringLiteral("100.0 %"));
        for (const KeyInfo& key : key_table()) {
            if (!key.path.starts_with(keys::resection)) continue;
            const std::string name = key.path.substr(keys::resection.size());
            if (name.starts_with("pose_") && name != "pose_choice") continue;
            EXPECT_TRUE(dialog.findChild<QWidget*>(QString::fromStdString(name))) << name;
        }
        dialog.findChild<NumberEdit*>(QStringLiteral("gate"))->set_number(4.5);
        dialog.add_view();
        dialog.accept();
    });
    choose_file(QStringLiteral("Add view"), folder / "project.xml");
    child<QAbstractButton>("resection_btn").click();
    EXPECT_EQ(read(vyn_db(), keys::resect_gate), 4.5);
    EXPECT_EQ(read(vyn_db(), keys::resect_views), (folder / "project.xml").string());
    expect_dialog(caption, [&](QDialog& shown_dialog) {
        auto& dialog = dynamic_cast<ResectionDialog&>(shown_dialog);
        dialog.findChild<QListWidget*>(QStringLiteral("views"))->setCurrentRow(0);
        dialog.remove_view();
        dialog.accept();
    });
    action("resectionSettingsAction").trigger();
    EXPECT_EQ(read(vyn_db(), keys::resect_views), "");
    EXPECT_TRUE(all_answered());
    vyn_db().set_modified(false);
}

}  // namespace
}  // namespace vyn::test
