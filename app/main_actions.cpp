#include "app/main_actions.h"

#include <QCoreApplication>

#include "core/ui/icons.h"

namespace vyn {

namespace {

struct Texts {
    const char* text;
    const char* menu_text;
    const char* tool_tip = "";
    const char* status_tip = "";
    const char* whats_this = "";
    const char* key = "";
};

QAction* make(QObject* window, const char* name, const char* icon) {
    auto* action = new QAction(window);
    action->setObjectName(QLatin1String(name));
    if (*icon) action->setIcon(vyn_icon(QLatin1String(icon)));
    return action;
}

QString tr(const char* text) {
    return QCoreApplication::translate("VynLiteForm", text);
}

/// The menu text is what a menu shows, the text what a tool button shows. A tool tip that is not
/// set is the text, as for every action.
void set(QAction* action, const Texts& texts) {
    action->setText(tr(texts.menu_text));
    // A letter of a tool button would take that of a menu.
    action->setIconText(tr(texts.text).remove(QLatin1Char('&')));
    if (*texts.tool_tip) action->setToolTip(tr(texts.tool_tip));
    if (*texts.status_tip) action->setStatusTip(tr(texts.status_tip));
    if (*texts.whats_this) action->setWhatsThis(tr(texts.whats_this));
    action->setShortcut(QKeySequence(QString::fromLatin1(texts.key)));
}

}  // namespace

MainActions::MainActions(QObject* window)
    : file_new(make(window, "fileNewAction", "filenew.png")),
      file_open(make(window, "fileOpenAction", "fileopen.png")),
      file_save(make(window, "fileSaveAction", "filesave.png")),
      file_save_as(make(window, "fileSaveAsAction", "filesaveas.png")),
      file_exit(make(window, "fileExitAction", "exit.png")),
      help_about(make(window, "helpAboutAction", "about.png")),
      calculate_all(make(window, "calculateCalculate_AllAction", "calculate_all.png")),
      help_manual(make(window, "helpManualAction", "contents.png")),
      new_point(make(window, "newPointAction", "")),
      file_close(make(window, "fileCloseAction", "")),
      project_directory(make(window, "projectDirectoryAction", "")),
      remove_ims_data(make(window, "removeImsDataAction", "")) {
    file_exit->setMenuRole(QAction::QuitRole);
    help_about->setMenuRole(QAction::AboutRole);
}

void MainActions::set_texts() {
    set(file_new, {"New", "&New", "Clear all Information", "",
                   "Press to clear all the information and start from the scratch", "Ctrl+N"});
    set(file_open, {"Open", "&Open...", "Open project file", "",
                    "Press to open an existing project file", "Ctrl+O"});
    set(file_save,
        {"Save", "&Save", "", "Save project",
         "Press to save the project into default file, will ask for a file to save if default "
         "file is not set.",
         "Ctrl+S"});
    set(file_save_as, {"Save As", "Save &As...", "Save project into a different file", "",
                       "Press to save project into a different file "});
    set(file_exit, {"Exit", "E&xit", "Exit the programm", "",
                    "Press to exit the programm, all unsaved data will be lost."});
    set(help_about, {"About", "&About", "", "About the programm",
                     "Press to find out some usefull information about VYNLite."});
    set(calculate_all,
        {"Calculate &All", "Calculate &All", "Calculate All Fields", "",
         "Press to preforma the whole calculation of the project, results will not be saved.",
         "Ctrl+A"});
    set(help_manual, {"&Contents", "&Contents", "Display Help Contents", "", "", "F1"});
    set(new_point, {"New point", "New &point from this one...",
                    "Keep the settings, take the next point's images", "",
                    "Press to start a project for the next test point with the settings of this "
                    "one; images are proposed by the pattern of their names."});
    set(file_close, {"Close", "&Close", "Close the project", "",
                     "Press to close the project; what is not saved will be lost."});
    set(project_directory,
        {"Project directory", "Project &directory...", "Where output files are placed"});
    set(remove_ims_data, {"Remove all IMS data", "Remove all &IMS data...",
                          "Forget all images and the data of the container"});
}

}  // namespace vyn
