#include "plugins/tiff/stack_description.h"

#include <map>

#include "core/numbers.h"
#include "plugins/support/attributes.h"
#include "plugins/support/refusal.h"

namespace vyn::plugins {

namespace {

using Words = std::map<std::string_view, std::string_view>;

/// Lines of NAME=VALUE.
Words words_of(std::string_view text) {
    Words words;
    while (!text.empty()) {
        const std::string_view line = text.substr(0, text.find('\n'));
        text.remove_prefix(std::min(line.size() + 1, text.size()));
        if (const std::size_t equals = line.find('='); equals != line.npos)
            words.emplace(line.substr(0, equals), trim(line.substr(equals + 1)));
    }
    return words;
}

std::int64_t count_of(const Words& words, std::string_view name) {
    const auto found = words.find(name);
    if (found == words.end()) return 1;
    const auto count = parse_int(found->second);
    return count && *count > 0 ? *count : 1;
}

StackDescription of_imagej(const std::filesystem::path& file, const Words& words) {
    StackDescription stack{.images = count_of(words, "images"),
                           .channels = count_of(words, "channels"),
                           .slices = count_of(words, "slices")};
    const auto function = words.find("cf");
    if (function == words.end()) return stack;
    // 0 is the straight line; 20 and above are "none" and optical density.
    constexpr std::string_view straight_line = "0";
    constexpr std::string_view none = "20";
    if (function->second == none) return stack;
    if (function->second != straight_line)
        refuse(file, "its values have a calibration that is no straight line");
    const auto coefficient = [&](std::string_view name) {
        const auto found = words.find(name);
        const auto value = found == words.end() ? std::nullopt : parse_double(found->second);
        if (!value) refuse(file, "its calibration lacks the coefficient " + std::string(name));
        return *value;
    };
    stack.offset = coefficient("c0");
    stack.gain = coefficient("c1");
    if (const auto unit = words.find("vunit"); unit != words.end() && unit->second != "Gray Value")
        stack.unit = sound_unit(std::string(unit->second));
    return stack;
}

/// The number in an attribute of the first picture.
std::int64_t ome_size(std::string_view text, std::string_view name) {
    const std::size_t pixels = text.find("<Pixels");
    if (pixels == text.npos) return 1;
    std::string_view element = text.substr(pixels, text.find('>', pixels) - pixels);
    const std::string start = " " + std::string(name) + "=\"";
    const std::size_t place = element.find(start);
    if (place == element.npos) return 1;
    element.remove_prefix(place + start.size());
    const auto count = parse_int(element.substr(0, element.find('"')));
    return count && *count > 0 ? *count : 1;
}

}  // namespace

StackDescription stack_description(const std::filesystem::path& file, std::string_view text) {
    if (text.starts_with("ImageJ=")) return of_imagej(file, words_of(text));
    if (text.find("<OME") != text.npos)
        return {.channels = ome_size(text, "SizeC"), .slices = ome_size(text, "SizeZ")};
    return {};
}

}  // namespace vyn::plugins
