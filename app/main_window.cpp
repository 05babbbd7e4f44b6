#include "app/main_window.h"

#include <QCloseEvent>
#include <QFileInfo>
#include <QMessageBox>
#include <QMimeData>
#include <QSettings>
#include <QStatusBar>
#include <QTimer>
#include <QWhatsThis>

#include "api/image_list.h"
#include "app/main_window_parts.h"
#include "app/pages/file_choice.h"
#include "app/pages/page_parts.h"
#include "app/recent_files.h"
#include "core/keys.h"
#include "core/ui/command.h"
#include "core/ui/icons.h"
#include "core/ui/window_size.h"
#include "core/version.h"
#include "process/page/page_state.h"
#include "process/point/unsaved_work.h"
#include "process/project/ims.h"

namespace vyn {

namespace {

constexpr int title_period_ms = 250;

QString geometry_setting() {
    return QStringLiteral("main_window/geometry");
}

/// The page that a type of experiment is set up on.
ExperimentPageKind page_of(ExperimentType type) {
    return type == ExperimentType::binary || type == ExperimentType::lifetime
               ? ExperimentPageKind::double_channel
               : ExperimentPageKind::single_channel;
}

}  // namespace

VynLiteForm::VynLiteForm(Worker& worker, QWidget* parent)
    : QMainWindow(parent), parts_(new Parts(worker, *this)) {
    setObjectName(QStringLiteral("VynLite"));
    connect_actions();
    languageChange();
    setAcceptDrops(true);
    resize(on_screen({fontMetrics().averageCharWidth() * 190, fontMetrics().lineSpacing() * 58}));
    restoreGeometry(QSettings().value(geometry_setting()).toByteArray());
    connect(parts_->recovery, &RecoveryKeeper::failed, this, [this] {
        statusBar()->showMessage(
            tr("The copy for a crash could not be written: see the log. Save the project."));
    });
    start_pages();
    startTimer(title_period_ms);
}

VynLiteForm::~VynLiteForm() {
    // The page and the viewers are told nothing any more.
    disconnect(parts_->commands, nullptr, this, nullptr);
    parts_->widgets.dir_edit->disconnect(this);  // it loses the focus when the window goes
    remove_page();
}

void VynLiteForm::connect_actions() {
    const MainActions& actions = parts_->widgets.actions;
    for (const QAction* action : findChildren<QAction*>(QString(), Qt::FindDirectChildrenOnly))
        connect(action, &QAction::triggered, this, [this] { finish_editing(*this); });
    const auto bind = [this](QAction* action, void (VynLiteForm::*slot)()) {
        connect(action, &QAction::triggered, this, slot);
    };
    bind(actions.file_new, &VynLiteForm::fileNew);
    bind(actions.file_open, &VynLiteForm::fileOpen);
    bind(actions.file_save, &VynLiteForm::fileSave);
    bind(actions.file_save_as, &VynLiteForm::fileSaveAs);
    bind(actions.file_exit, &VynLiteForm::fileExit);
    bind(actions.help_about, &VynLiteForm::helpAbout);
    bind(actions.calculate_all, &VynLiteForm::calculateCalculate_AllAction_activated);
    bind(actions.help_manual, &VynLiteForm::helpManualAction_activated);
    bind(actions.file_close, &VynLiteForm::fileClose);
    bind(actions.project_directory, &VynLiteForm::dir_btn_clicked);
    ProjectCommands* commands = parts_->commands;
    connect(actions.new_point, &QAction::triggered, commands, &ProjectCommands::new_point);
    connect(actions.remove_ims_data, &QAction::triggered, commands,
            &ProjectCommands::remove_ims_data);
    connect(parts_->widgets.recent, &RecentFilesMenu::chosen, commands,
            [commands](const QString& file) { commands->open_file(file.toStdString()); });
    connect(commands, &ProjectCommands::opened, parts_->widgets.recent, &RecentFilesMenu::add);
    connect(commands, &ProjectCommands::reported, this,
            [this](const std::shared_ptr<const RunReport>& report) {
                const int remarks = static_cast<int>(report->warnings.size());
                const QString file = QString::fromStdString(read(vyn_db(), keys::head_file));
                answer(remarks == 0 ? tr("Opened %1").arg(file)
                                    : tr("Opened %1: %n warning(s)", nullptr, remarks).arg(file),
                       remarks > 0);
                if (remarks > 0 && parts_->page) parts_->page->take_report(report);
            });
    connect(commands, &ProjectCommands::saved, this,
            [this](const QString& file) { answer(tr("Saved %1").arg(file), false); });
    connect(commands, &ProjectCommands::changed, this, &VynLiteForm::update_state);
    connect(parts_->model, &ModelCommands::changed, this, &VynLiteForm::update_state);
    connect(parts_->runs, &RunCommands::point_wanted, this, [this](const QString& project) {
        if (!parts_->commands->open_file(project.toStdString())) return;
        if (parts_->page) parts_->widgets.tasks->setCurrentWidget(parts_->page.get());
    });
    connect(commands, &ProjectCommands::replaced, this, [this] {
        parts_->viewers.close_project_images();
        parts_->model->close_viewer();
        remove_page();
        update_state();
    });
    // Return ends editing too, so that one signal tells both.
    connect(parts_->widgets.dir_edit, &QLineEdit::editingFinished, this,
            &VynLiteForm::dir_edit_returnPressed);
}

void VynLiteForm::start_pages() {
    parts_->widgets.tasks->removeTab(parts_->widgets.tasks->indexOf(parts_->widgets.dummy_tab));
    delete parts_->widgets.dummy_tab;
    parts_->widgets.dummy_tab = nullptr;
    parts_->log = new QVynLog(this);
    parts_->log->setObjectName(QStringLiteral("VYN log!"));
    parts_->log->set_file(window_log_file());
    parts_->widgets.tasks->addTab(parts_->log, tr("Log"));
    clear_ims();
    get_ims().version = file_version;
    QAction* whats_this = QWhatsThis::createAction(this);
    whats_this->setIcon(vyn_icon(QStringLiteral("whats_this.png")));
    parts_->widgets.tool_bar->addAction(whats_this);
    update_state();
}

void VynLiteForm::languageChange() {
    setWindowTitle(tr("Vyn Lite"));
    parts_->widgets.set_texts();
}

void VynLiteForm::update_state() {
    const std::string file = read(vyn_db(), keys::head_file);
    const bool has_file = !file.empty();
    parts_->widgets.dir_edit->setText(QString::fromStdString(file));
    if (has_file) make_page();
    show_start_page();
    const MainActions& actions = parts_->widgets.actions;
    for (QAction* action : {actions.file_save, actions.file_save_as, actions.new_point})
        action->setEnabled(has_file);
    actions.calculate_all->setEnabled(has_file && parts_->page);
    actions.file_close->setEnabled(has_file || parts_->page);
    if (parts_->page) {
        parts_->page->setEnabled(has_file);
        if (has_file) parts_->page->refresh();
    }
    parts_->model->refresh();
    update_title();
}

void VynLiteForm::update_title() {
    const QString file = QString::fromStdString(read(vyn_db(), keys::head_file));
    setWindowTitle(file.isEmpty()
                       ? tr("Vyn Lite") + QStringLiteral("[*]")
                       : QFileInfo(file).fileName() + QStringLiteral("[*] - ") + tr("Vyn Lite"));
    setWindowModified(has_unsaved_work(vyn_db(), get_images()));
}

ExperimentPage* VynLiteForm::experiment_page() const {
    return parts_->page.get();
}

void VynLiteForm::make_page() {
    const ExperimentType type = experiment_type(vyn_db());
    if (parts_->page && parts_->page_type == type) return;
    remove_page();
    if (type == ExperimentType::s3f)
        statusBar()->showMessage(QString::fromLatin1(not_evaluated_text));
    parts_->page = make_experiment_page(page_of(type), parts_->worker, parts_->widgets.tasks);
    if (!parts_->page) return;
    parts_->page_type = type;
    ExperimentPage* page = parts_->page.get();
    connect(page, &ExperimentPage::show_image, this,
            [this](const std::string& name, bool flag, const QString& title) {
                if (name == model_result)
                    parts_->model->show_model();
                else
                    show_image(name, flag, title.toUtf8().constData());
            });
    connect(page, &ExperimentPage::model_file_wanted, parts_->model,
            [this](ExperimentPage::ModelFile what) {
                if (what == ExperimentPage::ModelFile::mesh)
                    parts_->model->open_mesh();
                else
                    parts_->model->open_markers();
            });
    connect(page, &ExperimentPage::model_file_chosen, parts_->model,
            [this](ExperimentPage::ModelFile what, const QString& file) {
                if (what == ExperimentPage::ModelFile::mesh)
                    parts_->model->open_mesh_file(file.toStdString());
                else
                    parts_->model->open_markers_file(file.toStdString());
            });
    connect(page, &ExperimentPage::result_looked_at, &parts_->viewers, &ViewerWindows::mark);
    connect(page, &ExperimentPage::result_looked_at, parts_->model, &ModelCommands::mark);
    connect(page, &ExperimentPage::project_changed, this, &VynLiteForm::update_title);
    connect(page, &ExperimentPage::answered, this, &VynLiteForm::answer);
    connect(page, &ExperimentPage::project_changed, parts_->model, &ModelCommands::follow);
    parts_->widgets.tasks->insertTab(0, page, page->label());
    parts_->widgets.tasks->setCurrentWidget(page);
    page->setFocus();
}

void VynLiteForm::remove_page() {
    if (parts_->page)
        parts_->widgets.tasks->removeTab(parts_->widgets.tasks->indexOf(parts_->page.get()));
    parts_->page.reset();
}

void VynLiteForm::show_start_page() {
    QTabWidget* tasks = parts_->widgets.tasks;
    StartPage*& start = parts_->start;
    if (parts_->page) {
        delete start;
        start = nullptr;
        return;
    }
    if (!start) {
        start = new StartPage(tasks);
        connect(start, &StartPage::new_wanted, this, &VynLiteForm::fileNew);
        connect(start, &StartPage::open_wanted, this, &VynLiteForm::fileOpen);
        connect(
            start, &StartPage::project_wanted, this,
            [this](const QString& file) { parts_->commands->open_file(file.toStdString()); },
            Qt::QueuedConnection);
        tasks->insertTab(0, start, tr("Start"));
        tasks->setCurrentWidget(start);
    }
    start->show_projects(parts_->widgets.recent->files());
}

void VynLiteForm::answer(const QString& text, bool failed) {
    QPalette colours = palette();
    if (failed) colours.setColor(QPalette::WindowText, warning_colour(colours));
    statusBar()->setPalette(colours);
    statusBar()->showMessage(text);
}

void VynLiteForm::timerEvent(QTimerEvent*) {
    setWindowModified(has_unsaved_work(vyn_db(), get_images()));
}

void VynLiteForm::changeEvent(QEvent* event) {
    if (event->type() == QEvent::LanguageChange) {
        languageChange();
        update_title();
    }
    QMainWindow::changeEvent(event);
}

void VynLiteForm::closeEvent(QCloseEvent* event) {
    const bool go_on = parts_->runs->may_close() &&
                       (!parts_->page || parts_->commands->agrees_to_discard()) &&
                       parts_->viewers.close_all();
    event->setAccepted(go_on);
    if (!go_on) return;
    parts_->model->close_viewer();
    QSettings().setValue(geometry_setting(), saveGeometry());
    parts_->recovery->stop();
    parts_->manual.close();
}

void VynLiteForm::dragEnterEvent(QDragEnterEvent* event) {
    if (event->mimeData()->hasUrls()) event->acceptProposedAction();
}

void VynLiteForm::dropEvent(QDropEvent* event) {
    QStringList files;
    for (const QUrl& url : event->mimeData()->urls())
        if (url.isLocalFile()) files.append(url.toLocalFile());
    event->acceptProposedAction();
    // Dialogs may follow: not before the other program's drag has ended.
    QTimer::singleShot(0, this, [this, files] { open_files(files); });
}

void VynLiteForm::open_files(const QStringList& files) {
    QStringList images;
    QString project;
    QString table;
    for (const QString& file : files) {
        if (is_run_table(file))
            table = file;
        else if (!is_project_file(file))
            images.append(file);
        else if (project.isEmpty())
            project = file;
    }
    if (!project.isEmpty() && !parts_->commands->open_file(project.toStdString())) return;
    open_images(images);
    if (!table.isEmpty()) parts_->runs->open_table(table);
}

void VynLiteForm::open_images(const QStringList& files) {
    for (const QString& file : files) {
        if (parts_->page && parts_->page->isEnabled() && parts_->page->take_file(file)) continue;
        parts_->viewers.show_file(file);
    }
}

void VynLiteForm::offer_lost_work() {
    for (const LostWork& work : find_lost_work(recovery_folder())) {
        const QString project = work.project.empty() ? tr("a project without a file")
                                                     : QString::fromStdString(work.project);
        const auto answer = QMessageBox::question(
            this, tr("VynLite"),
            tr("The program ended unexpectedly, with unsaved changes of\n%1.\n"
               "Do you want to recover them?")
                .arg(project),
            QMessageBox::Yes | QMessageBox::No | QMessageBox::Cancel, QMessageBox::Yes);
        if (answer == QMessageBox::Cancel) continue;
        if (answer == QMessageBox::No) {
            work.discard();
            continue;
        }
        const auto recovered = parts_->commands->recover(work);
        if (recovered == ProjectCommands::Recovered::nothing) continue;
        parts_->recovery->look();
        // Markers and masks wait for their pictures.
        if (recovered == ProjectCommands::Recovered::everything || !work.has_pictures())
            work.discard();
        return;
    }
}

}  // namespace vyn
