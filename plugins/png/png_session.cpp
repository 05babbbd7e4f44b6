#include "plugins/png/png_session.h"

#include <csetjmp>

namespace vyn::plugins {

void PngSession::on_error(png_structp png, png_const_charp text) {
    auto* session = static_cast<PngSession*>(png_get_error_ptr(png));
    std::snprintf(session->complaint_, sizeof session->complaint_, "%s", text);
    png_longjmp(png, 1);
}

PngSession::PngSession(const std::filesystem::path& file, Direction direction)
    : stream_(std::fopen(file.c_str(), direction == Direction::read ? "rb" : "wb")),
      direction_(direction) {
    if (!stream_) return;
    png_ = direction == Direction::read
               ? png_create_read_struct(PNG_LIBPNG_VER_STRING, this, on_error, on_warning)
               : png_create_write_struct(PNG_LIBPNG_VER_STRING, this, on_error, on_warning);
    if (!png_) return;
    info_ = png_create_info_struct(png_);
    png_init_io(png_, stream_.get());
}

PngSession::~PngSession() {
    if (direction_ == Direction::read)
        png_destroy_read_struct(&png_, &info_, nullptr);
    else
        png_destroy_write_struct(&png_, &info_);
}

bool PngSession::close() {
    std::FILE* stream = stream_.release();
    const bool flushed = std::fflush(stream) == 0 && std::ferror(stream) == 0;
    return std::fclose(stream) == 0 && flushed;
}

}  // namespace vyn::plugins
