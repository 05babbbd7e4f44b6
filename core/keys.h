#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "core/data_set.h"

namespace vyn {

/// A setting: its path in the data set and the type of its value.
template <class T>
struct Key {
    std::string_view path;
};

/// The settings by name; defaults and meanings stand in the table (keys.def).
namespace keys {
using string = std::string;
#define VYN_KEY(name, type, path, fallback, allowed, meaning) inline constexpr Key<type> name{path};
#include "core/keys.def"

/// Sub-trees that hold one record each.
inline constexpr std::string_view sens_camera = "project/sens_cam/";
inline constexpr std::string_view refe_camera = "project/refe_cam/";
inline constexpr std::string_view temperature_camera = "project/temperature_cam/";
inline constexpr std::string_view sens_paint = "project/sens_paint/";
inline constexpr std::string_view flow = "project/flow/";
/// Camera resection. The prefix has no leading "p": that is how projects store it.
inline constexpr std::string_view resection = "roject/processing/resection/";
}  // namespace keys

/// Which values a setting takes: every one, the numbers from low to high (a boolean is an int from
/// 0 to 1), or the texts of a list.
struct Allowed {
    enum class Kind { any, range, list };
    Kind kind = Kind::any;
    double low = 0;
    double high = 0;
    std::vector<std::string_view> list;
};

/// One row of the key table.
struct KeyInfo {
    std::string path;
    any fallback;  ///< its type is the setting's type
    Allowed allowed;
    std::string_view meaning;
};

/// Every setting, sorted by path.
const std::vector<KeyInfo>& key_table();
/// The row of a path; null when the table has none.
const KeyInfo* find_key(std::string_view path);
/// What the setting is, without explanations: "wind-on temperature". The path must be in the table.
std::string short_meaning(std::string_view path);

/// Reads a setting with the default of the table; the key exists thereafter.
template <class T>
T read(dataSetInterface& data, Key<T> key) {
    return data.read<T>(key.path, find_key(key.path)->fallback.template get<T>());
}

/// The same for whoever only looks: settings that are constant stay as they are.
template <class T>
T read(const dataSetInterface& data, Key<T> key) {
    return data.read<T>(key.path, find_key(key.path)->fallback.template get<T>());
}

template <class T>
void write(dataSetInterface& data, Key<T> key, T value) {
    data.write<T>(key.path, std::move(value));
}

/// The text as a value of the setting's type; a number is finite. Raises AlgoError "Trying to get
/// not existing data!" naming the nearest key when the table has no such key, and "Algorithm
/// error!" naming key, value and what is allowed when the value is not.
any parse_setting(std::string_view path, std::string_view text);
/// A value as text that `parse_setting` reads back.
std::string format_setting(const any& value);

/// Names a setting of the table whose number is not finite, with its value; empty when there is
/// none.
std::string non_finite_setting(const dataSetInterface& data);

/// For settings of a file that others may have written: makes whole numbers doubles where a setting
/// is one, and says of each other value that its setting does not take, naming the key, and of each
/// name that no setting has.
std::vector<std::string> check_settings(dataSetInterface& data);

}  // namespace vyn
