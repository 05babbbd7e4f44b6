#pragma once

#include <algorithm>

#include "api/image_io.h"
#include "plugins/support/refusal.h"

namespace vyn::plugins {

/// A format that the program reads and does not write.
class ReadOnlyFormat : public ImageFormat {
  public:
    explicit ReadOnlyFormat(FormatInfo info) : info_(std::move(info)) {}
    const FormatInfo& info() const override { return info_; }
    void write(const image&, const std::filesystem::path& file, const ImageWriteOptions&,
               Progress&) const override {
        fail_writing(file, "this format is only read");
    }

  private:
    FormatInfo info_;
};

/// True when the file starts with these characters.
inline bool starts_with(std::span<const std::byte> head, std::string_view magic) {
    return head.size() >= magic.size() &&
           std::equal(magic.begin(), magic.end(), head.begin(),
                      [](char c, std::byte byte) { return static_cast<std::byte>(c) == byte; });
}

}  // namespace vyn::plugins
