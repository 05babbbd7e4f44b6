#include <QLabel>
#include <QTest>
#include <bit>
#include <fstream>

#include <nlohmann/json.hpp>

#include "app/experiment_page.h"
#include "app/model_commands.h"
#include "core/keys.h"
#include "core/ui/number_edit.h"
#include "tests/app/model_point_fixture.h"
#include "tests/cli/program.h"
#include "view/ui/model/loads_panel.h"
#include "view/ui/model/model_viewer.h"
#include "view/ui/model/patch_list.h"
#include "view/ui/model/section_panel.h"

namespace vyn::test {
namespace {

class ModelAndBatchProgram : public ModelPointTest {
  protected:
    using ModelPointTest::ModelPointTest;
    void batch(const std::vector<std::string>& arguments) {
        const ProgramRun run = run_program(arguments);
        ASSERT_EQ(run.status, 0) << run.err;
    }
    /// The window's values on the mesh are those of a file, bit for bit.
    static void expect_values_of(const std::filesystem::path& file) {
        const field_data<double>& mesh = program_session().field;
        Progress silent;
        const auto saved = read_field(file, silent);
        ASSERT_EQ(saved.quantities.size(), mesh.quantities.size());
        for (std::size_t q = 0; q < saved.quantities.size(); ++q)
            EXPECT_EQ(bits(saved.quantities[q].values), bits(mesh.quantities[q].values))
                << saved.quantities[q].name;
    }
    static std::vector<std::uint64_t> bits(const std::vector<double>& values) {
        std::vector<std::uint64_t> result;
        for (const double value : values)
            result.push_back(std::bit_cast<std::uint64_t>(value));
        return result;
    }
};

class TwoCamerasAndBatchProgram : public ModelAndBatchProgram {
  protected:
    TwoCamerasAndBatchProgram() : ModelAndBatchProgram(2) {}
};

/// The project of a second camera joins the mesh in the window as it does in the batch program; it
/// cannot while its field is not saved, and then the values stay; number keys look as either
/// camera.
TEST_F(TwoCamerasAndBatchProgram, GiveTheSameFieldWithItsSpread) {
    window->open_files({QString::fromStdString((folder / "project.xml").string())});
    window->experiment_page()->calculate_all();
    auto* commands = window->findChild<ModelCommands*>();
    ASSERT_EQ(program_session().field.views.size(), 1U);
    put_file(folder / "broken.xml", get_file(folder / "project_2.xml").substr(0, 300));
    for (const char* other : {"nothing.xml", "broken.xml", "camera.ini", "project_2.xml"}) {
        write(vyn_db(), keys::resect_views, std::string(other));
        press(QStringLiteral("Vyn, Processing"), QStringLiteral("There are errors!"));
        commands->resect();
        EXPECT_EQ(program_session().field.views.size(), 1U) << other;
    }

    batch({"run", folder / "project_2.xml", "--quiet", "--save-field"});
    commands->resect();
    ASSERT_EQ(program_session().field.views.size(), 2U);
    batch({"run", folder / "project.xml", "--quiet", "--set",
           "roject/processing/resection/views=project_2.xml", "--save-mesh", folder / "both.vtp"});
    expect_values_of(folder / "both.vtp");

    ModelViewer& viewer = *commands->viewer();
    viewer.choose_quantity(QStringLiteral("spread"));
    EXPECT_GT(viewer.canvas().display().limits.maximum, 0);
    QTest::keyClick(&viewer.canvas(), Qt::Key_1);
    const auto first = viewer.canvas().model_view().rotation;
    QTest::keyClick(&viewer.canvas(), Qt::Key_2);
    EXPECT_NE(viewer.canvas().model_view().rotation, first);
    EXPECT_TRUE(all_answered());
    commands->close_viewer();
    vyn_db().set_modified(false);
}

/// Field, section and loads of the window are those of the batch program, bit for bit; the ports
/// lie on the model and their values are the field's.
TEST_F(ModelAndBatchProgram, GiveTheSameFieldSectionAndLoads) {
    window->open_files({QString::fromStdString((folder / "project.xml").string())});
    window->experiment_page()->calculate_all();
    const field_data<double>& mesh = program_session().field;
    ASSERT_FALSE(mesh.quantities.empty());
    batch({"run", folder / "project.xml", "--quiet", "--save-mesh", folder / "batch.vtp"});
    expect_values_of(folder / "batch.vtp");

    write(vyn_db(), keys::port_file, std::string("ports.mrk"));
    auto* commands = window->findChild<ModelCommands*>();
    commands->show_model();
    ModelViewer& viewer = *commands->viewer();
    viewer.section().set_plane(1, 250);
    viewer.section().write_table(folder / "window.csv");
    batch({"section", folder / "batch.vtp", "--plane", "y=250", "--out", folder / "batch.csv"});
    EXPECT_EQ(get_file(folder / "window.csv"), get_file(folder / "batch.csv"));
    const auto* pressure = viewer.canvas().model()->mesh.find("P");
    ASSERT_TRUE(pressure);
    EXPECT_GT(viewer.canvas().model()->ports.size(), 5U);
    for (const ModelPort& port : viewer.canvas().model()->ports) {
        double nearest = 1e9;
        double value = 0;
        for (std::size_t i = 0; i < mesh.vertices.size(); ++i)
            if (const double distance = length(mesh.vertices[i] - port.place);
                distance < nearest && !std::isnan(pressure->values[i])) {
                nearest = distance;
                value = pressure->values[i];
            }
        EXPECT_LT(nearest, 25) << port.number;
        EXPECT_NEAR(port.value / value, 1, 0.15) << port.number;
    }

    LoadsReference reference{.area = 90000, .chord = 200, .span = 900};
    reference.static_pressure = 95000;
    reference.dynamic_pressure = 12000;
    reference.alpha = 3;
    viewer.loads().set_reference(reference);
    viewer.loads().calculate();
    batch({"loads", folder / "batch.vtp", "--area", "90000", "--chord", "200", "--span", "900",
           "--static-p", "95000", "--dynamic-p", "12000", "--alpha", "3", "--report",
           folder / "loads.json"});
    std::ifstream file(folder / "loads.json");
    const auto told = nlohmann::json::parse(file).at("patches");
    ASSERT_EQ(told.size(), viewer.loads().loads().size());
    for (std::size_t i = 0; i < told.size(); ++i) {
        const PatchLoads& patch = viewer.loads().loads()[i];
        EXPECT_EQ(told[i].at("force").get<Vec3>(), patch.force);
        for (const auto& [name, value] : load_coefficients(patch, reference))
            EXPECT_EQ(told[i].at("coefficients").at(name).get<double>(), value) << name;
    }

    // What is painted is the project's, and serves the batch program as a file.
    PatchList& patches = viewer.loads().patches();
    patches.add_patch();
    patches.paint({3, 4, 5, 900, 901}, ModelCanvas::Stroke::paint);
    patches.commit();
    viewer.loads().calculate();
    const PatchLoads tip = viewer.loads().loads().back();
    EXPECT_EQ(tip.name, "sum of patches");
    patches.save(folder / "patches.json");
    batch({"loads", folder / "batch.vtp", "--area", "90000", "--chord", "200", "--span", "900",
           "--static-p", "95000", "--patches", folder / "patches.json", "--report",
           folder / "patches_loads.json"});
    EXPECT_EQ(nlohmann::json::parse(get_file(folder / "patches_loads.json"))
                  .at("patches")
                  .at(0)
                  .at("force")
                  .get<Vec3>(),
              tip.force);
    const PaintedPatches painted = patches.patches();
    Q_EMIT viewer.loads().findChild<NumberEdit*>(QStringLiteral("span"))->editingFinished();
    save_xml(vyn_db(), (folder / "painted.xml").c_str());
    commands->close_viewer();
    vyn_db().set_modified(false);
    window->open_files({QString::fromStdString((folder / "painted.xml").string())});
    commands->show_model();
    const LoadsPanel& again = commands->viewer()->loads();
    EXPECT_EQ(again.patches().patches(), painted);
    EXPECT_EQ(again.reference().span, 900);
    EXPECT_FALSE(again.patches().undo_action()->isEnabled());

    // Those of another mesh are told and kept.
    const std::string others = patches_text({{"flap"}, {}}, 12);
    write(vyn_db(), keys::loads_patches, others);
    commands->show_model();
    EXPECT_TRUE(again.findChild<QLabel*>(QStringLiteral("loads_complaint"))
                    ->text()
                    .contains(QStringLiteral("a mesh of 12 triangles")));
    EXPECT_TRUE(again.patches().patches().names.empty());
    auto* area = again.findChild<NumberEdit*>(QStringLiteral("area"));
    area->set_number(5);
    Q_EMIT area->editingFinished();
    EXPECT_EQ(read(vyn_db(), keys::loads_area), 5);
    EXPECT_EQ(read(vyn_db(), keys::loads_patches), others);
    again.patches().add_patch();
    EXPECT_EQ(again.findChild<QLabel*>(QStringLiteral("loads_complaint"))->text(), QString());
    EXPECT_NE(read(vyn_db(), keys::loads_patches), others);
    again.patches().remove_patch();
    EXPECT_EQ(read(vyn_db(), keys::loads_patches), "");
    commands->close_viewer();
    vyn_db().set_modified(false);
}

}  // namespace
}  // namespace vyn::test
