#include "fuzz/readers.h"

#include <cstdlib>
#include <fstream>
#include <limits>
#include <map>

#include "api/image_io.h"
#include "calib/camera.h"
#include "calib/paint_fit.h"
#include "core/atomic_file.h"
#include "core/errors.h"
#include "core/keys.h"
#include "core/project_file.h"
#include "markers/marker_files.h"
#include "process/point/marker_io.h"
#include "process/project/ims.h"
#include "render/palette.h"

namespace vyn::fuzz {

namespace fs = std::filesystem;

namespace {

constexpr int image_height = 480;

void promise(bool held) {
    if (!held) std::abort();
}

void read_image_of(const ImageFormat& format, const fs::path& file) {
    Progress progress;
    ImageReadOptions options;
    // Without a header it is the layout that is told, not the pixels.
    if (format.info().headerless) options.raw_layout = read_file(file, std::size_t{1} << 20);
    const image picture = format.read(file, options, progress);
    picture.check_planes();
    promise(picture.width() > 0 && picture.height() > 0);
}

void read_mesh_of(const MeshFormat& format, const fs::path& file) {
    Progress progress;
    const field_data<double> field = format.read(file, {}, progress);
    const auto vertices = static_cast<int>(field.vertices.size());
    for (const auto& triangle : field.triangles)
        for (const int corner : triangle)
            promise(corner >= 0 && corner < vertices);
    promise(field.cells.empty() || field.cells.size() == field.triangles.size());
    promise(field.blanked.empty() || field.blanked.size() == field.vertices.size());
    std::size_t end = 0;
    for (const auto& zone : field.zones) {
        promise(zone.first_triangle == end);
        end = zone.end_triangle();
    }
    promise(end == field.triangles.size());
    for (const auto& quantity : field.quantities)
        promise(quantity.values.size() == (quantity.place == field_data<double>::Place::node
                                               ? field.vertices.size()
                                               : field.cell_count()));
}

/// What was read is written and read back to the same.
void read_project(const fs::path& file) {
    simpleNamedDataSet data;
    load_xml(data, file.c_str());
    const std::string text = to_xml(data);
    simpleNamedDataSet again;
    from_xml(again, text, "again");
    promise(to_xml(again) == text);
    check_settings(data);
    if (non_finite_setting(data).empty()) (void)non_finite_setting(again);
}

/// KEY=VALUE, as on the command line.
void read_setting(const fs::path& file) {
    std::ifstream stream(file);
    std::string line;
    std::getline(stream, line);
    const std::size_t equals = line.find('=');
    if (equals == std::string::npos) return;
    const std::string key = line.substr(0, equals);
    const any value = parse_setting(key, std::string_view(line).substr(equals + 1));
    const std::string text = format_setting(value);
    promise(format_setting(parse_setting(key, text)) == text);
}

void read_container(const fs::path& file) {
    Progress progress;
    const ImsData ims = read_ims_data(file, progress);
    simpleNamedDataSet data;
    from_xml(data, ims.project, file.string());
    for (const auto& picture : ims.images)
        picture->check_planes();
}

template <class Record, RecordOutcome (*read)(const std::string&, Record&)>
void read_record(const fs::path& file) {
    Record record;
    read(file.string(), record);
}

/// A table that is read is fitted or refused.
void read_cell(const fs::path& file) {
    const PaintFit fit = fit_paint(read_paint_table(file), {});
    promise(fit.paint.covariance && covariance_problem(*fit.paint.covariance).empty());
}

void read_markers_of_image(const fs::path& file) {
    MarkerSet set;
    if (!read_image_markers(file.string(), set, image_height)) return;
    promise(set.markers.empty() || (set.hasX && set.hasY));
}

void read_ports(const fs::path& file) {
    const MarkerSet set = read_port_file(file, image_height);
    promise(set.hasF);
}

/// Words of the formats that plug-ins read.
std::vector<std::string> format_words(const std::string& id) {
    static const std::map<std::string, std::vector<std::string>> words = {
        {"fits",
         {"BITPIX  =", "NAXIS   =", "NAXIS1  =", "BZERO   =", "BSCALE  =", "BLANK   =",
          "ROWORDER= 'BOTTOM-UP'", "ZCMPTYPE= 'RICE_1  '", "XTENSION= 'IMAGE   '", "-64", "32768"}},
        {"npy", {"'descr': '<u2'", "'fortran_order': True", "'shape': (3, 4)", "'>f8'"}},
        {"raw", {"width=", "height=", "type=u16", "order=big", "frames=", "gap=", "offset="}},
        {"pgm", {"P2 ", "P5 ", "65535", "# "}},
        {"imp",
         {"\"pages\"", "\"values\"", "\"region\"", "\"saturated\"", "\"displacement\"",
          "\"markers\"", "\"degree\"", "null", "1e308"}},
        {"png", {"IHDR", "IDAT", "IEND", "tEXt", "tRNS", "gAMA", "PLTE", "sBIT"}},
        {"obj", {"v ", "vt ", "vn ", "f ", "g ", "o ", "//", "-1", "nan"}},
        {"ply",
         {"element vertex ", "element face ", "property list uchar int vertex_indices\n",
          "property double x\n", "format binary_big_endian 1.0\n", "end_header\n"}},
        {"stl", {"solid ", "facet normal ", "outer loop\n", "vertex ", "endloop\n", "endfacet\n"}},
        {"tecplot",
         {"ZONE ", "I=", "J=", "K=", "DATAPACKING=BLOCK", "ZONETYPE=FEQUADRILATERAL",
          "VARLOCATION=([4]=CELLCENTERED)", "VARSHARELIST", "2*1.5", "TEXT "}},
        {"vtk",
         {"<DataArray", "format=\"appended\"", "encoding=\"base64\"", "header_type=\"UInt32\"",
          "compressor=\"vtkZLibDataCompressor\"", "NumberOfComponents=\"3\"", "POLYGONS ", "CELLS ",
          "CELL_TYPES ", "SCALARS ", "VECTORS ", "BINARY", "OFFSETS vtktypeint64"}}};
    const auto found = words.find(id);
    return found == words.end() ? std::vector<std::string>() : found->second;
}

std::vector<std::string> setting_words() {
    std::vector<std::string> words;
    for (const KeyInfo& key : key_table())
        words.emplace_back(key.path);
    return words;
}

std::vector<std::string> with(std::vector<std::string> words,
                              const std::vector<std::string>& more) {
    words.insert(words.end(), more.begin(), more.end());
    return words;
}

}  // namespace

std::vector<Reader> all_readers() {
    std::vector<Reader> readers;
    for (const auto& format : get_2dio().formats()) {
        const FormatInfo& info = format->info();
        readers.push_back({info.id, info.extensions.front(),
                           [&format](const fs::path& file) { read_image_of(*format, file); },
                           info.id == "png" ? Checksums::png : Checksums::none,
                           format_words(info.id)});
    }
    for (const auto& format : get_3dio().formats())
        if (format->info().can_read)
            readers.push_back({format->info().id, format->info().extensions.front(),
                               [&format](const fs::path& file) { read_mesh_of(*format, file); },
                               Checksums::none, format_words(format->info().id)});
    const std::vector<std::string> numbers = {"nan", "inf", "-0", "1e308", "4294967296", "1,5"};
    const std::vector<std::string> xml = {"<!DOCTYPE", "<![CDATA[", "]]>",
                                          "&#0;",      "&amp;",     "<?xml"};
    const std::vector<std::string> mrk = with(
        xml,
        {"<ObjectMarkers>", "<NodesNumber>", "<LengthUnit>", "<Function id=\"", "</Function>"});
    readers.push_back({"project", "xml", read_project, {}, with(setting_words(), xml)});
    readers.push_back({"setting", "txt", read_setting, {}, with(setting_words(), numbers)});
    readers.push_back({"camera", "ini", read_record<cameraFeatures, read_camera>, {}, numbers});
    readers.push_back(
        {"paint", "clb", read_record<paintFeatures, read_paint_calibration>, {}, numbers});
    readers.push_back({"cell",
                       "csv",
                       read_cell,
                       {},
                       with(numbers, {"P [kPa]", "T (C)", "I/I0", ";", "\t", "#"})});
    for (const char* format : {"mrk", "mpt", "inm", "apm"})
        readers.push_back({format,
                           format,
                           read_markers_of_image,
                           {},
                           std::string_view(format) == "mrk" ? mrk : numbers});
    readers.push_back({"ports", "mrk", read_ports, {}, mrk});
    readers.push_back(
        {"lut", "lut", [](const fs::path& file) { (void)read_lut(file); }, {}, numbers});
    readers.push_back({"ims", "ims", read_container, Checksums::zip});
    return readers;
}

}  // namespace vyn::fuzz
