#pragma once

#include <QApplication>
#include <QDialog>
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
        startTimer(10);
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

  protected:
    void timerEvent(QTimerEvent*) override {
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
            handled_ = dialog;
            handler(*dialog);
            handled_ = nullptr;
        }
    }

  private:
    std::vector<Handler> handlers_;
    QDialog* handled_ = nullptr;  ///< while its handler runs, which may open others
    QTimer deadline_;
};

}  // namespace vyn::test
