#pragma once

#include <QObject>
#include <functional>
#include <map>

#include "view/edit/double_keys.h"

class QAction;
class QWidget;

namespace vyn {

/// The one owner of a window's keys that stand for two commands: Qt fires neither of two actions
/// with one key. The actions show their key in the menus but do not listen to it themselves.
class KeyArbiter : public QObject {
  public:
    KeyArbiter(QWidget& window, const std::function<MouseMode()>& mode,
               const std::map<SharedKeyCommand, QAction*>& actions);
};

}  // namespace vyn
