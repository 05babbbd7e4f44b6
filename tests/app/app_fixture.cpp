#include "tests/app/app_fixture.h"

#include <QApplication>
#include <QFileDialog>
#include <QLineEdit>
#include <QMessageBox>
#include <QSettings>
#include <QTest>

#include "api/image_io.h"
#include "api/image_list.h"
#include "app/messages.h"
#include "core/data_set.h"
#include "core/messages.h"
#include "core/ui/busy_box.h"
#include "process/project/ims.h"

namespace vyn::test {

QAbstractButton& button_of(QDialog& dialog, const QString& text) {
    for (auto* button : dialog.findChildren<QAbstractButton*>())
        if (button->text().remove(QLatin1Char('&')) == text) return *button;
    throw std::logic_error("no button " + text.toStdString());
}

AppTest::AppTest() {
    qputenv("XDG_STATE_HOME", (folder / "state").c_str());
    QSettings::setDefaultFormat(QSettings::IniFormat);
    QSettings::setPath(QSettings::IniFormat, QSettings::UserScope,
                       QString::fromStdString((folder / "config").string()));
    QCoreApplication::setOrganizationName(QStringLiteral("vynlite"));
    register_plugins("*.2dio");
    set_custom_message_fun(show_information, ask_question);
    QObject::connect(&user_, &QTimer::timeout, [this] { look_for_dialog(); });
    user_.start(10);
    start();
}

AppTest::~AppTest() {
    window.reset();
    set_default_message_fun();
}

void AppTest::start() {
    window.reset();
    vyn_db().clear();
    get_images().clear();
    clear_ims();
    window = std::make_unique<VynLiteForm>(worker);
    set_message_parent(window.get());
    window->show();
    window->activateWindow();
    EXPECT_TRUE(QTest::qWaitForWindowActive(window.get()));
}

void AppTest::expect_dialog(const QString& caption, std::function<void(QDialog&)> answer) {
    answers_.push_back({caption, std::move(answer)});
}

void AppTest::press(const QString& caption, const QString& button) {
    expect_dialog(caption, [button](QDialog& dialog) {
        QTest::mouseClick(&button_of(dialog, button), Qt::LeftButton);
    });
}

void AppTest::choose_file(const QString& caption, const std::filesystem::path& file) {
    expect_dialog(caption, [file](QDialog& dialog) {
        auto* line = dialog.findChild<QLineEdit*>(QStringLiteral("fileNameEdit"));
        ASSERT_TRUE(line);
        line->setText(QString::fromStdString(file.string()));
        QTest::keyClick(line, Qt::Key_Return);
    });
}

QAction& AppTest::action(const char* name) {
    return child<QAction>(name);
}

void AppTest::look_for_dialog() {
    auto* dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget());
    if (!dialog || std::count(answered_.begin(), answered_.end(), dialog) > 0) return;
    // A busy box that runs is no question.
    const bool running = qobject_cast<QBusyBox*>(dialog) &&
                         dialog->findChild<QAbstractButton*>(QStringLiteral("abort_btn"))->text() ==
                             QStringLiteral("Abort!");
    if (running) return;
    answered_.emplace_back(dialog);
    if (const auto* box = qobject_cast<QMessageBox*>(dialog))
        shown += (box->text() + box->informativeText()).toStdString();
    if (answers_.empty() || answers_.front().caption != dialog->windowTitle()) {
        ADD_FAILURE() << "unexpected dialog: " << dialog->windowTitle().toStdString() << " "
                      << shown;
        dialog->done(0);
        return;
    }
    const Answer answer = answers_.front();
    answers_.erase(answers_.begin());
    // Not from here: a timer that waits for its own slot would answer no dialog that this one
    // opens.
    QMetaObject::invokeMethod(
        dialog, [answer, dialog] { answer.give(*dialog); }, Qt::QueuedConnection);
}

}  // namespace vyn::test
