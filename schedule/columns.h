#pragma once

#include <set>
#include <string>
#include <vector>

#include "schedule/problem.h"
#include "schedule/table.h"

namespace vyn {

/// What a column of a table of points is for.
struct Column {
    enum class Use {
        ignored,       ///< a problem was told
        point,         ///< the point's name, or a rule between slashes
        group,         ///< points that share a law fitted in situ
        skip,          ///< 1: leave the point out
        base,          ///< project that the point's settings stand on
        paint,         ///< paint calibration file that takes the place of the base's record
        auto_markers,  ///< 1: find the markers of pictures that name no marker file
        save,          ///< file for an image of the list
        setting,
        variable  ///< for patterns and readers only
    };
    Use use = Use::ignored;
    std::string head;  ///< as it stands in the table, without its unit
    std::string name;  ///< path of the setting, or name of the image to save
    std::string unit;  ///< from the head or the row of units; empty: none was given
};

/// Finds out what each head stands for. A setting is named by its full path, by the last names of
/// its path where only one setting ends so, or by that without "sens"; a unit may stand behind it
/// in brackets. A head that only `variables` (names used in patterns) know is a variable. What
/// cannot be told is a problem that names the nearest word.
std::vector<Column> resolve_columns(const std::vector<std::string>& heads,
                                    const std::set<std::string>& variables,
                                    std::vector<Problem>& problems);

/// All special heads, for help texts.
const std::vector<std::string>& special_heads();

}  // namespace vyn
