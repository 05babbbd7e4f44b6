#pragma once

#include <QLabel>
#include <QLineEdit>
#include <QMainWindow>
#include <QMenu>
#include <QTabWidget>
#include <QToolBar>

#include "app/main_actions.h"

namespace vyn {

class RecentFilesMenu;

/// The widgets of the main window, laid out, and their texts. Owned by the window.
struct MainWidgets {
    explicit MainWidgets(QMainWindow& window);
    void set_texts();

    QWidget* center;
    QTabWidget* tasks;
    QWidget* dummy_tab;  ///< the first page until the window starts; null thereafter
    MainActions actions;
    QLabel* project_label;
    QLineEdit* dir_edit;
    QLabel* calculate_label;
    QMenu* file_menu;
    QMenu* calculate_menu;
    QMenu* help_menu;
    QToolBar* tool_bar;
    RecentFilesMenu* recent;

  private:
    void lay_out(QMainWindow& window);
    void fill_bars(QMainWindow& window);
};

}  // namespace vyn
