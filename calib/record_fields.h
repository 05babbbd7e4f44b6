#pragma once

#include <functional>
#include <string>
#include <type_traits>

#include "calib/record_file.h"
#include "core/errors.h"
#include "core/keys.h"

/// What the records of this folder share. Each record has one list of its fields, a
/// `for_each_field(record, visit)` that calls `visit(key, field)` in the order of its file; data
/// set and file access are visitors of that list.
namespace vyn {

/// Text of the paint record's only flag, under the key "type".
inline const char* channel_text(bool double_channel) {
    return double_channel ? "double" : "single";
}
inline bool is_double_channel(const std::string& text) {
    return text == "double";
}

/// Reads the field under a path of the key table with the table's default, which constant settings
/// do not keep.
template <class Data, class T>
requires std::is_base_of_v<dataSetInterface, std::remove_const_t<Data>>
void read_field(Data& data, const std::string& path, T& field) {
    if constexpr (std::is_same_v<T, bool>) {
        std::string text;
        read_field(data, path, text);
        field = is_double_channel(text);
    } else {
        if (!find_key(path)) throw AlgoError("Algorithm error!", path + " is no key of a record");
        field = read(data, Key<T>{path});
    }
}

template <class T>
void write_field(dataSetInterface& data, const std::string& path, const T& field) {
    if constexpr (std::is_same_v<T, bool>)
        data.write(path, channel_text(field));
    else
        data.write<T>(path, field);
}

/// Reads a field from an ini file; a missing key leaves it unchanged, except a flag, which is then
/// off.
template <class T>
void read_field(const IniFile& ini, std::string_view section, std::string_view key, T& field) {
    if constexpr (std::is_same_v<T, bool>)
        field = is_double_channel(ini.get(section, key, ""));
    else if constexpr (std::is_same_v<T, int>)
        field = read_int_key(ini, section, key, field);
    else if constexpr (std::is_same_v<T, double>)
        field = read_double_key(ini, section, key, field);
    else
        field = ini.get(section, key, field);
}

template <class T>
void write_field(IniFile& ini, std::string_view section, std::string_view key, const T& field) {
    if constexpr (std::is_same_v<T, bool>)
        ini.set(section, key, channel_text(field));
    else if constexpr (std::is_same_v<T, int>)
        ini.set(section, key, std::to_string(field));
    else if constexpr (std::is_same_v<T, double>)
        ini.set(section, key, format_record_number(field));
    else
        ini.set(section, key, field);
}

/// Sets keys of an ini file, which is made when missing; what `fill` does not touch stays as it is.
/// Saved atomically: after a failure the old file, or none, is there. Raises FileError.
void update_ini_file(const std::string& path, const std::function<void(IniFile&)>& fill);

}  // namespace vyn
