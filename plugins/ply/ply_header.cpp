#include "plugins/ply/ply_header.h"

#include <algorithm>
#include <array>
#include <utility>

namespace vyn::plugins {

namespace {

using Type = PlyHeader::Type;

constexpr std::array<std::pair<std::string_view, Type>, 16> type_names{{
    {"char", Type::int8},
    {"uchar", Type::uint8},
    {"short", Type::int16},
    {"ushort", Type::uint16},
    {"int", Type::int32},
    {"uint", Type::uint32},
    {"float", Type::float32},
    {"double", Type::float64},
    {"int8", Type::int8},
    {"uint8", Type::uint8},
    {"int16", Type::int16},
    {"uint16", Type::uint16},
    {"int32", Type::int32},
    {"uint32", Type::uint32},
    {"float32", Type::float32},
    {"float64", Type::float64},
}};

Type read_type(TextScanner& text) {
    const std::string_view name = text.word();
    const auto* known =
        std::ranges::find(type_names, name, &std::pair<std::string_view, Type>::first);
    if (known == type_names.end())
        text.refuse("'" + std::string(name.substr(0, 40)) + "' is no type of a property");
    return known->second;
}

PlyHeader::Encoding read_encoding(TextScanner& text) {
    using Encoding = PlyHeader::Encoding;
    const std::string_view name = text.word();
    if (name == "ascii") return Encoding::text;
    if (name == "binary_little_endian") return Encoding::little_endian;
    if (name == "binary_big_endian") return Encoding::big_endian;
    text.refuse("'" + std::string(name.substr(0, 40)) + "' is no encoding");
}

}  // namespace

std::size_t bytes_of(Type type) {
    constexpr std::size_t sizes[]{1, 1, 2, 2, 4, 4, 4, 8};
    return sizes[static_cast<std::size_t>(type)];
}

PlyHeader read_ply_header(TextScanner& text) {
    constexpr std::size_t most_properties = 1000;
    PlyHeader header;
    std::size_t properties = 0;
    if (text.word() != "ply") text.refuse("'ply' is missing");
    for (std::string_view word = text.word(); word != "end_header"; word = text.word()) {
        if (word == "comment" || word == "obj_info") {
            text.line();
        } else if (word == "format") {
            header.encoding = read_encoding(text);
            text.line();
        } else if (word == "element") {
            auto& element = header.elements.emplace_back();
            element.name = text.word();
            element.count = text.count(1);
        } else if (word == "property") {
            if (header.elements.empty() || ++properties > most_properties)
                text.refuse("a property out of place");
            auto& property = header.elements.back().properties.emplace_back();
            property.list = text.peek() == "list";
            if (property.list) {
                text.word();
                property.count_type = read_type(text);
            }
            property.type = read_type(text);
            property.name = text.word();
        } else {
            text.refuse("'" + std::string(word.substr(0, 40)) + "' is no word of a header");
        }
    }
    text.line();
    return header;
}

}  // namespace vyn::plugins
