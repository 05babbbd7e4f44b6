// Files to start from, made by the program's own writers, and by hand where it writes no such file.
#include <array>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <limits>
#include <memory>

#include <tiffio.h>

#include "api/image_io.h"
#include "calib/camera.h"
#include "calib/paint.h"
#include "core/keys.h"
#include "core/project_file.h"
#include "fuzz/readers.h"
#include "markers/marker_files.h"
#include "process/project/ims.h"
#include "tests/plugins/camera_files.h"
#include "tests/plugins/mesh_samples.h"

namespace vyn::fuzz {

namespace fs = std::filesystem;

namespace {

MarkerSet some_markers() {
    MarkerSet set{.functionName = "p", .hasX = true, .hasY = true, .hasF = true};
    for (int i = 1; i <= 4; ++i)
        set.markers.push_back(
            {.x = 1.5 * i, .y = 2.0 * i, .f = 1e5 + i, .active = i != 3, .id = i});
    return set;
}

image some_image() {
    image picture(9, 5);
    for (int y = 0; y < 5; ++y)
        for (int x = 0; x < 9; ++x)
            picture.values()(x, y) = static_cast<float>(10 * y + x);
    picture.values()(2, 3) = std::numeric_limits<float>::quiet_NaN();
    picture.mask()(2, 3) = picture.mask()(4, 4) = 1;
    picture.fill_region(1);
    picture.name = "wind_on_sens";
    picture.markers = some_markers();
    return picture;
}

field_data<double> some_mesh() {
    field_data<double> mesh;
    const auto plane = [](double u, double v) { return test::MeshPlace{u, v, u * v}; };
    test::add_patch(mesh, "one", 3, 4, plane);
    test::add_patch(mesh, "two", 2, 2, plane);
    mesh.quantities.push_back({"p", std::vector<double>(mesh.vertices.size(), 1e5), "pa"});
    mesh.quantities.push_back(
        {"q", std::vector<double>(mesh.cell_count(), -2), "", field_data<double>::Place::cell});
    mesh.unit = "mm";
    return mesh;
}

/// What cameras write and the program does not.
void write_tiff(const fs::path& file, int bits, int sample_format, int compression, bool tiled) {
    constexpr int side = 16;
    const std::unique_ptr<TIFF, decltype(&TIFFClose)> tiff(TIFFOpen(file.c_str(), "w"), &TIFFClose);
    TIFFSetField(tiff.get(), TIFFTAG_IMAGEWIDTH, side);
    TIFFSetField(tiff.get(), TIFFTAG_IMAGELENGTH, side);
    TIFFSetField(tiff.get(), TIFFTAG_BITSPERSAMPLE, bits);
    TIFFSetField(tiff.get(), TIFFTAG_SAMPLEFORMAT, sample_format);
    TIFFSetField(tiff.get(), TIFFTAG_COMPRESSION, compression);
    TIFFSetField(tiff.get(), TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISBLACK);
    std::vector<std::uint8_t> samples(side * side * 4, 7);
    if (tiled) {
        TIFFSetField(tiff.get(), TIFFTAG_TILEWIDTH, side);
        TIFFSetField(tiff.get(), TIFFTAG_TILELENGTH, side);
        TIFFWriteEncodedTile(tiff.get(), 0, samples.data(), TIFFTileSize(tiff.get()));
    } else {
        TIFFSetField(tiff.get(), TIFFTAG_ROWSPERSTRIP, side);
        TIFFWriteEncodedStrip(tiff.get(), 0, samples.data(), TIFFStripSize(tiff.get()));
    }
}

void write_tiffs(const fs::path& folder) {
    int number = 0;
    for (const int compression : {COMPRESSION_NONE, COMPRESSION_LZW, COMPRESSION_ADOBE_DEFLATE})
        for (const bool tiled : {false, true}) {
            const std::string name = "camera_" + std::to_string(number++) + "_";
            for (const int bits : {8, 12, 16, 32})
                write_tiff(folder / (name + std::to_string(bits)), bits, SAMPLEFORMAT_UINT,
                           compression, tiled);
            write_tiff(folder / (name + "float"), 32, SAMPLEFORMAT_IEEEFP, compression, tiled);
        }
}

void write_text(const fs::path& file, const std::string& text) {
    std::ofstream(file, std::ios::binary) << text;
}

/// Formats that the program reads and does not write.
void write_read_only(const std::string& id, const fs::path& folder) {
    for (const auto& [format, name, bytes] : test::small_camera_files())
        if (format == id) write_text(folder / name, bytes);
    if (id == "raw") write_text(folder / "layout", "width=3 height=2 type=u8 frames=2 gap=1");
}

void write_images(const ImageFormat& format, const fs::path& folder) {
    Progress progress;
    using Depth = ImageWriteOptions::Depth;
    if (!format.info().can_write) return write_read_only(format.info().id, folder);
    for (const Depth depth : {Depth::eight_bit, Depth::sixteen_bit})
        format.write(some_image(), folder / ("written_" + std::to_string(static_cast<int>(depth))),
                     {.depth = depth}, progress);
    if (format.info().id == "tiff") write_tiffs(folder);
    if (format.info().id == "imp") {
        image moved = some_image();
        moved.displacement = Displacement{moved.values(), moved.values(), 2};
        format.write(moved, folder / "displacement", {}, progress);
    }
}

/// Every variant of a format that its extension chooses.
void write_meshes(const MeshFormat& format, const fs::path& folder) {
    Progress progress;
    const std::string& id = format.info().id;
    if (format.info().can_write)
        for (const std::string& extension : format.info().extensions) {
            field_data<double> mesh = some_mesh();
            if (id == "plot3d") mesh.quantities.pop_back();
            const fs::path file = folder / ("written." + extension);
            try {
                format.write(mesh, file, progress);
            } catch (const std::exception&) {  // no such variant is written
                fs::remove(file);
            }
        }
    if (id == "plot3d")
        for (int ways = 0; ways < 64; ++ways)
            write_text(
                folder / ("grid_" + std::to_string(ways)),
                test::plot3d_bytes({.order = ways & 1 ? std::endian::big : std::endian::little,
                                    .records = (ways & 2) != 0,
                                    .many = (ways & 4) != 0,
                                    .doubles = (ways & 8) != 0,
                                    .blanking = (ways & 16) != 0,
                                    .flat = (ways & 32) != 0}));
    if (id == "vtk")
        for (const auto& [name, content] : test::vtk_xml_samples())
            write_text(folder / ("sample_" + name), content);
}

/// Text files that the program reads and does not write.
struct TextSeed {
    const char* reader;
    const char* text;
};
constexpr TextSeed texts[] = {
    {"inm", "1.5 2.5 0 0 1\n3 4 0 0 0\n"},
    {"apm", "1.5 2.5 3.5\n-1 1e3 0\n"},
    {"cell", "P [kPa];T [C];R\n50;20;0,5\n70;20;0,75\n99;20;1\n51;30;0,5\n71,5;30;0,75\n"},
    {"lut", "TITLE 4\n0 0 0\n0.25 0.5 1\n1 1 1\n0.1 0.2 0.3\n"},
    {"obj",
     "mtllib a\no one\nv 0 0 0\nv 1 0 0\nv 1 1 0\nv 0 1 0.5\nvt 0 0\ng part\nf 1 2 3 4\n"
     "f -1/1 -2//1 -3/1/1\n"},
    {"tri", "4 2\n0 0 0\n1 0 0\n1 1 0\n0 1 0\n1 2 3\n1 3 4\n1 2\n"},
    {"stl",
     "solid one\nfacet normal 0 0 1\nouter loop\nvertex 0 0 0\nvertex 1 0 0\nvertex 0 1 0\n"
     "endloop\nendfacet\nendsolid one\n"},
    {"ply",
     "ply\nformat ascii 1.0\ncomment c\nelement vertex 4\nproperty float x\nproperty float y\n"
     "property double z\nproperty uchar red\nelement face 1\n"
     "property list uchar int vertex_indices\nend_header\n"
     "0 0 0 1\n1 0 0 1\n1 1 0 1\n0 1 0 1\n4 0 1 2 3\n"},
    {"vtk",
     "# vtk DataFile Version 3.0\nt\nASCII\nDATASET POLYDATA\nPOINTS 4 float\n0 0 0 1 0 0 1 1 0 "
     "0 1 0\nPOLYGONS 1 5\n4 0 1 2 3\nPOINT_DATA 4\nSCALARS p double 1\nLOOKUP_TABLE default\n"
     "1 2 3 4\nCELL_DATA 1\nFIELD f 1\nq 1 1 float\n5\n"},
    {"tecplot",
     "TITLE=\"t\"\nVARIABLES=\"X\",\"Y\",\"Z\",\"p\"\nZONE T=\"a\", N=4, E=2, "
     "DATAPACKING=BLOCK, ZONETYPE=FETRIANGLE, VARLOCATION=([4]=CELLCENTERED)\n0 1 1 0\n"
     "0 0 1 1\n4*0\n5 6\n1 2 3\n1 3 4\nZONE I=2, J=2, F=POINT\n0 0 0 1\n1 0 0 1\n0 1 0 1\n"
     "1 1 0 1\n"},
};

void write_settings(const fs::path& folder) {
    int number = 0;
    for (const KeyInfo& key : key_table())
        write_text(folder / std::to_string(number++),
                   key.path + "=" + format_setting(key.fallback));
}

void write_project(const fs::path& folder) {
    simpleNamedDataSet data;
    for (const KeyInfo& key : key_table())
        data.set_value(key.path, key.fallback, /*is_default=*/false);
    save_xml(data, (folder / "written").c_str());
}

void write_container(const fs::path& file) {
    Progress progress;
    simpleNamedDataSet data;
    write(data, keys::head_file, std::string("point.ims"));
    ImsData ims{.version = "1.0", .project = {}, .images = {std::make_shared<image>(some_image())}};
    ds2ims(data, ims);
    write_ims_strings(file, ims, progress);
}

/// As a string of a libFuzzer dictionary.
std::string quoted(const std::string& word) {
    std::string text = "\"";
    for (const char c : word) {
        const bool plain = c >= ' ' && c <= '~' && c != '"' && c != '\\';
        std::array<char, 8> code{};
        std::snprintf(code.data(), code.size(), "\\x%02X", static_cast<unsigned char>(c));
        text += plain ? std::string(1, c) : code.data();
    }
    return text + "\"\n";
}

}  // namespace

void write_seeds(const std::vector<Reader>& readers, const fs::path& folder) {
    for (const Reader& reader : readers) {
        fs::create_directories(folder / reader.name);
        std::string dictionary = "# " + reader.name + "\n";  // libFuzzer takes no empty one
        for (const std::string& word : reader.words)
            dictionary += quoted(word);
        write_text(folder / (reader.name + ".dict"), dictionary);
    }
    for (const auto& format : get_2dio().formats())
        write_images(*format, folder / format->info().id);
    for (const auto& format : get_3dio().formats())
        if (format->info().can_read) write_meshes(*format, folder / format->info().id);
    for (const TextSeed& seed : texts)
        write_text(folder / seed.reader / "text", seed.text);
    for (const char* name : {"mrk", "mpt"})
        write_markers((folder / name / "written.").string() + name, some_markers());
    write_markers((folder / "ports" / "written.mrk").string(), some_markers());
    write_settings(folder / "setting");
    write_project(folder / "project");
    write_camera((folder / "camera" / "written.ini").string(), {.camera_name = "c", .a2 = 1e-9});
    write_paint_calibration((folder / "paint" / "written.clb").string(), {});
    write_container(folder / "ims" / "written.ims");
}

}  // namespace vyn::fuzz
