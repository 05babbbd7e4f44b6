#pragma once

#include <array>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "align/image_map.h"
#include "core/task.h"
#include "process/point/session.h"
#include "process/report/run_report.h"

namespace vyn {

/// The steps from camera pictures to the field; the corrections in the order of `raw_images`.
enum class StepId {
    correct_wind_off_sens,
    correct_wind_on_sens,
    correct_wind_off_refe,
    correct_wind_on_refe,
    align_markers,
    align_correlation,
    ratio,
    temperature,
    field,
    uncertainty,
    model
};

/// An image that a step takes.
struct StepImage {
    enum class Need { needed, if_there };
    /// `behind`: looked at again although a taken image came from it, whose origin tells of it.
    enum class Use { decides, behind };
    std::string name;
    Need need = Need::needed;
    Use use = Use::decides;
    bool markers = false;  ///< its markers decide on the result, too
};

/// An image that a step publishes, or removes where it would be wrong now.
struct StepResult {
    std::string name;
    std::vector<std::string> settings;  ///< paths that decide on this one only
};

/// What a step does with a point as it stands.
struct StepFacts {
    std::vector<StepImage> takes;
    std::vector<std::string> settings;  ///< paths that decide on every result
    std::vector<std::string> behind;    ///< paths and sub-trees that decided on a taken image
    std::vector<std::string> told;      ///< paths and sub-trees read for messages and names only
    std::vector<StepResult> gives;
};

/// A point that is only looked at.
struct StepView {
    const dataSetInterface& data;
    const imagesList& images;
    bool has_mesh = false;  ///< the model's mesh is loaded
};

inline StepView view_of(const Session& session) {
    return {session.data, session.images, session.field.has_data()};
}

/// Where the pictures of a point show the pixels of the frame of the results, which is the
/// wind-off picture of the signal channel without lens distortion.
struct Alignment {
    /// By the numbers of `raw_images`, from the frame to each picture without lens distortion;
    /// nothing where a picture is taken as it lies.
    std::array<std::optional<ImageMap>, 4> from_frame;
    /// How sure the texture of the reference channel's pictures is; null without.
    std::shared_ptr<const image> reference_sigma;
};

struct Step;

/// One run of a step: what it works on and what it finds out.
struct StepRun {
    const Step& step;
    Session session;
    TaskContext& context;
    RunReport& report;
    Alignment& alignment;  ///< handed on by the steps of one job

    StepView view() const { return view_of(session); }
    /// Puts a result of the step into the image list; it knows its origin then, and its markers and
    /// mask count as saved.
    void publish(image result) const;
};

/// A row of the step table.
struct Step {
    StepId id;
    const char* name;
    const char* meaning;        ///< in one line, for the help
    std::vector<StepId> after;  ///< steps that hand over to this one; they always run before it
    std::function<StepFacts(const StepView&)> facts;
    std::function<TaskOutcome(const StepRun&)> run;
};

}  // namespace vyn
