#include <QLineEdit>
#include <QMimeData>
#include <QRadioButton>
#include <QStatusBar>
#include <QTabWidget>
#include <QTableWidget>
#include <QTest>
#include <QTextBrowser>
#include <QToolButton>

#include <gmock/gmock.h>

#include "api/image_io.h"
#include "api/image_list.h"
#include "app/experiment_page.h"
#include "app/recovery_keeper.h"
#include "core/file_lock.h"
#include "core/keys.h"
#include "core/progress.h"
#include "core/project_file.h"
#include "core/user_folders.h"
#include "process/point/experiment_type.h"
#include "process/point/marker_frames.h"
#include "process/point/marker_io.h"
#include "process/point/mask_file_task.h"
#include "tests/app/app_fixture.h"

namespace vyn::test {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;

const QString type_caption = QStringLiteral("Experiment Type");
const QString busy_caption = QStringLiteral("Vyn, Processing");
const QString warning_caption = QStringLiteral("VynLite");

QString text_of(const fs::path& file) {
    return QString::fromStdString(file.string());
}

class Projects : public AppTest {
  protected:
    ~Projects() override { vyn_db().set_modified(false); }

    void choose_type(const char* choice) {
        expect_dialog(type_caption, [choice](QDialog& dialog) {
            dialog.findChild<QRadioButton*>(QLatin1String(choice))->setChecked(true);
            QTest::mouseClick(dialog.findChild<QAbstractButton*>(QStringLiteral("pbOk")),
                              Qt::LeftButton);
        });
    }
    void cancel(const QString& caption) {
        expect_dialog(caption, [](QDialog& dialog) { QTest::keyClick(&dialog, Qt::Key_Escape); });
    }
    /// The busy box that tells an error, then the warning.
    void expect_failure() {
        press(busy_caption, QStringLiteral("There are errors!"));
        press(warning_caption, QStringLiteral("OK"));
    }
    /// As the tools of a viewer do.
    static void draw_on_wind_on() {
        image drawn = *get_images().find("wind_on_sens");
        drawn.markers.markers.push_back({.x = 10, .y = 20, .id = 7});
        drawn.markers.hasX = drawn.markers.hasY = true;
        drawn.mask()(3, 4) = 1;
        get_images().add(std::move(drawn));
    }
    static void expect_drawing_on_wind_on() {
        const auto picture = get_images().find("wind_on_sens");
        ASSERT_TRUE(picture);
        ASSERT_EQ(picture->markers.markers.size(), 1u);
        EXPECT_EQ(picture->markers.markers[0].id, 7);
        EXPECT_EQ(picture->mask()(3, 4), 1);
        EXPECT_EQ(picture->mask()(4, 3), 0);
    }
    /// A project with one wind-on image in each of the folder's points 1 and 2, the first one open.
    void open_point_1() {
        for (const char* name : {"pt001_on.tif", "pt002_on.tif"}) {
            image picture(64, 64);
            picture.values().fill(100);
            picture.mask().fill(0);
            write_image(picture, folder / name);
        }
        simpleNamedDataSet data;
        write<std::string>(data, keys::wind_on_sens_file, "pt001_on.tif");
        write(data, keys::markers_order, 3);
        save_xml(data, (folder / "pt001.xml").c_str());
        window->open_files({text_of(folder / "pt001.xml")});
        ASSERT_TRUE(get_images().find("wind_on_sens"));
    }
};

TEST_F(Projects, ANewProjectIsSavedAndOpenedAgain) {
    choose_type("rbDouble");
    choose_file(QStringLiteral("New project"), folder / "fresh");
    action("fileNewAction").trigger();
    const fs::path file = folder / "fresh.xml";
    EXPECT_TRUE(fs::exists(file));
    EXPECT_EQ(child<QLineEdit>("dir_edit").text(), text_of(file));
    EXPECT_EQ(experiment_type(vyn_db()), ExperimentType::binary);
    EXPECT_FALSE(vyn_db().modified());

    write(vyn_db(), keys::markers_order, 2);
    QTest::qWait(300);
    EXPECT_TRUE(window->isWindowModified());
    window->activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(window.get()));
    QTest::keyClick(window.get(), Qt::Key_S, Qt::ControlModifier);
    EXPECT_FALSE(window->isWindowModified());

