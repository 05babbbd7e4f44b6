#include "render/figure_file.h"

#include <cstring>
#include <sstream>

#include "core/ascii.h"
#include "core/atomic_file.h"
#include "core/errors.h"
#include "render/vector_canvas.h"

namespace vyn {

namespace {

std::string encoded(const RgbPicture& picture, const std::string& name,
                    const PictureTexts& description) {
    std::ostringstream out;
    PngWriter png(out, name,
                  {picture.width, picture.height, PngLayout::Pixels::rgb_8, description});
    for (int y = 0; y < picture.height; ++y)
        png.row(picture.at(0, y));
    png.finish();
    return std::move(out).str();
}

std::string drawn(const Figure& figure, VectorCanvas::Format format,
                  const PictureTexts& description) {
    VectorCanvas canvas(format, figure.width, figure.height, description);
    canvas.place(figure, 0, 0, /*scale=*/1);
    return canvas.bytes();
}

}  // namespace

const char* const figure_extensions = "*.png, *.svg or *.pdf";

std::optional<FigureFormat> figure_format(const std::filesystem::path& file) {
    const std::string extension = lower_extension(file);
    if (extension == "png") return FigureFormat::png;
    if (extension == "svg") return FigureFormat::svg;
    if (extension == "pdf") return FigureFormat::pdf;
    return std::nullopt;
}

void write_figure(const Figure& figure, const std::filesystem::path& file,
                  const PictureTexts& description) {
    const auto format = figure_format(file);
    if (!format)
        throw AlgoError("Algorithm error!",
                        file.string() + ": pictures are " + std::string(figure_extensions));
    switch (*format) {
        case FigureFormat::png:
            return write_file(file, encoded(pixels_of(figure), file.string(), description));
        case FigureFormat::svg:
            return write_file(file, drawn(figure, VectorCanvas::Format::svg, description));
        case FigureFormat::pdf:
            return write_file(file, drawn(figure, VectorCanvas::Format::pdf, description));
    }
}

std::vector<std::byte> png_bytes(const Figure& figure) {
    const std::string file = encoded(pixels_of(figure), "picture", {});
    std::vector<std::byte> bytes(file.size());
    std::memcpy(bytes.data(), file.data(), file.size());
    return bytes;
}

}  // namespace vyn
