#include "core/xml_writer.h"

#include <cstdint>
#include <optional>

namespace vyn {

namespace {

/// White space is escaped too: a parser turns tabs and line ends in attributes into blanks.
std::string escape(std::string_view value) {
    std::string text;
    for (const char c : value) {
        switch (c) {
            case '&':
                text += "&amp;";
                break;
            case '<':
                text += "&lt;";
                break;
            case '>':
                text += "&gt;";
                break;
            case '"':
                text += "&quot;";
                break;
            case '\t':
                text += "&#9;";
                break;
            case '\n':
                text += "&#10;";
                break;
            case '\r':
                text += "&#13;";
                break;
            default:
                text += c;
        }
    }
    return text;
}

/// Takes one character off the front of the text; nothing when it is not valid UTF-8 (RFC 3629).
std::optional<std::uint32_t> take_character(std::string_view& text) {
    const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    const unsigned char lead = byte(0);
    const std::size_t length = lead < 0x80           ? 1
                               : (lead >> 5) == 0x06 ? 2
                               : (lead >> 4) == 0x0E ? 3
                               : (lead >> 3) == 0x1E ? 4
                                                     : 0;
    if (length == 0 || text.size() < length) return std::nullopt;
    if (length == 1) {
        text.remove_prefix(1);
        return lead;
    }
    std::uint32_t code = lead & (0xFFu >> (length + 1));
    for (std::size_t i = 1; i < length; ++i) {
        if ((byte(i) & 0xC0) != 0x80) return std::nullopt;
        code = code << 6 | (byte(i) & 0x3Fu);
    }
    constexpr std::uint32_t least[] = {0, 0, 0x80, 0x800, 0x10000};
    const bool surrogate = code >= 0xD800 && code <= 0xDFFF;
    if (code < least[length] || code > 0x10FFFF || surrogate) return std::nullopt;
    text.remove_prefix(length);
    return code;
}

/// Production Char of XML 1.0, for a character of valid UTF-8.
bool is_xml_character(std::uint32_t code) {
    if (code < 0x20) return code == '\t' || code == '\n' || code == '\r';
    return code != 0xFFFE && code != 0xFFFF;
}

}  // namespace

void XmlWriter::open(std::string_view name) {
    if (in_start_tag_) end_start_tag(">\n");
    indent();
    text_ += '<';
    text_ += name;
    open_.emplace_back(name);
    in_start_tag_ = true;
}

void XmlWriter::attribute(std::string_view name, std::string_view value) {
    text_ += ' ';
    text_ += name;
    text_ += "=\"" + escape(value) + "\"";
}

void XmlWriter::close() {
    const std::string name = std::move(open_.back());
    open_.pop_back();
    if (in_start_tag_) {
        end_start_tag("/>\n");
        return;
    }
    indent();
    text_ += "</" + name + ">\n";
}

std::string XmlWriter::finish() {
    while (!open_.empty())
        close();
    return std::move(text_);
}

void XmlWriter::end_start_tag(std::string_view end) {
    text_ += end;
    in_start_tag_ = false;
}

void XmlWriter::indent() {
    text_.append(2 * open_.size(), ' ');
}

bool xml_can_hold(std::string_view text) {
    while (!text.empty()) {
        const auto character = take_character(text);
        if (!character || !is_xml_character(*character)) return false;
    }
    return true;
}

std::string valid_utf8(std::string_view text) {
    std::string valid;
    while (!text.empty()) {
        std::string_view rest = text;
        const auto character = take_character(rest);
        if (character && is_xml_character(*character)) {
            valid += text.substr(0, text.size() - rest.size());
            text = rest;
        } else {
            valid += "\xEF\xBF\xBD";
            text.remove_prefix(1);
        }
    }
    return valid;
}

std::string xml_escaped(std::string_view text) {
    return escape(valid_utf8(text));
}

}  // namespace vyn
