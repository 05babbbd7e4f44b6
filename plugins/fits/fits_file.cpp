#include "plugins/fits/fits_file.h"

#include <system_error>

namespace vyn::plugins {

namespace {

std::mutex& library_mutex() {
    static std::mutex mutex;
    return mutex;
}

}  // namespace

FitsFile::FitsFile(const std::filesystem::path& file, Mode mode) : lock_(library_mutex()) {
    // The library expands a leading tilde; an absolute path has none.
    const std::string name = std::filesystem::absolute(file).string();
    fits_clear_errmsg();
    if (mode == Mode::read) {
        fits_open_diskfile(&handle_, name.c_str(), READONLY, &status_);
        return;
    }
    // The library writes no file that is there already; the new one keeps the old one's
    // permissions.
    std::error_code ignored;
    const auto old = std::filesystem::status(file, ignored);
    std::filesystem::remove(file, ignored);
    fits_create_diskfile(&handle_, name.c_str(), &status_);
    if (std::filesystem::exists(old))
        std::filesystem::permissions(file, old.permissions(), ignored);
}

FitsFile::~FitsFile() {
    if (handle_) {
        int ignored = 0;
        fits_close_file(handle_, &ignored);
    }
    fits_clear_errmsg();
}

std::string FitsFile::complaint() const {
    char text[FLEN_STATUS] = "";
    fits_get_errstatus(status_, text);
    char message[FLEN_ERRMSG] = "";
    std::string words = text;
    if (fits_read_errmsg(message) != 0) words += std::string(" (") + message + ")";
    return words;
}

void FitsFile::close() {
    fits_close_file(handle_, &status_);
    handle_ = nullptr;
}

}  // namespace vyn::plugins
