#include <algorithm>
#include <csignal>

#include <gmock/gmock.h>
#include <sys/resource.h>
#include <zip.h>

#include "core/errors.h"
#include "core/keys.h"
#include "core/project_file.h"
#include "markers/marker_files.h"
#include "process/point/mask_file_task.h"
#include "process/point/picture_warnings.h"
#include "process/point/raw_images.h"
#include "process/point/save_image_task.h"
#include "process/point/unsaved_work.h"
#include "process/project/ims.h"
#include "process/project/project_tasks.h"
#include "process/steps/chain.h"
#include "tests/support/error_of.h"
#include "tests/support/log_capture.h"
#include "tests/support/project_fixture.h"

namespace vyn::test {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;

/// Values that count up, one excluded pixel, and two markers of awkward positions.
image sample_image(const std::string& name, int width = 9, int height = 7) {
    image picture(width, height);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            picture.values()(x, y) = 0.1f * static_cast<float>(x) + 10.0f * static_cast<float>(y);
    picture.mask()(2, 1) = 1;
    picture.name = name;
    picture.markers.markers = {{.x = 1.0 / 3, .y = 2, .f = 1e5, .id = 7},
                               {.x = 4, .y = 5.125, .active = false, .id = 9}};
    picture.markers.hasX = picture.markers.hasY = picture.markers.hasF = true;
    return picture;
}

class ProjectTasks : public ProjectTest {
  protected:
    /// A project with two images in a sub-folder, by relative names.
    void write_project() {
        fs::create_directory(folder / "images");
        write_image(sample_image("off"), folder / "images/off.tif");
        write_image(sample_image("on"), folder / "images/on.tif");
        simpleNamedDataSet data;
        write<std::string>(data, keys::wind_off_sens_file, "images/off.tif");
        write<std::string>(data, keys::wind_on_sens_file, "images/on.tif");
        save_xml(data, project.c_str());
    }

    TaskOutcome read(const fs::path& file, std::vector<std::pair<std::string, any>> settings = {}) {
        return run(ReadProjectTask(
            program_session(),
            {.file = file, .geometry = ReadProject::Geometry::leave_out, .settings = settings}));
    }

