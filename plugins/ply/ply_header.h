#pragma once

#include <string>
#include <vector>

#include "plugins/mesh_support/text_scanner.h"

namespace vyn::plugins {

/// What a PLY file says of itself before its data.
struct PlyHeader {
    enum class Encoding { text, little_endian, big_endian };
    enum class Type { int8, uint8, int16, uint16, int32, uint32, float32, float64 };
    struct Property {
        std::string name;
        Type type = Type::float32;
        bool list = false;
        Type count_type = Type::uint8;  ///< of a list
    };
    struct Element {
        std::string name;
        std::size_t count = 0;
        std::vector<Property> properties;
    };
    Encoding encoding = Encoding::text;
    std::vector<Element> elements;
};

std::size_t bytes_of(PlyHeader::Type type);

/// Reads up to and with the line "end_header". Counts are held against the text that is left.
PlyHeader read_ply_header(TextScanner& text);

}  // namespace vyn::plugins
