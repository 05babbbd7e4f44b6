#pragma once

#include <QSize>

class QDialog;

namespace vyn {

/// The size that a window is to have at first, no larger than the screen has room for.
QSize on_screen(QSize wanted);

/// For pictures and tests: as if the screen had so much room; an empty size ends it.
void pretend_screen(QSize room);

/// Lets the content of a dialog scroll where the screen is too small for it; its last row, that of
/// the buttons, stays in view. Called before the dialog is shown.
void fit_on_screen(QDialog& dialog);

}  // namespace vyn
