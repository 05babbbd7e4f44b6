#include "view/ui/window/edit_actions.h"

#include <QAction>
#include <QMenu>
#include <algorithm>

#include "core/ui/icons.h"
#include "view/ui/canvas/edit_controller.h"
#include "view/ui/canvas/field_view.h"
#include "view/ui/window/field_viewer.h"

namespace vyn {

EditActions::EditActions(VynFieldViewer& viewer, QList<EditController*> controllers)
    : QObject(&viewer),
      viewer_(viewer),
      controllers_(std::move(controllers)),
      undo_(new QAction(vyn_icon(QStringLiteral("undo.png")), tr("&Undo"), this)),
      redo_(new QAction(vyn_icon(QStringLiteral("redo.png")), tr("&Redo"), this)) {
    undo_->setObjectName(QStringLiteral("undo"));
    undo_->setShortcut(QKeySequence(QStringLiteral("Ctrl+Z")));
    undo_->setToolTip(tr("Take back the last change of markers or regions"));
    redo_->setObjectName(QStringLiteral("redo"));
    redo_->setShortcut(QKeySequence(QStringLiteral("Ctrl+Shift+Z")));
    redo_->setToolTip(tr("Do again what was taken back"));
    connect(undo_, &QAction::triggered, this, &EditActions::undo);
    connect(redo_, &QAction::triggered, this, &EditActions::redo);
    viewer.addActions({undo_, redo_});
    QMenu& menu = viewer.image_menu();
    menu.addSeparator();
    menu.addActions({undo_, redo_});
    for (EditController* controller : controllers_) {
        connect(controller, &EditController::stepped, this, [this, controller] {
            done_.append(controller);
            undone_.clear();
            refresh();
        });
        connect(controller, &EditController::state_changed, this, &EditActions::refresh);
    }
    refresh();
}

void EditActions::undo() {
    if (done_.isEmpty() || !viewer_.may_edit()) return;
    EditController* last = done_.takeLast();
    undone_.append(last);
    last->undo();
    refresh();
}

void EditActions::redo() {
    if (undone_.isEmpty() || !viewer_.may_edit()) return;
    EditController* last = undone_.takeLast();
    done_.append(last);
    last->redo();
    refresh();
}

void EditActions::refresh() {
    // Steps of an image that is not shown any more, or that were forgotten.
    while (!done_.isEmpty() && !done_.last()->can_undo())
        done_.removeLast();
    while (!undone_.isEmpty() && !undone_.last()->can_redo())
        undone_.removeLast();
    undo_->setEnabled(!done_.isEmpty());
    redo_->setEnabled(!undone_.isEmpty());
    const bool modified = std::any_of(controllers_.begin(), controllers_.end(),
                                      [](const EditController* c) { return c->modified(); });
    Q_EMIT viewer_.view().modifiedChanged(modified);
}

}  // namespace vyn
