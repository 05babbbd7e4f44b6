#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>

#include "core/errors.h"
#include "core/progress.h"
#include "plugins/tiff_support/tiff_file.h"
#include "plugins/tiff_support/tiff_samples.h"

namespace vyn::plugins {

/// What a page says of itself; either may be empty.
struct TiffPageText {
    std::string description;
    std::string name;
};

/// Writes the pages of a TIFF file one after the other. Raises FileError naming the file when the
/// disk is full or fails, Aborted when told to stop.
class TiffWriter {
  public:
    /// `pixel_bytes`: of all pages together.
    TiffWriter(const std::filesystem::path& file, std::uint64_t pixel_bytes, int pages);

    /// 32-bit float, not compressed. `row(y)` gives `width` values.
    void add_page(int width, int height, const TiffPageText& text,
                  const std::function<const float*(int y)>& row, Progress& progress);
    /// Bytes, run-length compressed.
    void add_page(int width, int height, const TiffPageText& text,
                  const std::function<const std::uint8_t*(int y)>& row, Progress& progress);

    /// Ends the file. Without it the file is incomplete.
    void finish();

  private:
    void begin_page(int width, int height, TiffSamples samples, const TiffPageText& text);
    template <class T>
    void write_rows(int height, const std::function<const T*(int y)>& row, Progress& progress);
    [[noreturn]] void fail(ErrorPlace at = std::source_location::current()) const;

    TiffFile file_;
    int pages_;
    int page_ = 0;
};

}  // namespace vyn::plugins
