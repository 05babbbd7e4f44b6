#pragma once

#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "api/png_writer.h"
#include "render/figure.h"

namespace vyn {

/// What a figure is written as: pixels, or lines and letters round the embedded pixels of its
/// field.
enum class FigureFormat { png, svg, pdf };

/// The one that a file's extension asks for; nothing for any other.
std::optional<FigureFormat> figure_format(const std::filesystem::path& file);

/// "*.png, *.svg or *.pdf"
extern const char* const figure_extensions;

/// Writes a figure in the format of the file's extension, atomically. The same figure gives the
/// same bytes. Raises FileError; AlgoError for another extension and when it cannot be drawn.
void write_figure(const Figure& figure, const std::filesystem::path& file,
                  const PictureTexts& description = {});

/// The figure as a PNG file's bytes.
std::vector<std::byte> png_bytes(const Figure& figure);

}  // namespace vyn
