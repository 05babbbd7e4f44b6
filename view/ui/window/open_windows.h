#pragma once

#include <QList>
#include <QObject>
#include <QPointer>
#include <QRect>

class QMenu;
class QWidget;

namespace vyn {

/// The windows that show images, their values and models: what the menus "Window" of all windows
/// list.
class OpenWindows : public QObject {
    Q_OBJECT
  public:
    static OpenWindows& of_program();

    /// Lists it from now on while it is seen.
    void add(QWidget& window);
    /// Those that are seen, in the order in which they were opened.
    QList<QWidget*> shown() const;

    /// Moves a new window off the ones that are seen, so that each shows its title.
    void step_aside(QWidget& window) const;
    /// Side by side over the screen.
    void tile() const;
    /// One upon another from the screen's upper left corner, each showing its title.
    void cascade() const;
    static void bring_to_front(QWidget& window);

  Q_SIGNALS:
    /// A window was added.
    void changed();

  private:
    QList<QPointer<QWidget>> windows_;
};

/// A menu "Window" that lists the program's open windows; for the menu bar of this one.
QMenu* make_window_menu(QWidget* window);

/// The places of so many windows side by side.
QList<QRect> tiled_places(const QRect& area, int count);
/// The upper left corner, at or to the lower right of the one wanted, of a window of this size that
/// covers no title of the windows at the places taken; it begins again at the area's corner where
/// most of it would lie outside.
QPoint cascaded_place(const QRect& area, QSize size, QPoint wanted, const QList<QPoint>& taken);

}  // namespace vyn
