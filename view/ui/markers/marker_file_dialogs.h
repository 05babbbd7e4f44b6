#pragma once

#include <QString>

#include "api/image.h"

class QWidget;

namespace vyn {

/// Asks which marker file to load for an image. Empty when cancelled.
QString ask_marker_file_to_load(QWidget* parent, const image& picture, bool is_project_image);

/// Asks where to save the markers of an image. The text format is proposed; the one that keeps
/// everything where numbers or function values would be lost, and choosing the text format then
/// takes a question that names the loss. Empty when cancelled.
QString ask_marker_file_to_save(QWidget* parent, const image& picture, bool is_project_image);

/// Before markers are written: with a length unit nobody could read some files. Offers to write
/// them without it, and takes it off then; false when the user would rather not write.
bool settle_length_unit(QWidget* parent, const QString& file, MarkerSet& markers);

}  // namespace vyn
