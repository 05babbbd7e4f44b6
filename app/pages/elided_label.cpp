#include "app/pages/elided_label.h"

#include <QPainter>

#include "app/pages/page_parts.h"

namespace vyn {

namespace {

constexpr int gap = 8;
constexpr int least_letters = 8;

}  // namespace

ElidedLabel::ElidedLabel(Qt::TextElideMode mode, QWidget* parent) : QFrame(parent), mode_(mode) {
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
}

void ElidedLabel::set_text(const QString& text, const QString& note) {
    if (text == text_ && note == note_) return;
    text_ = text;
    note_ = note;
    setAccessibleName(note.isEmpty() ? text : text + QStringLiteral(", ") + note);
    updateGeometry();
    update();
}

void ElidedLabel::set_alarm(bool alarm) {
    if (alarm == alarm_) return;
    alarm_ = alarm;
    update();
}

QSize ElidedLabel::sizeHint() const {
    const int width = fontMetrics().horizontalAdvance(text_ + note_) + 2 * gap;
    return {std::min(width, fontMetrics().averageCharWidth() * 40), minimumSizeHint().height()};
}

QSize ElidedLabel::minimumSizeHint() const {
    return {fontMetrics().averageCharWidth() * least_letters, fontMetrics().height() + 4};
}

void ElidedLabel::paintEvent(QPaintEvent* event) {
    QFrame::paintEvent(event);
    QPainter painter(this);
    const QColor normal = palette().color(QPalette::WindowText);
    QColor pale = normal;
    pale.setAlphaF(0.6);
    const QFontMetrics letters = fontMetrics();
    QRect place = rect();
    const int note_width = note_.isEmpty() ? 0 : letters.horizontalAdvance(note_) + gap;
    // Where there is not enough room for both, the name is worth more.
    const bool with_note = letters.horizontalAdvance(text_) + note_width <= place.width();
    if (with_note) place.setRight(place.right() - note_width);
    painter.setPen(alarm_ ? warning_colour(palette()) : text_.isEmpty() ? pale : normal);
    painter.drawText(
        place, Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine,
        letters.elidedText(text_.isEmpty() ? tr("none") : text_, mode_, place.width()));
    if (!with_note || note_.isEmpty()) return;
    painter.setPen(pale);
    painter.drawText(rect(), Qt::AlignRight | Qt::AlignVCenter | Qt::TextSingleLine, note_);
}

}  // namespace vyn
