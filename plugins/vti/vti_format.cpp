#include <cstring>

#include "plugins/support/attributes.h"
#include "plugins/support/write_only_format.h"
#include "plugins/vtk/vtk_xml_file.h"

namespace vyn::plugins {

namespace {

/// VTK image data: a point a pixel at x = column, y = row (downwards, as in the picture), the
/// values with NaN where excluded, and the mask. Unit and description are field data.
class VtiFormat final : public WriteOnlyFormat {
  public:
    VtiFormat() : WriteOnlyFormat({"vti", "VTK image data", {"vti"}, false, true}) {}
    void write(const image& picture, const std::filesystem::path& file,
               const ImageWriteOptions& options, Progress& progress) const override {
        std::vector<float> values;
        std::vector<std::uint8_t> mask;
        std::vector<float> row;
        for (int y = 0; y < picture.height(); ++y) {
            report_row(progress, y, picture.height());
            unmasked_row(picture, y, row);
            values.insert(values.end(), row.begin(), row.end());
            const std::uint8_t* const excluded = picture.mask().row(y);
            mask.insert(mask.end(), excluded, excluded + picture.width());
        }
        VtkXmlFile out(file, progress);
        const std::string extent = "0 " + std::to_string(picture.width() - 1) + " 0 " +
                                   std::to_string(picture.height() - 1) + " 0 0";
        out.text()
            << "<?xml version=\"1.0\"?>\n<VTKFile type=\"ImageData\" version=\"1.0\" "
               "byte_order=\"LittleEndian\" header_type=\"UInt64\">\n<ImageData WholeExtent=\""
            << extent << "\" Origin=\"0 0 0\" Spacing=\"1 1 1\">\n<FieldData>\n";
        if (!picture.unit.empty()) out.texts("Unit", {picture.unit});
        if (const auto text = image_description(picture, options.provenance); !text.empty())
            out.texts("Description", {text});
        const std::string name = value_name(picture);
        out.text() << "</FieldData>\n<Piece Extent=\"" << extent << "\">\n<PointData Scalars=\""
                   << name << "\">\n";
        out.array("Float32", name, 1, values.data(), values.size());
        out.array("UInt8", "excluded", 1, mask.data(), mask.size());
        out.text() << "</PointData>\n</Piece>\n</ImageData>\n";
        out.finish();
    }
};

}  // namespace

}  // namespace vyn::plugins

VYN_IMAGE_PLUGIN(vyn::plugins::VtiFormat)
