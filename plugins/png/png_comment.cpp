#include "plugins/png/png_comment.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <fstream>
#include <string_view>

namespace vyn::plugins {

std::string png_comment(const std::filesystem::path& file) {
    using namespace std::string_view_literals;
    constexpr std::streamoff signature = 8;
    constexpr std::uint32_t checksum = 4;
    constexpr std::uint32_t longest = 4 << 20;
    constexpr std::string_view keyword = "Comment\0"sv;
    constexpr int most_chunks = 100000;

    std::ifstream in(file, std::ios::binary);
    in.seekg(signature);
    std::array<char, 8> head{};
    for (int chunk = 0; chunk < most_chunks && in.read(head.data(), head.size()); ++chunk) {
        std::uint32_t length = 0;
        for (std::size_t i = 0; i < 4; ++i)
            length = length << 8 | static_cast<unsigned char>(head[i]);
        const std::string_view type(head.data() + 4, 4);
        if (type == "IEND") break;
        if (type != "tEXt" || length < keyword.size() || length > longest) {
            in.seekg(std::streamoff{length} + checksum, std::ios::cur);
            continue;
        }
        std::string text(length, '\0');
        if (!in.read(text.data(), length)) break;
        if (text.starts_with(keyword)) return text.substr(keyword.size());
        in.seekg(checksum, std::ios::cur);
    }
    return {};
}

}  // namespace vyn::plugins