    choose_file(QStringLiteral("Save project as"), folder / "copy.ims");
    action("fileSaveAsAction").trigger();
    EXPECT_EQ(read(vyn_db(), keys::head_file), (folder / "copy.ims").string());
    start();
    choose_file(QStringLiteral("Open project"), folder / "copy.ims");
    action("fileOpenAction").trigger();
    EXPECT_EQ(read(vyn_db(), keys::markers_order), 2);
    EXPECT_TRUE(window->experiment_page());
    EXPECT_TRUE(all_answered());
}

TEST_F(Projects, CancelledDialogsChangeNothing) {
    open_point_1();
    const std::uint64_t before = vyn_db().revision();
    cancel(type_caption);
    action("fileNewAction").trigger();
    choose_type("rbLifeTime");
    cancel(QStringLiteral("New project"));
    action("fileNewAction").trigger();
    cancel(QStringLiteral("Open project"));
    action("fileOpenAction").trigger();
    cancel(QStringLiteral("Save project as"));
    action("fileSaveAsAction").trigger();
    cancel(QStringLiteral("New point from this one"));
    action("newPointAction").trigger();
    cancel(QStringLiteral("Vyn Lite project directory"));
    action("projectDirectoryAction").trigger();
    EXPECT_TRUE(all_answered());
    EXPECT_EQ(vyn_db().revision(), before);
    EXPECT_FALSE(vyn_db().modified());
    EXPECT_TRUE(get_images().find("wind_on_sens"));
    // Unsaved changes are not lost without a word.
    write(vyn_db(), keys::markers_order, 1);
    press(QStringLiteral("Warning!"), QStringLiteral("No"));
    action("fileNewAction").trigger();
    EXPECT_EQ(read(vyn_db(), keys::markers_order), 1);
    EXPECT_TRUE(all_answered());
}

TEST_F(Projects, ANewPointKeepsSettingsAndTakesTheNextImages) {
    open_point_1();
    press(QStringLiteral("New point from this one"), QStringLiteral("OK"));
    expect_dialog(QStringLiteral("Project of the new point"), [](QDialog& dialog) {
        QTest::keyClick(dialog.findChild<QLineEdit*>(QStringLiteral("fileNameEdit")),
                        Qt::Key_Return);
    });
    action("newPointAction").trigger();
    EXPECT_TRUE(all_answered());
    EXPECT_EQ(read(vyn_db(), keys::head_file), (folder / "pt002.xml").string());
    EXPECT_EQ(read(vyn_db(), keys::wind_on_sens_file), "pt002_on.tif");
    EXPECT_EQ(read(vyn_db(), keys::markers_order), 3);
    EXPECT_TRUE(get_images().find("wind_on_sens"));
    EXPECT_TRUE(fs::exists(folder / "pt002.xml"));
}

/// Something that cannot be opened, made in a folder.
struct Broken {
    const char* name;
    std::function<fs::path(const TemporaryFolder&)> make;
};

fs::path project_naming(const TemporaryFolder& folder, const std::string& image) {
    simpleNamedDataSet data;
    write(data, keys::wind_on_sens_file, image);
    save_xml(data, (folder / "bad.xml").c_str());
    return folder / "bad.xml";
}

class BrokenProjects : public Projects, public testing::WithParamInterface<Broken> {};

