#include "app/model_commands.h"

#include <QAction>
#include <QMenu>
#include <QMessageBox>

#include "api/image_io.h"
#include "core/keys.h"
#include "core/ui/busy_box.h"
#include "core/ui/command.h"
#include "core/ui/file_question.h"
#include "process/model/mesh_tasks.h"
#include "process/model/model_inputs.h"
#include "process/model/shown_model.h"
#include "process/page/page_state.h"
#include "process/point/project_paths.h"
#include "process/steps/chain.h"
#include "view/ui/association/resection_dialog.h"
#include "view/ui/model/loads_panel.h"
#include "view/ui/model/model_viewer.h"
#include "view/ui/model/patch_list.h"

namespace vyn {

namespace {

std::string project_folder_text() {
    return read(vyn_db(), keys::head_file).empty() ? std::string()
                                                   : project_folder(vyn_db()).string();
}

/// The markers on the model, in the mesh's unit, for the view; none where they cannot be read.
std::vector<Marker> markers_to_show(const ShownModel& model) {
    std::vector<Marker> markers;
    const dataSetInterface& data = vyn_db();
    const std::string file = read(data, keys::mesh_mark_file);
    if (file.empty()) return markers;
    run_logged([&] {
        markers = read_model_markers(find_input(data, file, keys::mesh_mark_file.path), data,
                                     mesh_unit_of(model.mesh, data));
        for (Marker& marker : markers) {
            marker.x /= model.mm_per_unit;
            marker.y /= model.mm_per_unit;
            marker.z /= model.mm_per_unit;
        }
    });
    return markers;
}

QString mesh_filter(bool writing) {
    QStringList all;
    QStringList each;
    for (const auto& format : get_3dio().formats()) {
        const FormatInfo& info = format->info();
        if (writing ? !info.can_write : !info.can_read) continue;
        QStringList patterns;
        for (const std::string& extension : info.extensions)
            patterns << QStringLiteral("*.") + QString::fromStdString(extension);
        all += patterns;
        each << QString::fromStdString(info.label) + QStringLiteral(" (") +
                    patterns.join(QLatin1Char(' ')) + QLatin1Char(')');
    }
    if (!writing)
        each.prepend(ModelCommands::tr("Meshes") + QStringLiteral(" (") +
                     all.join(QLatin1Char(' ')) + QLatin1Char(')'));
    each << ModelCommands::tr("All files (*)");
    return each.join(QStringLiteral(";;"));
}

}  // namespace

ModelCommands::ModelCommands(Worker& worker, QWidget* window, QMenu& file_menu, QAction* before)
    : QObject(window), worker_(worker), window_(window) {
    add(file_menu, before, "openMarkers3dAction", tr("Open 3D &markers"),
        &ModelCommands::open_markers);
    add(file_menu, before, "openMeshAction", tr("Open mes&h…"), &ModelCommands::open_mesh);
    resect_ = add(file_menu, before, "resectAction", tr("Resec&t 3-D"), &ModelCommands::resect);
    add(file_menu, before, "resectionSettingsAction", tr("Resection settin&gs…"),
        &ModelCommands::settings);
    show_ = add(file_menu, before, "showModelAction", tr("Sho&w the model"),
                &ModelCommands::show_model);
    save_ = add(file_menu, before, "saveField3dAction", tr("Sa&ve 3-D field…"),
                &ModelCommands::save_field);
    file_menu.insertSeparator(before);
    refresh();
}

ModelCommands::~ModelCommands() {
    close_viewer();
}

QAction* ModelCommands::add(QMenu& menu, QAction* before, const char* name, const QString& text,
                            void (ModelCommands::*slot)()) {
    auto* action = new QAction(text, this);
    action->setObjectName(QLatin1String(name));
    menu.insertAction(before, action);
    connect(action, &QAction::triggered, this, slot);
    return action;
}

ModelViewer* ModelCommands::viewer() const {
    return viewer_;
}

void ModelCommands::close_viewer() {
    delete viewer_;
}

void ModelCommands::refresh() {
    if (!idle_flag()) return;
    const Session session = program_session();
    const bool mesh = session.field.has_data();
    const bool values = !session.field.quantities.empty();
    resect_->setEnabled(mesh);
    show_->setEnabled(mesh);
    save_->setEnabled(values);
    if (!mesh) resect_->setStatusTip(tr("No mesh is loaded: Open mesh…"));
    if (mesh && !values) resect_->setStatusTip(tr("The mesh has no values yet"));
}

void ModelCommands::mark(const std::string& result, bool out_of_date, const QString& why) {
    if (result != model_result || !save_->isEnabled()) return;
    resect_->setStatusTip(out_of_date ? tr("The values on the mesh are out of date: %1").arg(why)
                                      : tr("The values on the mesh are up to date"));
}

void ModelCommands::follow() {
    refresh();
    if (!viewer_ || !idle_flag()) return;
    const field_data<double>& field = program_session().field;
    const auto& shown = viewer_->canvas().model();
    // The same origin stands for the same values.
    if (field.has_data() && shown && field.origin != shown->mesh.origin) update_viewer();
}

bool ModelCommands::update_viewer() {
    auto task = std::make_unique<ShowModelTask>(program_session());
    const auto model = task->model();
    if (run(std::move(task)) != TaskOutcome::done) return false;
    if (!viewer_) {
        viewer_ = new ModelViewer;
        viewer_->setAttribute(Qt::WA_DeleteOnClose);
        connect(&viewer_->loads(), &LoadsPanel::reference_edited, this,
                &ModelCommands::keep_reference);
        connect(&viewer_->loads(), &LoadsPanel::patches_edited, this, &ModelCommands::keep_patches);
    }
    const QString mesh = QString::fromStdString(
        std::filesystem::path(read(vyn_db(), keys::mesh_file)).filename().string());
    viewer_->show_model(model, markers_to_show(*model), tr("Model: %1").arg(mesh));
    return true;
}

TaskOutcome ModelCommands::run(std::unique_ptr<Task> task) {
    auto job = std::make_shared<Job>();
    job->append(std::move(task));
    QBusyBox box(worker_, window_);
    const TaskOutcome outcome = box.run(job);
    refresh();
    return outcome;
}

void ModelCommands::open_mesh_file(const std::string& file) {
    if (run(std::make_unique<OpenMeshTask>(program_session(), file)) != TaskOutcome::done) return;
    Q_EMIT changed();
    if (file.empty())
        close_viewer();
    else if (viewer_)
        update_viewer();
}

void ModelCommands::open_markers_file(const std::string& file) {
    if (run(std::make_unique<OpenModelMarkersTask>(program_session(), file)) != TaskOutcome::done)
        return;
    Q_EMIT changed();
    if (viewer_) update_viewer();
}

void ModelCommands::open_markers() {
    const std::string file = ask_open_file(
        window_, {tr("Open 3D markers"),
                  tr("Markers (*.mrk);;3D Markers (simple text) (*.apm);;Markers v.2.52 (*.mpt)"),
                  {},
                  project_folder_text()});
    if (!file.empty()) open_markers_file(file);
}

void ModelCommands::open_mesh() {
    const std::string file = ask_open_file(
        window_, {tr("Open mesh"), mesh_filter(/*writing=*/false), {}, project_folder_text()});
    if (!file.empty()) open_mesh_file(file);
}

void ModelCommands::resect() {
    const Session session = program_session();
    const auto missing = missing_images(Goal::model, view_of(session));
    if (!missing.empty()) {
        QMessageBox::information(window_, tr("Resect 3-D"),
                                 tr("Calculate the field first: there is none to put on the "
                                    "model."));
        return;
    }
    if (read(session.data, keys::mesh_mark_file).empty()) {
        QMessageBox::information(window_, tr("Resect 3-D"), tr("Mesh markers are not defined!"));
        return;
    }
    QBusyBox box(worker_, window_);
    const TaskOutcome outcome =
        box.run(calculate(Goal::model, session, std::make_shared<RunReport>()));
    refresh();
    if (outcome != TaskOutcome::done) return;
    Q_EMIT changed();
    show_model();
}

void ModelCommands::settings() {
    ResectionDialog dialog(vyn_db(), window_);
    if (dialog.exec() == QDialog::Accepted) Q_EMIT changed();
}

void ModelCommands::save_field() {
    const std::string file = ask_save_file(window_, {tr("Save 3-D field"),
                                                     mesh_filter(/*writing=*/true),
                                                     QStringLiteral("vtp"),
                                                     project_folder_text(),
                                                     {},
                                                     purpose_in_project(vyn_db(), "3-D field")});
    if (!file.empty()) run(std::make_unique<SaveMeshTask>(program_session(), file));
}

/// Reference and patches belong to the point: the project holds them.
void ModelCommands::keep_reference() {
    write_loads_reference(vyn_db(), viewer_->loads().reference());
}

void ModelCommands::keep_patches() {
    const PaintedPatches& patches = viewer_->loads().patches().patches();
    write(vyn_db(), keys::loads_patches,
          patches.names.empty()
              ? std::string()
              : patches_text(patches, viewer_->canvas().model()->mesh.triangles.size()));
}

void ModelCommands::show_model() {
    if (!update_viewer()) return;
    viewer_->show();
    viewer_->raise();
    viewer_->activateWindow();
}

}  // namespace vyn
