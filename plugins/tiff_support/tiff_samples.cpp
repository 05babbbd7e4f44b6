#include "plugins/tiff_support/tiff_samples.h"

#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>

namespace vyn::plugins {

namespace {

/// IEEE 754 binary16.
double from_half(std::uint16_t bits) {
    const int exponent = bits >> 10 & 0x1F;
    const int fraction = bits & 0x3FF;
    double magnitude = 0;
    if (exponent == 0x1F)
        magnitude = fraction ? std::numeric_limits<double>::quiet_NaN()
                             : std::numeric_limits<double>::infinity();
    else if (exponent == 0)
        magnitude = std::ldexp(fraction, -24);
    else
        magnitude = std::ldexp(fraction + 0x400, exponent - 25);
    return bits & 0x8000 ? -magnitude : magnitude;
}

template <class T>
void decode_whole(const std::byte* packed, int width, double* values) {
    for (int x = 0; x < width; ++x) {
        T value;
        std::memcpy(&value, packed + static_cast<std::size_t>(x) * sizeof(T), sizeof(T));
        values[x] = static_cast<double>(value);
    }
}

void decode_half(const std::byte* packed, int width, double* values) {
    for (int x = 0; x < width; ++x) {
        std::uint16_t bits = 0;
        std::memcpy(&bits, packed + static_cast<std::size_t>(x) * sizeof bits, sizeof bits);
        values[x] = from_half(bits);
    }
}

/// Samples that do not fill whole bytes: one stream of bits, most significant first.
void decode_packed(int bits, const std::byte* packed, int width, double* values) {
    std::uint32_t window = 0;
    int available = 0;
    for (int x = 0; x < width; ++x) {
        for (; available < bits; available += 8)
            window = window << 8 | std::to_integer<std::uint32_t>(*packed++);
        available -= bits;
        values[x] = window >> available & ((1u << bits) - 1);
    }
}

}  // namespace

bool is_readable(TiffSamples samples) {
    switch (samples.kind) {
        case TiffSamples::Kind::unsigned_integer:
            return (samples.bits >= 1 && samples.bits <= 16) || samples.bits == 32;
        case TiffSamples::Kind::signed_integer:
            return samples.bits == 8 || samples.bits == 16 || samples.bits == 32;
        case TiffSamples::Kind::floating:
            return samples.bits == 16 || samples.bits == 32 || samples.bits == 64;
    }
    return false;
}

double full_scale(TiffSamples samples) {
    switch (samples.kind) {
        case TiffSamples::Kind::unsigned_integer:
            return std::ldexp(1.0, samples.bits) - 1;
        case TiffSamples::Kind::signed_integer:
            return std::ldexp(1.0, samples.bits - 1) - 1;
        case TiffSamples::Kind::floating:
            break;
    }
    return 0;
}

void decode_row(TiffSamples samples, const std::byte* packed, int width, double* values) {
    switch (samples.kind) {
        case TiffSamples::Kind::unsigned_integer:
            if (samples.bits == 8) return decode_whole<std::uint8_t>(packed, width, values);
            if (samples.bits == 16) return decode_whole<std::uint16_t>(packed, width, values);
            if (samples.bits == 32) return decode_whole<std::uint32_t>(packed, width, values);
            return decode_packed(samples.bits, packed, width, values);
        case TiffSamples::Kind::signed_integer:
            if (samples.bits == 8) return decode_whole<std::int8_t>(packed, width, values);
            if (samples.bits == 16) return decode_whole<std::int16_t>(packed, width, values);
            return decode_whole<std::int32_t>(packed, width, values);
        case TiffSamples::Kind::floating:
            if (samples.bits == 16) return decode_half(packed, width, values);
            if (samples.bits == 32) return decode_whole<float>(packed, width, values);
            return decode_whole<double>(packed, width, values);
    }
}

}  // namespace vyn::plugins
