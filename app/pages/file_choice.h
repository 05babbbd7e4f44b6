#pragma once

#include <QString>
#include <string>

#include "process/point/input_files.h"

class QWidget;

namespace vyn {

/// A project file or container, by its name.
bool is_project_file(const QString& file);

/// A file of a camera or of a paint calibration, by its name; whether a camera is in it.
bool is_record_file(const QString& file);
bool holds_camera(const QString& file);

/// The name filters of a file dialog for images: all that can be read together, then each format.
QString image_filter();

/// Asks for a file of an input's kind; of pictures for one or several, which become one
/// (`name_of_files`). The dialog starts where that input's file is now, else in
/// the folder used last, else in the project's folder. Empty when the user cancelled.
std::string choose_input(QWidget* parent, const InputFile& input, const QString& caption);

}  // namespace vyn
