#include "core/ui/file_question.h"

#include <QDir>
#include <QFileDialog>
#include <QSettings>

#include "tests/support/modal_driver.h"
#include "tests/support/temporary_folder.h"

namespace vyn::test {
namespace {

/// A name typed without an extension gets that of the type; what was written is proposed again, and
/// its folder for whatever else is written of the same project.
TEST(FileQuestion, FollowsTheTypeAndRemembersByProject) {
    const TemporaryFolder settings_folder;
    QSettings::setDefaultFormat(QSettings::IniFormat);
    QSettings::setPath(QSettings::IniFormat, QSettings::UserScope,
                       QString::fromStdString(settings_folder.path().string()));
    const TemporaryFolder folder;
    const TemporaryFolder other;
    simpleNamedDataSet settings;
    write(settings, keys::head_file, std::string("/points/7/project.xml"));
    ModalDriver driver;
    const auto question = [&](const char* what) {
        return FileQuestion{QStringLiteral("Save"),
                            QStringLiteral("Page (*.html *.htm);;Document (*.pdf);;All files (*)"),
                            QStringLiteral("html"),
                            folder.path().string(),
                            QStringLiteral("check.html"),
                            purpose_in_project(settings, what)};
    };
    driver.expect<QFileDialog>([&](QFileDialog& dialog) {
        EXPECT_EQ(dialog.selectedFiles().value(0).toStdString(), (folder / "check.html").string());
        dialog.selectNameFilter(QStringLiteral("Document (*.pdf)"));
        Q_EMIT dialog.filterSelected(QStringLiteral("Document (*.pdf)"));
        dialog.setDirectory(QString::fromStdString(other.path().string()));
        choose_file(dialog, "seven");
    });
    EXPECT_EQ(ask_save_file(nullptr, question("check")), (other / "seven.pdf").string());
    driver.expect<QFileDialog>([&](QFileDialog& dialog) {
        EXPECT_EQ(dialog.selectedFiles().value(0).toStdString(), (other / "seven.pdf").string());
        EXPECT_EQ(dialog.selectedNameFilter(), QStringLiteral("Document (*.pdf)"));
        dialog.reject();
    });
    EXPECT_EQ(ask_save_file(nullptr, question("check")), "");
    driver.expect<QFileDialog>([&](QFileDialog& dialog) {
        EXPECT_EQ(dialog.directory().absolutePath().toStdString(), other.path().string());
        dialog.reject();
    });
    EXPECT_EQ(ask_save_file(nullptr, question("table")), "");
    write(settings, keys::head_file, std::string("/points/8/project.xml"));
    driver.expect<QFileDialog>([&](QFileDialog& dialog) {
        EXPECT_EQ(dialog.directory().absolutePath().toStdString(), folder.path().string());
        dialog.reject();
    });
    EXPECT_EQ(ask_save_file(nullptr, question("check")), "");
}

}  // namespace
}  // namespace vyn::test
