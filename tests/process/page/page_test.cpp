#include <gmock/gmock.h>

#include "core/errors.h"
#include "core/keys.h"
#include "markers/marker_files.h"
#include "process/page/dark_background.h"
#include "process/page/likely_places.h"
#include "process/page/page_state.h"
#include "process/page/page_steps.h"
#include "process/page/user_words.h"
#include "process/point/read_options.h"
#include "process/point/set_input_task.h"
#include "process/project/project_tasks.h"
#include "sample/synthetic_point.h"
#include "tests/support/error_of.h"
#include "tests/support/log_capture.h"
#include "tests/support/project_fixture.h"

namespace vyn::test {
namespace {

using Kind = ImageState::Kind;
using testing::Contains;
using testing::HasSubstr;
using testing::IsEmpty;

/// A single-channel point on disk, opened.
class Page : public ProjectTest {
  protected:
    Page() {
        point = make_synthetic_point({.width = 160, .height = 120}, context);
        write_synthetic_point(point, folder.path(), context);
        run(ReadProjectTask(program_session(), {.file = folder / "project.xml",
                                                .geometry = ReadProject::Geometry::leave_out,
                                                .settings = {}}));
    }

    /// The results that the page lists now.
    static std::vector<std::string> listed() {
        std::vector<std::string> names;
        for (const ResultEntry& result : page_state(vyn_db(), get_images()).results)
            names.push_back(result.image);
        return names;
    }
    TaskOutcome step(PageStep wanted) { return run(*page_job(wanted, program_session(), report)); }
    ImageState state_of(const std::string& name) {
        return ImageStates(vyn_db(), get_images()).of(name);
    }
    TaskOutcome put(Key<std::string> key, const std::string& file) {
        for (const InputFile& input : input_files())
            if (input.file.path == key.path)
                return run(SetInputTask(program_session(), input, file));
        return TaskOutcome::failed;
    }