TEST_P(BrokenProjects, AreRefusedAndTheOldStateIsKept) {
    open_point_1();
    const auto images = get_images().names();
    const fs::path file = GetParam().make(folder);
    shown.clear();
    expect_failure();
    window->open_files({text_of(file)});
    EXPECT_TRUE(all_answered());
    EXPECT_THAT(shown, HasSubstr(" was not opened."));
    EXPECT_LT(shown.size(), 400u);
    EXPECT_EQ(read(vyn_db(), keys::head_file), (folder / "pt001.xml").string());
    EXPECT_EQ(read(vyn_db(), keys::wind_on_sens_file), "pt001_on.tif");
    EXPECT_EQ(read(vyn_db(), keys::markers_order), 3);
    EXPECT_EQ(get_images().names(), images);
    EXPECT_FALSE(vyn_db().modified());
    auto& log = child<QTextBrowser>("VYN log!");
    EXPECT_TRUE(QTest::qWaitFor(
        [&] { return log.toPlainText().contains(QStringLiteral("was not opened.")); }, 2000));
}

INSTANTIATE_TEST_SUITE_P(Inputs, BrokenProjects,
                         testing::Values(Broken{"Malformed",
                                                [](const TemporaryFolder& folder) {
                                                    put_file(folder / "bad.xml", "<project><head>");
                                                    return folder / "bad.xml";
                                                }},
                                         Broken{"Folder",
                                                [](const TemporaryFolder& folder) {
                                                    fs::create_directory(folder / "folder.xml");
                                                    return folder / "folder.xml";
                                                }},
                                         Broken{"UnpluggedPath",
                                                [](const TemporaryFolder&) {
                                                    return fs::path("/media/gone/point.xml");
                                                }},
                                         Broken{"HugeTextAsImage",
                                                [](const TemporaryFolder& folder) {
                                                    put_file(folder / "huge.tif",
                                                             "This is no image.\n");
                                                    fs::resize_file(folder / "huge.tif",
                                                                    std::uintmax_t{2} << 30);
                                                    return project_naming(folder, "huge.tif");
                                                }}),
                         [](const auto& row) { return row.param.name; });

/// The pictures went into another folder.
TEST_F(Projects, PicturesThatMovedAreLocatedAllAtOnce) {
    open_point_1();
    simpleNamedDataSet lost;
    from_xml(lost, to_xml(vyn_db()), "settings");
    fs::create_directories(folder / "archive" / "darks");
    MarkerSet drawn;
    drawn.markers.push_back({.x = 10, .y = 20, .id = 7});
    drawn.hasX = drawn.hasY = true;
    write_marker_file(folder / "archive" / "lost.mrk", drawn);
    fs::rename(folder / "pt001_on.tif", folder / "archive" / "lost_on.tif");
    fs::copy_file(folder / "archive" / "lost_on.tif", folder / "archive" / "darks" / "dark.tif");
    write<std::string>(lost, keys::wind_on_sens_file, "old/lost_on.tif");
    write<std::string>(lost, keys::wind_on_sens_mark_file, "old/lost.mrk");
    write<std::string>(lost, keys::wind_on_sens_dark_file, "old/darks/dark.tif");
    save_xml(lost, (folder / "lost.xml").c_str());
    window->open_files({text_of(folder / "lost.xml")});
    EXPECT_EQ(read(vyn_db(), keys::head_file), (folder / "lost.xml").string());
    EXPECT_FALSE(get_images().find("wind_on_sens"));
    EXPECT_TRUE(window->statusBar()->currentMessage().endsWith(QStringLiteral("3 warning(s)")))
        << window->statusBar()->currentMessage().toStdString();

    auto& locate = child<QToolButton>("wind_on_locate_btn");
    ASSERT_TRUE(QTest::qWaitFor([&] { return locate.isVisibleTo(window.get()); }));
    choose_file(QStringLiteral("Locate lost_on.tif"), folder / "archive" / "lost_on.tif");
    locate.click();
    EXPECT_TRUE(all_answered());
    EXPECT_EQ(read(vyn_db(), keys::wind_on_sens_file), "archive/lost_on.tif");
    EXPECT_EQ(read(vyn_db(), keys::wind_on_sens_mark_file), "archive/lost.mrk");
    EXPECT_EQ(read(vyn_db(), keys::wind_on_sens_dark_file), "archive/darks/dark.tif");
    ASSERT_TRUE(get_images().find("wind_on_sens"));
    EXPECT_FALSE(get_images().find("wind_on_sens")->markers.markers.empty());
    EXPECT_TRUE(get_images().find("wind_on_dark_sens"));
    EXPECT_TRUE(QTest::qWaitFor([&] { return !locate.isVisibleTo(window.get()); }));
    vyn_db().set_modified(false);
}

