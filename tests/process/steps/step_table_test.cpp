#include "process/steps/step_table.h"

#include <map>
#include <set>
#include <thread>

#include <gmock/gmock.h>

#include "core/keys.h"
#include "process/project/project_tasks.h"
#include "process/steps/chain.h"
#include "sample/synthetic_point.h"
#include "tests/support/project_fixture.h"

namespace vyn::test {
namespace {

/// Settings that tell which paths were asked for.
class RecordingSettings final : public dataSetInterface {
  public:
    bool exists(std::string_view path) const override { return data_.exists(path); }
    std::optional<DataNode> node(std::string_view path, bool create) override {
        return data_.node(path, create);
    }
    any value(std::string_view path) const override {
        looked_at.emplace(path);
        return data_.value(path);
    }
    void set_value(std::string_view path, any value, bool is_default) override {
        data_.set_value(path, std::move(value), is_default);
    }
    any value_or_create(std::string_view path, const any& fallback) override {
        looked_at.emplace(path);
        read.emplace(path);
        return data_.value_or_create(path, fallback);
    }
    void remove(std::string_view path) override { data_.remove(path); }
    void clear() override { data_.clear(); }
    void replace(const std::vector<std::pair<std::string, any>>& leaves) override {
        data_.replace(leaves);
    }
    void for_each(const std::function<void(const std::string&, const any&)>& visit) const override {
        data_.for_each(visit);
    }
    bool modified() const override { return data_.modified(); }
    void set_modified(bool modified) override { data_.set_modified(modified); }
    std::uint64_t revision() const override { return data_.revision(); }

    mutable std::set<std::string> looked_at;
    std::set<std::string> read;  ///< by the one way that tasks read settings

  private:
    simpleNamedDataSet data_;
};

/// Images that tell which were asked for and which were published.
class RecordingImages final : public imagesList {
  public:
    using imagesList::add;
    std::shared_ptr<const image> find(std::string_view name) const override {
        looked_at.emplace(name);
        return imagesList::find(name);
    }
    void add(std::shared_ptr<const image> picture) override {
        published.insert(picture->name);
        imagesList::add(std::move(picture));
    }
    mutable std::set<std::string> looked_at;
    std::set<std::string> published;
};

using Channels = SyntheticOptions::Channels;

struct Scenario {
    const char* name;
    Channels channels;
    std::vector<std::pair<std::string, any>> settings;
    bool without_wind_off = false;
    double bending = 0;
    double temperature_ramp = 0;
};

const std::string align = "project/processing/align/";
const std::string convert = "project/processing/convert/";

std::vector<std::pair<std::string, any>> everything_on() {
    return {{align + "filter_enable", any(1)},
            {align + "filter_threshold", any(1)},
            {align + "filter_thinning", any(1)},
            {align + "markers_geometry", any(1)},
            {align + "resample_once", any(1)},
            {convert + "threshold", any(1)},
            {convert + "field", any(std::string("Cp"))},
            {"project/processing/uncertainty/enable", any(1)},
            {"project/processing/uncertainty/terms", any(1)},
            {"project/sens_cam/noise_gain", any(2.0)}};
}

const std::string temperature = "project/processing/temperature/";

std::vector<std::pair<std::string, any>> temperature_map() {
    auto settings = everything_on();
    settings.emplace_back(temperature + "order", any(1));
    settings.emplace_back(align + "markers_geometry", any(0));
    settings.emplace_back("project/processing/lamp/monitor", any(std::string("region")));
    settings.emplace_back("project/processing/lamp/region_x", any(40));
    settings.emplace_back("project/processing/lamp/region_y", any(30));
    settings.emplace_back("project/processing/lamp/region_width", any(9));
    settings.emplace_back("project/processing/lamp/region_height", any(9));
    settings.emplace_back("project/processing/lamp/exposure", any(1));
    return settings;
}

class StepFactsHold : public testing::TestWithParam<Scenario> {
  protected:
    StepFactsHold() {
        register_plugins("*.2dio");
        write_synthetic_point(
            make_synthetic_point({.width = GetParam().bending == 0 ? 96 : 160,
                                  .height = GetParam().bending == 0 ? 72 : 120,
                                  .order = 1,
                                  .bending = GetParam().bending,
                                  .channels = GetParam().channels,
                                  .temperature_ramp = GetParam().temperature_ramp},
                                 context),
            folder.path(), context);
        ReadProject request{.file = folder / "project.xml", .settings = GetParam().settings};
        EXPECT_EQ(ReadProjectTask(session, request).run(context), TaskOutcome::done);
        if (!GetParam().without_wind_off) return;
        images.remove(image_names::wind_off_sens);
        images.remove(image_names::wind_off_refe);
    }

