#pragma once

#include <QMenu>

namespace vyn {

/// Which palette the window has.
enum class Appearance { system, light, dark };

/// What the user chose last; the system's at first.
Appearance chosen_appearance();
/// Gives the whole program that look and remembers it.
void choose_appearance(Appearance appearance);
/// The same without remembering.
void apply_appearance(Appearance appearance);

/// A menu with one entry per look.
QMenu* make_appearance_menu(QWidget* parent);

}  // namespace vyn
