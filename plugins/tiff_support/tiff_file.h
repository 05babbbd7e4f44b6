#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>

#include <tiffio.h>

namespace vyn::plugins {

/// An open TIFF file. What the library has to say of it is kept here instead of going to standard
/// error.
class TiffFile {
  public:
    /// Opens for reading after a check of the whole chain of directories. Raises FileError.
    static TiffFile open(const std::filesystem::path& file);
    /// Starts a new file, with 64-bit offsets when that many bytes of pixels need them. Raises
    /// FileError.
    static TiffFile create(const std::filesystem::path& file, std::uint64_t pixel_bytes);

    TIFF* handle() const { return handle_.get(); }
    const std::filesystem::path& path() const { return path_; }
    std::uint64_t size() const { return size_; }  ///< bytes; 0 for a new file
    int pages() const { return pages_; }          ///< 0 for a new file

    /// The library's first complaint since opening; empty when there was none.
    const std::string& complaint() const { return *complaint_; }

    /// Goes to the next page; false after the last one. Raises FileError.
    bool next_page();
    /// Goes back to the first page.
    void rewind();

    /// Closes the file; what is still to be written is written here.
    void close() { handle_.reset(); }

  private:
    struct Closer {
        void operator()(TIFF* handle) const { TIFFClose(handle); }
    };

    TiffFile(std::filesystem::path file, const char* mode, std::uint64_t size, int pages);

    std::filesystem::path path_;
    std::uint64_t size_ = 0;
    int pages_ = 0;
    std::unique_ptr<std::string> complaint_ = std::make_unique<std::string>();
    std::unique_ptr<TIFF, Closer> handle_;
};

}  // namespace vyn::plugins