    TaskOutcome run(const Step& step) {
        return step.run({step, session, context, report, alignment});
    }
    void forget() {
        data.looked_at.clear();
        data.read.clear();
        images.looked_at.clear();
        images.published.clear();
    }

    TemporaryFolder folder;
    TaskContext context;
    RecordingSettings data;
    RecordingImages images;
    field_data<double> field;
    Session session{data, images, field};
    RunReport report;
    Alignment alignment;
};

bool covers(const std::vector<std::string>& paths, const std::string& path) {
    return std::ranges::any_of(paths, [&](const std::string& known) {
        return known == path || (known.ends_with('/') && path.starts_with(known));
    });
}

/// A different value that the setting takes.
any other_value(const std::string& path, const any& value) {
    const Allowed& allowed = find_key(path)->allowed;
    const auto shifted = [&](double number) {
        return allowed.kind != Allowed::Kind::range || number + 1 <= allowed.high ? number + 1
                                                                                  : number - 1;
    };
    if (value.holds<int>()) return any(static_cast<int>(shifted(value.get<int>())));
    if (value.holds<double>()) return any(shifted(value.get<double>()));
    // Names that no table knows mean the same.
    if (path.ends_with("pressure_unit") || path.ends_with("p_unit")) return any(std::string("psi"));
    if (path.ends_with("temperature_unit") || path.ends_with("t_unit"))
        return any(std::string("f"));
    for (const std::string_view text : allowed.list)
        if (text != value.get<std::string>()) return any(std::string(text));
    return any(std::string("another"));
}

/// A step touches what its row says, and what its row says to decide nothing decides nothing: an
/// old result can not pass as current.
TEST_P(StepFactsHold, SettingsAndImagesAreThoseOfTheRow) {
    const auto steps = steps_of(Goal::all, {data, images});
    ASSERT_GE(steps.size(), 5u);
    for (const StepId id : steps) {
        const Step& step = step_of(id);
        SCOPED_TRACE(step.name);
        const StepFacts facts = step.facts({data, images});
        std::vector<std::string> deciding = facts.settings;
        std::vector<std::string> given;
        for (const StepResult& result : facts.gives) {
            given.push_back(result.name);
            deciding.insert(deciding.end(), result.settings.begin(), result.settings.end());
        }
        for (const std::string& name : given) {
            image old(1, 1);
            old.name = name;
            images.imagesList::add(std::make_shared<const image>(std::move(old)));
        }
        forget();
        const Alignment handed_on = alignment;
        ASSERT_EQ(run(step), TaskOutcome::done);
        EXPECT_EQ(images.published.contains(image_names::displacement),
                  id == StepId::align_correlation && GetParam().bending > 0);
        const auto read = data.read;
        const auto looked_at = images.looked_at;

        for (const std::string& path : deciding)
            EXPECT_TRUE(read.contains(path)) << path << " is not read";
        for (const std::string& path : data.looked_at) {
            const StepFacts whole = whole_facts(step, {data, images});
            EXPECT_TRUE(covers(deciding, path) || covers(whole.settings, path) ||
                        covers(whole.behind, path) || covers(whole.told, path))
                << path << " is no fact of the step";
        }
        for (const std::string& name : looked_at)
            EXPECT_TRUE(std::ranges::find(facts.takes, name, &StepImage::name) !=
                            facts.takes.end() ||
                        covers(given, name))
                << name << " is not taken";
        // Camera pictures are sampled again only where the lens or the alignment asks for it.
        for (const StepImage& taken : facts.takes)
            if (taken.use == StepImage::Use::decides || id == StepId::field) {
                EXPECT_TRUE(looked_at.contains(taken.name)) << taken.name << " is not looked at";
            }
        for (const std::string& name : given)
            EXPECT_TRUE(images.published.contains(name) || !images.find(name))
                << "an old " << name << " stays";
        for (const std::string& name : images.published)
            EXPECT_TRUE(covers(given, name)) << name << " is not given";

        std::map<std::string, image> before;
        for (const std::string& name : images.published)
            before.emplace(name, *images.find(name));
        for (const std::string& path : read) {
            if (covers(deciding, path) || covers(facts.behind, path)) continue;
            const any kept = data.value(path);
            data.set_value(path, other_value(path, kept), false);
            alignment = handed_on;
            run(step);
            for (const auto& [name, picture] : before)
                EXPECT_TRUE(same_bits(picture, *images.find(name)))
                    << path << " decides on " << name;
            data.set_value(path, kept, false);
        }
        const auto places = [&] {
            std::vector<Point> seen;
            for (const auto& map : alignment.from_frame)
                seen.push_back(map ? map->at({30, 20}) : Point{});
            return seen;
        };
        alignment = handed_on;
        run(step);
        const std::vector<Point> aligned = places();
        for (const StepImage& taken : facts.takes) {
            const auto kept = images.find(taken.name);
            if (!kept || taken.markers) continue;
            image moved = *kept;
            for (Marker& marker : moved.markers.markers)
                marker.x += 1;
            images.add(std::move(moved));
            alignment = handed_on;
            run(step);
            EXPECT_EQ(places(), aligned) << "by markers of " << taken.name;
            for (const auto& [name, picture] : before)
                EXPECT_TRUE(same_bits(picture, *images.find(name))) << name << taken.name;
            images.imagesList::add(kept);
        }
        alignment = handed_on;
        run(step);
    }
}

INSTANTIATE_TEST_SUITE_P(
    Types, StepFactsHold,
    testing::Values(Scenario{"single", Channels::single, {}},
                    Scenario{"single_with_everything", Channels::single, everything_on()},
                    Scenario{
                        "single_unaligned", Channels::single, {{align + "markers_enable", any(0)}}},
                    Scenario{"binary",
                             Channels::binary,
                             {{convert + "field", any(std::string("P_Pstat"))},
                              {"project/processing/uncertainty/enable", any(1)}}},
                    Scenario{"single_with_a_temperature_map", Channels::single, temperature_map(),
                             false, 0, 10},
                    Scenario{"gates_with_recovery_temperature",
                             Channels::lifetime,
                             {{temperature + "source", any(std::string("recovery"))},
                              {temperature + "total", any(300.0)},
                              {"project/flow/mach", any(0.7)}}},
                    Scenario{"binary_with_everything", Channels::binary, everything_on()},
                    Scenario{"lifetime", Channels::lifetime, everything_on()},
                    Scenario{"gates_without_wind_off", Channels::lifetime, {}, true},
                    Scenario{"single_bending", Channels::single, everything_on(), false, 1},
                    Scenario{"single_texture_alone",
                             Channels::single,
                             {{align + "markers_enable", any(0)}},
                             false,
                             1},
                    Scenario{"binary_bending", Channels::binary, {}, false, 1}),
    [](const auto& instance) { return std::string(instance.param.name); });

TEST(StepTable, GivesEveryResultOnce) {
    simpleNamedDataSet data;
    write(data, keys::test_single, 0);
    const imagesList none;
    std::vector<std::string> given = results_of(Goal::all, {data, none});
    EXPECT_THAT(given, testing::UnorderedElementsAreArray(image_names::results));
    for (const std::string& name : given)
        EXPECT_EQ(facts_of_result(name, {data, none}).gives.front().name, name);
}

/// Two points in one process know nothing of each other.
TEST(TwoSessions, RunSideBySide) {
    register_plugins("*.2dio");
    const TemporaryFolder folder;
    std::array<OwnSession, 2> points;
    std::array<image, 2> fields;
    for (std::size_t i = 0; i < 2; ++i) {
        TaskContext context;
        const auto place = folder / std::to_string(i);
        write_synthetic_point(
            make_synthetic_point({.width = 120, .height = 90, .order = static_cast<int>(i)},
                                 context),
            place, context);
        ASSERT_EQ(ReadProjectTask(points[i].get(), {.file = place / "project.xml", .settings = {}})
                      .run(context),
                  TaskOutcome::done);
        ASSERT_EQ(
            calculate(Goal::all, points[i].get(), std::make_shared<RunReport>())->run(context),
            TaskOutcome::done);
        fields[i] = *points[i].images.find(image_names::field);
    }
    EXPECT_FALSE(same_bits(fields[0], fields[1]));
    std::array<std::thread, 2> threads;
    for (std::size_t i = 0; i < 2; ++i)
        threads[i] = std::thread([&points, i] {
            TaskContext context;
            calculate(Goal::all, points[i].get(), std::make_shared<RunReport>())->run(context);
        });
    for (std::thread& thread : threads)
        thread.join();
    for (std::size_t i = 0; i < 2; ++i)
        EXPECT_TRUE(same_bits(fields[i], *points[i].images.find(image_names::field)));
    EXPECT_TRUE(get_images().names().empty());
}

}  // namespace
}  // namespace vyn::test