    SyntheticPoint point;
    std::shared_ptr<RunReport> report = std::make_shared<RunReport>();
};

TEST_F(Page, SingleStepsGiveTheBitsOfCalculateAll) {
    ASSERT_EQ(step(PageStep::all), TaskOutcome::done);
    const auto whole = get_images().find(image_names::field);
    remove_results(get_images());
    EXPECT_TRUE(page_job(PageStep::ratio, program_session(), report)->empty());
    for (const PageStep each : {PageStep::correct_wind_off, PageStep::correct_wind_on,
                                PageStep::ratio, PageStep::field}) {
        EXPECT_THAT(missing_for(each, vyn_db(), get_images()), IsEmpty());
        ASSERT_EQ(step(each), TaskOutcome::done);
    }
    EXPECT_TRUE(same_bits(*whole, *get_images().find(image_names::field)));
    EXPECT_EQ(whole->origin, get_images().find(image_names::field)->origin);
}

/// Something behind the results changes; the first result that it makes old, and words that its
/// reason must hold.
struct Change {
    const char* name;
    std::function<void(Page&, const TemporaryFolder&)> make;
    const char* first_old;
    const char* reason;
    bool loads = false;  ///< an input that has to be loaded anew before results are current
};

class OutOfDate : public Page, public testing::WithParamInterface<Change> {};

TEST_P(OutOfDate, MarksWhatCameFromIt) {
    ASSERT_EQ(step(PageStep::all), TaskOutcome::done);
    const std::vector<std::string> results = listed();
    for (const std::string& name : results)
        ASSERT_EQ(state_of(name).kind, Kind::current) << name << ": " << state_of(name).reason;

    GetParam().make(*this, folder);
    bool old = false;
    for (const std::string& name : results) {
        // Both corrected images come first; a change of one leaves the other as it is.
        const bool of_other = name == image_names::wind_on_sens_cor &&
                              GetParam().first_old == std::string(image_names::wind_off_sens_cor);
        old |= name == GetParam().first_old;
        const ImageState state = state_of(name);
        if (of_other) continue;
        EXPECT_EQ(state.kind == Kind::out_of_date, old) << name << ": " << state.reason;
        if (old) {
            EXPECT_THAT(state.reason, HasSubstr(GetParam().reason)) << name;
        }
    }
    ASSERT_EQ(step(PageStep::all), TaskOutcome::done);
    for (const char* name : {image_names::ratio, image_names::field})
        EXPECT_EQ(state_of(name).kind, GetParam().loads ? Kind::out_of_date : Kind::current);
}

template <class T>
auto sets(Key<T> key, T value) {
    return [=](Page&, const TemporaryFolder&) { write(vyn_db(), key, value); };
}

auto names_a_file(Key<std::string> key) {
    return [=](Page&, const TemporaryFolder& folder) {
        put_file(folder / "added.png", "x");
        write(vyn_db(), key, std::string("added.png"));
    };
}

void write_anew(const std::filesystem::path& file) {
    put_file(file, get_file(file) + "x");
}

INSTANTIATE_TEST_SUITE_P(
    Changes, OutOfDate,
    testing::Values(
        Change{"dark_level", sets(keys::wind_off_sens_dark, 7.0), image_names::wind_off_sens_cor,
               "dark level of the wind-off image, signal channel, in counts changed from "},
        Change{"order", sets(keys::markers_order, 1), image_names::wind_on_sens_aligned,
               "order of the mapping changed from 2 to 1"},
        Change{"thinning", sets(keys::filter_thinning, 1), image_names::ratio, "thinning"},
        Change{"quantity", sets(keys::convert_field, std::string("Cp")), image_names::field,
               "from Pressure to Cp"},
        Change{"file",
               [](Page&, const TemporaryFolder& folder) { write_anew(folder / "wind_off.tif"); },
               image_names::wind_off_sens_cor, "on disk", true},
        Change{"mask_file", names_a_file(keys::wind_off_sens_mask_file),
               image_names::wind_off_sens_cor, "the mask file of Wind-Off was added", true},
        Change{"region_file", names_a_file(keys::wind_off_sens_region_file),
               image_names::wind_off_sens_cor, "the region file of Wind-Off was added", true},
        Change{"saturation_level", sets(keys::saturation_level, 60000.0),
               image_names::wind_off_sens_cor, " to 60000", true},
        Change{"camera_full_scale", sets(keys::sens_full_scale, 60000.0),
               image_names::wind_off_sens_cor, " from 0 to 60000", true},
        Change{"first_row", sets(keys::files_fits_first_row, std::string("bottom")),
               image_names::wind_off_sens_cor, " from top to bottom", true},
        Change{"saturation_exclude", sets(keys::saturation_exclude, 1),
               image_names::wind_off_sens_cor, " from 0 to 1", true},
        Change{"no_dark",
               [](Page&, const TemporaryFolder&) {
                   TaskContext context;
                   SetInputTask(program_session(), *input_of_image(image_names::wind_off_dark_sens),
                                "")
                       .run(context);
               },
               image_names::wind_off_sens_cor, "file of Wind-Off background was taken out"},
        Change{"marker",
               [](Page&, const TemporaryFolder&) {
                   image moved = *get_images().find(image_names::wind_off_sens);
                   moved.markers.markers[0].x += 0.25;
                   get_images().add(std::move(moved));
               },
               image_names::wind_off_sens_cor, "the markers of Wind-Off changed"},
        Change{"marker_of_corrected",
               [](Page&, const TemporaryFolder&) {
                   image moved = *get_images().find(image_names::wind_on_sens_cor);
                   moved.markers.markers[0].x += 0.25;
                   get_images().add(std::move(moved));
               },
               image_names::wind_on_sens_aligned, "the markers of Wind-On"},
        Change{"mask",
               [](Page&, const TemporaryFolder&) {
                   image masked = *get_images().find(image_names::wind_off_sens);
                   masked.mask()(80, 60) = 1;
                   get_images().add(std::move(masked));
               },
               image_names::wind_off_sens_cor, "the mask of Wind-Off changed"}),
    [](const auto& test) { return std::string(test.param.name); });

class TwoChannels : public Page, public testing::WithParamInterface<SyntheticOptions::Channels> {};

TEST_P(TwoChannels, EveryResultKnowsBothChannels) {
    write_synthetic_point(
        make_synthetic_point({.width = 160, .height = 120, .channels = GetParam()}, context),
        folder.path(), context);
    ASSERT_EQ(run(ReadProjectTask(program_session(), {.file = folder / "project.xml",
                                                      .geometry = ReadProject::Geometry::leave_out,
                                                      .settings = {}})),
              TaskOutcome::done);
    ASSERT_EQ(step(PageStep::all), TaskOutcome::done);
    const auto whole = get_images().find(image_names::field);
    const std::vector<std::string> results = listed();
    ASSERT_EQ(results.size(), 8u);
    for (const std::string& name : results)
        EXPECT_EQ(state_of(name).kind, Kind::current) << name << ": " << state_of(name).reason;
    for (const PageStep each :
         {PageStep::correct_wind_off, PageStep::correct_wind_on, PageStep::ratio, PageStep::field})
        ASSERT_EQ(step(each), TaskOutcome::done);
    EXPECT_TRUE(same_bits(*whole, *get_images().find(image_names::field)));

    write(vyn_db(), keys::wind_on_refe_dark, 9.0);
    for (const char* name : {image_names::wind_on_refe_cor, image_names::ratio, image_names::field})
        EXPECT_EQ(state_of(name).kind, Kind::out_of_date) << name;
    EXPECT_EQ(state_of(image_names::wind_on_sens_cor).kind, Kind::current);
}

INSTANTIATE_TEST_SUITE_P(BinaryAndLifetime, TwoChannels,
                         testing::Values(SyntheticOptions::Channels::binary,
                                         SyntheticOptions::Channels::lifetime));

TEST_F(Page, WhatHasNoEffectLeavesResultsCurrent) {
    ASSERT_EQ(step(PageStep::all), TaskOutcome::done);
    write(vyn_db(), keys::filter_dx, 9);        // filter is off
    write(vyn_db(), keys::threshold_max, 2.0);  // thresholds are off
    vyn_db().write(std::string(keys::flow) + "alpha", 12.0);
    for (const char* copied : {"wind_on.tif", "wind_on.mrk"}) {
        const auto file = folder / copied;
        std::filesystem::last_write_time(
            file, std::filesystem::last_write_time(file) + std::chrono::hours(1));
    }
    std::filesystem::remove(folder / "wind_off_dark.tif");  // an unplugged disk
    for (const std::string& name : listed())
        EXPECT_EQ(state_of(name).kind, Kind::current) << name << ": " << state_of(name).reason;
}

TEST_F(Page, AContainerKeepsTheOriginOfItsImages) {
    ASSERT_EQ(step(PageStep::all), TaskOutcome::done);
    ASSERT_EQ(run(WriteProjectTask(program_session(), folder / "point.ims")), TaskOutcome::done);
    ASSERT_EQ(run(ReadProjectTask(program_session(), {.file = folder / "point.ims",
                                                      .geometry = ReadProject::Geometry::leave_out,
                                                      .settings = {}})),
              TaskOutcome::done);
    EXPECT_EQ(state_of(image_names::field).kind, Kind::current)
        << state_of(image_names::field).reason;
    vyn_db().write(std::string(keys::flow) + "wind_on_t", 301.0);
    EXPECT_EQ(state_of(image_names::ratio).kind, Kind::current);
    EXPECT_EQ(state_of(image_names::field).kind, Kind::out_of_date);
}

TEST_F(Page, LoadingARawImageAnewRemovesResults) {
    ASSERT_EQ(step(PageStep::all), TaskOutcome::done);
    ASSERT_EQ(put(keys::wind_off_sens_dark_file, (folder / "wind_on_dark.tif").string()),
              TaskOutcome::done);
    EXPECT_TRUE(get_images().find(image_names::field)) << "another dark image only marks it";

    const LogCapture log;
    ASSERT_EQ(put(keys::wind_on_sens_file, (folder / "wind_off.tif").string()), TaskOutcome::done);
    EXPECT_THAT(log.lines(), Contains("4 Removing Unneeded Images!"));
    for (const std::string& name : page_results(ExperimentType::single))
        EXPECT_FALSE(get_images().find(name)) << name;
    EXPECT_TRUE(same_bits(*get_images().find(image_names::wind_on_sens),
                          *get_images().find(image_names::wind_off_sens)));
}

TEST_F(Page, AFileThatCannotBeLoadedChangesNothing) {
    ASSERT_EQ(step(PageStep::all), TaskOutcome::done);
    vyn_db().set_modified(false);
    const std::string before = read(vyn_db(), keys::wind_on_sens_file);
    const auto picture = get_images().find(image_names::wind_on_sens);
    put_file(folder / "text.tif", "this is no picture");
    put_file(folder / "broken.mrk", "<vyn");
    for (const auto& [key, file] : {std::pair{keys::wind_on_sens_file, "text.tif"},
                                    {keys::wind_on_sens_file, "missing.tif"},
                                    {keys::wind_on_sens_mask_file, "text.tif"},
                                    {keys::wind_on_sens_mark_file, "broken.mrk"}})
        error_of<FileError>([&, k = key, f = file] { put(k, (folder / f).string()); }, file);
    EXPECT_EQ(read(vyn_db(), keys::wind_on_sens_file), before);
    EXPECT_EQ(read(vyn_db(), keys::wind_on_sens_mask_file), "");
    EXPECT_FALSE(vyn_db().modified());
    EXPECT_TRUE(get_images().find(image_names::field));
    EXPECT_EQ(get_images().find(image_names::wind_on_sens), picture);
}

TEST_F(Page, RowsSayWhatIsMissingAndWhatWasRead) {
    ASSERT_EQ(put(keys::wind_on_sens_file, ""), TaskOutcome::done);
    ASSERT_EQ(put(keys::wind_off_sens_mark_file, ""), TaskOutcome::done);
    ASSERT_EQ(put({"project/sens_cam/flat_file"}, ""), TaskOutcome::done);
    std::filesystem::remove(folder / "wind_on.mrk");
    std::filesystem::remove(folder / "wind_off.tif");
    const PageState state = page_state(vyn_db(), get_images());
    EXPECT_EQ(state.rows.at("wind_off").problem, "The file is not there: wind_off.tif");
    EXPECT_EQ(state.rows.at("wind_off").note, "160 x 120");
    EXPECT_EQ(state.rows.at("wind_off_mark").note, "");
    EXPECT_EQ(state.rows.at("wind_on_mark").file, "wind_on.mrk");
    EXPECT_FALSE(state.rows.at("wind_on").loaded);
    EXPECT_EQ(state.mesh.path, "") << "there is none";
    write(vyn_db(), keys::mesh_mark_file, std::string("gone.mrk"));
    EXPECT_EQ(page_state(vyn_db(), get_images()).model_markers.problem,
              "The file is not there: gone.mrk");
    EXPECT_EQ(state.needs[static_cast<std::size_t>(PageStep::all)],
              "Select the Wind-On image first.");
    EXPECT_EQ(state.needs[static_cast<std::size_t>(PageStep::correct_wind_off)], "");
    EXPECT_THAT(state.remarks,
                Contains(Remark{Remark::Kind::information, "Wind-Off: no flat field is used."}));
    EXPECT_THAT(state.remarks, Contains(Remark{Remark::Kind::warning,
                                               "Wind-On: the file is not there: wind_on.mrk."}));
    EXPECT_THAT(
        state.remarks,
        testing::Not(Contains(testing::Field(&Remark::text, testing::HasSubstr("wind_off.tif")))))
        << "the picture is loaded, as from a container";
}

/// Pixels beside the model are noise to the ratio; the level that is proposed leaves them out.
TEST_F(Page, RemarksProposeALevelForADarkBackground) {
    const auto told = [&] {
        for (const Remark& remark : page_state(vyn_db(), get_images()).remarks)
            if (remark.text.starts_with("Wind-Off: ") &&
                remark.text.find("next to no light") != std::string::npos)
                return remark.text;
        return std::string();
    };
    image filled(40, 30);
    filled.values().fill(1000);
    EXPECT_FALSE(dark_background(filled));
    for (int y = 0; y < 15; ++y)
        for (int x = 0; x < 40; ++x)
            filled.values()(x, y) = static_cast<float>(20 + x % 7);
    const auto half = dark_background(filled);
    ASSERT_TRUE(half);
    EXPECT_EQ(half->share, 0.5);
    EXPECT_EQ(half->level, 69);

    EXPECT_EQ(told(), "") << "the project has a dark level";
    write(vyn_db(), keys::wind_off_sens_dark, 0.0);
    const auto found = dark_background(*get_images().find(image_names::wind_off_sens));
    ASSERT_TRUE(found);
    EXPECT_THAT(told(), testing::HasSubstr(" % of the pixels"));
    write(vyn_db(), keys::wind_off_sens_dark, found->level);
    EXPECT_EQ(told(), "");
}

TEST_F(Page, PartsOfTheUncertaintyAreListedWhenAskedFor) {
    const auto listed = [&](const char* name) {
        const auto results = page_state(vyn_db(), get_images()).results;
        return std::ranges::find(results, name, &ResultEntry::image) != results.end();
    };
    write(vyn_db(), keys::uncertainty_enable, 1);
    EXPECT_TRUE(listed(image_names::sigma));
    EXPECT_FALSE(listed(image_names::sigma_terms[0]));
    write(vyn_db(), keys::uncertainty_terms, 1);
    EXPECT_TRUE(listed(image_names::sigma_terms[0]));
}

TEST_F(Page, RemarksCountSaturatedPixels) {
    image bright = *get_images().find(image_names::wind_off_sens);
    Bitmap<std::uint8_t> plane(bright.width(), bright.height(), 0);
    plane(3, 4) = plane(5, 6) = 1;
    bright.saturated = std::make_shared<Bitmap<std::uint8_t>>(std::move(plane));
    get_images().add(std::move(bright));
    EXPECT_THAT(page_state(vyn_db(), get_images()).remarks,
                Contains(Remark{Remark::Kind::warning, "Wind-Off: 2 pixels are saturated."}));
}

TEST_F(Page, ADarkImageOfAnotherSizeIsRemarkedInItsRow) {
    image dark(80, 60);
    dark.name = image_names::wind_on_dark_sens;
    get_images().add(std::move(dark));
    const PageState state = page_state(vyn_db(), get_images());
    EXPECT_THAT(state.rows.at("wind_on_bkgr").problem,
                testing::HasSubstr("is 80 x 60 pixels, but Wind-On is 160 x 120"));
    EXPECT_EQ(state.rows.at("wind_off_bkgr").problem, "");
}

TEST(UserWords, HaveLabelsForNamesAndMeaningsForPathsButLeaveFilesAlone) {
    const auto words = [](const char* text) { return user_words(ExperimentType::single, text); };
    EXPECT_EQ(words("wind_on_sens: 2 pixels"), "Wind-On: 2 pixels");
    EXPECT_EQ(words("set project/flow/wind_on_t, or field_P."),
              "set \"wind-on temperature\", or Pressure field.");
    EXPECT_EQ(words("/data/field_P/wind_on_sens.tif is no Iref"),
              "/data/field_P/wind_on_sens.tif is no I/Iref");
}

TEST(Remarks, WarningsStandFirstAndNothingTwice) {
    const std::vector<Remark> remarks{{Remark::Kind::information, "What enters the law: 1."},
                                      {Remark::Kind::warning, "Wind-On: 2 pixels are saturated."}};
    const std::vector<Warning> run{
        {WarningKind::saturation, "wind_on_sens: 2 pixels are saturated"},
        {WarningKind::missing_correction, "no flat field"},
        {WarningKind::markers, "few markers"}};
    EXPECT_EQ(with_warnings(remarks, run, ExperimentType::single),
              (std::vector<Remark>{{Remark::Kind::warning, "Wind-On: 2 pixels are saturated."},
                                   {Remark::Kind::warning, "Few markers."},
                                   {Remark::Kind::information, "No flat field."},
                                   {Remark::Kind::information, "What enters the law: 1."}}));
}

TEST(LikelyPlaces, GoByTheWordsOfTheName) {
    const auto places = [](ExperimentType type, const char* file) {
        std::vector<std::string> stems;
        for (const PageRow& row : likely_places(type, file))
            stems.push_back(row.stem);
        return stems;
    };
    using testing::ElementsAre;
    constexpr auto single = ExperimentType::single;
    constexpr auto binary = ExperimentType::binary;
    EXPECT_THAT(places(single, "/a/off/run_17_wind-on.TIF"), ElementsAre("wind_on"));
    EXPECT_THAT(places(single, "WindOff_dark.fits"), ElementsAre("wind_off_bkgr"));
    EXPECT_THAT(places(single, "wind_off.mrk"), ElementsAre("wind_off_mark"));
    EXPECT_THAT(places(single, "camera7.tif"), ElementsAre("wind_off", "wind_on"));
    EXPECT_THAT(places(binary, "flat_ref.tif"), ElementsAre("flat_refe"));
    EXPECT_THAT(places(binary, "off.tif"), ElementsAre("wind_off_sens", "wind_off_refe"));
    EXPECT_THAT(places(binary, "ref on mask.png"), ElementsAre("wind_on_refe_mask"));
}

TEST(PageRows, TypesHaveTheirRowsAndLabels) {
    EXPECT_EQ(page_cards(ExperimentType::single).size(), 2u);
    EXPECT_EQ(page_cards(ExperimentType::lifetime)[1].title, "Wind-On Gate 2");
    const std::vector<PageCard> cards = page_cards(ExperimentType::binary);
    ASSERT_EQ(cards.size(), 4u);
    EXPECT_EQ(cards[3].rows[1].stem, "wind_on_refe_bkgr");
    EXPECT_EQ(cards[3].rows[1].input.file.path, keys::wind_on_refe_dark_file.path);
    EXPECT_EQ(image_label(ExperimentType::binary, "wind_on_dark_sens"),
              "Wind-Off Sensitive background");
    EXPECT_EQ(image_label(ExperimentType::single, "wind_off_sens_cor"), "Wind-Off cerrected");
    EXPECT_EQ(flat_rows(ExperimentType::lifetime).size(), 1u) << "one camera takes both gates";
    EXPECT_EQ(flat_rows(ExperimentType::binary)[1].input.file.path, "project/refe_cam/flat_file");
}

TEST(ReadOptions, AreThoseOfTheProject) {
    simpleNamedDataSet data;
    const ImageReadOptions usual = read_options(data, "a.raw");
    EXPECT_EQ(usual.fits_first_row, ImageReadOptions::FirstRow::top);
    EXPECT_EQ(usual.stacks, ImageReadOptions::Stacks::refused);
    EXPECT_EQ(usual.raw_layout + usual.data_set, "");
    write(data, keys::files_fits_first_row, std::string("bottom"));
    write(data, keys::files_stacks, std::string("averaged"));
    write(data, keys::files_data_set, std::string("/entry/data"));
    write(data, keys::files_raw_layout, std::string("width=2 height=1"));
    const ImageReadOptions chosen = read_options(data, "A.RAW");
    EXPECT_EQ(chosen.fits_first_row, ImageReadOptions::FirstRow::bottom);
    EXPECT_EQ(chosen.stacks, ImageReadOptions::Stacks::averaged);
    EXPECT_EQ(chosen.data_set, "/entry/data");
    EXPECT_EQ(chosen.raw_layout, "width=2 height=1");
    EXPECT_EQ(read_options(data, "a.tif").raw_layout, "") << "it has a header";
}

}  // namespace
}  // namespace vyn::test
