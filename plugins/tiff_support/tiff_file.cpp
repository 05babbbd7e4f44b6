#include "plugins/tiff_support/tiff_file.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <system_error>
#include <utility>

#include "plugins/support/refusal.h"
#include "plugins/tiff_support/tiff_layout.h"

namespace vyn::plugins {

namespace {

/// Classic TIFF counts in 32 bits; the rest of them is left to directories and texts.
constexpr std::uint64_t classic_pixel_bytes = 4'000'000'000;

/// What the library may take at once beyond the size of the file.
constexpr std::uint64_t allocation_slack = 16u << 20;

int keep_first(TIFF*, void* complaint, const char*, const char* format, va_list arguments) {
    auto& text = *static_cast<std::string*>(complaint);
    if (!text.empty()) return 1;
    char buffer[400];
    std::vsnprintf(buffer, sizeof buffer, format, arguments);
    text = buffer;
    return 1;
}

int keep_nothing(TIFF*, void*, const char*, const char*, va_list) {
    return 1;
}

struct OptionsCloser {
    void operator()(TIFFOpenOptions* options) const { TIFFOpenOptionsFree(options); }
};

}  // namespace

TiffFile::TiffFile(std::filesystem::path file, const char* mode, std::uint64_t size, int pages)
    : path_(std::move(file)), size_(size), pages_(pages) {
    const std::unique_ptr<TIFFOpenOptions, OptionsCloser> options(TIFFOpenOptionsAlloc());
    TIFFOpenOptionsSetErrorHandlerExtR(options.get(), keep_first, complaint_.get());
    TIFFOpenOptionsSetWarningHandlerExtR(options.get(), keep_nothing, nullptr);
    if (size_ > 0)
        TIFFOpenOptionsSetMaxSingleMemAlloc(options.get(),
                                            static_cast<tmsize_t>(size_ + allocation_slack));
    handle_.reset(TIFFOpenExt(path_.c_str(), mode, options.get()));
}

TiffFile TiffFile::open(const std::filesystem::path& file) {
    const TiffLayout layout = examine_tiff(file);
    if (!layout.fault.empty()) refuse(file, layout.fault);
    std::error_code problem;
    const auto size = std::filesystem::file_size(file, problem);
    if (problem) refuse(file, problem.message());
    // No memory map ("m"): a file that shrinks while it is read must not end the program.
    TiffFile opened(file, "rm", size, layout.pages);
    if (!opened.handle_) refuse(file, "not a readable TIFF file: " + opened.complaint());
    return opened;
}

TiffFile TiffFile::create(const std::filesystem::path& file, std::uint64_t pixel_bytes) {
    TiffFile created(file, pixel_bytes > classic_pixel_bytes ? "w8" : "w", 0, 0);
    if (!created.handle_) fail_writing(file, created.complaint());
    return created;
}

bool TiffFile::next_page() {
    if (TIFFLastDirectory(handle())) return false;
    if (!TIFFReadDirectory(handle())) refuse(path_, "a page cannot be read: " + complaint());
    return true;
}

void TiffFile::rewind() {
    if (!TIFFSetDirectory(handle(), 0))
        refuse(path_, "the first page cannot be read: " + complaint());
}

}  // namespace vyn::plugins
