#include "app/main_window.h"

#include <QCloseEvent>
#include <QGridLayout>
#include <QGuiApplication>
#include <QLabel>
#include <QLineEdit>
#include <QMenuBar>
#include <QMessageBox>
#include <QMimeData>
#include <QScreen>
#include <QSettings>
#include <QStatusBar>
#include <QTabWidget>
#include <QTimer>
#include <QToolBar>
#include <QWhatsThis>

#include "api/image_list.h"
#include "app/about.h"
#include "app/appearance.h"
#include "app/experiment_page.h"
#include "app/help_window.h"
#include "app/main_actions.h"
#include "app/messages.h"
#include "app/project_commands.h"
#include "app/recent_files.h"
#include "app/recovery_keeper.h"
#include "app/viewer_windows.h"
#include "core/errors.h"
#include "core/keys.h"
#include "core/ui/log_page.h"
#include "core/user_folders.h"
#include "core/version.h"
#include "process/experiment_type.h"
#include "process/ims.h"

namespace vyn {

namespace {

constexpr int title_period_ms = 250;

QString geometry_setting() {
    return QStringLiteral("main_window/geometry");
}

std::filesystem::path recovery_folder() {
    return state_folder() / "recovery";
}

bool is_project(const QString& file) {
    return file.endsWith(QLatin1String(".xml"), Qt::CaseInsensitive) ||
           file.endsWith(QLatin1String(".ims"), Qt::CaseInsensitive);
}

/// The page that a type of experiment is set up on.
ExperimentPageKind page_of(ExperimentType type) {
    return type == ExperimentType::single ? ExperimentPageKind::single_channel
                                          : ExperimentPageKind::double_channel;
}

}  // namespace

struct VynLiteForm::Parts {
    Parts(Worker& used_worker, VynLiteForm* window)
        : worker(used_worker),
          actions(window),
          commands(new ProjectCommands(used_worker, window)),
          recovery(new RecoveryKeeper(recovery_folder(), window)),
          viewers(used_worker) {}

    Worker& worker;
    MainActions actions;
    ProjectCommands* commands;
    RecoveryKeeper* recovery;
    ViewerWindows viewers;
    QTabWidget* tasks = nullptr;
    QWidget* dummy_tab = nullptr;
    QLabel* project_label = nullptr;
    QLineEdit* dir_edit = nullptr;
    QLabel* calculate_label = nullptr;
    QMenu* file_menu = nullptr;
    QMenu* calculate_menu = nullptr;
    QMenu* help_menu = nullptr;
    QToolBar* tool_bar = nullptr;
    RecentFilesMenu* recent = nullptr;

