#include "app/run_commands.h"

#include <QAction>
#include <QMenu>
#include <QMessageBox>
#include <QTabWidget>

#include "core/keys.h"
#include "core/ui/file_question.h"
#include "process/point/project_paths.h"
#include "schedule/ui/run_page.h"

namespace vyn {

namespace {

QString present_project() {
    return QString::fromStdString(read(vyn_db(), keys::head_file));
}

}  // namespace

RunCommands::RunCommands(QTabWidget& tasks, QWidget* window, QMenu& file_menu, QAction* before)
    : QObject(window), tasks_(tasks), window_(window) {
    const auto add = [&](const char* name, const QString& text, const QString& tip,
                         void (RunCommands::*slot)()) {
        auto* action = new QAction(text, window);
        action->setObjectName(QLatin1String(name));
        action->setStatusTip(tip);
        connect(action, &QAction::triggered, this, slot);
        file_menu.insertAction(before, action);
    };
    add("openRunAction", tr("Open r&un..."), tr("Open a table of many points"), &RunCommands::open);
    add("newRunAction", tr("New run &from pictures..."),
        tr("Make a table of many points from a folder of pictures"), &RunCommands::make_new);
    file_menu.insertSeparator(before);
}

RunCommands::~RunCommands() = default;

RunPage* RunCommands::page() const {
    return page_;
}

RunPage& RunCommands::shown_page() {
    if (!page_) {
        page_ = new RunPage(&tasks_);
        connect(page_, &RunPage::point_wanted, this, &RunCommands::point_wanted);
        tasks_.insertTab(tasks_.count() - 1, page_, tr("Run"));  // the log stays last
    }
    tasks_.setCurrentWidget(page_);
    return *page_;
}

void RunCommands::open_table(const QString& table) {
    shown_page().open(table, present_project());
}

void RunCommands::open() {
    const std::string file = ask_open_file(
        window_, {tr("Open run"), tr("Tables of points (*.csv *.json);;All files (*)"), QString(),
                  project_folder(vyn_db()).string()});
    if (!file.empty()) open_table(QString::fromStdString(file));
}

void RunCommands::make_new() {
    if (!page_ || !page_->is_computing()) shown_page().make_new(present_project());
}

bool RunCommands::may_close() {
    if (!page_ || !page_->is_computing()) return true;
    return QMessageBox::question(
               window_, tr("VynLite"),
               tr("A run is being computed. Stop it? What is done stays, and it goes on from there "
                  "when it is run again."),
               QMessageBox::Yes | QMessageBox::No, QMessageBox::No) == QMessageBox::Yes;
}

bool is_run_table(const QString& file) {
    return file.endsWith(QLatin1String(".csv"), Qt::CaseInsensitive) ||
           file.endsWith(QLatin1String(".json"), Qt::CaseInsensitive);
}

}  // namespace vyn
