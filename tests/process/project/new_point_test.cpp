#include "process/project/new_point.h"

#include <chrono>
#include <csignal>
#include <thread>

#include <gmock/gmock.h>
#include <sys/wait.h>
#include <unistd.h>

#include "core/keys.h"
#include "core/project_file.h"
#include "process/project/project_tasks.h"
#include "process/project/recovery_copy.h"
#include "tests/support/project_fixture.h"

namespace vyn::test {
namespace {

namespace fs = std::filesystem;

class NewPoint : public ProjectTest {
  protected:
    /// Files in the project's folder, and settings that name some of them.
    void project(const std::vector<std::string>& files) {
        for (const std::string& file : files)
            put_file(folder / file, "x");
        write(data, keys::head_file, (folder / "run12_pt003.xml").string());
    }
    void names(Key<std::string> key, const std::string& file) { write(data, key, file); }
    static std::string new_name(const vyn::NextPoint& point, Key<std::string> key) {
        for (const auto& file : point.files)
            if (file.key == key.path) return file.new_name;
        return "no such file";
    }
    simpleNamedDataSet data;
};

TEST_F(NewPoint, FollowsTheNumberThatMostFilesShare) {
    project({"run12_pt003_cam1_on.tif", "run12_pt003_cam2_on.tif", "run12_pt005_cam1_on.tif",
             "run12_pt005_cam1_on.mrk", "run12_pt0051_cam1_on.tif", "run12_pt010_cam1_on.tif",
             "run12_pt003_cam1_off.tif", "run12_pt005_cam1_off.tif", "dark.tif"});
    names(keys::wind_on_sens_file, "run12_pt003_cam1_on.tif");
    names(keys::wind_on_sens_mark_file, (folder / "run12_pt003_cam1_on.mrk").string());
    names(keys::wind_off_sens_file, "run12_pt003_cam1_off.tif");
    names(keys::wind_off_sens_dark_file, "dark.tif");
    const auto points = find_next_points(data);
    ASSERT_EQ(points.size(), 2u);  // the point, and the other camera
    const vyn::NextPoint& point = points[0];
    EXPECT_EQ(point.from, "pt003");
    EXPECT_EQ(point.to, "pt005");
    EXPECT_EQ(point.found(), 3);
    EXPECT_EQ(new_name(point, keys::wind_on_sens_file), "run12_pt005_cam1_on.tif");
    EXPECT_EQ(new_name(point, keys::wind_on_sens_mark_file),
              (folder / "run12_pt005_cam1_on.mrk").string());
    EXPECT_EQ(new_name(point, keys::wind_off_sens_dark_file), "dark.tif");
    EXPECT_EQ(point.project, (folder / "run12_pt005.xml").string());
    EXPECT_EQ(points[1].to, "cam2");
}

TEST_F(NewPoint, NumbersMayGrowADigitAndNamesWithoutNumbersHaveNoWay) {
    project({"9.tif", "10.tif", "on.tif"});
    names(keys::wind_on_sens_file, "9.tif");
    names(keys::wind_off_sens_file, "on.tif");
    const auto points = find_next_points(data);
    ASSERT_EQ(points.size(), 1u);
    EXPECT_EQ(new_name(points[0], keys::wind_on_sens_file), "10.tif");
    EXPECT_EQ(new_name(points[0], keys::wind_off_sens_file), "on.tif") << "both points' own";
    EXPECT_EQ(points[0].found(), 1);
    EXPECT_EQ(points[0].project, (folder / "run12_pt003_10.xml").string());
    names(keys::wind_on_sens_file, "10.tif");
    EXPECT_TRUE(find_next_points(data).empty());
}

TEST_F(NewPoint, KeepsSettingsAndEmptiesPictures) {
    dataSetInterface& db = vyn_db();
    write<std::string>(db, keys::wind_on_sens_file, "a.tif");
    write<std::string>(db, keys::wind_off_sens_dark_file, "d.tif");
    write(db, keys::markers_order, 3);
    for (const char* name : {"wind_on_sens", "wind_off_dark_sens", "flat_sens", "field_P"}) {
        image picture(4, 4);
        picture.name = name;
        get_images().add(std::move(picture));
    }
    empty_point(db, get_images());
    EXPECT_EQ(read(db, keys::wind_on_sens_file), "");
    EXPECT_EQ(read(db, keys::wind_off_sens_dark_file), "");
    EXPECT_EQ(read(db, keys::markers_order), 3);
    EXPECT_EQ(read(db, keys::pressure_file), "pressure.imp");
    EXPECT_THAT(get_images().names(), testing::ElementsAre("flat_sens"));
}

TEST_F(NewPoint, ACreatedProjectIsReadBack) {
    auto settings = std::make_shared<simpleNamedDataSet>();
    write(*settings, keys::markers_order, 2);
    for (const char* name : {"new.xml", "new.ims"}) {
        write(vyn_db(), keys::markers_order, 1);
        run(CreateProjectTask(settings, folder / name));
        EXPECT_EQ(read(vyn_db(), keys::markers_order), 1);
        run(ReadProjectTask(program_session(), {.file = folder / name, .settings = {}}));
        EXPECT_EQ(read(vyn_db(), keys::markers_order), 2) << name;
        EXPECT_EQ(read(vyn_db(), keys::head_file), (folder / name).string());
    }
}

class Recovery : public ProjectTest {};

TEST_F(Recovery, ABrokenMaskDoesNotLoseTheMarkers) {
    image picture(16, 8);
    picture.name = image_names::wind_off_sens;
    picture.note_markers_saved();
    picture.note_mask_saved();
    get_images().add(image(picture));
    picture.markers.markers.push_back({.x = 3, .y = 4, .id = 5});
    picture.markers.hasX = picture.markers.hasY = true;
    picture.mask()(1, 2) = 1;
    picture.fill_region(1);
    picture.region()(5, 5) = 0;
    const fs::path states = folder / "states";
    auto running = std::make_unique<RecoveryCopy>(states);
    running->keep(to_xml(vyn_db()), {std::make_shared<const image>(std::move(picture))});
    running.reset();
    const auto lost = find_lost_work(states);
    ASSERT_EQ(lost.size(), 1u);
    ASSERT_TRUE(lost[0].has_pictures());
    for (const auto& entry : fs::recursive_directory_iterator(states))
        if (entry.path().filename() == "wind_off_sens.png") put_file(entry.path(), "cut off");
    EXPECT_EQ(run(RestorePicturesTask(program_session(), lost[0].copy)),
              TaskOutcome::done_with_errors);
    const auto found = get_images().find(image_names::wind_off_sens);
    ASSERT_EQ(found->markers.markers.size(), 1u);
    EXPECT_EQ(found->markers.markers[0].id, 5);
    EXPECT_EQ(found->mask()(1, 2), 0);
    EXPECT_EQ(found->region()(5, 5), 0);
    EXPECT_EQ(found->region()(5, 4), 1);
    EXPECT_TRUE(found->has_unsaved_markers());
}

image marked(const char* name, int markers) {
    image picture(4, 4);
    picture.name = name;
    picture.note_mask_saved();
    picture.note_markers_saved();
    picture.markers.hasX = picture.markers.hasY = true;
    for (int i = 1; i <= markers; ++i)
        picture.markers.markers.push_back({.x = 1, .y = 2, .id = i});
    return picture;
}

/// Removing all markers is work, too, and so are those with a unit that no file can hold.
TEST_F(Recovery, KeepsThatAllMarkersWereRemoved) {
    const fs::path states = folder / "states";
    image emptied = marked(image_names::wind_off_sens, 3);
    emptied.note_markers_saved();
    get_images().add(image(emptied));
    get_images().add(marked(image_names::wind_on_sens, 0));
    emptied.markers.markers.clear();
    image drawn = marked(image_names::wind_on_sens, 2);
    drawn.markers.lengthUnit = 3;
    auto running = std::make_unique<RecoveryCopy>(states);
    running->keep("", {std::make_shared<const image>(std::move(emptied)),
                       std::make_shared<const image>(std::move(drawn))});
    const fs::path pictures = [&] {
        for (const auto& entry : fs::directory_iterator(states))
            if (entry.is_directory()) return entry.path();
        return fs::path();
    }();
    const fs::path copy = pictures.string() + ".xml";
    // As after a crash right before they got to their place.
    fs::rename(pictures, pictures.string() + ".new");
    EXPECT_EQ(run(RestorePicturesTask(program_session(), copy)), TaskOutcome::done);
    EXPECT_TRUE(get_images().find(image_names::wind_off_sens)->markers.markers.empty());
    EXPECT_EQ(get_images().find(image_names::wind_on_sens)->markers.markers.size(), 2u);
}

/// Killed whenever it may be, a program leaves a whole copy.
TEST_F(Recovery, SurvivesKills) {
    constexpr int kills = 25;
    const auto first = std::make_shared<const image>(marked(image_names::wind_off_sens, 40));
    const auto second = std::make_shared<const image>(marked(image_names::wind_on_sens, 40));
    for (int i = 0; i < kills; ++i) {
        const fs::path states = folder / std::to_string(i);
        int ready[2];
        ASSERT_EQ(pipe(ready), 0);
        const pid_t child = fork();
        if (child == 0) {
            RecoveryCopy copy(states);
            simpleNamedDataSet data;
            for (int k = 0;; ++k) {
                copy.keep(to_xml(data), {first, second});
                if (k == 0 && ::write(ready[1], "x", 1) != 1) _exit(1);
            }
        }
        char byte = 0;
        ASSERT_EQ(::read(ready[0], &byte, 1), 1);
        std::this_thread::sleep_for(std::chrono::microseconds(137 * i));
        kill(child, SIGKILL);
        waitpid(child, nullptr, 0);
        close(ready[0]);
        close(ready[1]);
        const auto lost = find_lost_work(states);
        ASSERT_EQ(lost.size(), 1u) << i;
        get_images().add(marked(image_names::wind_off_sens, 0));
        get_images().add(marked(image_names::wind_on_sens, 0));
        EXPECT_EQ(run(RestorePicturesTask(program_session(), lost[0].copy)), TaskOutcome::done);
        for (const char* name : {image_names::wind_off_sens, image_names::wind_on_sens})
            EXPECT_EQ(get_images().find(name)->markers.markers.size(), 40u) << i;
    }
}

TEST(RecoveryCopy, IsFoundOnlyWhenItsProgramIsGone) {
    const TemporaryFolder folder;
    simpleNamedDataSet data;
    write<std::string>(data, keys::head_file, "/data/point.xml");
    auto running = std::make_unique<RecoveryCopy>(folder.path());
    EXPECT_TRUE(find_lost_work(folder.path()).empty());
    RecoveryCopy beside(folder.path());  // has a copy of its own
    running->keep(to_xml(data), {});
    beside.drop();
    EXPECT_TRUE(find_lost_work(folder.path()).empty());
    running.reset();  // as after a crash: the copy stays, the lock goes
    put_file(folder / "unsaved-0-0.xml", "broken");
    {
        const auto lost = find_lost_work(folder.path());
        ASSERT_EQ(lost.size(), 1u);
        EXPECT_EQ(lost[0].project, "/data/point.xml");
        // Another start of the program does not offer it again meanwhile, nor write over it.
        EXPECT_TRUE(find_lost_work(folder.path()).empty());
        RecoveryCopy other(folder.path());
        other.keep("", {});
        other.drop();
        EXPECT_TRUE(std::filesystem::exists(lost[0].copy));
    }
    EXPECT_EQ(find_lost_work(folder.path()).size(), 1u);
    find_lost_work(folder.path())[0].discard();
    EXPECT_TRUE(find_lost_work(folder.path()).empty());
}

}  // namespace
}  // namespace vyn::test
