#pragma once

#include <QMainWindow>
#include <memory>
#include <string>

#include "api/image.h"
#include "core/worker.h"
#include "view/edit/mouse_mode.h"

class QAction;
class QMenu;

namespace vyn {

class VynFieldView;

/// A window that shows an image, as those see it who edit or measure that image: they add their
/// actions and panels to it and know nothing else of the viewer.
class PictureWindow : public QMainWindow {
  public:
    using QMainWindow::QMainWindow;

    virtual Worker& worker() const = 0;
    virtual VynFieldView& view() const = 0;
    virtual QMenu& marker_menu() const = 0;

    virtual const std::string& image_name() const = 0;
    /// The image shown; null when there is none.
    virtual std::shared_ptr<const image> picture() const = 0;
    /// The image of the same list that belongs to the one shown, named like it with that at its
    /// end and of its size; null when there is none.
    virtual std::shared_ptr<const image> beside(const std::string& name_end) const = 0;
    /// Quantity and unit of the image's values, such as "Pressure, Pa".
    virtual QString quantity() const = 0;

    /// True when the image shown is the one of the list. False while there is a newer one, which a
    /// change of the older one would overwrite: to be asked before a change, tells the user.
    virtual bool may_edit() = 0;
    /// Publishes a changed copy of the image shown, under its name in the list it came from, and
    /// shows it at once.
    virtual void replace_picture(image changed) = 0;

    virtual void set_mode(MouseMode mode) = 0;
    /// One more action that chooses what the mouse does: one of them is checked at a time.
    virtual void add_mode(QAction* action) = 0;
};

}  // namespace vyn
