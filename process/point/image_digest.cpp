#include "process/point/image_digest.h"

#include <cstdint>
#include <cstring>

#include "process/point/per_image.h"

namespace vyn {

namespace {

/// FNV-1a over words of 8 bytes instead of single bytes, which makes a 16-megapixel mask a matter
/// of milliseconds.
class Fnv {
  public:
    void add(std::uint64_t word) { hash_ = (hash_ ^ word) * 0x100000001b3U; }
    void add(double number) {
        std::uint64_t word = 0;
        std::memcpy(&word, &number, sizeof word);
        add(word);
    }
    void add(const std::uint8_t* bytes, int count) {
        int i = 0;
        for (; i + 8 <= count; i += 8) {
            std::uint64_t word = 0;
            std::memcpy(&word, bytes + i, sizeof word);
            add(word);
        }
        for (; i < count; ++i)
            add(std::uint64_t{bytes[i]});
    }
    std::string text() const {
        std::string digits;
        for (int shift = 60; shift >= 0; shift -= 4)
            digits += "0123456789abcdef"[(hash_ >> shift) & 15];
        return digits;
    }

  private:
    std::uint64_t hash_ = 0xcbf29ce484222325U;
};

std::string digest_of_mask(const image& picture) {
    Fnv digest;
    for (int y = 0; y < picture.height(); ++y)
        digest.add(picture.mask().row(y), picture.width());
    if (!picture.has_region()) return digest.text();
    // Pixels that are excluded, too, as those that a lens moves in from outside, say nothing new.
    for (int y = 0; y < picture.height(); ++y)
        for (int x = 0; x < picture.width(); ++x)
            if (picture.region()(x, y) == 0 && picture.mask()(x, y) == 0)
                digest.add(static_cast<std::uint64_t>(y) << 32 | static_cast<std::uint64_t>(x));
    return digest.text();
}

}  // namespace

std::string marker_digest(const MarkerSet& set) {
    Fnv digest;
    for (const Marker& marker : set.markers) {
        for (const double number : {marker.x, marker.y, marker.z, marker.f})
            digest.add(number);
        digest.add(static_cast<std::uint64_t>(marker.id) * 2 + (marker.active ? 1 : 0));
    }
    return digest.text();
}

std::string text_digest(std::string_view text) {
    Fnv digest;
    for (const char c : text)
        digest.add(std::uint64_t{static_cast<unsigned char>(c)});
    return digest.text();
}

std::string mask_digest(const std::shared_ptr<const image>& picture) {
    static PerImage<std::string> known;
    return known.get(picture, digest_of_mask);
}

}  // namespace vyn
