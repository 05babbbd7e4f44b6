#pragma once

#include <QCursor>
#include <QIcon>
#include <QString>

namespace vyn {

/// The program's drawing of that name, such as "fileopen.png" or "fileopen": a vector source of
/// icons.qrc, drawn sharply at every size and in the text colour of the palette. A name that has no
/// drawing gives an empty icon and an error line in the log. `badge`: a second one in the upper
/// right corner.
QIcon vyn_icon(const QString& name, const QString& badge = {});

/// A cursor drawn from the vector source of that name; its hot spot is a fraction of its size, the
/// middle by default.
QCursor vyn_cursor(const QString& name, double hot_x = 0.5, double hot_y = 0.5);

}  // namespace vyn
