#pragma once

#include <QAction>
#include <QObject>

namespace vyn {

/// The actions of the main window; the first eight carry their object names.
struct MainActions {
    explicit MainActions(QObject* window);
    /// Sets every text, tool tip, what's-this text and key.
    void set_texts();

    QAction* file_new;
    QAction* file_open;
    QAction* file_save;
    QAction* file_save_as;
    QAction* file_exit;
    QAction* help_about;
    QAction* calculate_all;
    QAction* help_manual;

    QAction* new_point;
    QAction* file_close;
    QAction* project_directory;
    QAction* remove_ims_data;
};

}  // namespace vyn
