#pragma once

#include <QString>
#include <functional>
#include <string>

namespace vyn {

/// Messages of the program name settings and images as files do; this is how the window turns them
/// into its own words. The identity at first.
using Wording = std::function<std::string(const std::string&)>;
void set_wording(Wording wording);

/// A message in the window's words.
QString worded(const std::string& text);

}  // namespace vyn
