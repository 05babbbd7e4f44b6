#include "plugins/vtk/vtk_arrays.h"

#include <algorithm>
#include <array>
#include <charconv>

#include <zlib.h>

#include "core/numbers.h"
#include "plugins/mesh_support/mesh_bytes.h"
#include "plugins/mesh_support/text_scanner.h"
#include "plugins/support/refusal.h"

namespace vyn::plugins {

namespace {

std::string attribute(const XmlElement& element, const char* name) {
    const std::string* value = element.attribute(name);
    return value ? *value : std::string();
}

int base64_digit(char c) {
    if (c >= 'A' && c <= 'Z') return c - 'A';
    if (c >= 'a' && c <= 'z') return c - 'a' + 26;
    if (c >= '0' && c <= '9') return c - '0' + 52;
    if (c == '+') return 62;
    if (c == '/') return 63;
    return -1;
}

/// Up to `most` bytes. A header that was encoded by itself ends in "=": what follows belongs to the
/// stream, too.
std::string decode_base64(std::string_view text, std::size_t most) {
    std::string bytes;
    unsigned bits = 0;
    int digits = 0;
    for (const char c : text) {
        if (bytes.size() >= most) break;
        if (c == ' ' || c == '\n' || c == '\r' || c == '\t') continue;
        if (c == '=') {
            bits = 0;
            digits = 0;
            continue;
        }
        const int digit = base64_digit(c);
        if (digit < 0) break;
        bits = (bits << 6) | static_cast<unsigned>(digit);
        ++digits;
        if (digits >= 2) bytes.push_back(static_cast<char>((bits >> (8 - 2 * digits)) & 0xFF));
        if (digits == 4) {
            bits = 0;
            digits = 0;
        }
    }
    return bytes;
}

template <class T>
std::vector<double> convert(const std::string& bytes, std::endian order) {
    std::vector<double> numbers(bytes.size() / sizeof(T));
    for (std::size_t i = 0; i < numbers.size(); ++i)
        numbers[i] = static_cast<double>(number_at<T>(bytes.data() + i * sizeof(T), order));
    return numbers;
}

}  // namespace

VtkArrays::VtkArrays(const std::filesystem::path& file, const XmlElement& root,
                     std::string_view appended, bool appended_base64)
    : file_(file), appended_(appended), appended_base64_(appended_base64) {
    if (attribute(root, "byte_order") == "BigEndian") order_ = std::endian::big;
    if (attribute(root, "header_type") == "UInt64") header_size_ = 8;
    const std::string compressor = attribute(root, "compressor");
    compressed_ = compressor == "vtkZLibDataCompressor";
    if (!compressed_ && !compressor.empty())
        refuse(file, "compressed by " + compressor + ", of which only zlib is read");
}

std::string VtkArrays::take(std::string_view stream, bool base64, std::size_t count) const {
    std::string bytes;
    if (count <= stream.size())  // base64 is longer than what it holds
        bytes = base64 ? decode_base64(stream, count) : std::string(stream.substr(0, count));
    if (bytes.size() < count || count > stream.size()) refuse(file_, "an array is cut off");
    return bytes;
}

std::uint64_t VtkArrays::header_number(const std::string& bytes, std::size_t index) const {
    const char* at = bytes.data() + index * header_size_;
    return header_size_ == 8 ? number_at<std::uint64_t>(at, order_)
                             : number_at<std::uint32_t>(at, order_);
}

std::string VtkArrays::decompressed(std::string_view stream, bool base64) const {
    const std::uint64_t blocks = header_number(take(stream, base64, header_size_), 0);
    if (blocks == 0) return {};
    if (blocks > stream.size() / header_size_) refuse(file_, "an array is cut off");
    const std::size_t header = (3 + static_cast<std::size_t>(blocks)) * header_size_;
    const std::string sizes = take(stream, base64, header);
    const std::uint64_t whole = header_number(sizes, 1);
    const std::uint64_t last = header_number(sizes, 2);
    std::uint64_t packed = 0;
    for (std::size_t b = 0; b < blocks; ++b) {
        packed += std::min<std::uint64_t>(header_number(sizes, 3 + b), stream.size() + 1);
        if (packed > stream.size()) refuse(file_, "an array is cut off");
    }
    const std::uint64_t most = max_compression_ratio * (packed + 1);
    const std::uint64_t tail = last > 0 ? last : whole;
    if (tail > most || (blocks - 1) > most / std::max<std::uint64_t>(whole, 1))
        refuse(file_, "an array promises more than it can hold");
    const std::string data = take(stream, base64, header + static_cast<std::size_t>(packed));
    std::string bytes;
    std::size_t place = header;
    for (std::size_t b = 0; b < blocks; ++b) {
        const std::uint64_t size = b + 1 == blocks ? tail : whole;
        const std::uint64_t length = header_number(sizes, 3 + b);
        const std::size_t before = bytes.size();
        bytes.resize(before + static_cast<std::size_t>(size));
        uLongf got = static_cast<uLongf>(size);
        const int status = uncompress(reinterpret_cast<Bytef*>(bytes.data() + before), &got,
                                      reinterpret_cast<const Bytef*>(data.data() + place),
                                      static_cast<uLong>(length));
        if (status != Z_OK || got != size) refuse(file_, "a compressed array is damaged");
        place += static_cast<std::size_t>(length);
    }
    return bytes;
}

std::string VtkArrays::bytes_of(const XmlElement& array) const {
    const std::string format = attribute(array, "format");
    std::string_view stream = array.text;
    bool base64 = true;
    if (format == "appended") {
        const auto offset = parse_double(attribute(array, "offset"));
        if (!offset || !(*offset >= 0) || *offset > static_cast<double>(appended_.size()))
            refuse(file_, "an array begins outside of the file");
        stream = appended_.substr(static_cast<std::size_t>(*offset));
        base64 = appended_base64_;
    }
    if (compressed_) return decompressed(stream, base64);
    const std::uint64_t length = header_number(take(stream, base64, header_size_), 0);
    if (length > stream.size()) refuse(file_, "an array is cut off");
    return take(stream, base64, header_size_ + static_cast<std::size_t>(length))
        .substr(header_size_);
}

std::vector<double> VtkArrays::numbers(const XmlElement& array) const {
    const std::string type = attribute(array, "type");
    if (attribute(array, "format") == "ascii") {
        Progress silent;
        TextScanner text(file_, array.text, silent);
        std::vector<double> numbers;
        while (!text.at_end())
            numbers.push_back(text.value());
        return numbers;
    }
    const std::string bytes = bytes_of(array);
    if (type == "Float64") return convert<double>(bytes, order_);
    if (type == "Float32") return convert<float>(bytes, order_);
    if (type == "Int64") return convert<std::int64_t>(bytes, order_);
    if (type == "Int32") return convert<std::int32_t>(bytes, order_);
    if (type == "UInt8") return convert<std::uint8_t>(bytes, order_);
    if (type == "Int8") return convert<std::int8_t>(bytes, order_);
    if (type == "UInt16") return convert<std::uint16_t>(bytes, order_);
    if (type == "Int16") return convert<std::int16_t>(bytes, order_);
    if (type == "UInt32") return convert<std::uint32_t>(bytes, order_);
    if (type == "UInt64") return convert<std::uint64_t>(bytes, order_);
    refuse(file_, "an array of type '" + type.substr(0, 40) + "'");
}

std::vector<std::string> VtkArrays::texts(const XmlElement& array) const {
    std::string bytes;
    if (attribute(array, "format") == "ascii") {
        for (const double code : numbers(array))
            if (code >= 0 && code < 256) bytes.push_back(static_cast<char>(static_cast<int>(code)));
    } else {
        bytes = bytes_of(array);
    }
    std::vector<std::string> texts;
    for (std::size_t at = 0; at < bytes.size();) {
        const std::size_t end = std::min(bytes.find('\0', at), bytes.size());
        texts.push_back(bytes.substr(at, end - at));
        at = end + 1;
    }
    return texts;
}

}  // namespace vyn::plugins