class BadTargets : public Projects, public testing::WithParamInterface<const char*> {};

TEST_P(BadTargets, KeepTheProjectUnsaved) {
    open_point_1();
    auto& edit = child<QLineEdit>("dir_edit");
    edit.selectAll();
    QTest::keyClicks(&edit, QLatin1String(GetParam()));
    QTest::keyClick(&edit, Qt::Key_Return);
    expect_failure();
    action("fileSaveAction").trigger();
    EXPECT_THAT(shown, HasSubstr("was not saved"));
    EXPECT_TRUE(vyn_db().modified());
    EXPECT_EQ(read(vyn_db(), keys::head_file), GetParam());
    EXPECT_TRUE(all_answered());
}

// A folder that is gone, and one that takes no files whoever asks.
INSTANTIATE_TEST_SUITE_P(Targets, BadTargets,
                         testing::Values("/media/gone/point.xml", "/proc/point.xml",
                                         "/proc/point.ims"));

TEST_F(Projects, AFileThatIsThereIsNotReplacedSilently) {
    open_point_1();
    put_file(folder / "other.xml", "precious");
    child<QLineEdit>("dir_edit").selectAll();
    QTest::keyClicks(&child<QLineEdit>("dir_edit"), text_of(folder / "other.xml"));
    QTest::keyClick(&child<QLineEdit>("dir_edit"), Qt::Key_Return);
    press(warning_caption, QStringLiteral("No"));
    action("fileSaveAction").trigger();
    EXPECT_TRUE(all_answered());
    EXPECT_EQ(get_file(folder / "other.xml"), "precious");
}

TEST_F(Projects, AProjectThatIsOpenElsewhereIsNoticed) {
    open_point_1();
    const fs::path lock = folder / ".pt001.xml.lock";
    EXPECT_TRUE(fs::exists(lock));
    // The own project can be opened again.
    window->open_files({text_of(folder / "pt001.xml")});
    vyn_db().set_modified(false);
    action("fileCloseAction").trigger();
    EXPECT_FALSE(fs::exists(lock));
    EXPECT_FALSE(window->experiment_page());

    const FileLock other(lock);
    press(warning_caption, QStringLiteral("No"));
    window->open_files({text_of(folder / "pt001.xml")});
    EXPECT_THAT(shown, HasSubstr("is open already (process "));
    EXPECT_EQ(read(vyn_db(), keys::head_file), "");
    press(warning_caption, QStringLiteral("Yes"));
    window->open_files({text_of(folder / "pt001.xml")});
    EXPECT_EQ(read(vyn_db(), keys::head_file), (folder / "pt001.xml").string());
    EXPECT_TRUE(all_answered());
}

TEST_F(Projects, WorkThatACrashLeftIsOfferedAndRecovered) {
    open_point_1();
    write(vyn_db(), keys::markers_order, 1);
    draw_on_wind_on();
    window->findChild<RecoveryKeeper*>()->look();
    start();  // the window did not close: as after a crash
    press(warning_caption, QStringLiteral("Yes"));
    window->offer_lost_work();
    EXPECT_THAT(shown, HasSubstr("pt001.xml"));
    EXPECT_EQ(read(vyn_db(), keys::markers_order), 1);
    EXPECT_EQ(read(vyn_db(), keys::head_file), (folder / "pt001.xml").string());
    expect_drawing_on_wind_on();
    EXPECT_TRUE(vyn_db().modified());
    // Closing for good leaves nothing to offer.
    press(QStringLiteral("Warning!"), QStringLiteral("Yes"));
    EXPECT_TRUE(window->close());
    start();
    window->offer_lost_work();
    EXPECT_TRUE(all_answered());
}

