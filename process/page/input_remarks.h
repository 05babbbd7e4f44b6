#pragma once

#include <string>
#include <vector>

#include "api/image_list.h"
#include "core/data_set.h"
#include "process/point/experiment_type.h"
#include "process/point/input_files.h"
#include "process/report/warning.h"

namespace vyn {

/// A sentence or two for the user of a page, in the user's words.
struct Remark {
    enum class Kind { warning, information };
    Kind kind = Kind::warning;
    std::string text;
    bool operator==(const Remark&) const = default;
};

/// What a user should know of the inputs before trusting a result: missing files, sizes that do not
/// agree, dark images and flat fields that are not used, saturated pixels, the conditions as they
/// enter the law.
std::vector<Remark> input_remarks(const dataSetInterface& data, const imagesList& images);

/// The same with the warnings of a run: warnings first, and nothing said twice.
std::vector<Remark> with_warnings(const std::vector<Remark>& remarks,
                                  const std::vector<Warning>& warnings, ExperimentType type);

/// How a picture of a point differs in size from the one that it is used with, as half a sentence;
/// empty when it does not, or when either is not loaded.
std::string size_problem(const dataSetInterface& data, const imagesList& images,
                         const InputFile& input);

}  // namespace vyn
