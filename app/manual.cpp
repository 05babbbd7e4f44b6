#include "app/manual.h"

#include <QApplication>

#include "app/help_pages.h"
#include "app/help_window.h"
#include "core/errors.h"

namespace vyn {

namespace {

QString installed_file() {
    QString file = find_help_file();
    if (file.isEmpty()) throw FileError("File error!", "HELPVYNLITE.qch is not installed");
    return file;
}

HelpWindow* window_over(QWidget& dialog) {
    if (auto* open = dialog.findChild<HelpWindow*>(QString(), Qt::FindDirectChildrenOnly))
        return open;
    auto* window = new HelpWindow(installed_file(), &dialog);
    window->setAttribute(Qt::WA_DeleteOnClose);
    return window;
}

}  // namespace

Manual::Manual() = default;
Manual::~Manual() = default;

void Manual::show_for(QWidget& widget) {
    HelpWindow* shown = nullptr;
    if (QWidget* dialog = QApplication::activeModalWidget()) {
        shown = window_over(*dialog);
    } else {
        if (!window_) window_ = std::make_unique<HelpWindow>(installed_file());
        shown = window_.get();
    }
    shown->show_page_named(help_page_of(&widget));
    shown->show();
    shown->raise();
    shown->activateWindow();
}

void Manual::close() {
    window_.reset();
}

}  // namespace vyn
