#include <QApplication>
#include <QPushButton>
#include <QTest>
#include <QTextBrowser>

#include <gmock/gmock.h>

#include "app/point_check_dialog.h"
#include "process/project/project_tasks.h"
#include "process/steps/chain.h"
#include "sample/synthetic_point.h"
#include "tests/support/modal_driver.h"
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
        run(ReadProjectTask(program_session(), {.file = folder / "project.xml",
                                                .geometry = ReadProject::Geometry::leave_out,
                                                .settings = {}}));
        ASSERT_EQ(run(*vyn::calculate(Goal::all, program_session(), report)), TaskOutcome::done);
    }

    static std::string text_of(const QDialog& dialog) {
        return dialog.findChild<QTextBrowser*>(QStringLiteral("txt_check"))
            ->toPlainText()
            .toStdString();
    }

    std::shared_ptr<RunReport> report = std::make_shared<RunReport>();
    Worker worker;
};

/// The page in the file is the page shown.
TEST_F(PointCheckWindow, ShowsAndExportsThePage) {
    compute_point();
    QApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
    QBusyBox box(worker);
    std::string first;
    std::string with_ports;
    ModalDriver driver;
    driver.expect<PointCheckDialog>([&](PointCheckDialog& dialog) {
        const auto press_and_choose = [&](const char* button, const std::string& file) {
            driver.expect([file](QDialog& files) { choose_file(files, file); });
            QTest::mouseClick(dialog.findChild<QPushButton*>(QLatin1String(button)),
                              Qt::LeftButton);
        };
        first = text_of(dialog);
        press_and_choose("btn_ports", folder / "ports.mrk");
        with_ports = text_of(dialog);
        press_and_choose("btn_export", folder / "check");
        press_and_choose("btn_export", folder / "check.pdf");
        dialog.reject();
    });
    show_point_check(box, report, nullptr);
    EXPECT_THAT(first, testing::HasSubstr("The pictures are aligned."));
    EXPECT_THAT(first, testing::HasSubstr("Wind-On Reference to Wind-Off Reference"));
    EXPECT_THAT(first, testing::HasSubstr("No ports with pressures were given."));
    EXPECT_THAT(with_ports, testing::HasSubstr("Differences: root mean square"));
    const std::string page = get_file(folder / "check.html");
    EXPECT_THAT(page, testing::StartsWith("<!DOCTYPE html>"));
    EXPECT_THAT(page, testing::HasSubstr("Consistency of the channels"));
    EXPECT_THAT(page, testing::HasSubstr("Differences: root mean square"));
    EXPECT_THAT(get_file(folder / "check.pdf"), testing::StartsWith("%PDF"));
}

}  // namespace
}  // namespace vyn::test
