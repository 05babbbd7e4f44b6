#include "api/png_writer.h"

#include <algorithm>
#include <csetjmp>
#include <cstdio>
#include <new>

#include <png.h>

#include "core/errors.h"
#include "core/xml_writer.h"

namespace vyn {

namespace {

/// Little gain beyond these on camera noise and on fields, at a multiple of the time.
constexpr int grey_compression = 3;
constexpr int colour_compression = 4;

bool is_ascii(const std::string& text) {
    return std::ranges::all_of(text, [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

}  // namespace

/// libpng reports an error by a long jump over everything between its call and here; so the steps
/// hold nothing that needs a destructor.
template <class Step>
void PngWriter::guarded(const Step& step) {
    if (setjmp(png_jmpbuf(png_))) throw FileError("Error writing file", name_ + ": " + complaint_);
    step();
}

void PngWriter::on_error(png_struct_def* png, const char* text) {
    auto* const writer = static_cast<PngWriter*>(png_get_error_ptr(png));
    std::snprintf(writer->complaint_, sizeof writer->complaint_, "%s", text);
    png_longjmp(png, 1);
}

void PngWriter::on_bytes(png_struct_def* png, unsigned char* bytes, std::size_t count) {
    auto* const writer = static_cast<PngWriter*>(png_get_io_ptr(png));
    writer->to_.write(reinterpret_cast<const char*>(bytes), static_cast<std::streamsize>(count));
    if (!writer->to_) png_error(png, "the disk does not take the file");
}

PngWriter::PngWriter(std::ostream& to, std::string name, const PngLayout& layout)
    : to_(to), name_(std::move(name)) {
    png_ = png_create_write_struct(PNG_LIBPNG_VER_STRING, this, on_error,
                                   [](png_structp, png_const_charp) {});
    info_ = png_ ? png_create_info_struct(png_) : nullptr;
    try {
        if (!info_) throw std::bad_alloc();
        png_set_write_fn(png_, this, on_bytes, [](png_structp) {});
        write_header(layout);
    } catch (...) {
        png_destroy_write_struct(&png_, &info_);
        throw;
    }
}

PngWriter::~PngWriter() {
    png_destroy_write_struct(&png_, &info_);
}

void PngWriter::write_header(const PngLayout& layout) {
    PictureTexts texts = layout.texts;
    std::vector<png_text> chunks;
    for (auto& [keyword, text] : texts) {
        text = valid_utf8(text);
        png_text chunk{};
        // Plain texts are Latin-1 in this format, the international ones UTF-8.
        chunk.compression = is_ascii(text) ? PNG_TEXT_COMPRESSION_NONE : PNG_ITXT_COMPRESSION_NONE;
        chunk.key = keyword.data();
        chunk.text = text.data();
        chunks.push_back(chunk);
    }
    const png_structp png = png_;
    const png_infop info = info_;
    const png_textp first = chunks.data();
    const int count = static_cast<int>(chunks.size());
    const bool colour = layout.pixels == PngLayout::Pixels::rgb_8;
    const int depth = layout.pixels == PngLayout::Pixels::grey_16 ? 16 : 8;
    const auto width = static_cast<png_uint_32>(layout.width);
    const auto height = static_cast<png_uint_32>(layout.height);
    guarded([=] {
        png_set_user_limits(png, PNG_UINT_31_MAX, PNG_UINT_31_MAX);
        png_set_compression_level(png, colour ? colour_compression : grey_compression);
        png_set_filter(png, PNG_FILTER_TYPE_BASE, colour ? PNG_ALL_FILTERS : PNG_FILTER_UP);
        png_set_IHDR(png, info, width, height, depth,
                     colour ? PNG_COLOR_TYPE_RGB : PNG_COLOR_TYPE_GRAY, PNG_INTERLACE_NONE,
                     PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
        png_set_text(png, info, first, count);
        png_write_info(png, info);
    });
}

void PngWriter::row(const std::uint8_t* bytes) {
    guarded([this, bytes] { png_write_row(png_, bytes); });
}

void PngWriter::finish() {
    guarded([this] { png_write_end(png_, nullptr); });
}

}  // namespace vyn
