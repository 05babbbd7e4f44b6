#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace vyn {

/// Writes an XML document of nested elements and attributes: UTF-8, one element per line, indented.
class XmlWriter {
  public:
    /// Starts an element inside the one that is open.
    void open(std::string_view name);
    /// Adds an attribute to the element just opened. The parser gives back every character of the
    /// value, blanks and line ends included; the value must be one that `xml_can_hold`.
    void attribute(std::string_view name, std::string_view value);
    /// Ends the innermost open element.
    void close();
    /// Ends all open elements and gives the document.
    std::string finish();

  private:
    void end_start_tag(std::string_view end);
    void indent();

    std::string text_ = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";
    std::vector<std::string> open_;
    bool in_start_tag_ = false;
};

/// True when the bytes are UTF-8 and every character may stand in an XML 1.0 document: no control
/// characters but tab and line ends, no U+FFFE and U+FFFF.
bool xml_can_hold(std::string_view text);

/// The text with U+FFFD in the place of every byte that keeps `xml_can_hold` from being true: for
/// file names, which may be any bytes, in documents that must be UTF-8.
std::string valid_utf8(std::string_view text);

/// A text as it stands between tags and in quoted attributes of XML and HTML, `valid_utf8` before.
std::string xml_escaped(std::string_view text);

}  // namespace vyn
