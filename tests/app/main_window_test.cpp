#include <QApplication>
#include <QCloseEvent>
#include <QLineEdit>
#include <QMenuBar>
#include <QSettings>
#include <QTabWidget>
#include <QTest>
#include <QTextBrowser>
#include <QToolBar>
#include <QTreeWidget>
#include <filesystem>
#include <new>
#include <thread>

#include <gmock/gmock.h>

#include "api/image_list.h"
#include "app/appearance.h"
#include "app/application.h"
#include "app/experiment_page.h"
#include "core/errors.h"
#include "core/keys.h"
#include "core/log.h"
#include "core/messages.h"
#include "core/project_file.h"
#include "core/ui/busy_box.h"
#include "process/project/ims.h"
#include "tests/app/app_fixture.h"
#include "tests/support/dialog_checks.h"
#include "tests/support/log_capture.h"

namespace vyn::test {
namespace {

class MainWindow : public AppTest {
  protected:
    /// A project without images, opened.
    void open_project() {
        simpleNamedDataSet data;
        write(data, keys::test_single, 1);
        save_xml(data, (folder / "point.xml").c_str());
        window->open_files({QString::fromStdString((folder / "point.xml").string())});
    }
};

TEST_F(MainWindow, StartsWithWaysToBeginAndTheLogAndNothingToSave) {
    EXPECT_EQ(window->objectName(), QStringLiteral("VynLite"));
    EXPECT_EQ(window->windowTitle(), QStringLiteral("Vyn Lite[*]"));
    const auto& tasks = child<QTabWidget>("vyn_tasks");
    ASSERT_EQ(tasks.count(), 2);
    EXPECT_EQ(tasks.currentWidget()->objectName(), QStringLiteral("start_page"));
    EXPECT_EQ(tasks.tabText(1), QStringLiteral("Log"));
    EXPECT_EQ(tasks.widget(1)->objectName(), QStringLiteral("VYN log!"));
    EXPECT_EQ(get_ims().version, "2.51");
    EXPECT_FALSE(action("fileSaveAction").isEnabled());
    EXPECT_FALSE(action("fileSaveAsAction").isEnabled());
    EXPECT_FALSE(action("calculateCalculate_AllAction").isEnabled());
    EXPECT_TRUE(action("fileOpenAction").isEnabled());
    EXPECT_EQ(action("helpManualAction").shortcut(), QKeySequence(Qt::Key_F1));
    EXPECT_EQ(action("fileSaveAsAction").shortcut(), QKeySequence());
    EXPECT_EQ(action("fileExitAction").toolTip(), QStringLiteral("Exit the programm"));
    EXPECT_EQ(action("fileNewAction").text(), QStringLiteral("&New"));
    EXPECT_TRUE(window->close());
}

TEST_F(MainWindow, ANameTypedWithReturnBecomesTheProjectsFile) {
    auto& edit = child<QLineEdit>("dir_edit");
    edit.setFocus();
    QTest::keyClicks(&edit, QString::fromStdString((folder / "typed.xml").string()));
    EXPECT_FALSE(action("fileSaveAction").isEnabled());
    QTest::keyClick(&edit, Qt::Key_Return);
    EXPECT_EQ(read(vyn_db(), keys::head_file), (folder / "typed.xml").string());
    EXPECT_TRUE(action("fileSaveAction").isEnabled());
    EXPECT_TRUE(window->isWindowModified());
    EXPECT_TRUE(window->windowTitle().startsWith(QStringLiteral("typed.xml[*]")));
    QTest::keyClick(&edit, Qt::Key_A, Qt::ControlModifier);
    QTest::keyClick(&edit, Qt::Key_Delete);
    QTest::keyClick(&edit, Qt::Key_Return);
    EXPECT_EQ(read(vyn_db(), keys::head_file), "");
    EXPECT_FALSE(action("fileSaveAction").isEnabled());
    ASSERT_TRUE(window->experiment_page());
    EXPECT_FALSE(window->experiment_page()->isEnabled());
}

TEST_F(MainWindow, WhatIsBeingTypedCountsBeforeACommand) {
    open_project();
    auto& level = child<QLineEdit>("wind_on_dark_edit");
    level.setFocus();
    level.selectAll();
    QTest::keyClicks(&level, QStringLiteral("123"));
    // A tool button does not take the keyboard from the line.
    QTest::mouseClick(child<QToolBar>("Tools").widgetForAction(&action("fileSaveAction")),
                      Qt::LeftButton);
    simpleNamedDataSet saved;
    load_xml(saved, (folder / "point.xml").c_str());
    EXPECT_EQ(read(saved, keys::wind_on_sens_dark), 123);

    auto& file = child<QLineEdit>("dir_edit");
    file.setFocus();
    file.selectAll();
    QTest::keyClicks(&file, QString::fromStdString((folder / "second.xml").string()));
    action("fileSaveAction").trigger();
    EXPECT_TRUE(std::filesystem::exists(folder / "second.xml"));
    EXPECT_FALSE(window->isWindowModified());
}

TEST_F(MainWindow, AFileThatIsNoImageLeavesNoViewer) {
    put_file(folder / "notes.txt", "no image");
    press(QStringLiteral("Vyn, Processing"), QStringLiteral("There are errors!"));
    press(QStringLiteral("Open"), QStringLiteral("OK"));
    window->open_files({QString::fromStdString((folder / "notes.txt").string())});
    EXPECT_TRUE(all_answered());
    for (const QWidget* left : QApplication::topLevelWidgets())
        EXPECT_TRUE(!left->inherits("vyn::VynFieldViewer") || !left->isVisible());
}

TEST_F(MainWindow, NoOnTheCloseCheckKeepsTheWindow) {
    open_project();
    ASSERT_TRUE(window->experiment_page());
    EXPECT_EQ(child<QTabWidget>("vyn_tasks").currentWidget(), window->experiment_page());
    press(QStringLiteral("Warning!"), QStringLiteral("No"));
    EXPECT_FALSE(window->close());
    EXPECT_TRUE(window->isVisible());
    expect_dialog(QStringLiteral("Warning!"),
                  [](QDialog& dialog) { QTest::keyClick(&dialog, Qt::Key_Escape); });
    EXPECT_FALSE(window->close());
    EXPECT_EQ(shown,
              "All unsaved data will be lost!\nOk to continue?Nothing is unsaved."
              "All unsaved data will be lost!\nOk to continue?Nothing is unsaved.");
    press(QStringLiteral("Warning!"), QStringLiteral("Yes"));
    EXPECT_TRUE(window->close());
    EXPECT_TRUE(all_answered());
}

TEST_F(MainWindow, TheCloseCheckNamesWhatIsUnsavedAndSavesIt) {
    open_project();
    write(vyn_db(), keys::markers_order, 3);
    press(QStringLiteral("Warning!"), QStringLiteral("Save"));
    EXPECT_TRUE(window->close());
    EXPECT_TRUE(all_answered());
    EXPECT_NE(shown.find("Settings of the project are not saved."), std::string::npos);
    simpleNamedDataSet saved;
    load_xml(saved, (folder / "point.xml").c_str());
    EXPECT_EQ(read(saved, keys::markers_order), 3);
}

TEST_F(MainWindow, RecentProjectsAreOfferedAtTheStart) {
    open_project();
    press(QStringLiteral("Warning!"), QStringLiteral("Yes"));
    EXPECT_TRUE(window->close());
    start();
    auto& projects = child<QTreeWidget>("start_projects");
    ASSERT_EQ(projects.topLevelItemCount(), 1);
    EXPECT_EQ(projects.topLevelItem(0)->text(0), QStringLiteral("point.xml"));
    Q_EMIT projects.itemActivated(projects.topLevelItem(0), 0);
    EXPECT_TRUE(QTest::qWaitFor([&] { return window->experiment_page() != nullptr; }));
    EXPECT_FALSE(window->findChild<QWidget*>(QStringLiteral("start_page")));
}

TEST_F(MainWindow, QuestionsAreYesOnlyWhenYesIsPressed) {
    press(QStringLiteral("VynLite"), QStringLiteral("Yes"));
    EXPECT_TRUE(vyn::question("Are <b>these</b> pairs right?"));
    press(QStringLiteral("VynLite"), QStringLiteral("No"));
    EXPECT_FALSE(vyn::question("?"));
    expect_dialog(QStringLiteral("VynLite"),
                  [](QDialog& dialog) { QTest::keyClick(&dialog, Qt::Key_Escape); });
    EXPECT_FALSE(vyn::question("?"));
    press(QStringLiteral("VynLite"), QStringLiteral("OK"));
    vyn::message("Told.");
    EXPECT_TRUE(all_answered());
}

TEST_F(MainWindow, ErrorsShowInRedOnTheLogPage) {
    const FileError error("File error!", "lost.tif");
    auto& log = child<QTextBrowser>("VYN log!");
    ASSERT_TRUE(QTest::qWaitFor(
        [&] { return log.toPlainText().contains(QStringLiteral("lost.tif")); }, 2000));
    QTextCursor cursor = log.document()->find(QStringLiteral("lost.tif"));
    EXPECT_EQ(cursor.charFormat().foreground().color(), QColor(Qt::red));
}

/// Whatever leaves the handler of an event: a box, a log line, and on it goes.
TEST_F(MainWindow, AnErrorThatNobodyCaughtIsSaidAndTheWindowGoesOn) {
    auto* application = dynamic_cast<Application*>(QCoreApplication::instance());
    ASSERT_TRUE(application);
    application->go_on_after_errors();
    struct Thrown {
        std::function<void()> raise;
        const char* told;
    };
    const Thrown all[] = {
        {[] { throw AlgoError("Algorithm error!", "units are <b>"); }, "units are <b>"},
        {[] { throw std::bad_alloc(); }, "not enough memory"},
        {[] {
             throw std::filesystem::filesystem_error("cannot look", "gone",
                                                     std::make_error_code(std::errc::io_error));
         },
         "cannot look"},
        {[] { throw 7; }, "went wrong"}};
    for (const Thrown& thrown : all) {
        const LogCapture log;
        shown.clear();
        press(QStringLiteral("VynLite"), QStringLiteral("OK"));
        QTimer::singleShot(0, window.get(), thrown.raise);
        EXPECT_TRUE(QTest::qWaitFor([&] { return all_answered() && !shown.empty(); }))
            << thrown.told;
        EXPECT_THAT(shown, testing::HasSubstr(thrown.told));
        EXPECT_THAT(log.lines(), testing::Not(testing::IsEmpty()));
        EXPECT_TRUE(QTest::qWaitFor([] { return !QApplication::activeModalWidget(); }));
    }
    // A task that throws, too.
    struct Failing final : Task {
        TaskOutcome run(TaskContext&) override { throw std::bad_alloc(); }
    };
    auto job = std::make_shared<Job>();
    job->append(std::make_unique<Failing>());
    press(QStringLiteral("Vyn, Processing"), QStringLiteral("There are errors!"));
    EXPECT_EQ(QBusyBox(worker, window.get()).run(job), TaskOutcome::failed);
    EXPECT_TRUE(window->isVisible());
}

TEST_F(MainWindow, RemovingImsDataEmptiesTheImagesAfterAQuestion) {
    open_project();
    image picture(4, 4);
    picture.name = "field_P";
    get_images().add(std::move(picture));
    get_ims().version = "2.51";
    get_ims().project = "text";
    press(QStringLiteral("Remove all IMS data"), QStringLiteral("No"));
    action("removeImsDataAction").trigger();
    EXPECT_TRUE(get_images().find("field_P"));
    press(QStringLiteral("Remove all IMS data"), QStringLiteral("Yes"));
    action("removeImsDataAction").trigger();
    EXPECT_TRUE(get_images().names().empty());
    EXPECT_TRUE(empty_ims());
    EXPECT_EQ(get_ims().version, "2.51");
    vyn_db().set_modified(false);
}

TEST_F(MainWindow, RemembersGeometryAndPalette) {
    window->resize(777, 555);
    window->close();
    start();
    EXPECT_EQ(window->size(), QSize(777, 555));
    choose_appearance(Appearance::dark);
    EXPECT_EQ(chosen_appearance(), Appearance::dark);
    EXPECT_LT(window->palette().color(QPalette::Window).lightness(), 100);
    for (const auto& [text, ground] : {std::pair(QPalette::Text, QPalette::Base),
                                       std::pair(QPalette::WindowText, QPalette::Window),
                                       std::pair(QPalette::ButtonText, QPalette::Button)})
        EXPECT_GT(window->palette().color(text).lightness(),
                  window->palette().color(ground).lightness() + 100);
    choose_appearance(Appearance::system);
}

TEST_F(MainWindow, EveryMenuEntryIsReachableByKeyboardAndNamed) {
    int entries = 0;
    std::function<void(const QMenu&)> check = [&](const QMenu& menu) {
        QStringList mnemonics;
        for (QAction* entry : menu.actions()) {
            if (entry->isSeparator()) continue;
            ++entries;
            const QString text = entry->text();
            const auto at = text.indexOf(QLatin1Char('&'));
            ASSERT_GE(at, 0) << text.toStdString();
            const QString letter = text.mid(at + 1, 1).toLower();
            EXPECT_FALSE(mnemonics.contains(letter)) << text.toStdString();
            mnemonics.append(letter);
            if (entry->menu()) check(*entry->menu());
        }
    };
    for (QAction* entry : window->menuBar()->actions())
        check(*entry->menu());
    EXPECT_GE(entries, 14);

    check_mnemonics(*window);
    for (const auto& [single, lifetime] : {std::pair(1, 0), std::pair(0, 0), std::pair(0, 1)}) {
        SCOPED_TRACE(testing::Message() << "single " << single << ", lifetime " << lifetime);
        simpleNamedDataSet data;
        write(data, keys::test_single, single);
        write(data, keys::test_lifetime, lifetime);
        save_xml(data, (folder / "point.xml").c_str());
        window->open_files({QString::fromStdString((folder / "point.xml").string())});
        check_mnemonics(*window);
        const QString first = window->focusWidget() ? window->focusWidget()->objectName() : "";
        EXPECT_TRUE(first.startsWith("wind_off") && first.endsWith("_select"))
            << first.toStdString();
    }
}

}  // namespace
}  // namespace vyn::test
