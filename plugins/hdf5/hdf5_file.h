#pragma once

#include <filesystem>
#include <mutex>
#include <string>
#include <utility>

#include <hdf5.h>

namespace vyn::plugins {

/// An identifier of the library, closed at its end.
class Hdf5Id {
  public:
    using Close = herr_t (*)(hid_t);
    Hdf5Id(hid_t id, Close close) : id_(id), close_(close) {}
    ~Hdf5Id() {
        if (id_ >= 0) close_(id_);
    }
    Hdf5Id(Hdf5Id&& other) noexcept : id_(std::exchange(other.id_, -1)), close_(other.close_) {}
    Hdf5Id& operator=(Hdf5Id&&) = delete;

    operator hid_t() const { return id_; }
    bool good() const { return id_ >= 0; }

  private:
    hid_t id_;
    Close close_;
};

/// Held by whoever calls the library.
std::mutex& hdf5_mutex();

/// An HDF5 file open for reading. The library serves one thread at a time: the object holds a lock.
/// It prints nothing and loads no filters from elsewhere.
class Hdf5File {
  public:
    /// Raises FileError.
    explicit Hdf5File(const std::filesystem::path& file);

    const std::filesystem::path& path() const { return path_; }
    hid_t id() const { return file_; }

    /// The text of an attribute of an object; empty when there is none or it is no short text of
    /// fixed length.
    std::string text_attribute(hid_t object, const char* name) const;
    /// Opens an object by its path, member by member: links to other files are refused, and what is
    /// not there. Raises FileError.
    Hdf5Id open(const std::string& path) const;
    /// The path of the picture that the file wants shown, by the attributes `default` and `signal`
    /// of NeXus, else the only array of two or three axes. Raises FileError.
    std::string shown_data_set() const;

  private:
    std::lock_guard<std::mutex> lock_;
    std::filesystem::path path_;
    Hdf5Id file_;
};

}  // namespace vyn::plugins
