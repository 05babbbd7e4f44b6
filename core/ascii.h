#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace vyn {

/// Letters of file names, keys and units are those of ASCII whatever the locale says; every other
/// byte stays as it is.
constexpr bool is_letter(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

constexpr bool is_digit(char c) {
    return c >= '0' && c <= '9';
}

constexpr char lower_case(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

constexpr char upper_case(char c) {
    return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
}

inline std::string lower_case(std::string_view text) {
    std::string lower(text);
    for (char& c : lower)
        c = lower_case(c);
    return lower;
}

/// A file's extension in lower case, without dot.
inline std::string lower_extension(const std::filesystem::path& file) {
    const std::string extension = file.extension().string();
    return lower_case(extension.empty() ? extension : extension.substr(1));
}

}  // namespace vyn
