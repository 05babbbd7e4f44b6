#pragma once

#include <bit>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "core/xml_document.h"

namespace vyn::plugins {

/// Decodes the data arrays of one XML file.
class VtkArrays {
  public:
    /// `root` is the element VTKFile; `appended` what follows the "_" of the appended data.
    VtkArrays(const std::filesystem::path& file, const XmlElement& root, std::string_view appended,
              bool appended_base64);

    /// The numbers of a DataArray; refuses what the file cannot hold. 64-bit whole numbers above
    /// 2^53 lose their last digits.
    std::vector<double> numbers(const XmlElement& array) const;
    /// The texts of an array of type String.
    std::vector<std::string> texts(const XmlElement& array) const;

  private:
    /// The array's bytes as stored in the file, and its type.
    std::string bytes_of(const XmlElement& array) const;
    std::string decompressed(std::string_view stream, bool base64) const;
    /// The first `count` bytes of a stream; refuses when it has less.
    std::string take(std::string_view stream, bool base64, std::size_t count) const;
    std::uint64_t header_number(const std::string& bytes, std::size_t index) const;

    const std::filesystem::path& file_;
    std::string_view appended_;
    bool appended_base64_;
    std::endian order_ = std::endian::little;
    std::size_t header_size_ = 4;
    bool compressed_ = false;
};

}  // namespace vyn::plugins
