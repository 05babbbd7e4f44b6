#pragma once

#include "core/errors.h"
#include "core/keys.h"
#include "process/project/project_tasks.h"
#include "process/report/field_comparison.h"
#include "process/steps/chain.h"
#include "sample/synthetic_point.h"
#include "tests/support/project_fixture.h"

namespace vyn::test {

using Channels = SyntheticOptions::Channels;
using Settings = std::vector<std::pair<std::string, any>>;

/// A synthetic test point in a folder, opened, and compared with its truth.
class SyntheticPointTest : public ProjectTest {
  protected:
    void open_point(const SyntheticOptions& options, Settings settings = {}) {
        point = make_synthetic_point(options, context);
        write_synthetic_point(point, folder.path(), context);
        open_project(std::move(settings));
    }
    void open_project(Settings settings) {
        ASSERT_EQ(
            run(ReadProjectTask(program_session(), {.file = folder / "project.xml",
                                                    .geometry = ReadProject::Geometry::leave_out,
                                                    .settings = std::move(settings)})),
            TaskOutcome::done);
    }
    static std::pair<std::string, any> without(Key<std::string> key) {
        return {std::string(key.path), any(std::string())};
    }

    TaskOutcome calculate() {
        report = std::make_shared<RunReport>();
        return run(*vyn::calculate(Goal::all, program_session(), report));
    }
    /// What that raises; empty when nothing.
    std::string complaint() {
        try {
            calculate();
        } catch (const GenericError& error) {
            return error.what();
        }
        return {};
    }

    /// Away from edges and dots, as a share of the truth's range.
    double relative_error(const char* name, const image& truth) {
        const auto result = get_images().find(name);
        ComparisonOptions comparison{.edge = 12, .dots = {}, .dot_distance = 7};
        for (const Marker& dot : point.truth_markers.markers)
            comparison.dots.push_back({dot.x, dot.y});
        const FieldComparison difference = compare_fields(*result, truth, comparison, context);
        EXPECT_GT(difference.count, 10000);
        return difference.rms_error / difference.truth_range();
    }
    double field_error() { return relative_error(image_names::field, point.truth); }

    SyntheticPoint point;
    std::shared_ptr<RunReport> report;
};

}  // namespace vyn::test
