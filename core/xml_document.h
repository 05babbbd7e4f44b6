#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace vyn {

/// An element of a parsed XML document: the part of it that the program's readers use.
struct XmlElement {
    std::string name;
    std::vector<std::pair<std::string, std::string>> attributes;  ///< UTF-8
    std::string text;                                             ///< own character data, UTF-8
    std::vector<XmlElement> children;
    std::size_t line = 0;    ///< where its start tag ends in the parsed file, from 1
    std::size_t column = 0;  ///< likewise

    /// The attribute of that name; null when absent.
    const std::string* attribute(std::string_view attribute_name) const;
    /// The first child element of that name; null when absent.
    const XmlElement* child(std::string_view child_name) const;
};

/// Parses XML without validation, DTDs, external entities or network. Raises FileError "File
/// error!" naming `name`, line and column when the text is malformed, carries a DOCTYPE or nests
/// elements deeper than 256.
XmlElement parse_xml(const std::string& text, const std::string& name);

}  // namespace vyn
