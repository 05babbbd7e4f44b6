#include "plugins/support/pixels.h"
#include "plugins/support/read_only_format.h"

namespace vyn::plugins {

namespace {

namespace fs = std::filesystem;

/// Pictures of PCO cameras (.b16): a header of 32-bit numbers (mark, bytes of the file, bytes of
/// the header, width, height, and with a longer header whether it is colour), then 16-bit pixels,
/// all little-endian, row by row from the top.
class B16Format final : public ReadOnlyFormat {
  public:
    B16Format() : ReadOnlyFormat({"b16", "PCO camera picture", {"b16"}, true, false}) {}
    bool recognises(std::span<const std::byte> head) const override {
        return starts_with(head, "PCO-");
    }
    image read(const fs::path& file, const ImageReadOptions&, Progress& progress) const override {
        constexpr std::size_t whole_head = 28;
        constexpr std::uint64_t shortest = 24;
        const auto head = first_bytes(file, whole_head);
        if (head.size() < whole_head) refuse(file, "the file is cut off in its header");
        const auto number = [&](std::size_t place) { return header_number(head, 4 * place, 4); };
        PixelLayout layout;
        layout.offset = number(2);
        layout.width = static_cast<std::int64_t>(number(3));
        layout.height = static_cast<std::int64_t>(number(4));
        if (layout.offset < shortest) refuse(file, "its header says that it is too short");
        const bool long_header = number(5) != 0 && layout.offset >= whole_head;
        if (long_header && number(6) != 0)
            refuse(file, "a colour picture; only grey values are supported");
        return read_pixels(file, layout, progress);
    }
};

}  // namespace

}  // namespace vyn::plugins

VYN_IMAGE_PLUGIN(vyn::plugins::B16Format)
