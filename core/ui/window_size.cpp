#include "core/ui/window_size.h"

#include <QGuiApplication>
#include <QScreen>

namespace vyn {

QSize on_screen(QSize wanted) {
    constexpr double share = 0.95;  // frame and title want some room, too
    return wanted.boundedTo(QGuiApplication::primaryScreen()->availableSize() * share);
}

}  // namespace vyn
