#include "core/project_file.h"

#include <algorithm>
#include <bit>
#include <charconv>
#include <cstdint>
#include <set>
#include <vector>

#include "core/ascii.h"
#include "core/atomic_file.h"
#include "core/numbers.h"
#include "core/quotes.h"
#include "core/version.h"
#include "core/xml_document.h"
#include "core/xml_writer.h"

// The file: <vyn_project version="2.51"> with one element per node of the data set, nested as the
// nodes are. An element has the name of its node where that can be an element's name, and is
// <node name="..."> otherwise. A node that holds a value has the attributes type and value. Bytes
// that XML cannot hold stand in hexadecimal form: name_bytes for name, bytes for a text's value,
// and bits, the eight bytes of the number, for a double that its text would not bring back (a NaN
// other than the usual one).

namespace vyn {

namespace {

constexpr std::size_t most_bytes = 64u << 20;
constexpr const char* root_name = "vyn_project";
constexpr const char* other_node = "node";

using Leaves = std::vector<std::pair<std::string, any>>;

// --- values that have no text in XML

std::string to_hex(std::string_view bytes) {
    constexpr const char* digits = "0123456789abcdef";
    std::string hex;
    for (const char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        hex += {digits[byte >> 4], digits[byte & 15]};
    }
    return hex;
}

std::optional<std::string> from_hex(std::string_view hex) {
    if (hex.size() % 2 != 0) return std::nullopt;
    std::string bytes;
    for (std::size_t i = 0; i < hex.size(); i += 2) {
        unsigned byte = 0;
        const auto end = std::from_chars(hex.data() + i, hex.data() + i + 2, byte, 16);
        if (end.ec != std::errc() || end.ptr != hex.data() + i + 2) return std::nullopt;
        bytes += static_cast<char>(byte);
    }
    return bytes;
}

std::uint64_t bits_of(double value) {
    return std::bit_cast<std::uint64_t>(value);
}

/// The bits of a double, most significant byte first.
std::string bits_to_hex(double value) {
    std::string bytes;
    for (int shift = 56; shift >= 0; shift -= 8)
        bytes += static_cast<char>((bits_of(value) >> shift) & 0xFF);
    return to_hex(bytes);
}

std::optional<double> bits_from_hex(std::string_view hex) {
    const auto bytes = from_hex(hex);
    if (!bytes || bytes->size() != sizeof(double)) return std::nullopt;
    std::uint64_t bits = 0;
    for (const char c : *bytes)
        bits = bits << 8 | static_cast<unsigned char>(c);
    return std::bit_cast<double>(bits);
}

// --- writing

bool begins_name(char c) {
    return is_letter(c) || c == '_';
}

bool can_name_element(std::string_view name) {
    const auto follows = [](char c) {
        return begins_name(c) || (c >= '0' && c <= '9') || c == '-' || c == '.';
    };
    return name != other_node && !name.empty() && begins_name(name.front()) &&
           std::ranges::all_of(name, follows);
}

void open_node(XmlWriter& xml, std::string_view name) {
    if (can_name_element(name)) {
        xml.open(name);
        return;
    }
    xml.open(other_node);
    if (xml_can_hold(name))
        xml.attribute("name", name);
    else
        xml.attribute("name_bytes", to_hex(name));
}

void write_value(XmlWriter& xml, const any& value) {
    xml.attribute("type", value.type()->name());
    if (value.holds<int>()) {
        xml.attribute("value", std::to_string(value.get<int>()));
    } else if (value.holds<double>()) {
        const double number = value.get<double>();
        const std::string text = format_double(number);
        if (bits_of(parse_double(text).value_or(0.0)) == bits_of(number))
            xml.attribute("value", text);
        else
            xml.attribute("bits", bits_to_hex(number));
    } else if (const auto& text = value.get<std::string>(); xml_can_hold(text)) {
        xml.attribute("value", text);
    } else {
        xml.attribute("bytes", to_hex(text));
    }
}

std::vector<std::string> split(const std::string& path) {
    std::vector<std::string> names(1);
    for (const char c : path) {
        if (c == '/')
            names.emplace_back();
        else
            names.back() += c;
    }
    return names;
}

// --- reading

[[noreturn]] void refuse(const std::string& file, const XmlElement& element,
                         const std::string& why) {
    throw FileError("File error!", file + ":" + std::to_string(element.line) + ":" +
                                       std::to_string(element.column) + ": <" + element.name +
                                       ">: " + why);
}

std::optional<std::string> node_name(const XmlElement& element) {
    if (element.name != other_node) return element.name;
    if (const std::string* name = element.attribute("name")) return *name;
    if (const std::string* bytes = element.attribute("name_bytes")) return from_hex(*bytes);
    return std::nullopt;
}

/// The value of an element whose type is given; an empty holder when it is not of that type.
any read_value(const XmlElement& element, const std::string& type) {
    const auto holder = [](const auto& parsed) {
        any held;
        if (parsed) held.set(*parsed);
        return held;
    };
    const std::string* value = element.attribute("value");
    const std::string* bits = element.attribute("bits");
    const std::string* bytes = element.attribute("bytes");
    if (type == "int" && value) return holder(parse_int(*value));
    if (type == "double" && value) return holder(parse_double(*value));
    if (type == "double" && bits) return holder(bits_from_hex(*bits));
    if (type == "string" && value) return any(*value);
    if (type == "string" && bytes) return holder(from_hex(*bytes));
    return {};
}

/// Appends the values of the nodes below an element.
void collect(const XmlElement& parent, const std::string& tree, const std::string& file,
             Leaves& leaves) {
    if (!trim(parent.text).empty()) refuse(file, parent, "text outside of the tags");
    std::set<std::string, std::less<>> names;
    for (const XmlElement& element : parent.children) {
        const auto name = node_name(element);
        if (!name || name->empty() || name->find('/') != std::string::npos)
            refuse(file, element, "no valid name");
        if (!names.insert(*name).second) refuse(file, element, "the name stands twice");
        const std::string path = tree + *name;
        if (std::ranges::count(path, '/') >= std::ptrdiff_t{most_path_names})
            refuse(file, element, "nodes are nested too deep");
        if (const std::string* type = element.attribute("type")) {
            any value = read_value(element, *type);
            if (value.empty()) refuse(file, element, "no valid value of type " + in_quotes(*type));
            leaves.emplace_back(path, std::move(value));
        } else if (element.attribute("value") || element.attribute("bits") ||
                   element.attribute("bytes")) {
            refuse(file, element, "a value without its type");
        }
        collect(element, path + "/", file, leaves);
    }
}

/// A version "major.minor" as a pair that compares; nothing when it is none.
std::optional<std::pair<int, int>> parse_version(std::string_view text) {
    const std::size_t dot = text.find('.');
    if (dot == std::string_view::npos) return std::nullopt;
    const auto major = parse_int(text.substr(0, dot));
    const auto minor = parse_int(text.substr(dot + 1));
    if (!major || !minor) return std::nullopt;
    return std::pair(*major, *minor);
}

void check_root(const XmlElement& root, const std::string& file) {
    if (root.name != root_name) refuse(file, root, "this is no project file");
    const std::string* text = root.attribute("version");
    const auto version = text ? parse_version(*text) : std::nullopt;
    if (!version) refuse(file, root, "no valid version");
    if (*version > parse_version(file_version))
        refuse(file, root,
               "version " + *text + " is newer than " + file_version + ", the newest known here");
}

std::string checked_name(const char* file) {
    if (!file || !*file) throw FileError("File Name is empty!");
    return file;
}

}  // namespace

std::string to_xml(const dataSetInterface& data) {
    XmlWriter xml;
    xml.open(root_name);
    xml.attribute("version", file_version);
    std::vector<std::string> open;
    data.for_each([&](const std::string& path, const any& value) {
        std::vector<std::string> names = split(path);
        const auto shared = std::ranges::mismatch(open, names);
        for (auto left = shared.in1; left != open.end(); ++left)
            xml.close();
        for (auto name = shared.in2; name != names.end(); ++name)
            open_node(xml, *name);
        write_value(xml, value);
        open = std::move(names);
    });
    return xml.finish();
}

void from_xml(dataSetInterface& data, const std::string& text, const std::string& name) {
    const XmlElement root = parse_xml(text, name);
    check_root(root, name);
    Leaves leaves;
    collect(root, "", name, leaves);
    data.replace(leaves);
}

void save_xml(const dataSetInterface& data, const char* file) {
    const std::string name = checked_name(file);
    const std::string text = to_xml(data);
    if (text.size() > most_bytes)
        throw FileError("Error writing file",
                        name + ": the project is larger than the 64 MiB that can be read back");
    write_file(name, text);
}

void load_xml(dataSetInterface& data, const char* file) {
    const std::string name = checked_name(file);
    from_xml(data, read_file(name, most_bytes), name);
}

}  // namespace vyn
