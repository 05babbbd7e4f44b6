#pragma once

#include <string>

#include "core/data_set.h"

namespace vyn {

/// Writes the whole data set as an XML project file, replacing an old one atomically. What
/// `load_xml` reads back is exactly what was written: types, every bit of a double, any string.
/// Raises FileError (the target keeps its old content). The modified mark is left to the caller.
void save_xml(const dataSetInterface& data, const char* file);

/// Replaces the content of `data` by that of a project file; leaves it unchanged on failure and
/// unmarked as modified on success. Raises FileError naming the file, line and column when it
/// cannot be read, is malformed, carries a DOCTYPE, is no project file, is of a newer version or
/// larger than 64 MiB.
void load_xml(dataSetInterface& data, const char* file);

/// The same to and from text, for containers; `name` stands for the file in messages.
std::string to_xml(const dataSetInterface& data);
void from_xml(dataSetInterface& data, const std::string& text, const std::string& name);

}  // namespace vyn