    fs::path project = folder / "project.xml";
};

TEST_F(ProjectTasks, ReadsImagesByRelativeNamesAndKnowsItsFile) {
    write_project();
    EXPECT_EQ(read(project), TaskOutcome::done);
    ASSERT_TRUE(get_images().find("wind_off_sens"));
    EXPECT_EQ(get_images().find("wind_off_sens")->mask()(2, 1), 1);
    EXPECT_EQ(vyn::read(vyn_db(), keys::head_file), project.string());
    EXPECT_FALSE(vyn_db().modified());
}

TEST_F(ProjectTasks, FullPathThatMovedIsFoundBesideTheProject) {
    write_project();
    fs::rename(folder / "images/on.tif", folder / "on.tif");
    EXPECT_EQ(read(project, {{std::string(keys::wind_on_sens_file.path),
                              any(std::string("/no/such/folder/on.tif"))}}),
              TaskOutcome::done);
    EXPECT_TRUE(get_images().find("wind_on_sens"));
}

TEST_F(ProjectTasks, FailureNamesFileAndKeyAndKeepsTheOldProject) {
    write_project();
    ASSERT_EQ(read(project), TaskOutcome::done);
    const std::string before = to_xml(vyn_db());
    const auto old_image = get_images().find("wind_off_sens");
    try {
        read(project, {{std::string(keys::wind_on_sens_file.path), any(std::string("gone.tif"))}});
        FAIL() << "a missing image must not be ignored";
    } catch (const FileError& error) {
        EXPECT_THAT(error.what(), HasSubstr("gone.tif"));
        EXPECT_THAT(error.what(), HasSubstr(keys::wind_on_sens_file.path));
    }
    EXPECT_EQ(to_xml(vyn_db()), before);
    EXPECT_EQ(get_images().find("wind_off_sens"), old_image);
}

TEST_F(ProjectTasks, MaskFileAndSaturationExcludePixels) {
    write_project();
    image mask(9, 7);
    mask.values().fill(0);
    mask.values()(8, 6) = 255;
    write_image(mask, folder / "mask.tif");
    image dim = sample_image("on");
    dim.values().fill(1);
    write_image(dim, folder / "images/dim.tif");
    ASSERT_EQ(read(project,
                   {{std::string(keys::wind_on_sens_file.path),
                     any(std::string("images/on.tif;dim.tif"))},
                    {std::string(keys::wind_off_sens_mask_file.path), any(std::string("mask.tif"))},
                    {std::string(keys::saturation_level.path), any(60.75)},
                    {std::string(keys::saturation_exclude.path), any(1)}}),
              TaskOutcome::done);
    const auto off = get_images().find("wind_off_sens");
    EXPECT_EQ(off->mask()(8, 6), 1) << "in the mask file";
    EXPECT_EQ(off->mask()(0, 0), 0);
    const auto on = get_images().find("wind_on_sens");
    EXPECT_LT(on->values()(8, 6), 31);
    EXPECT_EQ(on->mask()(8, 6), 1) << "60.8 in one of the frames, saturated";
    EXPECT_EQ(on->mask()(7, 6), 0) << "60.7, below the level";
}

/// Drawn regions are work like masks: saved, asked for, and used.
TEST_F(ProjectTasks, RegionsAreSavedBesideTheMask) {
    write_project();
    ASSERT_EQ(read(project), TaskOutcome::done);
    image drawn = *get_images().find("wind_off_sens");
    drawn.fill_region(1);
    EXPECT_FALSE(drawn.has_unsaved_mask()) << "inside everywhere, as without a region";
    drawn.region()(3, 2) = 0;
    EXPECT_TRUE(drawn.has_unsaved_mask());
    get_images().add(std::move(drawn));
    const RawImage& raw = raw_images()[0];
    ASSERT_EQ(run(SaveMaskTask(program_session(), get_images().find("wind_off_sens"),
                               folder / "m.png", &raw)),
              TaskOutcome::done);
    EXPECT_FALSE(get_images().find("wind_off_sens")->has_unsaved_mask());
    ASSERT_EQ(run(WriteProjectTask(program_session(), project)), TaskOutcome::done);
    EXPECT_EQ(vyn::read(vyn_db(), keys::wind_off_sens_region_file), "m_region.png");
    reset();
    ASSERT_EQ(read(project), TaskOutcome::done);
    const auto loaded = get_images().find("wind_off_sens");
    ASSERT_TRUE(loaded->has_region());
    EXPECT_EQ(loaded->region()(3, 2), 0);
    EXPECT_EQ(loaded->region()(2, 3), 1);
    EXPECT_FALSE(loaded->has_unsaved_mask());

    const auto report = std::make_shared<RunReport>();
    write(vyn_db(), keys::markers_enable, 0);
    ASSERT_EQ(run(*calculate(Goal::ratio, program_session(), report)), TaskOutcome::done);
    EXPECT_EQ(get_images().find("wind_off_sens_cor")->region()(3, 2), 0);
    EXPECT_NE(get_images().find("Iref")->mask()(3, 2), 0);
    EXPECT_EQ(get_images().find("Iref")->mask()(2, 3), 0);
}

TEST_F(ProjectTasks, SaveAsInAnotherFolderKeepsRelativeNamesTrue) {
    write_project();
    ASSERT_EQ(read(project), TaskOutcome::done);
    fs::create_directory(folder / "elsewhere");
    const fs::path moved = folder / "elsewhere/copy.xml";
    ASSERT_EQ(run(WriteProjectTask(program_session(), moved)), TaskOutcome::done);
    EXPECT_EQ(vyn::read(vyn_db(), keys::wind_off_sens_file), "../images/off.tif");
    EXPECT_EQ(read(moved), TaskOutcome::done);
}

/// So that a copy of the folder computes with its own pictures.
TEST_F(ProjectTasks, FullNamesBelowTheProjectAreStoredRelatively) {
    write_project();
    ASSERT_EQ(read(project), TaskOutcome::done);
    const std::string full = (folder / "images/off.tif");
    const auto off = get_images().find("wind_off_sens");
    write(vyn_db(), keys::wind_off_sens_file, full);
    write<std::string>(vyn_db(), keys::wind_off_sens_dark_file, "/elsewhere/dark.tif");
    EXPECT_EQ(folder_warning(vyn_db(), *off), "");
    ASSERT_EQ(run(WriteProjectTask(program_session(), project)), TaskOutcome::done);
    EXPECT_EQ(vyn::read(vyn_db(), keys::wind_off_sens_file), "images/off.tif");
    EXPECT_EQ(vyn::read(vyn_db(), keys::wind_off_sens_dark_file), "/elsewhere/dark.tif");

    fs::create_directory(folder / "copy");
    fs::copy_file(full, folder / "copy/off.tif");
    write(vyn_db(), keys::head_file, std::string(folder / "copy/project.xml"));
    EXPECT_THAT(folder_warning(vyn_db(), *off), HasSubstr("images/off.tif, although"));
}

TEST_F(ProjectTasks, ContainerHoldsSettingsAndImagesExactly) {
    write_project();
    ASSERT_EQ(read(project), TaskOutcome::done);
    get_images().add(sample_image("wind_off_sens"));
    get_images().add(sample_image("field_P", 5, 3));
    write<std::string>(vyn_db(), keys::wind_off_sens_mark_file, "off.mrk");
    write(vyn_db(), keys::threshold_min, 0.1);
    const fs::path container = folder / "point.ims";
    ASSERT_EQ(run(WriteProjectTask(program_session(), container)), TaskOutcome::done);
    const auto original = get_images().find("wind_off_sens");
    fs::remove_all(folder / "images");

    reset();
    ASSERT_EQ(read(container), TaskOutcome::done);
    EXPECT_EQ(vyn::read(vyn_db(), keys::threshold_min), 0.1);
    const auto stored = get_images().find("wind_off_sens");
    ASSERT_TRUE(stored) << "images of the container win over paths that are not there";
    EXPECT_TRUE(same_bits(*stored, *original));
    EXPECT_EQ(stored->markers, original->markers);
    ASSERT_TRUE(get_images().find("field_P"));
    EXPECT_EQ(get_images().find("field_P")->width(), 5);
}

TEST_F(ProjectTasks, AContainerSavesWhatWasDrawnAndServesARecoveredProject) {
    write_project();
    ASSERT_EQ(read(project), TaskOutcome::done);
    for (const char* name : {"wind_off_sens", "wind_on_sens", "Iref"}) {
        image picture = sample_image(name);
        picture.note_markers_saved();
        picture.note_mask_saved();
        picture.markers.markers[0].x = 3;
        picture.mask()(4, 4) = 1;
        get_images().add(std::move(picture));
    }
    write<std::string>(vyn_db(), keys::wind_on_sens_mark_file, "on.mrk");
    const fs::path container = folder / "point.ims";
    ASSERT_EQ(run(WriteProjectTask(program_session(), container)), TaskOutcome::done);
    EXPECT_TRUE(unsaved_pictures(get_images()).empty());

    // The settings changed after that, and only a copy of them is left.
    write<std::string>(vyn_db(), keys::wind_off_sens_file, "images/on.tif");
    save_xml(vyn_db(), (folder / "copy.xml").c_str());
    reset();
    ReadProject request{.file = folder / "copy.xml", .inputs = container, .settings = {}};
    request.settings.emplace_back(keys::head_file.path, any(container.string()));
    ASSERT_EQ(run(ReadProjectTask(program_session(), request)), TaskOutcome::done);
    EXPECT_EQ(get_images().find("wind_on_sens")->mask()(4, 4), 1);
    EXPECT_EQ(get_images().find("wind_on_sens")->markers.markers[0].x, 3);
    EXPECT_EQ(get_images().find("wind_off_sens")->mask()(4, 4), 0) << "another file is named now";
    EXPECT_FALSE(get_images().find("Iref"));
}

TEST_F(ProjectTasks, OfAContainersInputsThoseThatTheProjectNamesAreRead) {
    write_project();
    ASSERT_EQ(read(project), TaskOutcome::done);
    get_images().add(sample_image("wind_off_dark_sens"));
    get_images().add(sample_image("Iref"));
    const fs::path container = folder / "point.ims";
    ASSERT_EQ(run(WriteProjectTask(program_session(), container)), TaskOutcome::done);
    EXPECT_EQ(read_ims_data(container, context).images.size(), get_images().all().size());
    ASSERT_EQ(read(container), TaskOutcome::done);
    EXPECT_TRUE(get_images().find("wind_on_sens"));
    EXPECT_TRUE(get_images().find("Iref"));
    EXPECT_FALSE(get_images().find("wind_off_dark_sens")) << "no setting names it";
}

/// Whichever of the container's parts the disk has no room for.
TEST_F(ProjectTasks, AFullDiskIsSaidOnceWithTheTargetsName) {
    write_project();
    ASSERT_EQ(read(project), TaskOutcome::done);
    const fs::path container = folder / "point.ims";
    std::signal(SIGXFSZ, SIG_IGN);
    rlimit unlimited{};
    getrlimit(RLIMIT_FSIZE, &unlimited);
    for (const rlim_t most : {100U, 3000U}) {
        const rlimit full{most, unlimited.rlim_max};
        const LogCapture log;
        setrlimit(RLIMIT_FSIZE, &full);
        const auto error = error_of<FileError>(
            [&] { WriteProjectTask(program_session(), container).run(context); });
        setrlimit(RLIMIT_FSIZE, &unlimited);
        EXPECT_THAT(error.detail, testing::StartsWith(container.string() + ": "));
        EXPECT_THAT(error.detail, testing::Not(HasSubstr(".vyn-")));
        const auto lines = log.lines();
        EXPECT_EQ(std::ranges::count_if(
                      lines, [](const std::string& line) { return line.starts_with("2 "); }),
                  2)
            << "what failed, and why";
        EXPECT_FALSE(fs::exists(container));
    }
    EXPECT_EQ(run(WriteProjectTask(program_session(), container)), TaskOutcome::done);
}

TEST_F(ProjectTasks, NamesThatAreNoUtf8AreNoHindrance) {
    write_project();
    const std::string name = "images/m\xE9lange.tif";
    fs::copy_file(folder / "images/on.tif", folder / name);
    ASSERT_EQ(run(ReadProjectTask(
                  program_session(),
                  {.file = project,
                   .settings = {{std::string(keys::wind_on_sens_file.path), any(name)}}})),
              TaskOutcome::done);
    EXPECT_EQ(run(SaveImageTask(program_session(), "wind_on_sens", folder / "out.imp")),
              TaskOutcome::done);
    const fs::path container = folder / "point.ims";
    ASSERT_EQ(run(WriteProjectTask(program_session(), container)), TaskOutcome::done);
    fs::remove_all(folder / "images");
    ASSERT_EQ(read(container), TaskOutcome::done);
    EXPECT_EQ(vyn::read(vyn_db(), keys::wind_on_sens_file), name);
    EXPECT_TRUE(get_images().find("wind_on_sens"));
}

TEST_F(ProjectTasks, DamagedContainersAreRefused) {
    get_images().add(sample_image("field_P"));
    const fs::path container = folder / "point.ims";
    ASSERT_EQ(run(WriteProjectTask(program_session(), container)), TaskOutcome::done);
    const std::string bytes = get_file(container);
    const fs::path damaged = folder / "damaged.ims";
    for (std::size_t length = 0; length < bytes.size(); length += 97) {
        put_file(damaged, bytes.substr(0, length));
        EXPECT_THROW(read(damaged), FileError) << "cut off at " << length;
    }
    for (std::size_t at = 0; at < bytes.size(); at += 61) {
        std::string flipped = bytes;
        flipped[at] = static_cast<char>(flipped[at] ^ 0x55);
        put_file(damaged, flipped);
        try {
            read(damaged);
        } catch (const GenericError&) {  // refused or harmless, but never a crash
        }
    }
}

TEST_F(ProjectTasks, NewerContainerIsRefused) {
    get_images().add(sample_image("field_P"));
    const fs::path container = folder / "point.ims";
    ASSERT_EQ(run(WriteProjectTask(program_session(), container)), TaskOutcome::done);
    const std::string header = R"({"format": 99, "images": []})";
    zip_t* archive = zip_open(container.c_str(), 0, nullptr);
    zip_file_add(archive, "ims.json", zip_source_buffer(archive, header.data(), header.size(), 0),
                 ZIP_FL_OVERWRITE);
    ASSERT_EQ(zip_close(archive), 0);
    try {
        read(container);
        FAIL();
    } catch (const FileError& error) {
        EXPECT_THAT(error.what(), HasSubstr("newer version"));
    }
}

/// A small file must not fill disk and memory.
TEST_F(ProjectTasks, ContainersThatUnpackToTooMuchAreRefused) {
    const std::string one = R"({"entry": "a.imp", "name": "a"})";
    const std::string zeros(std::size_t{80} << 20, '\0');
    const std::string settings = to_xml(simpleNamedDataSet());
    for (const auto& [images, told] :
         {std::pair{one + "," + one, "names the entry \"a.imp\" twice"},
          {one, "unpacks to 80 MiB"}}) {
        const fs::path container = folder / "bomb.ims";
        fs::remove(container);
        const std::string header = R"({"format": 1, "images": [)" + images + "]}";
        zip_t* archive = zip_open(container.c_str(), ZIP_CREATE, nullptr);
        for (const auto& [name, content] :
             {std::pair<const char*, const std::string&>{"ims.json", header},
              {"project.xml", settings},
              {"a.imp", zeros}})
            zip_file_add(archive, name,
                         zip_source_buffer(archive, content.data(), content.size(), 0), 0);
        ASSERT_EQ(zip_close(archive), 0);
        EXPECT_LT(fs::file_size(container), 200'000u);
        EXPECT_THAT(error_of<FileError>([&] { read(container); }).detail, HasSubstr(told));
    }
}

TEST_F(ProjectTasks, FixMarkersFollowsTheDataSet) {
    const image with = sample_image("wind_off_sens");
    image without = sample_image("wind_on_sens");
    without.markers = MarkerSet();
    const fs::path file = folder / "on.mrk";
    write_markers(file.string(), with.markers);

    get_images().add(image(with));
    get_images().add(std::move(without));
    write(vyn_db(), keys::wind_on_sens_mark_file, file.string());
    fixMarkersDs(vyn_db(), get_images());
    EXPECT_EQ(get_images().find("wind_off_sens")->markers, with.markers) << "no file has them";
    EXPECT_EQ(get_images().find("wind_on_sens")->markers.markers.size(), 2u)
        << "read from the file that the key names";

    get_images().add(image(with));
    write<std::string>(vyn_db(), keys::wind_off_sens_mark_file, "not_there.mrk");
    fixMarkersDs(vyn_db(), get_images());
    EXPECT_EQ(get_images().find("wind_off_sens")->markers, with.markers)
        << "markers stored with the image are kept";
}

}  // namespace
}  // namespace vyn::test
