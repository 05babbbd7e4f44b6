#pragma once

#include <QColor>
#include <QPalette>
#include <QString>
#include <string>

class QPushButton;
class QToolButton;
class QWidget;

namespace vyn {

/// A red that can be read on the palette's background.
QColor warning_colour(const QPalette& palette);

/// A small button with a drawing; its tool tip is its accessible name.
QToolButton* icon_button(const std::string& object_name, const char* icon, const QString& tip,
                         QWidget* parent);

/// A push button with a text; the object name is that of the stated style.
QPushButton* text_button(const char* object_name, const QString& text, QWidget* parent);

/// Text as a tool tip that wraps.
QString wrapped(const QString& text);

}  // namespace vyn
