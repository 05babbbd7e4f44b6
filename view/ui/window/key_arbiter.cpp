#include "view/ui/window/key_arbiter.h"

#include <QAction>
#include <QShortcut>

namespace vyn {

KeyArbiter::KeyArbiter(QWidget& window, const std::function<MouseMode()>& mode,
                       const std::map<SharedKeyCommand, QAction*>& actions)
    : QObject(&window) {
    // An action listens within the widgets that hold it while one of them has the focus; menus and
    // tool bars never have.
    for (const auto& [command, action] : actions)
        action->setShortcutContext(Qt::WidgetShortcut);
    const std::pair<DoubleKey, QKeySequence> keys[] = {
        {DoubleKey::ctrl_a, QKeySequence(QStringLiteral("Ctrl+A"))},
        {DoubleKey::ctrl_e, QKeySequence(QStringLiteral("Ctrl+E"))},
        {DoubleKey::ctrl_s, QKeySequence(QStringLiteral("Ctrl+S"))},
    };
    for (const auto& [key, sequence] : keys) {
        auto* shortcut = new QShortcut(sequence, &window);
        connect(shortcut, &QShortcut::activated, this, [key = key, mode, actions] {
            const auto found = actions.find(command_of(key, mode()));
            if (found != actions.end()) found->second->trigger();
        });
    }
}

}  // namespace vyn
