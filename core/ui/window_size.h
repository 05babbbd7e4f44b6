#pragma once

#include <QSize>

namespace vyn {

/// The size that a window is to have at first, no larger than the screen has room for.
QSize on_screen(QSize wanted);

}  // namespace vyn
