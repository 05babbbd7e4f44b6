#pragma once

#include <filesystem>
#include <mutex>
#include <string>
#include <vector>

#include <fitsio.h>

namespace vyn::plugins {

/// The beginning of what a file packed by gzip holds; empty when it is none.
std::string gzip_beginning(const std::filesystem::path& file, std::size_t bytes);

/// An open FITS file. The library keeps global state, so one thread at a time uses it: the object
/// holds a lock from opening to closing. Every call takes `status()`, and the library does nothing
/// more once that is an error.
class FitsFile {
  public:
    enum class Mode { read, create };
    /// Opens a plain disk file: its name is taken as it stands, without the library's extended
    /// syntax. A file packed by gzip is unpacked in memory. Raises FileError when that takes too
    /// much.
    FitsFile(const std::filesystem::path& file, Mode mode);
    ~FitsFile();
    FitsFile(const FitsFile&) = delete;
    FitsFile& operator=(const FitsFile&) = delete;

    fitsfile* handle() const { return handle_; }
    int* status() { return &status_; }
    bool good() const { return status_ == 0; }
    std::uint64_t size() const { return size_; }  ///< bytes, unpacked; 0 for a new file
    /// The library's words for the status and its first message.
    std::string complaint() const;
    /// Closes; a failure to write the rest shows in the status.
    void close();

  private:
    std::lock_guard<std::mutex> lock_;
    fitsfile* handle_ = nullptr;
    int status_ = 0;
    std::uint64_t size_ = 0;
    std::vector<char> unpacked_;  ///< the library's file when it was packed
    void* memory_ = nullptr;      ///< of that
    std::size_t memory_size_ = 0;
};

}  // namespace vyn::plugins
