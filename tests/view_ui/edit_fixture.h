#pragma once

#include <QAction>
#include <functional>

#include "api/point.h"
#include "tests/view_ui/viewer_fixture.h"

namespace vyn::test {

/// A viewer on one image of the project, which is edited with the mouse.
class EditTest : public ViewerTest {
  protected:
    void show(image picture, const char* name) {
        picture.name = name;
        get_images().add(std::move(picture));
        viewer = &ViewerTest::show(name, true, QStringLiteral("Test"));
        viewer->resize(1100, 760);
        QApplication::processEvents();
        // Whole widget pixels stand for image pixels, so that clicks are exact.
        viewer->view().set_transform({8, QPointF(-0.5, -0.5)});
    }
    VynFieldView& view() const { return viewer->view(); }

    QPoint at(double x, double y) const { return ViewerTest::at(*viewer, x, y); }
    void click(double x, double y, Qt::MouseButton button = Qt::LeftButton) {
        QTest::mouseClick(&view(), button, Qt::NoModifier, at(x, y));
    }
    void drag(const std::vector<Point>& way, Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
        QTest::mousePress(&view(), Qt::LeftButton, modifiers, at(way.front().x, way.front().y));
        for (const Point& p : way) {
            QMouseEvent move(QEvent::MouseMove, at(p.x, p.y), Qt::NoButton, Qt::LeftButton,
                             modifiers);
            QApplication::sendEvent(&view(), &move);
        }
        QTest::mouseRelease(&view(), Qt::LeftButton, modifiers, at(way.back().x, way.back().y));
    }
    void trigger(const char* action) {
        auto* found = viewer->findChild<QAction*>(QLatin1String(action));
        ASSERT_NE(found, nullptr) << action;
        found->trigger();
    }
    /// What the list holds now.
    std::vector<Marker> markers() const {
        return get_images().find(viewer->image_name())->markers.markers;
    }
    std::shared_ptr<const image> published() const {
        return get_images().find(viewer->image_name());
    }

    /// Answers a dialog of this kind when it opens, after those promised before; `answered` counts.
    template <class Dialog>
    void answer(std::function<void(Dialog&)> how) {
        // A timer of its own: one does not fire again while its answer opens another dialog.
        auto* timer = new QTimer(&answers);
        const int turn = promised++;
        QObject::connect(timer, &QTimer::timeout, &answers, [this, timer, turn, how] {
            auto* dialog = qobject_cast<Dialog*>(QApplication::activeModalWidget());
            if (!dialog || turn != answered) return;
            timer->deleteLater();
            timer->stop();
            ++answered;
            how(*dialog);
        });
        timer->start(5);
    }
    /// Presses a button of the next message box (NoButton: Escape) and keeps its words.
    void answer_box(QMessageBox::StandardButton button) {
        answer<QMessageBox>([this, button](QMessageBox& box) {
            box_title = box.windowTitle();
            box_text = box.text();
            default_button = box.standardButton(box.defaultButton());
            if (button == QMessageBox::NoButton)
                QTest::keyClick(&box, Qt::Key_Escape);
            else
                QTest::mouseClick(box.button(button), Qt::LeftButton);
        });
    }

    QObject answers;  ///< owner of those that wait; they end with the test
    VynFieldViewer* viewer = nullptr;
    int promised = 0;
    int answered = 0;
    QString box_title;
    QString box_text;
    QMessageBox::StandardButton default_button = QMessageBox::NoButton;
};

}  // namespace vyn::test
