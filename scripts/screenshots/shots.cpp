#include "scripts/screenshots/shots.h"

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QLayout>
#include <QPixmap>
#include <QPointer>
#include <QTimer>
#include <iostream>

#include "core/errors.h"
#include "core/ui/window_size.h"

namespace vyn::screenshots {

namespace {
constexpr int settle_ms = 400;  ///< previews, timers of 100 ms, layout

QSize wanted_size(const QWidget& window) {
    QSize size = window.sizeHint();
    if (window.layout() != nullptr && window.layout()->hasHeightForWidth())
        size.setHeight(window.layout()->totalHeightForWidth(size.width()));
    return size;
}
}  // namespace

void wait(int ms) {
    QEventLoop loop;
    QTimer::singleShot(ms, &loop, &QEventLoop::quit);
    loop.exec();
}

void wait_for(const std::function<bool()>& condition, const char* what) {
    QElapsedTimer since;
    since.start();
    while (!condition()) {
        if (since.elapsed() > 60000)
            throw AlgoError("Algorithm error!", std::string("waited in vain for ") + what);
        wait(20);
    }
}

Shots::Shots(QString folder, QStringList only)
    : folder_(std::move(folder)), only_(std::move(only)) {
    QDir().mkpath(folder_);
}

void Shots::take(QWidget& window, const QString& name, QSize size) {
    window.show();
    // A screen that is not there is small, and windows were cut down to it.
    window.resize(on_screen(size.isValid() ? size : wanted_size(window)));
    wait(settle_ms);
    write(window, name);
}

void Shots::take_modal(const QString& name, const char* dialog_class,
                       const std::function<void()>& open, const Handling& prepare,
                       const Handling& finish) {
    bool taken = false;
    QTimer look;
    QObject::connect(&look, &QTimer::timeout, [&] {
        QWidget* window = QApplication::activeModalWidget();
        if (window == nullptr || !window->inherits(dialog_class)) return;
        look.stop();
        taken = true;
        window->resize(on_screen(wanted_size(*window).expandedTo(window->size())));
        prepare(*window);
        wait(settle_ms);
        write(*window, name);
        // A busy box closes in two steps: the first one aborts.
        for (QPointer<QWidget> open_still = window; open_still && open_still->isVisible();
             wait(100))
            finish(*open_still);
    });
    look.start(50);
    open();
    if (!taken) throw AlgoError("Algorithm error!", std::string("there was no ") + dialog_class);
}

void Shots::write(QWidget& window, const QString& name) {
    if (!only_.isEmpty() && !only_.contains(name)) return;
    const QString file = QStringLiteral("%1/%2.png").arg(folder_, name);
    if (!window.grab().save(file))
        throw FileError("Can't open file for writing!", file.toStdString());
    std::cout << file.toStdString() << std::endl;
}

}  // namespace vyn::screenshots
