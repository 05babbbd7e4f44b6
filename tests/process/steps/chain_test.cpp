#include "process/steps/chain.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include "api/field_conversion.h"
#include "api/filters.h"
#include "api/parallel.h"
#include "api/thinning.h"
#include "calib/camera.h"
#include "core/errors.h"
#include "core/keys.h"
#include "core/log.h"
#include "core/messages.h"
#include "core/worker.h"
#include "process/point/find_markers_task.h"
#include "process/point/raw_images.h"
#include "process/point/save_image_task.h"
#include "process/project/project_tasks.h"
#include "process/report/field_comparison.h"
#include "process/report/run_report_json.h"
#include "sample/synthetic_point.h"
#include "tests/support/error_of.h"
#include "tests/support/project_fixture.h"
#include "tests/support/warns.h"

namespace vyn::test {
namespace {

using testing::Contains;
using testing::HasSubstr;

class Chain : public ProjectTest {
  protected:
    /// Makes a point, opens its project.
    void open_point(const SyntheticOptions& options,
                    std::vector<std::pair<std::string, any>> settings = {}) {
        point = make_synthetic_point(options, context);
        write_synthetic_point(point, folder.path(), context);
        settings.emplace_back(keys::spline_degree.path, any(degree));
        ASSERT_EQ(
            run(ReadProjectTask(program_session(), {.file = folder / "project.xml",
                                                    .geometry = ReadProject::Geometry::leave_out,
                                                    .settings = settings})),
            TaskOutcome::done);
    }

    TaskOutcome calculate() {
        report = std::make_shared<RunReport>();
        return run(*vyn::calculate(Goal::all, program_session(), report));
    }

    /// Error of the field away from edges and dots, as a share of the truth's range.
    double relative_error() {
        const auto field = get_images().find(image_names::field);
        ComparisonOptions comparison;
        comparison.edge = 12;
        comparison.dot_distance = 7;
        for (const Marker& dot : field->markers.markers)
            comparison.dots.push_back({dot.x, dot.y});
        const FieldComparison result = compare_fields(*field, point.truth, comparison, context);
        EXPECT_GT(result.count, 40000);
        return result.rms_error / result.truth_range();
    }

