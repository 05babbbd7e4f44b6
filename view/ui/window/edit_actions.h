#pragma once

#include <QList>
#include <QObject>

class QAction;

namespace vyn {

class EditController;
class VynFieldViewer;

/// Undo and redo of one viewer: whatever was edited last, markers or regions, goes back first.
/// Tells the viewer whether something is not saved.
class EditActions : public QObject {
    Q_OBJECT
  public:
    EditActions(VynFieldViewer& viewer, QList<EditController*> controllers);

  private:
    void undo();
    void redo();
    void refresh();

    VynFieldViewer& viewer_;
    QList<EditController*> controllers_;
    QList<EditController*> done_;  ///< who made the steps, the latest last
    QList<EditController*> undone_;
    QAction* undo_;
    QAction* redo_;
};

}  // namespace vyn
