#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "api/image_list.h"
#include "core/data_set.h"

namespace vyn {

/// The settings that name the input files of one test point: pictures, markers, masks, darks.
const std::vector<std::string_view>& point_file_keys();

/// Empties what belongs to one test point, its pictures in the list and its results included; all
/// other settings, camera and flat field stay.
void empty_point(dataSetInterface& data, imagesList& images);
void empty_point_settings(dataSetInterface& data);

/// A way from this test point to the next one: a number in the file names that goes up.
struct NextPoint {
    std::string from;  ///< with the letters before it, such as "pt003"
    std::string to;
    struct File {
        std::string_view key;
        std::string old_name;
        std::string new_name;  ///< a file that is there; empty when there is none
        bool kept = false;     ///< the name has no such number: the file is that of both points
    };
    std::vector<File> files;  ///< one for each file that the project names
    std::string project;      ///< proposed full path of the new project file

    int found() const;
};

/// Every way that finds at least one file beside those of the project. The one that finds most
/// stands first; of equal ones, that of the number nearest to the end of the file names.
std::vector<NextPoint> find_next_points(const dataSetInterface& data);

/// Puts the files of a way into the settings, which were emptied before.
void take_next_point(dataSetInterface& data, const NextPoint& point);

}  // namespace vyn