    std::unique_ptr<HelpWindow> help;
    QVynLog* log = nullptr;
    std::unique_ptr<ExperimentPage> page;
    ExperimentType page_type = ExperimentType::single;
};

VynLiteForm::VynLiteForm(Worker& worker, QWidget* parent)
    : QMainWindow(parent), parts_(new Parts(worker, this)) {
    setObjectName(QStringLiteral("VynLite"));
    make_center();
    make_bars();
    connect_actions();
    languageChange();
    setAcceptDrops(true);
    resize(fontMetrics().averageCharWidth() * 120, fontMetrics().lineSpacing() * 42);
    restoreGeometry(QSettings().value(geometry_setting()).toByteArray());
    start_pages();
    startTimer(title_period_ms);
}

VynLiteForm::~VynLiteForm() {
    // The page and the viewers are told nothing any more.
    disconnect(parts_->commands, nullptr, this, nullptr);
    remove_page();
}

void VynLiteForm::make_center() {
    auto* center = new QWidget(this);
    center->setObjectName(QStringLiteral("qt_central_widget"));
    auto* grid = new QGridLayout(center);
    grid->setObjectName(QStringLiteral("VynLiteFormLayout"));
    parts_->tasks = new QTabWidget(center);
    parts_->tasks->setObjectName(QStringLiteral("vyn_tasks"));
    parts_->dummy_tab = new QWidget(parts_->tasks);
    parts_->dummy_tab->setObjectName(QStringLiteral("dummy_tab"));
    parts_->tasks->addTab(parts_->dummy_tab, QString());
    parts_->project_label = new QLabel(center);
    parts_->project_label->setObjectName(QStringLiteral("textLabel1_4"));
    parts_->dir_edit = new QLineEdit(center);
    parts_->dir_edit->setObjectName(QStringLiteral("dir_edit"));
    parts_->project_label->setBuddy(parts_->dir_edit);
    parts_->calculate_label = new QLabel(center);
    parts_->calculate_label->setObjectName(QStringLiteral("textLabel1"));
    grid->addWidget(parts_->project_label, 0, 0);
    grid->addWidget(parts_->dir_edit, 0, 1);
    grid->addWidget(parts_->tasks, 1, 0, 1, 2);
    grid->setColumnStretch(1, 1);
    setCentralWidget(center);
}

void VynLiteForm::make_bars() {
    const MainActions& actions = parts_->actions;
    menuBar()->setObjectName(QStringLiteral("MenuBar"));
    parts_->recent = new RecentFilesMenu(this);
    parts_->file_menu = menuBar()->addMenu(QString());
    parts_->file_menu->addActions({actions.file_new, actions.new_point, actions.file_open});
    parts_->file_menu->addMenu(parts_->recent);
    parts_->file_menu->addActions({actions.file_save, actions.file_save_as, actions.file_close});
    parts_->file_menu->addSeparator();
    parts_->file_menu->addActions({actions.project_directory, actions.remove_ims_data});
    parts_->file_menu->addSeparator();
    parts_->file_menu->addMenu(make_appearance_menu(this));
    parts_->file_menu->addSeparator();
    parts_->file_menu->addAction(actions.file_exit);
    parts_->calculate_menu = menuBar()->addMenu(QString());
    parts_->calculate_menu->addAction(actions.calculate_all);
    parts_->help_menu = menuBar()->addMenu(QString());
    parts_->help_menu->addActions({actions.help_manual, actions.help_about});

    parts_->tool_bar = addToolBar(QString());
    parts_->tool_bar->setObjectName(QStringLiteral("Tools"));
    parts_->tool_bar->addActions(
        {actions.file_new, actions.file_open, actions.file_save, actions.file_save_as});
    parts_->tool_bar->addSeparator();
    parts_->tool_bar->addWidget(parts_->calculate_label);
    parts_->tool_bar->addActions({actions.calculate_all});
    parts_->tool_bar->addSeparator();
    parts_->tool_bar->addAction(actions.help_manual);
    statusBar();
}

void VynLiteForm::connect_actions() {
    const MainActions& actions = parts_->actions;
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
    connect(parts_->recent, &RecentFilesMenu::chosen, commands,
            [commands](const QString& file) { commands->open_file(file.toStdString()); });
    connect(commands, &ProjectCommands::opened, parts_->recent, &RecentFilesMenu::add);
    connect(commands, &ProjectCommands::changed, this, &VynLiteForm::update_state);
    connect(commands, &ProjectCommands::replaced, this, [this] {
        parts_->viewers.close_all();
        remove_page();
        update_state();
    });
    // Return ends editing too, so that one signal tells both.
    connect(parts_->dir_edit, &QLineEdit::editingFinished, this,
            &VynLiteForm::dir_edit_returnPressed);
}

void VynLiteForm::start_pages() {
    parts_->tasks->removeTab(parts_->tasks->indexOf(parts_->dummy_tab));
    delete parts_->dummy_tab;
    parts_->dummy_tab = nullptr;
    parts_->log = new QVynLog(this);
    parts_->log->setObjectName(QStringLiteral("VYN log!"));
    parts_->tasks->addTab(parts_->log, tr("Log"));
    clear_ims();
    get_ims().version = file_version;
    parts_->tool_bar->addAction(QWhatsThis::createAction(this));
    update_state();
}

void VynLiteForm::languageChange() {
    setWindowTitle(tr("Vyn Lite"));
    if (parts_->dummy_tab)
        parts_->tasks->setTabText(parts_->tasks->indexOf(parts_->dummy_tab),
                                  tr("Single Channel Basic"));
    parts_->actions.set_texts();
    parts_->project_label->setText(tr("<b>Project</b>:"));
    parts_->dir_edit->setToolTip(tr("Project File"));
    parts_->dir_edit->setAccessibleName(tr("Project File"));
    parts_->calculate_label->setText(tr("Calculate All:"));
    parts_->file_menu->setTitle(tr("&File"));
    parts_->calculate_menu->setTitle(tr("&Calculate"));
    parts_->help_menu->setTitle(tr("&Help"));
    parts_->tool_bar->setWindowTitle(tr("Tools"));
}

void VynLiteForm::update_state() {
    const std::string file = read(vyn_db(), keys::head_file);
    const bool has_file = !file.empty();
    parts_->dir_edit->setText(QString::fromStdString(file));
    if (has_file) make_page();
    const MainActions& actions = parts_->actions;
    for (QAction* action : {actions.file_save, actions.file_save_as, actions.new_point})
        action->setEnabled(has_file);
    actions.calculate_all->setEnabled(has_file && parts_->page);
    actions.file_close->setEnabled(has_file || parts_->page);
    if (parts_->page) {
        parts_->page->setEnabled(has_file);
        if (has_file) parts_->page->refresh();
    }
    update_title();
}

void VynLiteForm::update_title() {
    const QString file = parts_->dir_edit->text();
    setWindowTitle(file.isEmpty()
                       ? tr("Vyn Lite") + QStringLiteral("[*]")
                       : QFileInfo(file).fileName() + QStringLiteral("[*] - ") + tr("Vyn Lite"));
    setWindowModified(vyn_db().modified());
}

ExperimentPage* VynLiteForm::experiment_page() const {
    return parts_->page.get();
}

void VynLiteForm::make_page() {
    const ExperimentType type = experiment_type(vyn_db());
    if (parts_->page && parts_->page_type == type) return;
    remove_page();
    if (type == ExperimentType::s3f) {
        statusBar()->showMessage(QString::fromLatin1(not_evaluated_text));
        return;
    }
    parts_->page = make_experiment_page(page_of(type), parts_->worker, parts_->tasks);
    if (!parts_->page) return;
    parts_->page_type = type;
    ExperimentPage* page = parts_->page.get();
    connect(page, &ExperimentPage::show_image, this,
            [this](const std::string& name, bool flag, const QString& title) {
                show_image(name, flag, title.toUtf8().constData());
            });
    connect(page, &ExperimentPage::result_looked_at, &parts_->viewers, &ViewerWindows::mark);
    connect(page, &ExperimentPage::project_changed, this, &VynLiteForm::update_title);
    parts_->tasks->insertTab(0, page, page->label());
    parts_->tasks->setCurrentWidget(page);
}

void VynLiteForm::remove_page() {
    if (parts_->page) parts_->tasks->removeTab(parts_->tasks->indexOf(parts_->page.get()));
    parts_->page.reset();
}

void VynLiteForm::timerEvent(QTimerEvent*) {
    setWindowModified(vyn_db().modified());
}

void VynLiteForm::changeEvent(QEvent* event) {
    if (event->type() == QEvent::LanguageChange) {
        languageChange();
        update_title();
    }
    QMainWindow::changeEvent(event);
}

void VynLiteForm::closeEvent(QCloseEvent* event) {
    const bool go_on =
        !parts_->page || QMessageBox::warning(this, tr("Warning!"),
                                              tr("All unsaved data will be lost!\nOk to continue?"),
                                              QMessageBox::Yes | QMessageBox::No,
                                              QMessageBox::No) == QMessageBox::Yes;
    event->setAccepted(go_on);
    if (!go_on) return;
    QSettings().setValue(geometry_setting(), saveGeometry());
    parts_->recovery->stop();
    parts_->viewers.close_all();
    parts_->help.reset();
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
    for (const QString& file : files) {
        if (!is_project(file))
            images.append(file);
        else if (project.isEmpty())
            project = file;
    }
    if (!project.isEmpty() && !parts_->commands->open_file(project.toStdString())) return;
    open_images(images);
}

void VynLiteForm::open_images(const QStringList& files) {
    for (const QString& file : files) {
        if (parts_->page && parts_->page->isEnabled() && parts_->page->take_image_file(file))
            continue;
        report_failure(this, tr("%1: there is no project to put it in.").arg(file));
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
        if (answer == QMessageBox::Yes) {
            if (!parts_->commands->recover(work)) continue;
            parts_->recovery->look();
        }
        work.discard();
        if (answer == QMessageBox::Yes) return;
    }
}

void VynLiteForm::make_new_prj(bool totally_new) {
    parts_->commands->reset(totally_new);
}

void VynLiteForm::fileNew() {
    parts_->commands->create();
}

void VynLiteForm::fileOpen() {
    parts_->commands->open();
}

void VynLiteForm::fileSave() {
    parts_->commands->save();
}

void VynLiteForm::fileSaveAs() {
    parts_->commands->save_as();
}

void VynLiteForm::fileExit() {
    close();
}

void VynLiteForm::fileClose() {
    parts_->commands->close();
}

void VynLiteForm::dir_btn_clicked() {
    parts_->commands->choose_directory();
}

void VynLiteForm::dir_edit_returnPressed() {
    if (parts_->dir_edit->isModified()) parts_->commands->set_file(parts_->dir_edit->text());
}

void VynLiteForm::calculateCalculate_AllAction_activated() {
    if (parts_->page && parts_->page->isEnabled()) parts_->page->calculate_all();
    update_title();
}

void VynLiteForm::camera_cal_btn_clicked() {}

void VynLiteForm::camera_sel_btn_clicked() {}

void VynLiteForm::helpIndex() {
    helpManualAction_activated();
}

void VynLiteForm::helpContents() {
    helpManualAction_activated();
}

void VynLiteForm::helpManualAction_activated() {
    try {
        if (!parts_->help) {
            const QString file = find_help_file();
            if (file.isEmpty())
                throw FileError("app/main_window", __LINE__, "File error!",
                                "HELPVYNLITE.qch is not installed");
            parts_->help = std::make_unique<HelpWindow>(file);
        }
        parts_->help->show();
        parts_->help->raise();
        parts_->help->activateWindow();
    } catch (const GenericError& error) {
        report_failure(this,
                       tr("The manual cannot be shown.\n%1").arg(QString::fromUtf8(error.what())));
    }
}

void VynLiteForm::helpAbout() {
    QVynLiteAbout about(this);
    about.exec();
}

void VynLiteForm::show_image(const std::string& name, bool flag, const char* title) {
    if (!get_images().find(name)) {
        report_failure(this, tr("There is no image \"%1\".").arg(QString::fromUtf8(title)));
        return;
    }
    parts_->viewers.show(name, flag, QString::fromUtf8(title));
}

}  // namespace vyn
