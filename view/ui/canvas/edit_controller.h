#pragma once

#include <QObject>

namespace vyn {

/// Something of the shown image that is edited in steps.
class EditController : public QObject {
    Q_OBJECT
  public:
    using QObject::QObject;

    virtual bool can_undo() const = 0;
    virtual bool can_redo() const = 0;
    virtual void undo() = 0;
    virtual void redo() = 0;
    /// It differs from what was loaded or saved.
    virtual bool modified() const = 0;

  Q_SIGNALS:
    /// A step was done that can be undone.
    void stepped();
    /// Anything of the above may be different now.
    void state_changed();
};

}  // namespace vyn
