#pragma once

#include <QApplication>
#include <QDialog>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QTimer>
#include <functional>
#include <memory>
#include <vector>

#include <gtest/gtest.h>

namespace vyn::test {

/// Answers modal dialogs from inside their own event loops, so that a test can call what opens
/// them. Message boxes are noted and closed with `answer`; other dialogs are given to the handlers
/// in turn, one each. What nobody answers in time is rejected and fails the test.
class ModalDriver : public QObject {
  public:
    using Handler = std::function<void(QDialog&)>;

    ModalDriver() {
        tick();
        deadline_.setSingleShot(true);
        deadline_.start(30000);
    }
    ~ModalDriver() override { EXPECT_TRUE(handlers_.empty()) << "a dialog did not come"; }

    void expect(Handler handler) { handlers_.push_back(std::move(handler)); }
    template <class Dialog>
    void expect(std::function<void(Dialog&)> handler) {
        expect([handler](QDialog& dialog) {
            auto* wanted = dynamic_cast<Dialog*>(&dialog);
            ASSERT_NE(wanted, nullptr) << dialog.windowTitle().toStdString();
            handler(*wanted);
        });
    }

    QMessageBox::StandardButton answer = QMessageBox::Ok;
    struct Box {
        std::string caption;
        std::string text;
    };
    std::vector<Box> boxes;

  private:
    void tick() {
        // A new timer each time: one does not fire while its own handler runs a dialog.
        QTimer::singleShot(10, this, [this] { tick(); });
        auto* dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget());
        if (!dialog || dialog->objectName() == QLatin1String("QBusyBox")) return;
        if (!deadline_.isActive()) {
            ADD_FAILURE() << "nobody answered " << dialog->windowTitle().toStdString();
            dialog->reject();
        } else if (auto* box = qobject_cast<QMessageBox*>(dialog)) {
            boxes.push_back({box->windowTitle().toStdString(), box->text().toStdString()});
            if (QAbstractButton* button = box->button(answer))
                button->click();
            else
                box->reject();
        } else if (!handlers_.empty() && dialog != handled_) {
            const Handler handler = std::move(handlers_.front());
            handlers_.erase(handlers_.begin());
            QDialog* const outer = std::exchange(handled_, dialog);
            handler(*dialog);
            handled_ = outer;
        }
    }

    std::vector<Handler> handlers_;
    QDialog* handled_ = nullptr;  ///< while its handler runs, which may open others
    QTimer deadline_;
};

/// Types a file's name into an open file dialog and confirms.
inline void choose_file(QDialog& files, const std::string& name) {
    auto* edit = files.findChild<QLineEdit*>(QStringLiteral("fileNameEdit"));
    ASSERT_NE(edit, nullptr);
    edit->setText(QString::fromStdString(name));
    files.accept();
}

}  // namespace vyn::test
