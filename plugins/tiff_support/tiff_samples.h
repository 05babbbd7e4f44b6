#pragma once

#include <cstddef>

namespace vyn::plugins {

/// The type of a TIFF file's grey values.
struct TiffSamples {
    enum class Kind { unsigned_integer, signed_integer, floating };
    Kind kind = Kind::unsigned_integer;
    int bits = 0;

    bool operator==(const TiffSamples&) const = default;
};

/// Unsigned integers of 1 to 16 bits, packed from the most significant bit on, or 32; signed ones
/// of 8, 16 or 32; floating point of 16, 32 or 64.
bool is_readable(TiffSamples samples);

/// Largest value of an integer type; 0 for floating point.
double full_scale(TiffSamples samples);

/// The first `width` samples of a row as the library hands them out: multi-byte samples in this
/// machine's byte order, packed ones as in the file.
void decode_row(TiffSamples samples, const std::byte* packed, int width, double* values);

}  // namespace vyn::plugins
