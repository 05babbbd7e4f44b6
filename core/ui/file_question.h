#pragma once

#include <QString>
#include <string>
#include <vector>

#include "core/ui/remembered_files.h"

class QWidget;

namespace vyn {

/// What the user is asked for when choosing a file.
struct FileQuestion {
    QString caption;
    QString filter;      ///< such as "Camera (*.ini);;All files (*)"
    QString suffix;      ///< of a name that is typed without one; a chosen filter brings its own
    std::string folder;  ///< where the choice begins
    QString name = {};   ///< proposed
    /// What a file is written for; its last one is proposed, before folder and name.
    FilePurpose purpose = {};
};

/// Empty when the user cancelled. Replacing an existing file was agreed to, and what was chosen to
/// be written is remembered for its purpose.
std::string ask_open_file(QWidget* parent, const FileQuestion& question);
/// The same for one or several files of one folder.
std::vector<std::string> ask_open_files(QWidget* parent, const FileQuestion& question);
std::string ask_save_file(QWidget* parent, const FileQuestion& question);

}  // namespace vyn
