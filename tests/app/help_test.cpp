#include <QTest>
#include <QTextBrowser>
#include <QTreeView>

#include "app/help_window.h"
#include "core/errors.h"
#include "tests/app/app_fixture.h"
#include "tests/support/error_of.h"

namespace vyn::test {
namespace {

class Help : public AppTest {};

TEST_F(Help, ABrokenManualIsSaidSo) {
    const auto file = folder / "HELPVYNLITE.qch";
    put_file(file, "no help file");
    const auto error =
        error_of<FileError>([&] { HelpWindow(QString::fromStdString(file.string())); });
    EXPECT_NE(std::string(error.what()).find("HELPVYNLITE.qch: not a help file"),
              std::string::npos);
}

TEST_F(Help, F1OpensTheManual) {
    if (find_help_file().isEmpty()) {
        press(QStringLiteral("VynLite"), QStringLiteral("OK"));
        QTest::keyClick(window.get(), Qt::Key_F1);
        EXPECT_NE(shown.find("The manual cannot be shown."), std::string::npos);
        EXPECT_TRUE(all_answered());
        return;
    }
    QTest::keyClick(window.get(), Qt::Key_F1);
    HelpWindow* manual = nullptr;
    for (QWidget* widget : QApplication::topLevelWidgets())
        if (auto* found = qobject_cast<HelpWindow*>(widget)) manual = found;
    ASSERT_TRUE(manual);
    EXPECT_TRUE(manual->isVisible());
    EXPECT_GT(manual->findChild<QTextBrowser*>(QStringLiteral("page"))->toPlainText().size(), 100);
    EXPECT_TRUE(
        QTest::qWaitFor([&] { return manual->findChild<QTreeView*>()->model()->rowCount() > 3; }));
    QPointer<QWidget> watched = manual;
    window->close();
    EXPECT_FALSE(watched);
}

}  // namespace
}  // namespace vyn::test
