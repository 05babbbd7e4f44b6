#include "plugins/tiff_support/tiff_writer.h"

#include <algorithm>

#include "plugins/support/provenance.h"
#include "plugins/support/refusal.h"

namespace vyn::plugins {

namespace {

/// Strips of about this size: small enough to be read piecemeal, large enough to be few.
constexpr int strip_bytes = 1 << 18;

}  // namespace

TiffWriter::TiffWriter(const std::filesystem::path& file, std::uint64_t pixel_bytes, int pages)
    : file_(TiffFile::create(file, pixel_bytes)), pages_(pages) {}

void TiffWriter::fail(ErrorPlace at) const {
    fail_writing(file_.path(), file_.complaint(), at);
}

void TiffWriter::begin_page(int width, int height, TiffSamples samples, const TiffPageText& text) {
    TIFF* const tiff = file_.handle();
    const bool floating = samples.kind == TiffSamples::Kind::floating;
    const int rows = std::clamp(strip_bytes / (width * samples.bits / 8), 1, height);
    TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, width);
    TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, height);
    TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, samples.bits);
    TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, 1);
    TIFFSetField(tiff, TIFFTAG_SAMPLEFORMAT, floating ? SAMPLEFORMAT_IEEEFP : SAMPLEFORMAT_UINT);
    TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISBLACK);
    TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    TIFFSetField(tiff, TIFFTAG_COMPRESSION, floating ? COMPRESSION_NONE : COMPRESSION_PACKBITS);
    TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, rows);
    TIFFSetField(tiff, TIFFTAG_SOFTWARE, software_name().c_str());
    if (!text.description.empty())
        TIFFSetField(tiff, TIFFTAG_IMAGEDESCRIPTION, text.description.c_str());
    if (!text.name.empty()) TIFFSetField(tiff, TIFFTAG_PAGENAME, text.name.c_str());
    if (pages_ > 1) {
        TIFFSetField(tiff, TIFFTAG_SUBFILETYPE, FILETYPE_PAGE);
        TIFFSetField(tiff, TIFFTAG_PAGENUMBER, page_, pages_);
    }
    ++page_;
}

template <class T>
void TiffWriter::write_rows(int height, const std::function<const T*(int y)>& row,
                            Progress& progress) {
    for (int y = 0; y < height; ++y) {
        report_row(progress, y, height);
        // The library takes no constant pointer; it leaves the bytes alone when it need not swap.
        auto* bytes = const_cast<T*>(row(y));
        if (TIFFWriteScanline(file_.handle(), bytes, static_cast<std::uint32_t>(y)) != 1) fail();
    }
    if (!TIFFWriteDirectory(file_.handle())) fail();
}

void TiffWriter::add_page(int width, int height, const TiffPageText& text,
                          const std::function<const float*(int y)>& row, Progress& progress) {
    begin_page(width, height, {TiffSamples::Kind::floating, 32}, text);
    write_rows(height, row, progress);
}

void TiffWriter::add_page(int width, int height, const TiffPageText& text,
                          const std::function<const std::uint8_t*(int y)>& row,
                          Progress& progress) {
    begin_page(width, height, {TiffSamples::Kind::unsigned_integer, 8}, text);
    write_rows(height, row, progress);
}

void TiffWriter::finish() {
    file_.close();
    if (!file_.complaint().empty()) fail();
}

}  // namespace vyn::plugins
