#include <cmath>
#include <cstring>

#include "plugins/support/attributes.h"
#include "plugins/support/pixels.h"
#include "plugins/support/read_only_format.h"

namespace vyn::plugins {

namespace {

namespace fs = std::filesystem;

constexpr std::size_t header_bytes = 4100;

/// Places in the header (WinView/WinSpec SPE 2.x; 3.0 keeps them and adds XML behind the pixels).
constexpr std::size_t at_exposure = 10;  // seconds, 32-bit float
constexpr std::size_t at_width = 42;
constexpr std::size_t at_type = 108;
constexpr std::size_t at_height = 656;
constexpr std::size_t at_xml = 678;  // offset of the XML, 64-bit; version 3.0 only
constexpr std::size_t at_frames = 1446;
constexpr std::size_t at_regions = 1510;
constexpr std::size_t at_version = 1992;  // 32-bit float
constexpr std::size_t at_mark = 2996;
constexpr std::size_t at_end_mark = 4098;
constexpr std::uint64_t mark = 0x01234567;
constexpr std::uint64_t end_mark = 0x5555;

float float_at(std::span<const std::byte> head, std::size_t offset) {
    return std::bit_cast<float>(static_cast<std::uint32_t>(header_number(head, offset, 4)));
}

PixelType type_of(const fs::path& file, std::uint64_t number) {
    switch (number) {
        case 0:
            return PixelType::f32;
        case 1:
            return PixelType::i32;
        case 2:
            return PixelType::i16;
        case 3:
            return PixelType::u16;
        case 5:
            return PixelType::f64;
        case 6:
            return PixelType::u8;
        case 8:
            return PixelType::u32;
        default:
            refuse(file, "pixels of type " + std::to_string(number) + " are not supported");
    }
}

/// Pictures of Princeton Instruments cameras (.spe); several frames are a burst.
class SpeFormat final : public ReadOnlyFormat {
  public:
    SpeFormat() : ReadOnlyFormat({"spe", "SPE camera picture", {"spe"}, true, false}) {}
    /// Its marks lie deeper in the file.
    bool recognises(std::span<const std::byte> head) const override {
        return header_number(head, at_width, 2) != 0;
    }
    Claim claim(const fs::path& file) const override {
        const auto head = first_bytes(file, header_bytes);
        const bool marked = header_number(head, at_mark, 4) == mark &&
                            header_number(head, at_end_mark, 2) == end_mark;
        const float version = float_at(head, at_version);
        return marked && version >= 1 && version < 4 ? Claim::likely : Claim::none;
    }
    image read(const fs::path& file, const ImageReadOptions&, Progress& progress) const override {
        const auto head = first_bytes(file, header_bytes);
        if (head.size() < header_bytes) refuse(file, "the file is cut off in its header");
        if (header_number(head, at_regions, 2) > 1)
            refuse(file, "several regions of the sensor; one is supported");
        PixelLayout layout;
        layout.offset = header_bytes;
        layout.width = static_cast<std::int64_t>(header_number(head, at_width, 2));
        layout.height = static_cast<std::int64_t>(header_number(head, at_height, 2));
        layout.type = type_of(file, header_number(head, at_type, 2));
        layout.frames = static_cast<std::int64_t>(header_number(head, at_frames, 4));
        if (float_at(head, at_version) >= 3) layout.frame_gap = gap_of(file, head, layout);
        image picture = read_pixels(file, layout, progress);
        picture.exposure = sound_exposure(float_at(head, at_exposure));
        return picture;
    }

  private:
    /// What version 3.0 keeps behind each frame, such as time stamps: the pixels and these fill
    /// the file up to the XML.
    static std::uint64_t gap_of(const fs::path& file, std::span<const std::byte> head,
                                const PixelLayout& layout) {
        const std::uint64_t xml = header_number(head, at_xml, 8);
        const std::uint64_t size = fs::file_size(file);
        if (xml == 0) return 0;
        if (xml < header_bytes || xml > size) refuse(file, "the file is cut off");
        if (layout.frames < 1) return 0;
        const auto frames = static_cast<std::uint64_t>(layout.frames);
        const std::uint64_t frame = static_cast<std::uint64_t>(layout.width) *
                                    static_cast<std::uint64_t>(layout.height) *
                                    bytes_of(layout.type);
        const std::uint64_t each = (xml - header_bytes) / frames;
        if ((xml - header_bytes) % frames != 0 || each < frame)
            refuse(file, "its frames do not fill the room that it has for them");
        return each - frame;
    }
};

}  // namespace

}  // namespace vyn::plugins

VYN_IMAGE_PLUGIN(vyn::plugins::SpeFormat)
