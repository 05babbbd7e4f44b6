#pragma once

#include <QString>

class QWidget;

namespace vyn {

/// The page of the manual that tells of the widget's window, dialog or part of a window, going from
/// the widget outwards; the first page where none does.
QString help_page_of(const QWidget* widget);

}  // namespace vyn
