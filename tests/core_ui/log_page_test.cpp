#include "core/ui/log_page.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QLineEdit>
#include <QPushButton>
#include <QRegularExpression>
#include <QTest>
#include <QTextBlock>

#include <gtest/gtest.h>

namespace vyn {
namespace {

class LogPage : public testing::Test {
  protected:
    LogPage() { get_log_mgr().take_new_lines(); }

    QTextCharFormat format_of_line(int block) {
        // Behind the time.
        QTextBlock::iterator part = page.document()->findBlockByNumber(block).begin();
        QTextCharFormat last;
        for (; !part.atEnd(); ++part)
            last = part.fragment().charFormat();
        return last;
    }
    QVynLog page;
};

TEST_F(LogPage, ColoursLevelsAndShowsTextAsItIs) {
    for (int level = 0; level <= 5; ++level)
        get_log().write(LogLevel{level}, "a <b>& c" + std::to_string(level));
    page.process_log();
    const QStringList lines = page.toPlainText().split(QLatin1Char('\n'));
    ASSERT_EQ(lines.size(), 6);
    const QRegularExpression time(QStringLiteral("^\\d\\d:\\d\\d:\\d\\d\\s+"));
    for (int level = 0; level <= 5; ++level) {
        EXPECT_TRUE(lines[level].contains(time));
        EXPECT_EQ(QString(lines[level]).remove(time),
                  (level == 0 ? QStringLiteral("Fatal:") : QString()) +
                      QStringLiteral("a <b>& c%1").arg(level));
    }
    struct Look {
        bool red, bold, italic;
    };
    constexpr Look looks[] = {{true, true, false},
                              {true, true, false},
                              {true, false, false},
                              {false, false, true},
                              {false, false, false}};
    for (int level = 0; level < 5; ++level) {
        const QTextCharFormat format = format_of_line(level);
        EXPECT_EQ(format.foreground().color() == Qt::red, looks[level].red) << level;
        EXPECT_EQ(format.fontWeight() == QFont::Bold, looks[level].bold) << level;
        EXPECT_EQ(format.fontItalic(), looks[level].italic) << level;
    }
    EXPECT_EQ(format_of_line(5).foreground().color(), QColor(5, 5, 5));
}

TEST_F(LogPage, KeepsTheNewest200LinesAndFollowsItsTimer) {
    for (int i = 0; i < 150; ++i)
        get_log().write(LogLevel::progress, "early");
    page.process_log();
    for (int i = 0; i < 450; ++i)
        get_log().write(LogLevel::progress, "line " + std::to_string(i) + "\nand its second half");
    ASSERT_TRUE(QTest::qWaitFor([this] { return page.document()->blockCount() == 200; }, 2000));
    EXPECT_TRUE(page.document()->firstBlock().text().contains(QStringLiteral("line 250")));
    EXPECT_TRUE(page.document()->lastBlock().text().contains(QStringLiteral("line 449")));
    EXPECT_FALSE(page.isUndoRedoEnabled());
    QTest::keyClicks(&page, QStringLiteral("typed"));
    EXPECT_FALSE(page.toPlainText().contains(QStringLiteral("typed")));
}

TEST_F(LogPage, RoutineLinesAreFoldedUntilTheyAreAskedFor) {
    get_log().write(LogLevel::progress, "Fit: start");
    for (int i = 1; i < 30; ++i)
        get_log().write(LogLevel::progress, "Fit: error=" + std::to_string(i));
    get_log().write(LogLevel::error, "Fit: failed");
    page.process_log();
    ASSERT_EQ(page.document()->blockCount(), 4);
    const QTextBlock link = page.document()->findBlockByNumber(2);
    EXPECT_EQ(link.text(), QStringLiteral("28 more line(s) of \"Fit\""));
    Q_EMIT page.anchorClicked(QUrl(link.begin().fragment().charFormat().anchorHref()));
    ASSERT_EQ(page.document()->blockCount(), 31);
    EXPECT_TRUE(
        page.document()->findBlockByNumber(29).text().endsWith(QStringLiteral("Fit: error=29")));
    EXPECT_TRUE(page.document()->lastBlock().text().endsWith(QStringLiteral("Fit: failed")));
}

TEST_F(LogPage, WhatIsSearchedForIsMarkedAndCopied) {
    for (const char* text : {"one needle", "hay", "another NEEDLE"})
        get_log().write(LogLevel::progress, text);
    page.process_log();
    auto* search = page.findChild<QLineEdit*>(QStringLiteral("log_search"));
    search->setText(QStringLiteral("needle"));
    EXPECT_EQ(page.extraSelections().size(), 2);
    QTest::keyClick(search, Qt::Key_Return);
    EXPECT_EQ(page.textCursor().selectedText(), QStringLiteral("NEEDLE"));
    page.findChild<QPushButton*>(QStringLiteral("log_copy"))->click();
    EXPECT_EQ(QGuiApplication::clipboard()->text(), QStringLiteral("NEEDLE"));
}

}  // namespace
}  // namespace vyn
