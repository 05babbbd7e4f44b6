#include <QProcess>
#include <QStandardPaths>
#include <csignal>

#include <gmock/gmock.h>

#include "core/keys.h"
#include "core/project_file.h"
#include "process/project/recovery_copy.h"
#include "tests/support/temporary_folder.h"

namespace vyn::test {
namespace {

using testing::HasSubstr;

/// The program itself, as a process of its own with a state folder of the test's.
class Program : public testing::Test {
  protected:
    void start(const QStringList& arguments) {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
        for (const char* place : {"XDG_STATE_HOME", "XDG_CONFIG_HOME"})
            environment.insert(QLatin1String(place),
                               QString::fromStdString(folder.path().string()));
        process.setProcessEnvironment(environment);
        process.start(QStringLiteral(VYN_PROGRAM), arguments);
        ASSERT_TRUE(process.waitForStarted());
    }
    int finish() {
        EXPECT_TRUE(process.waitForFinished(20000));
        EXPECT_EQ(process.exitStatus(), QProcess::NormalExit);
        return process.exitCode();
    }
    std::string log() const {
        const auto file = folder / "vynlite" / "vynlite.log";
        return std::filesystem::exists(file) ? get_file(file) : std::string();
    }
    /// Waits until the log says this.
    bool wait_for_log(const std::string& text) const {
        for (int i = 0; i < 200; ++i) {
            if (log().find(text) != std::string::npos) return true;
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
        }
        return false;
    }

    const TemporaryFolder folder;
    QProcess process;
};

TEST_F(Program, TellsUsageAndVersionWithoutAScreen) {
    qputenv("QT_QPA_PLATFORM", "no_such_screen");
    start({QStringLiteral("--version")});
    EXPECT_EQ(finish(), 0);
    EXPECT_THAT(process.readAllStandardOutput().toStdString(), HasSubstr("vynlite 2.51"));
    start({QStringLiteral("--help")});
    EXPECT_EQ(finish(), 0);
    EXPECT_THAT(process.readAllStandardOutput().toStdString(),
                HasSubstr("vynlite [PROJECT] [IMAGE...]"));
    qputenv("QT_QPA_PLATFORM", "offscreen");
    start({QStringLiteral("--no-such-option")});
    EXPECT_EQ(finish(), 2);
    EXPECT_THAT(process.readAllStandardError().toStdString(), HasSubstr("no-such-option"));
}

TEST_F(Program, OpensAProjectAndEndsInOrderWhenToldTo) {
    simpleNamedDataSet data;
    write(data, keys::test_single, 1);
    const auto project = folder / "point.xml";
    save_xml(data, project.c_str());
    start({QString::fromStdString(project.string())});
    ASSERT_TRUE(wait_for_log("Reading IMS file:" + project.string()));
    EXPECT_TRUE(std::filesystem::exists(folder / ".point.xml.lock"));
    process.terminate();
    EXPECT_EQ(finish(), 0);
    EXPECT_FALSE(std::filesystem::exists(folder / ".point.xml.lock"));
    EXPECT_TRUE(find_lost_work(folder / "vynlite" / "recovery").empty());
}

}  // namespace
}  // namespace vyn::test
