#include "app/pages/page_parts.h"

#include <QPushButton>
#include <QToolButton>

#include "core/ui/icons.h"

namespace vyn {

QColor warning_colour(const QPalette& palette) {
    const bool dark = palette.color(QPalette::Window).lightness() < 128;
    return dark ? QColor(0xff, 0x8a, 0x80) : QColor(0xc6, 0x28, 0x28);
}

QToolButton* icon_button(const std::string& object_name, const char* icon, const QString& tip,
                         QWidget* parent) {
    auto* button = new QToolButton(parent);
    button->setObjectName(QString::fromStdString(object_name));
    button->setIcon(vyn_icon(QLatin1String(icon)));
    button->setToolTip(tip);
    button->setAccessibleName(tip);
    const int side = std::max(16, button->fontMetrics().height());
    button->setIconSize({side, side});
    button->setAutoRaise(true);
    button->setFocusPolicy(Qt::StrongFocus);
    return button;
}

QPushButton* text_button(const char* object_name, const QString& text, QWidget* parent) {
    auto* button = new QPushButton(text, parent);
    button->setObjectName(QLatin1String(object_name));
    return button;
}

QString wrapped(const QString& text) {
    return text.isEmpty() ? QString() : QStringLiteral("<qt>%1</qt>").arg(text.toHtmlEscaped());
}

}  // namespace vyn