    int degree = 3;
    SyntheticPoint point;
    std::shared_ptr<RunReport> report;
};

struct Accuracy {
    int order;
    double a4;
    FieldQuantity quantity;
    int degree;
};

class ChainAccuracy : public Chain, public testing::WithParamInterface<Accuracy> {};

/// Rounded marker positions (six digits, up to 5e-4 px) and the splines' error near the dots set
/// the limit.
TEST_P(ChainAccuracy, GivesBackTheTruth) {
    SyntheticOptions options;
    options.order = GetParam().order;
    options.a4 = GetParam().a4;
    options.quantity = GetParam().quantity;
    degree = GetParam().degree;
    open_point(options);
    ASSERT_FALSE(point.lens.none());
    ASSERT_EQ(calculate(), TaskOutcome::done);
    EXPECT_LE(relative_error(), 2e-4);
}

INSTANTIATE_TEST_SUITE_P(OrdersQuantitiesDegrees, ChainAccuracy,
                         testing::Values(Accuracy{0, 0, FieldQuantity::pressure, 3},
                                         Accuracy{1, 1e-13, FieldQuantity::pressure, 3},
                                         Accuracy{2, 0, FieldQuantity::cp, 3},
                                         Accuracy{2, 0, FieldQuantity::ratio, 4},
                                         Accuracy{2, 0, FieldQuantity::p_over_static, 5},
                                         Accuracy{3, -1e-13, FieldQuantity::pressure, 3}));

TEST_F(Chain, SameBitsWithAnyNumberOfThreadsAndEveryTime) {
    open_point({.width = 300, .height = 200, .noise = SyntheticOptions::Noise::camera});
    ASSERT_EQ(calculate(), TaskOutcome::done);
    const auto first = get_images().find(image_names::field);
    for (const int threads : {1, 2, 3, 2, 1}) {
        const ThreadLimit limit(threads);
        ASSERT_EQ(calculate(), TaskOutcome::done);
        EXPECT_TRUE(same_bits(*first, *get_images().find(image_names::field)))
            << threads << " threads";
    }
}

TEST_F(Chain, RunsOnTheWorkerAndReportsWhatItDid) {
    open_point({.width = 200, .height = 150});
    report = std::make_shared<RunReport>();
    const auto job = vyn::calculate(Goal::all, program_session(), report);
    const auto running = std::make_shared<TaskContext>();
    Worker worker;
    worker.post(job, running);
    ASSERT_TRUE(worker.wait_done(60000));
    ASSERT_EQ(job->outcome(), TaskOutcome::done);

    const nlohmann::json json = to_json(*report, vyn_db(), get_images(), job->outcome(),
                                        job->failure(), running->finish_stages());
    EXPECT_EQ(json["outcome"], "done");
    EXPECT_EQ(json["aligned"], true);
    EXPECT_LT(json["alignment"]["max_absolute_error_px"].get<double>(), 0.01);
    EXPECT_EQ(json["conversion"]["wind_on_t"], point.flow.wind_on_t);
    EXPECT_GE(json["stages"].size(), 5u);
    EXPECT_GT(json["peak_memory_bytes"].get<double>(), 1e6);
    EXPECT_GT(json["images"]["field_P"]["valid_share"].get<double>(), 0.3);
    // Two images, two darks, a flat field and two marker files, each with its digest.
    EXPECT_EQ(json["inputs"].size(), 7u);
    for (const auto& input : json["inputs"])
        EXPECT_EQ(input["sha256"].get<std::string>().size(), 64u) << input;
}

TEST_F(Chain, FoundMarkersAreAsGoodAsLoadedOnes) {
    const SyntheticOptions options{.order = 2, .noise = SyntheticOptions::Noise::camera};
    open_point(options);
    ASSERT_EQ(calculate(), TaskOutcome::done);
    const double with_files = relative_error();

    reset();
    open_point(options, {{std::string(keys::wind_off_sens_mark_file.path), any(std::string())},
                         {std::string(keys::wind_on_sens_mark_file.path), any(std::string())}});
    ASSERT_EQ(run(FindMarkersTask(program_session(), {}, std::make_shared<RunReport>())),
              TaskOutcome::done);
    ASSERT_EQ(calculate(), TaskOutcome::done);
    EXPECT_EQ(report->alignment->pairs.size(), point.wind_off_markers.markers.size());
    EXPECT_EQ(report->alignment->orders.suggested, 2);
    // In the field's frame, which is that without the lens: the markers moved along.
    for (const MarkerPair& pair : report->alignment->pairs) {
        double nearest = INFINITY;
        for (const Marker& dot : point.truth_markers.markers)
            nearest =
                std::min(nearest, std::hypot(dot.x - pair.reference.x, dot.y - pair.reference.y));
        EXPECT_LT(nearest, 0.05);
    }
    EXPECT_LT(relative_error(), 1.1 * with_files);
}

TEST_F(Chain, MarkersAreFoundOnlyWhereTheProjectNamesNone) {
    open_point({.width = 300, .height = 200},
               {{std::string(keys::wind_on_sens_mark_file.path), any(std::string())}});
    const auto wind_off = get_images().find(image_names::wind_off_sens);
    const auto found = std::make_shared<RunReport>();
    ASSERT_EQ(run(FindMarkersTask(program_session(), {}, found)), TaskOutcome::done);
    EXPECT_EQ(get_images().find(image_names::wind_off_sens), wind_off);
    EXPECT_FALSE(get_images().find(image_names::wind_on_sens)->markers.markers.empty());
    EXPECT_EQ(calculate(), TaskOutcome::done);

    // Without a dot there is nothing to go on with.
    image blank = *wind_off;
    blank.values().fill(1000);
    blank.name = image_names::wind_on_sens;
    blank.markers = {};
    get_images().add(std::move(blank));
    EXPECT_EQ(run(FindMarkersTask(program_session(), {}, found)), TaskOutcome::failed);
    EXPECT_THAT(found->warnings,
                Contains(test::warns(WarningKind::markers, "wind_on_sens shows no dots")));
}

struct BadAlignment {
    const char* name;
    std::string_view key;
    any value;
};

class ChainUnaligned : public Chain, public testing::WithParamInterface<BadAlignment> {};

TEST_P(ChainUnaligned, GoesOnButEndsWithErrors) {
    open_point({.width = 200, .height = 150}, {{std::string(GetParam().key), GetParam().value}});
    get_log_mgr().take_new_lines();
    EXPECT_EQ(calculate(), TaskOutcome::done_with_errors);
    EXPECT_EQ(report->aligned, false);
    EXPECT_FALSE(report->warnings.empty());
    EXPECT_TRUE(get_images().find(image_names::field));
    EXPECT_FALSE(get_images().find(image_names::wind_on_sens_aligned));
    std::vector<std::string> errors;
    for (const LogLine& line : get_log_mgr().take_new_lines())
        if (line.level == LogLevel::error) errors.push_back(line.text);
    EXPECT_THAT(errors, Contains("Aligning Images FAILED!"));
}

INSTANTIATE_TEST_SUITE_P(
    Reasons, ChainUnaligned,
    testing::Values(BadAlignment{"pairing_method", keys::markers_link.path, any(2)},
                    BadAlignment{"no_marker_file", keys::wind_on_sens_mark_file.path,
                                 any(std::string())}),
    [](const auto& instance) { return std::string(instance.param.name); });

struct WillingUser final : TaskContext {
    void message(const std::string& /*text*/) override {}
    bool question(const std::string& /*text*/) override {
        ++asked;
        return true;
    }
    int asked = 0;
};

struct CopyCase {
    const char* name;
    SyntheticOptions::Channels channels;
    /// Pictures whose markers are gone, or far from all others, so that no window holds a pair.
    std::vector<const char*> without;
    std::vector<const char*> far;
    int link;
    bool copied;
};

using Channels = SyntheticOptions::Channels;

class ChainCopy : public Chain, public testing::WithParamInterface<CopyCase> {};

/// Without pairs the user may take the pictures as they are; a wrong setting is no question.
TEST_P(ChainCopy, TakesPicturesWithoutPairsWhenTold) {
    open_point({.width = 200, .height = 150, .channels = GetParam().channels},
               {{std::string(keys::markers_link.path), any(GetParam().link)}});
    if (GetParam().channels == Channels::binary) {  // the second camera is like the first one
        cameraFeatures camera;
        read(vyn_db(), std::string(keys::sens_camera), camera);
        write(vyn_db(), std::string(keys::refe_camera), camera);
        for (const std::size_t i : {2U, 3U}) {
            const RawImage& raw = raw_images()[i];
            get_images().remove(raw.dark_name);
            get_images().remove(raw.flat_name);
            image picture = *get_images().find(raw_images()[i - 2].name);
            picture.name = raw.name;
            get_images().add(std::move(picture));
        }
    }
    const auto change = [](const char* name, const std::function<void(MarkerSet&)>& how) {
        image picture = *get_images().find(name);
        how(picture.markers);
        get_images().add(std::move(picture));
    };
    for (const char* name : GetParam().without)
        change(name, [](MarkerSet& set) { set.markers.clear(); });
    for (const char* name : GetParam().far)
        change(name, [](MarkerSet& set) {
            for (Marker& marker : set.markers)
                marker.x += 1000;
        });
    WillingUser user;
    get_log_mgr().take_new_lines();
    report = std::make_shared<RunReport>();
    const bool copied = GetParam().copied;
    EXPECT_EQ(vyn::calculate(Goal::all, program_session(), report)->run(user),
              copied ? TaskOutcome::done : TaskOutcome::done_with_errors);
    EXPECT_EQ(user.asked, copied ? 1 : 0);
    EXPECT_EQ(report->copied, copied);
    EXPECT_EQ(report->aligned, copied);
    for (const char* name : {image_names::wind_on_sens_aligned, image_names::wind_on_refe_aligned})
        if (name == image_names::wind_on_sens_aligned || GetParam().channels != Channels::single) {
            EXPECT_EQ(get_images().find(name) != nullptr, copied) << name;
        }
    std::size_t failures = 0;
    for (const LogLine& line : get_log_mgr().take_new_lines())
        failures += line.text == "Aligning Images FAILED!" ? 1 : 0;
    EXPECT_EQ(failures, copied ? 0U : 1U);
}

INSTANTIATE_TEST_SUITE_P(
    Pictures, ChainCopy,
    testing::Values(
        CopyCase{"no_markers", Channels::single, {"wind_on_sens"}, {}, 0, true},
        CopyCase{"no_pairs", Channels::single, {}, {"wind_on_sens"}, 1, true},
        CopyCase{"wrong_method", Channels::single, {}, {}, 2, false},
        CopyCase{"wrong_method_no_markers", Channels::single, {"wind_on_sens"}, {}, 2, false},
        CopyCase{"both_gates", Channels::lifetime, {"wind_on_sens"}, {}, 0, true},
        CopyCase{"one_camera", Channels::binary, {"wind_on_refe"}, {}, 0, true},
        CopyCase{"every_camera", Channels::binary, {"wind_off_sens", "wind_off_refe"}, {}, 0, true},
        CopyCase{"cameras_wrong_method", Channels::binary, {"wind_on_refe"}, {}, 2, false}),
    [](const auto& instance) { return std::string(instance.param.name); });

TEST_F(Chain, AlignmentOrderOutOfRangeIsTheIdentity) {
    open_point({.width = 200, .height = 150}, {{std::string(keys::markers_order.path), any(7)}});
    EXPECT_EQ(calculate(), TaskOutcome::done_with_errors) << "the markers show what is wrong";
    EXPECT_THAT(unaligned_text(*report), HasSubstr("poorly aligned"));
    const auto aligned = get_images().find(image_names::wind_on_sens_aligned);
    const auto source = get_images().find(image_names::wind_on_sens_cor);
    for (int y = 0; y < source->height(); ++y)
        for (int x = 0; x < source->width(); ++x) {
            ASSERT_EQ(aligned->mask()(x, y), source->mask()(x, y));
            // what prefilter and evaluation in 32-bit leave of 40000 counts
            ASSERT_NEAR(aligned->values()(x, y), source->values()(x, y), 0.05);
        }
}

TEST_F(Chain, FiltersAndThinsWhereAskedTo) {
    const std::string align = "project/processing/align/";
    const int depth = 3;
    open_point({.width = 200, .height = 150, .noise = SyntheticOptions::Noise::camera},
               {{align + "markers_enable", any(0)},
                {align + "filter_threshold", any(1)},
                {align + "threshold_min", any(0.5)}});
    const auto statuses = [] {
        std::vector<std::string> texts;
        for (const LogLine& line : get_log_mgr().take_new_lines())
            if (line.level == LogLevel::progress) texts.push_back(line.text);
        return texts;
    };
    statuses();
    ASSERT_EQ(calculate(), TaskOutcome::done);
    EXPECT_THAT(statuses(), testing::Not(Contains(HasSubstr("Filtering"))));
    const auto plain = get_images().find(image_names::ratio);
    const auto corrected_off = get_images().find(image_names::wind_off_sens_cor);
    const auto corrected_on = get_images().find(image_names::wind_on_sens_cor);

    write(vyn_db(), keys::filter_enable, 1);
    write(vyn_db(), keys::filter_type, 4);
    write(vyn_db(), keys::filter_dx, 5);
    write(vyn_db(), keys::filter_thinning, 1);
    write(vyn_db(), keys::filter_thinning_depth, depth);
    ASSERT_EQ(calculate(), TaskOutcome::done);
    EXPECT_TRUE(report->warnings.empty());
    EXPECT_THAT(statuses(), testing::IsSupersetOf({"Filtering Wind Off", "Filtering Wind On",
                                                   "Calculating I/Iref single",
                                                   "Performing Thinning with depth:3"}));
    // the corrected images stay as they are
    EXPECT_TRUE(same_bits(*corrected_off, *get_images().find(image_names::wind_off_sens_cor)));

    const FilterOptions filter{.type = FilterType::median, .dx = 5, .dy = 3};
    image expected = form_ratio(filtered(*corrected_off, filter, context),
                                filtered(*corrected_on, filter, context),
                                {.clamp = true, .lower = 0.5F, .upper = 1e6F}, context);
    thin(expected, depth, context);
    const auto ratio = get_images().find(image_names::ratio);
    EXPECT_TRUE(same_bits(*ratio, expected));
    EXPECT_FALSE(same_bits(*ratio, *plain));

    write(vyn_db(), keys::filter_type, 9);
    EXPECT_THROW(calculate(), AlgoError);
}

TEST_F(Chain, MissingRawImageGivesAnEmptyJob) {
    open_point({.width = 64, .height = 64});
    get_images().remove(image_names::wind_on_sens);
    EXPECT_TRUE(
        vyn::calculate(Goal::all, program_session(), std::make_shared<RunReport>())->empty());
}

TEST_F(Chain, DarkImageOfAnotherSizeStopsTheJobAndNamesBothFiles) {
    open_point({.width = 80, .height = 70});
    image dark(70, 80);
    dark.values().fill(0);
    dark.name = image_names::wind_off_dark_sens;
    dark.file_name = "other_dark.tif";
    get_images().add(std::move(dark));
    try {
        calculate();
        FAIL();
    } catch (const IndexError& error) {
        EXPECT_THAT(error.what(), HasSubstr("other_dark.tif"));
        EXPECT_THAT(error.what(), HasSubstr("wind_off.tif"));
        EXPECT_THAT(error.what(), HasSubstr("70 x 80"));
    }
    EXPECT_FALSE(get_images().find(image_names::wind_off_sens_cor));
}

TEST_F(Chain, AbortPublishesNothing) {
    open_point({.width = 200, .height = 150});
    context.abort();
    EXPECT_THROW(calculate(), Aborted);
    EXPECT_FALSE(get_images().find(image_names::wind_off_sens_cor));
}

TEST_F(Chain, ResultsGoWhenARawImageIsLoadedAnew) {
    open_point({.width = 80, .height = 70});
    ASSERT_EQ(calculate(), TaskOutcome::done);
    remove_results(get_images());
    for (const char* name : {"wind_off_sens_cor", "wind_on_sens_cor", "Iref", "field_P"})
        EXPECT_FALSE(get_images().find(name)) << name;
    EXPECT_TRUE(get_images().find("wind_off_sens"));
}

TEST_F(Chain, FieldIsSavedWhereTheProjectSaysWithItsMarkers) {
    open_point({.width = 80, .height = 70});
    std::string shown;
    set_custom_message_fun([&](const char* text) { shown = text; },
                           [](const char*) { return false; });
    EXPECT_EQ(run(SaveFieldTask(program_session())), TaskOutcome::failed);
    set_default_message_fun();
    EXPECT_EQ(shown, "Field is not calculated!");

    ASSERT_EQ(calculate(), TaskOutcome::done);
    EXPECT_EQ(run(SaveFieldTask(program_session())), TaskOutcome::done);
    const image saved = read_image(folder / "pressure.imp");
    EXPECT_TRUE(same_bits(saved, *get_images().find(image_names::field)));
    EXPECT_FALSE(saved.markers.markers.empty());
    EXPECT_TRUE(std::filesystem::exists(folder / "pressure.mrk"));

    write<std::string>(vyn_db(), keys::pressure_mark_file, "pressure.txt");
    EXPECT_THAT(error_of<FileError>([&] { run(SaveFieldTask(program_session())); }).detail,
                HasSubstr("pressure.txt: not the extension of a marker format"));
}

TEST_F(Chain, DarkLevelAboveEveryPixelIsSaid) {
    open_point({.width = 80, .height = 70},
               {{std::string(keys::wind_on_sens_dark.path), any(1e6)}});
    calculate();
    EXPECT_THAT(report->warnings, Contains(test::warns(WarningKind::empty_image,
                                                       "wind_on_sens_cor has no valid pixel")));
    EXPECT_THAT(report->warnings,
                Contains(test::warns(WarningKind::empty_image, "field_P has no valid pixel")));
    const nlohmann::json json = to_json(*report, vyn_db(), get_images(), TaskOutcome::done, {}, {});
    EXPECT_THAT(json["warning_kinds"], Contains("empty_image"));
    EXPECT_EQ(json["warning_kinds"].size(), report->warnings.size());
    EXPECT_EQ(json["warnings"].front(), report->warnings.front().text);
}

TEST_F(Chain, ConditionsThatMakeTheFieldWrongAreSaid) {
    open_point({.width = 80, .height = 70},
               {{"project/flow/wind_off_p", any(0.0)}, {"project/flow/wind_on_t", any(299.0)}});
    ASSERT_EQ(calculate(), TaskOutcome::done);
    EXPECT_THAT(report->warnings,
                Contains(test::warns(WarningKind::conditions, "project/flow/wind_off_p")));
    EXPECT_THAT(report->warnings,
                Contains(test::warns(WarningKind::paint_range,
                                     "project/flow/wind_on_t enters the law as 299")));
}

TEST_F(Chain, UnityNeedsNoWindOffPressure) {
    open_point({.width = 80, .height = 70},
               {{"project/flow/wind_off_p", any(0.0)},
                {std::string(keys::convert_wind_off_ratio.path), any(std::string("unity"))}});
    get_log_mgr().take_new_lines();
    ASSERT_EQ(calculate(), TaskOutcome::done);
    std::vector<std::string> lines;
    for (const LogLine& line : get_log_mgr().take_new_lines())
        lines.push_back(line.text);
    EXPECT_THAT(lines, Contains(HasSubstr("wind_off_ratio is \"unity\"")));
    EXPECT_THAT(lines, Contains("fa=1"));
    EXPECT_EQ(report->conversion->conversion.wind_off_ratio, 1);
    EXPECT_THAT(report->warnings,
                testing::Not(Contains(test::warns(WarningKind::conditions, "wind_off_p"))));
}

}  // namespace
}  // namespace vyn::test
