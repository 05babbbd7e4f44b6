#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "process/point/experiment_type.h"
#include "process/point/input_files.h"

namespace vyn {

/// One input file as an experiment page offers it.
struct PageRow {
    InputFile input;
    std::string stem;  ///< its widgets are named after it: "wind_on_bkgr" for "wind_on_bkgr_select"
    std::string label;  ///< beside the file's name
};

/// One camera picture with what belongs to it: picture, dark image, markers, mask.
struct PageCard {
    const RawImage* raw;
    std::string title;
    std::string stem;
    std::vector<PageRow> rows;
};

/// What a page offers for a type of experiment: wind-off first; the page of the fourth type is that
/// of the single channel.
std::vector<PageCard> page_cards(ExperimentType type);

/// The flat fields of the cameras that the type uses.
std::vector<PageRow> flat_rows(ExperimentType type);
/// The place for the temperature map.
PageRow temperature_row();

/// The results that there can be, in the order of computation.
std::vector<std::string> page_results(ExperimentType type);

/// The label under which an image of the list is shown in a viewer; its name where it has none.
std::string image_label(ExperimentType type, std::string_view image);

/// True for camera pictures, dark images and flat fields, which come from files that are never
/// overwritten.
bool is_camera_file(std::string_view image);

}  // namespace vyn
