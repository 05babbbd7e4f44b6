#include "plugins/fits/fits_file.h"

#include <algorithm>
#include <fstream>
#include <memory>
#include <system_error>

#include <zlib.h>

#include "core/free_memory.h"
#include "plugins/fits/fits_headers.h"
#include "plugins/support/refusal.h"

namespace vyn::plugins {

namespace {

std::mutex& library_mutex() {
    static std::mutex mutex;
    return mutex;
}

struct CloseGzip {
    void operator()(gzFile file) const { gzclose_r(file); }
};
using GzipFile = std::unique_ptr<gzFile_s, CloseGzip>;

/// Open when it is packed: the library hands out other files as they are.
GzipFile open_gzip(const std::filesystem::path& file) {
    GzipFile packed(gzopen(file.c_str(), "rb"));
    if (packed && gzdirect(packed.get())) packed.reset();
    return packed;
}

std::vector<char> unpack(const std::filesystem::path& file, gzFile packed) {
    constexpr std::size_t step = std::size_t{1} << 22;
    const std::uint64_t most =
        std::min(std::filesystem::file_size(file) * max_compression_ratio, free_memory() / 4);
    std::vector<char> bytes;
    for (;;) {
        const std::size_t filled = bytes.size();
        if (filled > most) refuse(file, "it unpacks to more than there is memory for");
        bytes.resize(filled + step);
        const int got = gzread(packed, bytes.data() + filled, step);
        if (got < 0) refuse(file, "damaged or cut off: it cannot be unpacked");
        bytes.resize(filled + static_cast<std::size_t>(got));
        if (static_cast<std::size_t>(got) < step) break;
    }
    // A file that ends too early shows only now.
    int problem = Z_OK;
    gzerror(packed, &problem);
    if (problem != Z_OK) refuse(file, "damaged or cut off: it cannot be unpacked");
    return bytes;
}

void check_headers(const std::filesystem::path& file, const BytesAt& bytes) {
    if (const std::string fault = fault_of_headers(bytes); !fault.empty()) refuse(file, fault);
}

}  // namespace

std::string gzip_beginning(const std::filesystem::path& file, std::size_t bytes) {
    const GzipFile packed = open_gzip(file);
    if (!packed) return {};
    std::string text(bytes, '\0');
    const int got = gzread(packed.get(), text.data(), static_cast<unsigned>(bytes));
    text.resize(static_cast<std::size_t>(std::max(got, 0)));
    return text;
}

FitsFile::FitsFile(const std::filesystem::path& file, Mode mode) : lock_(library_mutex()) {
    // The library expands a leading tilde; an absolute path has none.
    const std::string name = std::filesystem::absolute(file).string();
    fits_clear_errmsg();
    if (mode == Mode::read) {
        if (const GzipFile packed = open_gzip(file)) {
            unpacked_ = unpack(file, packed.get());
            size_ = memory_size_ = unpacked_.size();
            memory_ = unpacked_.data();
            check_headers(file, [this](std::uint64_t offset, char* bytes, std::size_t count) {
                if (offset > unpacked_.size() || count > unpacked_.size() - offset) return false;
                std::copy_n(unpacked_.data() + offset, count, bytes);
                return true;
            });
            fits_open_memfile(&handle_, "unpacked", READONLY, &memory_, &memory_size_, 0, nullptr,
                              &status_);
            return;
        }
        size_ = std::filesystem::file_size(file);
        std::ifstream stream(file, std::ios::binary);
        check_headers(file, [&stream](std::uint64_t offset, char* bytes, std::size_t count) {
            stream.seekg(static_cast<std::streamoff>(offset));
            return static_cast<bool>(stream.read(bytes, static_cast<std::streamsize>(count)));
        });
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
