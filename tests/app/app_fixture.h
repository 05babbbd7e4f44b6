#pragma once

#include <QAbstractButton>
#include <QAction>
#include <QDialog>
#include <QTimer>
#include <functional>
#include <memory>

#include <gtest/gtest.h>

#include "app/main_window.h"
#include "core/worker.h"
#include "tests/support/temporary_folder.h"

namespace vyn::test {

/// The main window, with settings and state in a folder of the test, and a user who answers the
/// dialogs that will open.
class AppTest : public testing::Test {
  protected:
    AppTest();
    ~AppTest() override;

    /// A fresh window, as a new start of the program has it; the old one is gone without a close.
    void start();

    /// The answer to the next dialog of that caption that opens; answers are given in this order.
    /// A dialog that opens without an answer is a failure and is closed.
    void expect_dialog(const QString& caption, std::function<void(QDialog&)> answer);
    void press(const QString& caption, const QString& button);
    /// A file dialog: types the name and accepts.
    void choose_file(const QString& caption, const std::filesystem::path& file);
    /// Every expected dialog has been there.
    bool all_answered() const { return answers_.empty(); }

    QAction& action(const char* name);
    template <class Widget>
    Widget& child(const char* name) {
        auto* found = window->findChild<Widget*>(QLatin1String(name));
        if (!found) throw std::logic_error(std::string("no ") + name);
        return *found;
    }

    const TemporaryFolder folder;
    Worker worker;
    std::unique_ptr<VynLiteForm> window;
    std::string shown;  ///< texts of the message boxes that were answered

  private:
    struct Answer {
        QString caption;
        std::function<void(QDialog&)> give;
    };
    void look_for_dialog();

    std::vector<Answer> answers_;
    std::vector<QPointer<QWidget>> answered_;  ///< an answer may open the next dialog
    QTimer user_;
};

/// The button of that text (without its mnemonic) in a dialog.
QAbstractButton& button_of(QDialog& dialog, const QString& text);

}  // namespace vyn::test
