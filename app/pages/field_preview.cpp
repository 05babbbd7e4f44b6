#include "app/pages/field_preview.h"

#include <QHBoxLayout>
#include <QPainter>
#include <QStyle>
#include <QStyleOptionFocusRect>

#include "view/ui/canvas/colour_bar.h"

namespace vyn {

FieldPreview::FieldPreview(QWidget* parent) : QAbstractButton(parent), bar_(new ColourBar(this)) {
    setObjectName(QStringLiteral("field_preview"));
    setAccessibleName(tr("Preview of the field"));
    setShortcut(QKeySequence(QStringLiteral("Ctrl+Return")));
    setToolTip(tr("View the field (%1)").arg(shortcut().toString(QKeySequence::NativeText)));
    setCursor(Qt::PointingHandCursor);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
    bar_->setAttribute(Qt::WA_TransparentForMouseEvents);
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(2, 2, 2, 2);
    row->addStretch(1);
    row->addWidget(bar_);
}

void FieldPreview::show_field(const Thumbnail& field, const palette_array& palette) {
    setVisible(!field.picture.isNull());
    if (field.picture.cacheKey() == picture_.cacheKey()) return;
    picture_ = field.picture;
    Fashion fashion;
    fashion.set_palette(palette);
    fashion.limits.minimum = field.low;
    fashion.limits.maximum = field.high;
    bar_->set_fashion(fashion);
    bar_->set_label(field.label);
    update();
}

QSize FieldPreview::sizeHint() const {
    return {320 + bar_->sizeHint().width(), 240};
}

QSize FieldPreview::minimumSizeHint() const {
    return {60 + bar_->minimumSizeHint().width(), 100};
}

void FieldPreview::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    const QRect room = rect().adjusted(2, 2, -bar_->width() - 6, -2);
    const QSize size = picture_.size().scaled(room.size(), Qt::KeepAspectRatio);
    painter.drawImage(QStyle::alignedRect(Qt::LeftToRight, Qt::AlignCenter, size, room), picture_);
    if (!hasFocus()) return;
    QStyleOptionFocusRect focus;
    focus.initFrom(this);
    style()->drawPrimitive(QStyle::PE_FrameFocusRect, &focus, &painter, this);
}

}  // namespace vyn
