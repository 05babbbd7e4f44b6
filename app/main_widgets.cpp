#include "app/main_widgets.h"

#include <QCoreApplication>
#include <QGridLayout>
#include <QMenuBar>
#include <QStatusBar>

#include "app/appearance.h"
#include "app/recent_files.h"
#include "view/ui/window/open_windows.h"

namespace vyn {

namespace {

template <class Widget>
Widget* named(Widget* widget, const char* name) {
    widget->setObjectName(QLatin1String(name));
    return widget;
}

QString tr(const char* text) {
    return QCoreApplication::translate("VynLiteForm", text);
}

}  // namespace

MainWidgets::MainWidgets(QMainWindow& window)
    : center(named(new QWidget(&window), "qt_central_widget")),
      tasks(named(new QTabWidget(center), "vyn_tasks")),
      dummy_tab(named(new QWidget(tasks), "dummy_tab")),
      actions(&window),
      project_label(named(new QLabel(center), "textLabel1_4")),
      dir_edit(named(new QLineEdit(center), "dir_edit")),
      calculate_label(named(new QLabel(center), "textLabel1")),
      file_menu(named(window.menuBar(), "MenuBar")->addMenu(QString())),
      calculate_menu(window.menuBar()->addMenu(QString())),
      help_menu(window.menuBar()->addMenu(QString())),
      tool_bar(named(window.addToolBar(QString()), "Tools")),
      recent(new RecentFilesMenu(&window)) {
    lay_out(window);
    fill_bars(window);
    set_texts();
}

void MainWidgets::lay_out(QMainWindow& window) {
    auto* grid = named(new QGridLayout(center), "VynLiteFormLayout");
    project_label->setBuddy(dir_edit);
    tasks->addTab(dummy_tab, QString());
    grid->addWidget(project_label, 0, 0);
    grid->addWidget(dir_edit, 0, 1);
    grid->addWidget(tasks, 1, 0, 1, 2);
    grid->setColumnStretch(1, 1);
    window.setCentralWidget(center);
    window.statusBar();
}

void MainWidgets::fill_bars(QMainWindow& window) {
    file_menu->addActions({actions.file_new, actions.new_point, actions.file_open});
    file_menu->addMenu(recent);
    file_menu->addActions({actions.file_save, actions.file_save_as, actions.file_close});
    file_menu->addSeparator();
    file_menu->addActions({actions.project_directory, actions.remove_ims_data});
    file_menu->addSeparator();
    file_menu->addMenu(make_appearance_menu(&window));
    file_menu->addSeparator();
    file_menu->addAction(actions.file_exit);
    calculate_menu->addAction(actions.calculate_all);
    window.menuBar()->insertMenu(help_menu->menuAction(), make_window_menu(&window));
    help_menu->addActions({actions.help_manual, actions.help_about});

    tool_bar->addActions(
        {actions.file_new, actions.file_open, actions.file_save, actions.file_save_as});
    tool_bar->addSeparator();
    tool_bar->addWidget(calculate_label);
    tool_bar->addAction(actions.calculate_all);
    tool_bar->addSeparator();
    tool_bar->addAction(actions.help_manual);
}

void MainWidgets::set_texts() {
    if (dummy_tab) tasks->setTabText(tasks->indexOf(dummy_tab), tr("Single Channel Basic"));
    actions.set_texts();
    project_label->setText(tr("<b>Project</b>:"));
    dir_edit->setToolTip(tr("Project File"));
    dir_edit->setAccessibleName(tr("Project File"));
    calculate_label->setText(tr("Calculate All:"));
    file_menu->setTitle(tr("&File"));
    calculate_menu->setTitle(tr("&Calculate"));
    help_menu->setTitle(tr("&Help"));
    tool_bar->setWindowTitle(tr("Tools"));
}

}  // namespace vyn
