#pragma once

#include <array>
#include <optional>
#include <string>

#include "api/image_list.h"
#include "core/data_set.h"
#include "process/steps/chain.h"

namespace vyn {

/// What a user can start on an experiment page.
enum class PageStep {
    correct_wind_off,
    correct_wind_on,
    try_texture,  ///< the alignment by texture alone, to look at
    ratio,
    field,
    all,
    save_field,
    in_situ,  ///< the dialog of the calibration at ports
    check,    ///< the dialog on the finished point
    count
};

/// What it computes; nothing for those that compute nothing.
std::optional<Goal> goal_of(PageStep step);

/// Why a step cannot run now and what to do about it, for the user; empty when it can.
std::string missing_for(PageStep step, const dataSetInterface& data, const imagesList& images);

/// The answers for all steps, by their number.
using StepNeeds = std::array<std::string, static_cast<std::size_t>(PageStep::count)>;
StepNeeds step_needs(const dataSetInterface& data, const imagesList& images);

}  // namespace vyn
