#include "core/ui/icons.h"

#include <QFile>
#include <QGuiApplication>
#include <QPalette>
#include <QPixmap>
#include <QRegularExpression>
#include <filesystem>
#include <set>

#include <gtest/gtest.h>

namespace vyn {
namespace {

namespace fs = std::filesystem;

/// Names of drawings in the sources of the window: what vyn_icon() and vyn_cursor() are given, and
/// the "….png" entries of tables in files that use either.
std::set<std::string> names_in_the_sources() {
    const QRegularExpression use(
        QStringLiteral(R"#((?:vyn_icon|vyn_cursor)\(\s*(?:\w+\(\s*)?"([^"]+)")#"));
    const QRegularExpression entry(QStringLiteral(R"#("([a-z0-9_+-]+)\.png")#"));
    std::set<std::string> names;
    for (const char* folder : {"core/ui", "view/ui", "calib/ui", "align/ui", "app"})
        for (const auto& item :
             fs::recursive_directory_iterator(fs::path(VYN_SOURCE_DIR) / folder)) {
            if (item.path().extension() != ".cpp") continue;
            QFile source(QString::fromStdString(item.path().string()));
            if (!source.open(QIODevice::ReadOnly)) continue;
            const QString text = QString::fromUtf8(source.readAll());
            if (!text.contains(QLatin1String("vyn_icon")) &&
                !text.contains(QLatin1String("vyn_cursor")))
                continue;
            for (const QRegularExpression& pattern : {use, entry})
                for (auto found = pattern.globalMatch(text); found.hasNext();)
                    names.insert(found.next().captured(1).toStdString());
        }
    return names;
}

int drawn_pixels(const QPixmap& picture) {
    const QImage image = picture.toImage();
    int count = 0;
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            count += qAlpha(image.pixel(x, y)) > 128;
    return count;
}

TEST(Icons, EveryNameInTheSourcesHasADrawing) {
    const std::set<std::string> names = names_in_the_sources();
    ASSERT_GT(names.size(), 40U);
    for (const std::string& name : names) {
        const QIcon icon = vyn_icon(QString::fromStdString(name));
        ASSERT_FALSE(icon.isNull()) << name;
        for (const int side : {16, 24, 48})
            EXPECT_GT(drawn_pixels(icon.pixmap(side, side)), side) << name << " at " << side;
    }
}

TEST(Icons, TakeTheColourOfTheText) {
    const QPalette before = QGuiApplication::palette();
    for (const QColor& text : {QColor(Qt::white), QColor(Qt::black)}) {
        QPalette palette = before;
        palette.setColor(QPalette::ButtonText, text);
        QGuiApplication::setPalette(palette);
        const QImage image = vyn_icon(QStringLiteral("player_fwd")).pixmap(48, 48).toImage();
        EXPECT_EQ(image.pixelColor(30, 24).lightness(), text.lightness());
    }
    QGuiApplication::setPalette(before);
}

TEST(Icons, ACursorPointsWhereItIsTold) {
    const QCursor middle = vyn_cursor(QStringLiteral("mark_add_cur.png"));
    EXPECT_EQ(middle.hotSpot(), QPoint(16, 16));
    EXPECT_GT(drawn_pixels(middle.pixmap()), 50);
    EXPECT_EQ(vyn_cursor(QStringLiteral("mark_add_cur.png"), 0.25, 0.5).hotSpot(), QPoint(8, 16));
}

TEST(Icons, AnUnknownNameGivesNoIcon) {
    EXPECT_TRUE(vyn_icon(QStringLiteral("no_such_drawing.gif")).isNull());
}

}  // namespace
}  // namespace vyn
