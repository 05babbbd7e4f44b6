#include "view/ui/window/open_windows.h"

#include <QCoreApplication>
#include <QMenu>
#include <QScreen>
#include <QWidget>
#include <algorithm>
#include <cmath>

namespace vyn {

namespace {

/// About the height of a title.
constexpr int cascade_step = 28;

QRect available(const QWidget& window) {
    return window.screen()->availableGeometry();
}

/// What the frame of a window adds to it; nothing before it was shown.
QMargins frame_of(const QWidget& window) {
    const QRect outer = window.frameGeometry();
    const QRect inner = window.geometry();
    return {inner.left() - outer.left(), inner.top() - outer.top(), outer.right() - inner.right(),
            outer.bottom() - inner.bottom()};
}

QString menu_text(const QWidget& window, int number) {
    QString title = window.windowTitle();
    title.remove(QStringLiteral("[*]"));
    title.replace(QLatin1Char('&'), QStringLiteral("&&"));
    return number < 10 ? QStringLiteral("&%1 %2").arg(number).arg(title) : title;
}

QString tr(const char* text) {
    return QCoreApplication::translate("OpenWindows", text);
}

void fill(QMenu& menu) {
    OpenWindows& windows = OpenWindows::of_program();
    menu.clear();
    const QList<QWidget*> shown = windows.shown();
    const auto add = [&](const QString& text, const char* name,
                         void (OpenWindows::*place)() const) {
        QAction* action = menu.addAction(text, &windows, place);
        action->setObjectName(QLatin1String(name));
        action->setEnabled(!shown.isEmpty());
    };
    add(tr("&Tile"), "tile_windows", &OpenWindows::tile);
    add(tr("&Cascade"), "cascade_windows", &OpenWindows::cascade);
    menu.addSeparator();
    for (QWidget* window : shown) {
        const QPointer<QWidget> kept(window);
        QAction* action = menu.addAction(
            menu_text(*window, static_cast<int>(shown.indexOf(window)) + 1), &windows, [kept] {
                if (kept) OpenWindows::bring_to_front(*kept);
            });
        action->setCheckable(true);
        action->setChecked(window == menu.parentWidget());
    }
}

}  // namespace

OpenWindows& OpenWindows::of_program() {
    static OpenWindows windows;
    return windows;
}

void OpenWindows::add(QWidget& window) {
    windows_.removeAll(nullptr);
    windows_.append(&window);
    Q_EMIT changed();
}

QList<QWidget*> OpenWindows::shown() const {
    QList<QWidget*> seen;
    for (const QPointer<QWidget>& window : windows_)
        if (window && window->isVisible()) seen.append(window);
    return seen;
}

void OpenWindows::step_aside(QWidget& window) const {
    QList<QPoint> taken;
    for (const QWidget* other : shown())
        if (other != &window) taken.append(other->pos());
    window.move(cascaded_place(available(window), window.size(), window.pos(), taken));
}

void OpenWindows::tile() const {
    const QList<QWidget*> windows = shown();
    if (windows.isEmpty()) return;
    const QList<QRect> places =
        tiled_places(available(*windows.first()), static_cast<int>(windows.size()));
    for (int i = 0; i < windows.size(); ++i) {
        windows[i]->showNormal();
        windows[i]->setGeometry(places[i].marginsRemoved(frame_of(*windows[i])));
        windows[i]->raise();
    }
}

void OpenWindows::cascade() const {
    QList<QPoint> taken;
    for (QWidget* window : shown()) {
        window->showNormal();
        const QRect area = available(*window);
        const QPoint place = cascaded_place(area, window->size(), area.topLeft(), taken);
        window->move(place);
        window->raise();
        taken.append(place);
    }
}

void OpenWindows::bring_to_front(QWidget& window) {
    if (window.isMinimized()) window.showNormal();
    window.raise();
    window.activateWindow();
}

QMenu* make_window_menu(QWidget* window) {
    auto* menu = new QMenu(tr("&Window"), window);
    menu->setObjectName(QStringLiteral("window_menu"));
    QObject::connect(menu, &QMenu::aboutToShow, menu, [menu] { fill(*menu); });
    return menu;
}

QList<QRect> tiled_places(const QRect& area, int count) {
    QList<QRect> places;
    const int columns = static_cast<int>(std::ceil(std::sqrt(count)));
    const int rows = columns ? (count + columns - 1) / columns : 0;
    for (int i = 0; i < count; ++i) {
        const int row = i / columns;
        // A last row of fewer windows is filled by them.
        const int beside = std::min(columns, count - row * columns);
        const auto border = [](int length, int index, int parts) { return length * index / parts; };
        const int left = border(area.width(), i % columns, beside);
        const int right = border(area.width(), i % columns + 1, beside);
        const int top = border(area.height(), row, rows);
        const int bottom = border(area.height(), row + 1, rows);
        places.append(QRect(area.left() + left, area.top() + top, right - left, bottom - top));
    }
    return places;
}

QPoint cascaded_place(const QRect& area, QSize size, QPoint wanted, const QList<QPoint>& taken) {
    const QPoint step(cascade_step, cascade_step);
    const auto hidden = [&](QPoint place) {
        return std::ranges::any_of(taken, [place](QPoint other) {
            const QPoint off = place - other;
            return std::max(std::abs(off.x()), std::abs(off.y())) < cascade_step / 2;
        });
    };
    QPoint place = wanted;
    QPoint corner = area.topLeft();
    for (int tries = 0; tries < 200 && hidden(place); ++tries) {
        place += step;
        if (area.contains(place + QPoint(size.width(), size.height()) / 2)) continue;
        place = corner;
        corner.rx() += 2 * cascade_step;
    }
    return place;
}

}  // namespace vyn
