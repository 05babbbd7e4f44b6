#include "core/ui/log_page.h"

#include <QTest>
#include <QTextBlock>

#include <gtest/gtest.h>

namespace vyn {
namespace {

class LogPage : public testing::Test {
  protected:
    LogPage() { get_log_mgr().take_new_lines(); }

    QTextCharFormat format_of_line(int block) {
        return page.document()->findBlockByNumber(block).begin().fragment().charFormat();
    }
    QVynLog page;
};

TEST_F(LogPage, ColoursLevelsAndShowsTextAsItIs) {
    for (int level = 0; level <= 5; ++level)
        get_log().write(LogLevel{level}, "a <b>& c" + std::to_string(level));
    page.process_log();
    EXPECT_EQ(page.toPlainText().toStdString(),
              "Fatal:a <b>& c0\na <b>& c1\na <b>& c2\na <b>& c3\na <b>& c4\na <b>& c5");
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
    EXPECT_TRUE(page.document()->firstBlock().text().startsWith(QStringLiteral("line 250")));
    EXPECT_TRUE(page.document()->lastBlock().text().startsWith(QStringLiteral("line 449")));
    EXPECT_FALSE(page.isUndoRedoEnabled());
    QTest::keyClicks(&page, QStringLiteral("typed"));
    EXPECT_FALSE(page.toPlainText().contains(QStringLiteral("typed")));
}

}  // namespace
}  // namespace vyn
