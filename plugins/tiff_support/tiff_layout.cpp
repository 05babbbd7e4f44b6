#include "plugins/tiff_support/tiff_layout.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <fstream>
#include <unordered_set>
#include <vector>

namespace vyn::plugins {

namespace {

constexpr std::uint64_t max_entries = 4096;
constexpr std::size_t max_pages = 1 << 20;
constexpr std::size_t description_beginning = 256;
constexpr std::uint64_t image_description_tag = 270;

constexpr std::string_view cut_off = "the file is cut off";
constexpr std::string_view value_outside = "the file is cut off: a tag's value lies beyond its end";

/// Bytes of one value of a field type; 0 for unknown types, which no reader looks at.
std::uint64_t bytes_of_type(std::uint64_t type) {
    constexpr std::array<std::uint8_t, 19> bytes{0, 1, 1, 2, 4, 8, 1, 1, 2, 4,
                                                 8, 4, 8, 4, 0, 0, 8, 8, 8};
    return type < bytes.size() ? bytes[type] : 0;
}

class Walker {
  public:
    explicit Walker(const std::filesystem::path& file) : stream_(file, std::ios::binary) {
        stream_.seekg(0, std::ios::end);
        const auto end = stream_.tellg();
        if (stream_ && end > 0) size_ = static_cast<std::uint64_t>(end);
    }

    TiffLayout walk() {
        TiffLayout layout;
        std::uint64_t directory = read_header(layout);
        std::unordered_set<std::uint64_t> seen;
        while (layout.fault.empty() && directory != 0) {
            if (!seen.insert(directory).second)
                layout.fault = "its directories form a circle";
            else if (seen.size() > max_pages)
                layout.fault = "it has too many pages";
            else
                directory = read_directory(directory, layout);
        }
        if (layout.fault.empty() && layout.pages == 0) layout.fault = "it has no page";
        return layout;
    }

  private:
    /// Offset of the first directory.
    std::uint64_t read_header(TiffLayout& layout) {
        std::vector<unsigned char> head;
        if (!read(0, 8, head)) return fault(layout, cut_off);
        big_endian_ = head[0] == 'M';
        big_tiff_ = number(&head[2], 2) == 43;
        if (!big_tiff_) return number(&head[4], 4);
        if (!read(8, 8, head)) return fault(layout, cut_off);
        return number(head.data(), 8);
    }

    /// Offset of the next directory; 0 after the last one.
    std::uint64_t read_directory(std::uint64_t offset, TiffLayout& layout) {
        const std::size_t count_bytes = big_tiff_ ? 8 : 2;
        const std::size_t entry_bytes = big_tiff_ ? 20 : 12;
        const std::size_t link_bytes = big_tiff_ ? 8 : 4;
        std::vector<unsigned char> block;
        if (!read(offset, count_bytes, block)) return fault(layout, cut_off);
        const std::uint64_t entries = number(block.data(), count_bytes);
        if (entries > max_entries) return fault(layout, "a directory has too many entries");
        if (!read(offset + count_bytes, entries * entry_bytes + link_bytes, block))
            return fault(layout, cut_off);
        for (std::uint64_t i = 0; i < entries; ++i)
            if (!check_entry(&block[i * entry_bytes], layout)) return fault(layout, value_outside);
        ++layout.pages;
        return number(&block[entries * entry_bytes], link_bytes);
    }

    /// False when the entry's values lie outside the file.
    bool check_entry(const unsigned char* entry, TiffLayout& layout) {
        const std::size_t word = big_tiff_ ? 8 : 4;
        const std::uint64_t count = number(entry + 4, word);
        const std::uint64_t unit = bytes_of_type(number(entry + 2, 2));
        const unsigned char* field = entry + 4 + word;
        if (unit == 0) return true;
        if (count > size_ / unit) return false;
        const std::uint64_t bytes = count * unit;
        std::vector<unsigned char> text(field, field + std::min<std::uint64_t>(bytes, word));
        if (bytes > word) {
            const std::uint64_t offset = number(field, word);
            if (offset > size_ || bytes > size_ - offset) return false;
            if (is_first_description(entry, layout) &&
                !read(offset, std::min<std::uint64_t>(bytes, description_beginning), text))
                return false;
        }
        if (is_first_description(entry, layout))
            layout.description.assign(text.begin(), text.end());
        return true;
    }

    bool is_first_description(const unsigned char* entry, const TiffLayout& layout) const {
        return layout.pages == 0 && number(entry, 2) == image_description_tag;
    }

    bool read(std::uint64_t offset, std::uint64_t bytes, std::vector<unsigned char>& block) {
        if (offset > size_ || bytes > size_ - offset) return false;
        block.resize(bytes);
        stream_.clear();
        stream_.seekg(static_cast<std::streamoff>(offset));
        stream_.read(reinterpret_cast<char*>(block.data()), static_cast<std::streamsize>(bytes));
        return static_cast<bool>(stream_);
    }

    std::uint64_t number(const unsigned char* bytes, std::size_t count) const {
        std::uint64_t value = 0;
        for (std::size_t i = 0; i < count; ++i)
            value = value << 8 | bytes[big_endian_ ? i : count - 1 - i];
        return value;
    }

    static std::uint64_t fault(TiffLayout& layout, std::string_view what) {
        layout.fault = what;
        return 0;
    }

    std::ifstream stream_;
    std::uint64_t size_ = 0;
    bool big_endian_ = false;
    bool big_tiff_ = false;
};

}  // namespace

bool is_tiff_head(std::span<const std::byte> head) {
    if (head.size() < 4) return false;
    const auto at = [&](std::size_t i) { return std::to_integer<int>(head[i]); };
    if (at(0) == 'I' && at(1) == 'I') return (at(2) == 42 || at(2) == 43) && at(3) == 0;
    if (at(0) == 'M' && at(1) == 'M') return at(2) == 0 && (at(3) == 42 || at(3) == 43);
    return false;
}

TiffLayout examine_tiff(const std::filesystem::path& file) {
    return Walker(file).walk();
}

}  // namespace vyn::plugins
