#include "app/program_style.h"

#include <QPainter>
#include <QStyleOption>

#include "core/ui/icons.h"

namespace vyn {

namespace {

/// The drawing of a dialog's button; null where the toolkit's is used.
const char* own_drawing(QStyle::StandardPixmap drawing) {
    switch (drawing) {
        case QStyle::SP_DialogOkButton:
            return "ok.png";
        case QStyle::SP_DialogCancelButton:
        case QStyle::SP_DialogCloseButton:
            return "cancel.png";
        case QStyle::SP_DialogYesButton:
            return "yes.png";
        case QStyle::SP_DialogNoButton:
            return "no.png";
        case QStyle::SP_DialogSaveButton:
            return "filesave.png";
        case QStyle::SP_DialogOpenButton:
            return "fileopen.png";
        default:
            return nullptr;
    }
}

void outline(QPainter& painter, const QRectF& box, const QColor& colour, double width,
             double radius) {
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(colour, width));
    painter.setBrush(Qt::NoBrush);
    painter.drawRoundedRect(box.adjusted(width / 2, width / 2, -width / 2, -width / 2), radius,
                            radius);
    painter.restore();
}

}  // namespace

int ProgramStyle::styleHint(StyleHint hint, const QStyleOption* option, const QWidget* widget,
                            QStyleHintReturn* data) const {
    return hint == SH_DialogButtonBox_ButtonsHaveIcons
               ? 1
               : QProxyStyle::styleHint(hint, option, widget, data);
}

QIcon ProgramStyle::standardIcon(StandardPixmap drawing, const QStyleOption* option,
                                 const QWidget* widget) const {
    const char* own = own_drawing(drawing);
    return own ? vyn_icon(QLatin1String(own)) : QProxyStyle::standardIcon(drawing, option, widget);
}

void ProgramStyle::drawPrimitive(PrimitiveElement element, const QStyleOption* option,
                                 QPainter* painter, const QWidget* widget) const {
    QProxyStyle::drawPrimitive(element, option, painter, widget);
    const QPalette& colours = option->palette;
    if (element == PE_FrameFocusRect) {
        outline(*painter, option->rect, colours.color(QPalette::Highlight), 1.5, 2);
    } else if (element == PE_IndicatorCheckBox || element == PE_IndicatorItemViewItemCheck) {
        QColor edge = colours.color(QPalette::Text);
        edge.setAlphaF(option->state & State_Enabled ? 0.7 : 0.3);
        outline(*painter, option->rect, edge, 1, 1);
    }
}

}  // namespace vyn
