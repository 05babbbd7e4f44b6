#pragma once

#include <QProxyStyle>

namespace vyn {

/// The toolkit's style with the program's own drawings on the buttons of dialogs, and with focus
/// marks and unticked boxes that can be seen on every palette.
class ProgramStyle final : public QProxyStyle {
  public:
    /// The base is named as QStyleFactory knows it.
    explicit ProgramStyle(const QString& base) : QProxyStyle(base) {}

    int styleHint(StyleHint hint, const QStyleOption* option, const QWidget* widget,
                  QStyleHintReturn* data) const override;
    QIcon standardIcon(StandardPixmap drawing, const QStyleOption* option,
                       const QWidget* widget) const override;
    void drawPrimitive(PrimitiveElement element, const QStyleOption* option, QPainter* painter,
                       const QWidget* widget) const override;
};

}  // namespace vyn
