#include "plugins/png/png_session.h"

#include <csetjmp>

namespace vyn::plugins {

void PngSession::on_error(png_structp png, png_const_charp text) {
    auto* session = static_cast<PngSession*>(png_get_error_ptr(png));
    std::snprintf(session->complaint_, sizeof session->complaint_, "%s", text);
    png_longjmp(png, 1);
}

PngSession::PngSession(const std::filesystem::path& file)
    : stream_(std::fopen(file.c_str(), "rb")) {
    if (!stream_) return;
    png_ = png_create_read_struct(PNG_LIBPNG_VER_STRING, this, on_error, on_warning);
    if (!png_) return;
    info_ = png_create_info_struct(png_);
    png_init_io(png_, stream_.get());
}

PngSession::~PngSession() {
    png_destroy_read_struct(&png_, &info_, nullptr);
}

}  // namespace vyn::plugins