TEST_F(Projects, AFileThatOthersChangedMeanwhileIsNotReplacedWithoutAWord) {
    open_point_1();
    const fs::path file = folder / "pt001.xml";
    const std::string theirs = get_file(file) + "<!-- by another program -->";
    put_file(file, theirs);
    fs::last_write_time(file, fs::file_time_type::clock::now() + std::chrono::seconds(5));
    write(vyn_db(), keys::markers_order, 2);
    press(warning_caption, QStringLiteral("No"));
    action("fileSaveAction").trigger();
    EXPECT_THAT(shown, HasSubstr("was changed by another program meanwhile"));
    EXPECT_EQ(get_file(file), theirs);
    EXPECT_TRUE(vyn_db().modified());
    press(warning_caption, QStringLiteral("Yes"));
    action("fileSaveAction").trigger();
    action("fileSaveAction").trigger();  // now it is as this window wrote it
    EXPECT_TRUE(all_answered());
    EXPECT_NE(get_file(file), theirs);
}

/// The next save tries again.
TEST_F(Projects, ASaveThatFailedIsMadeUpFor) {
    open_point_1();
    const fs::path file = folder / "pt001.xml";
    write(vyn_db(), keys::markers_order, 2);
    fs::remove(file);
    fs::create_directory(file);
    press(warning_caption, QStringLiteral("Yes"));  // it is not as it was: replace it?
    expect_failure();
    action("fileSaveAction").trigger();
    EXPECT_TRUE(vyn_db().modified());
    fs::remove(file);
    action("fileSaveAction").trigger();
    EXPECT_TRUE(all_answered());
    EXPECT_FALSE(vyn_db().modified());
    EXPECT_THAT(get_file(file), HasSubstr("markers_order"));
}

TEST_F(Projects, MarkersAndMasksInNoFileAreNotLostWithoutAWord) {
    open_point_1();
    EXPECT_FALSE(window->isWindowModified());
    draw_on_wind_on();
    EXPECT_FALSE(vyn_db().modified());
    EXPECT_TRUE(QTest::qWaitFor([&] { return window->isWindowModified(); }))
        << "the star means markers in no file, too";
    press(QStringLiteral("Warning!"), QStringLiteral("No"));
    action("fileCloseAction").trigger();
    EXPECT_TRUE(all_answered());
    EXPECT_THAT(shown, HasSubstr("in no file yet: Wind-On."));
    expect_drawing_on_wind_on();

    TaskContext context;
    const auto picture = get_images().find("wind_on_sens");
    SaveMaskTask(program_session(), picture, folder / "mask.png", &raw_images()[1]).run(context);
    save_image_markers(vyn_db(), get_images(), *picture, folder / "on.mrk");
    vyn_db().set_modified(false);
    EXPECT_TRUE(QTest::qWaitFor([&] { return !window->isWindowModified(); }));
    action("fileCloseAction").trigger();
    EXPECT_FALSE(get_images().find("wind_on_sens"));
}

TEST_F(Projects, ADroppedProjectIsOpened) {
    simpleNamedDataSet data;
    save_xml(data, (folder / "dropped.xml").c_str());
    QMimeData files;
    files.setUrls({QUrl::fromLocalFile(text_of(folder / "dropped.xml"))});
    QDragEnterEvent enter(QPoint(5, 5), Qt::CopyAction, &files, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(window.get(), &enter);
    ASSERT_TRUE(enter.isAccepted());
    QDropEvent drop(QPointF(5, 5), Qt::CopyAction, &files, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(window.get(), &drop);
    EXPECT_TRUE(QTest::qWaitFor([] { return !read(vyn_db(), keys::head_file).empty(); }));
    EXPECT_TRUE(window->windowTitle().startsWith(QStringLiteral("dropped.xml")));
}

}  // namespace
}  // namespace vyn::test
