#include "core/ui/window_size.h"

#include <QBoxLayout>
#include <QDialog>
#include <QGuiApplication>
#include <QScreen>
#include <QScrollArea>
#include <QScrollBar>

namespace vyn {

namespace {

QSize& pretended() {
    static QSize room;
    return room;
}

/// Asks for all that its content would like to have.
class ScrolledContent final : public QScrollArea {
  public:
    ScrolledContent(QLayout* layout, QSize most) : most_(most) {
        setObjectName(QStringLiteral("scrolled_content"));
        setFrameShape(QFrame::NoFrame);
        setWidgetResizable(true);
        auto* content = new QWidget;
        content->setLayout(layout);  // takes it and its widgets from the dialog
        setWidget(content);
    }
    QSize sizeHint() const override {
        return widget()->sizeHint() +
               QSize(verticalScrollBar()->sizeHint().width() + 2, 2 * frameWidth() + 2);
    }
    /// A dialog is first shown at two thirds of the screen at most, where it need not be larger.
    QSize minimumSizeHint() const override { return sizeHint().boundedTo(most_); }

  private:
    QSize most_;
};

/// The layout's last row, taken out of it; null where its rows are not one below another.
QLayoutItem* take_buttons(QLayout* layout) {
    auto* column = qobject_cast<QVBoxLayout*>(layout);
    return column && column->count() > 1 ? column->takeAt(column->count() - 1) : nullptr;
}

}  // namespace

QSize on_screen(QSize wanted) {
    constexpr double share = 0.95;  // frame and title want some room, too
    const QSize room =
        pretended().isEmpty() ? QGuiApplication::primaryScreen()->availableSize() : pretended();
    return wanted.boundedTo(room * share);
}

void pretend_screen(QSize room) {
    pretended() = room;
}

void fit_on_screen(QDialog& dialog) {
    QLayout* content = dialog.layout();
    if (!content) return;
    const QSize least = content->totalMinimumSize();
    if (on_screen(least) == least) {
        // A size that was set is kept from then on.
        if (const QSize size = dialog.size(); on_screen(size) != size)
            dialog.resize(on_screen(size));
        return;
    }
    content->setSizeConstraint(QLayout::SetDefaultConstraint);
    const QMargins margins = content->contentsMargins();
    QLayoutItem* buttons = take_buttons(content);
    QSize most = on_screen({QWIDGETSIZE_MAX, QWIDGETSIZE_MAX}).shrunkBy(margins);
    if (buttons) most.rheight() -= buttons->sizeHint().height() + content->spacing();
    auto* scroll = new ScrolledContent(content, most);
    content->setContentsMargins({});
    auto* column = new QVBoxLayout(&dialog);
    column->setContentsMargins(margins);
    column->addWidget(scroll);
    if (buttons) {
        if (QLayout* row = buttons->layout())
            column->addLayout(row);
        else
            column->addItem(buttons);
    }
}

}  // namespace vyn
