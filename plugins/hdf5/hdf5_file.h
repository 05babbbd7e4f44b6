#pragma once

#include <filesystem>
#include <stdexcept>
#include <string>

#include "plugins/hdf5/hdf5_id.h"

namespace vyn::plugins {

/// Why a file is not read; the words of a sentence that begins with its name.
struct Refusal : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// An HDF5 file open for reading. The library prints nothing and loads no filters from elsewhere.
/// Belongs to the program that unpacks: in damaged files the library may fail.
class Hdf5File {
  public:
    /// Raises Refusal.
    explicit Hdf5File(const std::filesystem::path& file);

    /// The text of an attribute of an object; empty when there is none or it is no short text.
    std::string text_attribute(hid_t object, const char* name) const;
    /// The text that is stored at a path; empty when there is none of fixed length.
    std::string stored_text(const std::string& path) const;
    /// Opens an object by its path, member by member: links to other files are refused, and what is
    /// not there. Raises Refusal.
    Hdf5Id open(const std::string& path) const;
    /// The path of the picture that the file wants shown, by the attributes `default` and `signal`
    /// of NeXus, else the only array of two or three axes. Raises Refusal.
    std::string shown_data_set() const;

  private:
    Hdf5Id file_;
};

}  // namespace vyn::plugins
