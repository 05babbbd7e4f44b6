#pragma once

#include <functional>
#include <optional>
#include <set>
#include <string>

namespace vyn {

/// Text with names in braces, such as "images/{run}_{point}_on.tif" or "{mach:.2f}": a name may be
/// followed by a format of C (width, zeros, decimals and d, f, g or s) for its value; "{{" and "}}"
/// are braces.
///
/// `value_of` gives the text for a name. Raises AlgoError telling what is wrong in a sentence: a
/// name without value, a format that does not fit, a brace that does not close.
std::string expand_pattern(
    const std::string& pattern,
    const std::function<std::optional<std::string>(const std::string& name)>& value_of);

/// Adds the names that a text uses; what is wrong with it is left to `expand_pattern`.
void add_pattern_names(const std::string& pattern, std::set<std::string>& names);

}  // namespace vyn
