#include "process/page/user_words.h"

#include "core/ascii.h"
#include "core/keys.h"
#include "process/page/page_rows.h"

namespace vyn {

namespace {

/// Names of images and paths of settings consist of these.
bool is_part_of_name(char c) {
    return is_letter(c) || is_digit(c) || c == '_' || c == '/';
}

std::string in_words(ExperimentType type, std::string_view name) {
    if (find_key(name)) return '"' + short_meaning(name) + '"';
    // A label that is a path of a file as well must not lose its folder.
    return name.find('/') == std::string_view::npos ? image_label(type, name) : std::string(name);
}

}  // namespace

std::string user_words(ExperimentType type, std::string_view text) {
    std::string words;
    for (std::size_t begin = 0; begin < text.size();) {
        std::size_t end = begin;
        while (end < text.size() && is_part_of_name(text[end]))
            ++end;
        const bool file = end + 1 < text.size() && text[end] == '.' && is_letter(text[end + 1]);
        const std::string_view name = text.substr(begin, end - begin);
        words += file ? std::string(name) : in_words(type, name);
        if (end < text.size()) words += text[end++];
        begin = end;
    }
    return words;
}

}  // namespace vyn
