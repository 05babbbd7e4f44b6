#pragma once

#include <string>
#include <string_view>

namespace vyn {

/// The beginning of a text, for messages: at most so many bytes, no half UTF-8 character.
std::string shortened(std::string_view text, std::size_t most_bytes);

/// A text from a file between quotation marks, for messages: 80 characters at most, on one line.
std::string in_quotes(std::string_view text);

/// For what should be a number: the text quoted, with a hint where it has a decimal comma.
std::string number_in_quotes(std::string_view text);

}  // namespace vyn
