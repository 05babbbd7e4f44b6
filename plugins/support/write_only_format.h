#pragma once

#include "api/image_io.h"
#include "plugins/support/refusal.h"

namespace vyn::plugins {

/// A format that the program writes for others and does not read.
class WriteOnlyFormat : public ImageFormat {
  public:
    explicit WriteOnlyFormat(FormatInfo info) : info_(std::move(info)) {}
    const FormatInfo& info() const override { return info_; }
    bool recognises(std::span<const std::byte>) const override { return false; }
    image read(const std::filesystem::path& file, const ImageReadOptions&,
               Progress&) const override {
        refuse(file, "this format is only written");
    }

  private:
    FormatInfo info_;
};

}  // namespace vyn::plugins
