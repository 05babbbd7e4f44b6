#include "app/project_commands.h"

#include <QDir>
#include <QFileDialog>
#include <QMessageBox>

#include "api/field_data.h"
#include "api/image_list.h"
#include "app/messages.h"
#include "app/new_point_dialog.h"
#include "app/type_dialog.h"
#include "core/keys.h"
#include "core/project_file.h"
#include "core/ui/busy_box.h"
#include "core/ui/file_question.h"
#include "core/ui/wording.h"
#include "process/page/page_rows.h"
#include "process/point/project_paths.h"
#include "process/point/raw_images.h"
#include "process/point/unsaved_work.h"
#include "process/project/ims.h"
#include "process/project/new_point.h"
#include "process/project/new_project.h"
#include "process/project/project_tasks.h"

namespace vyn {

namespace fs = std::filesystem;

namespace {

fs::path path_of(const QString& file) {
    return QDir::cleanPath(QDir(file).absolutePath()).toStdString();
}

QString text_of(const fs::path& file) {
    return QString::fromStdString(file.string());
}

template <class... Tasks>
std::shared_ptr<Job> job_of(std::unique_ptr<Tasks>... tasks) {
    auto job = std::make_shared<Job>();
    (job->append(std::move(tasks)), ...);
    return job;
}

std::unique_ptr<ReadProjectTask> reading(const fs::path& file, std::shared_ptr<RunReport> report,
                                         std::vector<std::pair<std::string, any>> settings = {},
                                         fs::path inputs = {}) {
    ReadProject request;
    request.file = file;
    request.geometry = ReadProject::Geometry::if_named;
    request.missing = ReadProject::MissingFiles::leave_out;
    request.report = std::move(report);
    request.settings = std::move(settings);
    request.inputs = std::move(inputs);
    return std::make_unique<ReadProjectTask>(program_session(), std::move(request));
}

fs::path present_file() {
    return read(vyn_db(), keys::head_file);
}

}  // namespace

ProjectCommands::ProjectCommands(Worker& worker, QWidget* window)
    : QObject(window), worker_(worker), window_(window) {}

bool ProjectCommands::create() {
    if (!may_discard()) return false;
    ExperimentTypeDialog dialog(window_);
    if (dialog.exec() != QDialog::Accepted) return false;
    const QString file = ask_target(tr("New project"), {});
    if (file.isEmpty()) return false;
    auto settings = std::make_shared<simpleNamedDataSet>();
    start_project(*settings);
    if (const auto type = dialog.type()) choose_experiment_type(*settings, *type);
    return create_from(std::move(settings), file);
}

bool ProjectCommands::new_point() {
    if (!may_discard()) return false;
    NewPointDialog dialog(find_next_points(vyn_db()), window_);
    if (dialog.exec() != QDialog::Accepted) return false;
    const NextPoint point = dialog.point();
    const QString file =
        ask_target(tr("Project of the new point"), QString::fromStdString(point.project));
    if (file.isEmpty()) return false;
    auto settings = std::make_shared<simpleNamedDataSet>();
    from_xml(*settings, to_xml(vyn_db()), "settings");
    empty_point_settings(*settings);
    take_next_point(*settings, point);
    const fs::path old_folder = project_folder(vyn_db());
    rebase_names(*settings, old_folder, path_of(file).parent_path());
    return create_from(std::move(settings), file);
}

bool ProjectCommands::create_from(std::shared_ptr<simpleNamedDataSet> settings,
                                  const QString& file) {
    const fs::path target = path_of(file);
    Lock held = lock(target);
    if (!held) return false;
    const auto report = std::make_shared<RunReport>();
    const auto job = job_of(std::make_unique<CreateProjectTask>(std::move(settings), target),
                            reading(target, report));
    if (!carry_out(job, tr("The project %1 was not made.").arg(file))) return false;
    take(target, std::move(held));
    Q_EMIT replaced();
    Q_EMIT reported(report);
    return true;
}

bool ProjectCommands::open() {
    const QString file = QFileDialog::getOpenFileName(
        window_, tr("Open project"), text_of(project_folder(vyn_db())),
        tr("VYN Projects (*.ims *.xml);;VynLite project file (*.xml);;Vyn project file (*.ims);;"
           "All files (*)"));
    return !file.isEmpty() && open_file(path_of(file));
}

bool ProjectCommands::open_file(const fs::path& name) {
    if (!may_discard()) return false;
    const fs::path file = fs::absolute(name).lexically_normal();
    Lock held = lock(file);
    if (!held) return false;
    const auto report = std::make_shared<RunReport>();
    if (!carry_out(job_of(reading(file, report)),
                   tr("The project %1 was not opened.").arg(text_of(file))))
        return false;
    take(file, std::move(held));
    Q_EMIT replaced();
    Q_EMIT reported(report);
    return true;
}

ProjectCommands::Recovered ProjectCommands::recover(const LostWork& work) {
    Lock held = work.project.empty() ? nullptr : lock(work.project);
    if (!work.project.empty() && !held) return Recovered::nothing;
    std::error_code ignored;
    const bool contained = is_container(work.project) && fs::exists(work.project, ignored);
    const auto job = job_of(reading(work.copy, std::make_shared<RunReport>(),
                                    {{std::string(keys::head_file.path), any(work.project)}},
                                    contained ? fs::path(work.project) : fs::path()),
                            std::make_unique<RestorePicturesTask>(program_session(), work.copy));
    const bool read_all = carry_out(job, tr("The images of the recovered project were not read."));
    if (!read_all) {
        // The settings are what cannot be had again.
        get_images().clear();
        load_xml(vyn_db(), work.copy.c_str());
        vyn_db().set_modified(true);
    }
    lock_ = std::move(held);
    file_ = work.project;
    written_ = {};
    Q_EMIT replaced();
    if (read_all && job->outcome() != TaskOutcome::done)
        report_failure(window_, tr("Not all drawn markers and masks were put back: see the log. "
                                   "The recovery copy stays."));
    return job->outcome() == TaskOutcome::done ? Recovered::everything : Recovered::settings;
}

bool ProjectCommands::save() {
    const fs::path file = present_file();
    return file.empty() ? save_as() : save_to(file, Overwriting::ask);
}

bool ProjectCommands::save_as() {
    const QString file = ask_target(tr("Save project as"), text_of(present_file()));
    if (file.isEmpty()) return false;
    return save_to(path_of(file), Overwriting::allowed);  // the dialog asked
}

bool ProjectCommands::changed_by_others() const {
    std::error_code missing;
    const auto written = fs::last_write_time(file_, missing);
    return !missing && written_ != fs::file_time_type{} && written != written_;
}

bool ProjectCommands::save_to(const fs::path& file, Overwriting overwriting) {
    std::error_code ignored;
    if (overwriting == Overwriting::ask && file != file_ && fs::exists(file, ignored) &&
        QMessageBox::question(
            window_, tr("VynLite"),
            tr("%1 already exists.\nDo you want to replace it?").arg(text_of(file))) !=
            QMessageBox::Yes)
        return false;
    if (file == file_ && changed_by_others() &&
        QMessageBox::question(window_, tr("VynLite"),
                              tr("%1 was changed by another program meanwhile.\nReplace it all the "
                                 "same?")
                                  .arg(text_of(file)),
                              QMessageBox::Yes | QMessageBox::No,
                              QMessageBox::No) != QMessageBox::Yes)
        return false;
    Lock held = lock(file);
    if (!held) return false;
    const bool saved =
        carry_out(job_of(std::make_unique<WriteProjectTask>(program_session(), file)),
                  tr("The project was not saved to %1.").arg(text_of(file)));
    if (saved) take(file, std::move(held));
    Q_EMIT changed();
    if (saved) Q_EMIT this->saved(text_of(file));
    return saved;
}

bool ProjectCommands::close() {
    if (!may_discard()) return false;
    reset(/*totally_new=*/true);
    return true;
}

void ProjectCommands::reset(bool totally_new) {
    if (totally_new) {
        vyn_db().clear();
        get_images().clear();
        get_field_data().clear();
        const std::string version = get_ims().version;
        clear_ims();
        get_ims().version = version;
    } else {
        empty_point(vyn_db(), get_images());
        write(vyn_db(), keys::head_file, std::string());
    }
    file_.clear();
    names_folder_.clear();
    lock_.reset();
    Q_EMIT replaced();
}

void ProjectCommands::set_file(const QString& file) {
    const fs::path target = file.trimmed().isEmpty() ? fs::path() : path_of(file.trimmed());
    const fs::path present = present_file();
    if (target == present) return;
    // A name that is emptied and typed anew still starts from the folder that the names belong to.
    if (!present.empty()) names_folder_ = present.parent_path();
    if (!target.empty() && !names_folder_.empty())
        rebase_names(vyn_db(), names_folder_, target.parent_path());
    write(vyn_db(), keys::head_file, target.string());
    lock_.reset();
    Q_EMIT changed();
}

bool ProjectCommands::remove_ims_data() {
    if (QMessageBox::question(window_, tr("Remove all IMS data"), tr("Remove all data?")) !=
        QMessageBox::Yes)
        return false;
    const std::string version = get_ims().version;
    clear_ims();
    get_images().clear();
    get_ims().version = version;
    Q_EMIT changed();
    return true;
}

void ProjectCommands::choose_directory() {
    const QString directory =
        QFileDialog::getExistingDirectory(window_, tr("Vyn Lite project directory"),
                                          QString::fromStdString(read(vyn_db(), keys::head_dir)));
    if (!directory.isEmpty()) write(vyn_db(), keys::head_dir, directory.toStdString());
}

bool ProjectCommands::may_discard() {
    return !has_unsaved_work(vyn_db(), get_images()) || agrees_to_discard();
}

bool ProjectCommands::agrees_to_discard() {
    QMessageBox box(QMessageBox::Warning, tr("Warning!"),
                    tr("All unsaved data will be lost!\nOk to continue?"),
                    QMessageBox::Yes | QMessageBox::No, window_);
    box.setDefaultButton(QMessageBox::No);
    QStringList unsaved;
    if (vyn_db().modified()) {
        unsaved << tr("Settings of the project are not saved.");
        box.addButton(QMessageBox::Save);
    }
    QStringList drawn;
    for (const auto& picture : unsaved_pictures(get_images()))
        drawn << QString::fromStdString(image_label(experiment_type(vyn_db()), picture->name));
    if (!drawn.isEmpty())
        unsaved << tr("Markers or masks are in no file yet: %1. Save them in the "
                      "viewer of the picture.")
                       .arg(drawn.join(QStringLiteral(", ")));
    if (unsaved.isEmpty()) unsaved << tr("Nothing is unsaved.");
    box.setInformativeText(unsaved.join(QLatin1Char('\n')));
    const int answer = box.exec();
    return answer == QMessageBox::Save ? save() && may_discard() : answer == QMessageBox::Yes;
}

bool ProjectCommands::carry_out(const std::shared_ptr<Job>& job, const QString& what_failed) {
    QBusyBox box(worker_, window_);
    const TaskOutcome outcome = box.run(job);
    if (outcome == TaskOutcome::failed)
        report_failure(window_, what_failed + QLatin1Char('\n') + worded(box.failure()));
    return outcome < TaskOutcome::failed;
}

QString ProjectCommands::ask_target(const QString& caption, const QString& proposal) {
    const bool container = proposal.endsWith(QLatin1String(".ims"), Qt::CaseInsensitive);
    return QString::fromStdString(ask_save_file(
        window_, {caption, tr("VynLite project file (*.xml);;Vyn project file (*.ims)"),
                  container ? QStringLiteral("ims") : QStringLiteral("xml"),
                  project_folder(vyn_db()).string(), proposal}));
}

ProjectCommands::Lock ProjectCommands::lock(const fs::path& file) {
    if (lock_ && file == file_) return lock_;
    auto held = std::make_shared<FileLock>(project_lock(file));
    if (held->state() != FileLock::State::taken) return held;
    const bool go_on = QMessageBox::question(
                           window_, tr("VynLite"),
                           tr("%1 is open already (%2).\nOpen it here as well?")
                               .arg(text_of(file), QString::fromStdString(held->holder())),
                           QMessageBox::Yes | QMessageBox::No, QMessageBox::No) == QMessageBox::Yes;
    return go_on ? held : nullptr;
}

void ProjectCommands::take(const fs::path& file, Lock held) {
    file_ = file;
    std::error_code ignored;
    written_ = fs::last_write_time(file, ignored);
    lock_ = std::move(held);
    Q_EMIT opened(text_of(file));
}

}  // namespace vyn
