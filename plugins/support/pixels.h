#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

#include "api/image.h"
#include "core/progress.h"

namespace vyn::plugins {

/// Pixels of whole bytes as a file stores them.
enum class PixelType { u8, i8, u16, i16, u32, i32, u64, i64, f32, f64 };

std::size_t bytes_of(PixelType type);
/// Largest value of an integer type; 0 for floating point.
double full_scale(PixelType type);
/// "u8", "i16", "f32" and so on; nothing for other words.
std::optional<PixelType> pixel_type(std::string_view word);

/// As many stored pixels as there are values.
void decode_pixels(PixelType type, std::endian order, const std::byte* stored,
                   std::span<double> values);

/// Rows of pixels that follow one another without compression.
struct PixelLayout {
    std::int64_t width = 0;
    std::int64_t height = 0;
    std::int64_t frames = 1;
    PixelType type = PixelType::u16;
    std::endian order = std::endian::little;
    std::uint64_t offset = 0;     ///< of the first pixel in the file, bytes
    std::uint64_t frame_gap = 0;  ///< bytes between two frames
    enum class FirstRow { top, bottom };
    FirstRow first_row = FirstRow::top;
    std::optional<double> full_scale = {};  ///< nothing: that of the type

    /// Bytes from the first pixel to the last. Call it for sound sides only.
    std::uint64_t bytes() const;
};

/// Changes the values of a row before they are taken: a calibration, values that mean nothing.
using RowChange = std::function<void(std::span<double> row)>;

/// Reads the pixels as a picture, frames as a burst. Raises FileError when sides or frames are
/// absurd or the file is shorter than the layout says, and Aborted.
image read_pixels(const std::filesystem::path& file, const PixelLayout& layout, Progress& progress,
                  const RowChange& change = {});

/// A number of the file's header that `head` starts with, in this byte order; 0 beyond its end.
std::uint64_t header_number(std::span<const std::byte> head, std::size_t offset, std::size_t bytes,
                            std::endian order = std::endian::little);

/// The first bytes of a file, as many as it has up to this many; empty when it cannot be opened.
std::vector<std::byte> first_bytes(const std::filesystem::path& file, std::size_t most);

}  // namespace vyn::plugins
