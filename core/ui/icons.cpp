#include "core/ui/icons.h"

#include <QFile>
#include <QFileInfo>
#include <QGuiApplication>
#include <QIconEngine>
#include <QPainter>
#include <QPalette>
#include <QPixmap>
#include <QSvgRenderer>

#include "core/log.h"

/// The resources of a static library are linked only where they are named, outside any namespace.
static void load_drawings() {
    Q_INIT_RESOURCE(icons);
}

namespace vyn {

namespace {

/// Drawings are black where they take the colour of the text.
QByteArray coloured(QByteArray drawing, const QColor& text) {
    return drawing.replace("#000000", text.name().toLatin1());
}

QByteArray drawing_of(const QString& name) {
    [[maybe_unused]] static const bool loaded = (load_drawings(), true);
    QFile file(QStringLiteral(":/icons/%1.svg").arg(QFileInfo(name).completeBaseName()));
    if (!file.open(QIODevice::ReadOnly)) {
        get_log().write(LogLevel::error, "There is no drawing " + name.toStdString());
        return {};
    }
    return file.readAll();
}

/// Draws the source anew for each size, state and palette.
class DrawingEngine final : public QIconEngine {
  public:
    explicit DrawingEngine(QByteArray drawing, QByteArray badge = {})
        : drawing_(std::move(drawing)), badge_(std::move(badge)) {}

    void paint(QPainter* painter, const QRect& rect, QIcon::Mode mode, QIcon::State) override {
        const QPalette palette = QGuiApplication::palette();
        const auto group = mode == QIcon::Disabled ? QPalette::Disabled : QPalette::Active;
        QSvgRenderer renderer(coloured(drawing_, palette.color(group, QPalette::ButtonText)));
        if (mode == QIcon::Disabled) painter->setOpacity(0.4);
        renderer.render(painter, rect);
        if (!badge_.isEmpty()) {
            const QRectF corner(rect.center().x(), rect.top(), rect.width() / 2.0,
                                rect.height() / 2.0);
            QSvgRenderer(badge_).render(painter, corner);
        }
        painter->setOpacity(1);
    }
    QPixmap pixmap(const QSize& size, QIcon::Mode mode, QIcon::State state) override {
        QPixmap picture(size);
        picture.fill(Qt::transparent);
        QPainter painter(&picture);
        paint(&painter, QRect(QPoint(0, 0), size), mode, state);
        return picture;
    }
    QIconEngine* clone() const override { return new DrawingEngine(*this); }

  private:
    QByteArray drawing_;
    QByteArray badge_;  ///< in the upper right corner; may be empty
};

}  // namespace

QIcon vyn_icon(const QString& name, const QString& badge) {
    const QByteArray drawing = drawing_of(name);
    if (drawing.isEmpty()) return {};
    return QIcon(new DrawingEngine(drawing, badge.isEmpty() ? QByteArray() : drawing_of(badge)));
}

QCursor vyn_cursor(const QString& name, double hot_x, double hot_y) {
    constexpr int side = 32;
    const QByteArray drawing = drawing_of(name);
    if (drawing.isEmpty()) return {Qt::CrossCursor};
    const double ratio = qApp->devicePixelRatio();
    QPixmap picture(QSize(side, side) * ratio);
    picture.setDevicePixelRatio(ratio);
    picture.fill(Qt::transparent);
    QPainter painter(&picture);
    QSvgRenderer(drawing).render(&painter, QRectF(0, 0, side, side));
    painter.end();
    return {picture, static_cast<int>(hot_x * side), static_cast<int>(hot_y * side)};
}

}  // namespace vyn
