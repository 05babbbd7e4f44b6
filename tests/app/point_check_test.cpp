#include <QApplication>
#include <QDialogButtonBox>
#include <QFileDialog>
#include <QPushButton>
#include <QTest>
#include <QTextBrowser>
#include <QTimer>

#include <gmock/gmock.h>

#include "app/point_check_dialog.h"
#include "process/chain.h"
#include "process/project_tasks.h"
#include "process/synthetic_point.h"
#include "tests/support/project_fixture.h"

namespace vyn::test {
namespace {

class PointCheckWindow : public ProjectTest {
  protected:
    void compute_point() {
        write_synthetic_point(
            make_synthetic_point(
                {.width = 160, .height = 120, .channels = SyntheticOptions::Channels::binary},
                context),
            folder.path(), context);
        run(ReadProjectTask({.file = folder / "project.xml",
                             .geometry = ReadProject::Geometry::leave_out,
                             .settings = {}}));
        ASSERT_EQ(run(*calculate_all(vyn_db(), get_images(), report)), TaskOutcome::done);
    }

    /// Answers the save dialog that is open, if there is one.
    static void choose_file(const std::string& file) {
        auto* chooser = qobject_cast<QFileDialog*>(QApplication::activeModalWidget());
        ASSERT_TRUE(chooser);
        chooser->findChild<QLineEdit*>(QStringLiteral("fileNameEdit"))
            ->setText(QString::fromStdString(file));
        static_cast<QDialog*>(chooser)->accept();
    }

    std::shared_ptr<RunReport> report = std::make_shared<RunReport>();
    Worker worker;
};

/// The dialog is modal, so timers press its buttons; the page in the file is the page shown.
TEST_F(PointCheckWindow, ShowsAndExportsThePage) {
    compute_point();
    QApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
    QBusyBox box(worker);
    QString shown;
    QTimer look;
    QObject::connect(&look, &QTimer::timeout, [&] {
        auto* dialog = qobject_cast<PointCheckDialog*>(QApplication::activeModalWidget());
        if (!dialog) return;
        look.stop();
        shown = dialog->findChild<QTextBrowser*>(QStringLiteral("txt_check"))->toPlainText();
        QTimer::singleShot(100, [&] { choose_file(folder / "check"); });
        QTest::mouseClick(dialog->findChild<QPushButton*>(QStringLiteral("btn_export")),
                          Qt::LeftButton);
        QTest::mouseClick(dialog->findChild<QDialogButtonBox*>()->button(QDialogButtonBox::Close),
                          Qt::LeftButton);
    });
    look.start(20);
    show_point_check(box, report, nullptr);
    EXPECT_FALSE(look.isActive());
    EXPECT_THAT(shown.toStdString(), testing::HasSubstr("The pictures are aligned."));
    EXPECT_THAT(shown.toStdString(), testing::HasSubstr("Wind-On Reference to Wind-Off Reference"));
    const std::string page = get_file(folder / "check.html");
    EXPECT_THAT(page, testing::StartsWith("<!DOCTYPE html>"));
    EXPECT_THAT(page, testing::HasSubstr("Consistency of the channels"));
}

}  // namespace
}  // namespace vyn::test
