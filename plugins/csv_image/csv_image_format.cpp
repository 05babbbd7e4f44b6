#include <cmath>

#include "plugins/mesh_support/mesh_bytes.h"
#include "plugins/support/attributes.h"
#include "plugins/support/write_only_format.h"

namespace vyn::plugins {

namespace {

/// QUANTITY/UNIT, in quotation marks where it would be two columns (RFC 4180).
std::string head_of(const image& picture) {
    std::string head = value_name(picture) + (picture.unit.empty() ? "" : "/") + picture.unit;
    if (head.find_first_of(",\"") == head.npos) return head;
    for (std::size_t at = 0; (at = head.find('"', at)) != head.npos; at += 2)
        head.insert(at, 1, '"');
    return '"' + head + '"';
}

/// A table of the pixels, row after row: "x,y,QUANTITY/UNIT", with nothing for the value of an
/// excluded pixel. A remark before it tells what else is known of the image.
class CsvImageFormat final : public WriteOnlyFormat {
  public:
    CsvImageFormat() : WriteOnlyFormat({"csv", "Table of pixels", {"csv"}, false, true}) {}
    void write(const image& picture, const std::filesystem::path& file,
               const ImageWriteOptions& options, Progress& progress) const override {
        MeshWriter out(file, progress);
        if (const std::string text = image_description(picture, options.provenance); !text.empty())
            out << "# " << text << '\n';
        out << "x,y," << head_of(picture) << '\n';
        for (int y = 0; y < picture.height(); ++y) {
            report_row(progress, y, picture.height());
            for (int x = 0; x < picture.width(); ++x) {
                out << x << ',' << y << ',';
                const float value = picture.values()(x, y);
                if (!picture.mask()(x, y) && std::isfinite(value)) out << value;
                out << '\n';
            }
        }
        out.finish();
    }
};

}  // namespace

}  // namespace vyn::plugins

VYN_IMAGE_PLUGIN(vyn::plugins::CsvImageFormat)
