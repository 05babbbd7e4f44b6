#include <random>

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <zlib.h>

#include "core/errors.h"
#include "tests/plugins/camera_files.h"
#include "tests/plugins/mesh_samples.h"
#include "tests/plugins/sample_files.h"

namespace vyn::test {
namespace {

namespace fs = std::filesystem;

enum class Content { picture, mesh, text_mesh };

/// A sound file, and how many of its bytes are needed to read it.
struct Sample {
    const char* label;
    const char* extension;
    std::function<void(const fs::path& file)> make;
    std::size_t (*needed)(std::size_t file_size) = [](std::size_t size) { return size; };
    Content content = Content::picture;  ///< a text mesh may be sound without its end
};

void make_camera_file(const fs::path& file, const std::string& wanted) {
    for (const auto& [format, name, bytes] : small_camera_files())
        if (name == wanted) put_file(file, bytes);
}

Numbers ramp() {
    return {20, 15, [](int x, int y) { return x * 100 + y; }};
}

/// FITS files are padded to whole records; 7 x 5 floats follow two header records or one.
std::size_t without_padding(std::size_t size) {
    return size - 2880 + 7 * 5 * 4;
}

/// The file in the format that its extension names.
void make_mesh(const fs::path& file) {
    Progress silent;
    write_field(example_mesh(), file, silent);
}

template <std::size_t End>
std::size_t but_the_end(std::size_t size) {
    return size - End;
}
constexpr std::size_t closing_tags = sizeof "\n</AppendedData>\n</VTKFile>\n" - 1;

const Sample samples[]{
    {"tiff", "tif",
     [](const fs::path& file) {
         make_tiff(file, {{TiffSpec{}, ramp()}});
     }},
    {"tiff_burst", "tif",
     [](const fs::path& file) {
         const TiffSpec deflate{"", 32, 3, "wb", 8};
         make_tiff(file, {{deflate, ramp()}, {deflate, ramp()}, {deflate, ramp()}});
     }},
    {"bigtiff_tiles", "tif",
     [](const fs::path& file) {
         make_tiff(file, {{TiffSpec{"", 12, 1, "w8", 5, 16}, ramp()}});
     }},
    {"png", "png", [](const fs::path& file) { write_image(example_image(), file); }},
    {"fits", "fits",
     [](const fs::path& file) {
         write_image(example_image(), file, {{}, "\"note\""});
     },
     without_padding},
    {"fits_gz", "fits",
     [](const fs::path& file) {
         write_image(example_image(), file);
         const std::string bytes = get_file(file);
         const gzFile packed = gzopen(file.c_str(), "wb");
         gzwrite(packed, bytes.data(), static_cast<unsigned>(bytes.size()));
         gzclose(packed);
     }},
    {"npy", "npy", [](const fs::path& file) { make_camera_file(file, "burst.npy"); }},
    {"pgm", "pgm", [](const fs::path& file) { make_camera_file(file, "u16.pgm"); }},
    {"b16", "b16", [](const fs::path& file) { make_camera_file(file, "short.b16"); }},
    {"spe", "spe", [](const fs::path& file) { make_camera_file(file, "u16.spe"); }},
    {"imp", "imp",
     [](const fs::path& file) {
         image picture = example_image();
         picture.fill_region(1);
         picture.displacement = Displacement{Bitmap<float>(2, 2, 1.f), Bitmap<float>(2, 2, 1.f), 4};
         picture.markers.markers.resize(2);
         write_image(picture, file, {{}, R"({"input": "a.tif"})"});
     }},
    {"vtp", "vtp", make_mesh, but_the_end<closing_tags>, Content::mesh},
    {"vtk", "vtk", make_mesh, but_the_end<1>, Content::mesh},
    {"ply", "ply", make_mesh, but_the_end<0>, Content::mesh},
    {"stl", "stl", make_mesh, but_the_end<0>, Content::mesh},
    {"plot3d", "xyz", make_mesh, but_the_end<0>, Content::mesh},
    {"tecplot", "dat", make_mesh, but_the_end<0>, Content::text_mesh},
    {"plot3d_records", "x",
     [](const fs::path& file) {
         put_file(file, plot3d_bytes({.records = true, .many = true, .blanking = true}));
     },
     but_the_end<0>, Content::mesh},
    {"vtp_compressed", "vtp",
     [](const fs::path& file) { put_file(file, vtk_xml_samples()[2].second); }, but_the_end<0>,
     Content::text_mesh},
    {"obj", "obj",
     [](const fs::path& file) {
         put_file(file, "o a\nv 0 0 0\nv 1 0 0\nv 1 1 0\nf 1/1 2//2 \\\n-1\ng b\nf 1 2 3\n");
     },
     but_the_end<0>, Content::text_mesh},
    {"tri", "tri",
     [](const fs::path& file) {
         put_file(file, "4 2\n0 0 0\n1 0 0\n0 1 0\n1 1 1\n1 2 3\n2 4 3\n5\n2\n");
     },
     but_the_end<0>, Content::text_mesh},
    {"stl_text", "stl",
     [](const fs::path& file) {
         put_file(file,
                  "solid a\nfacet normal 0 0 1\nouter loop\nvertex 0 0 0\nvertex 1 0 0\n"
                  "vertex 0 1 0\nendloop\nendfacet\nendsolid a\n");
     },
     but_the_end<0>, Content::text_mesh},
    {"vtk_text", "vtk",
     [](const fs::path& file) {
         put_file(file,
                  "# vtk DataFile Version 5.1\nt\nASCII\nDATASET POLYDATA\nPOINTS 3 float\n"
                  "0 0 0 1 0 0 1 1 0\nPOLYGONS 2 3\nOFFSETS vtktypeint64\n0 3\n"
                  "CONNECTIVITY vtktypeint64\n0 1 2\nMETADATA\nINFORMATION 0\n\n"
                  "POINT_DATA 3\nFIELD f 1\np 1 3 double\n1 2 3\n");
     },
     but_the_end<0>, Content::text_mesh},
};

class HostileFile : public testing::TestWithParam<Sample> {
  protected:
    HostileFile() : sound_(folder_ / (std::string("sound.") + GetParam().extension)) {
        GetParam().make(sound_);
        bytes_ = get_file(sound_);
    }

    /// True when the changed bytes could be read; anything but FileError fails the test.
    bool reads(const std::string& bytes) {
        const auto file = folder_ / (std::string("changed.") + GetParam().extension);
        put_file(file, bytes);
        try {
            // What came out must have been backed by the file.
            EXPECT_LE(size_of(file), 1400 * bytes.size() + 65536);
            return true;
        } catch (const FileError& error) {
            EXPECT_NE(std::string(error.what()).find(file.string()), std::string::npos);
            return false;
        }
    }

    static std::size_t size_of(const fs::path& file) {
        if (GetParam().content == Content::picture) return read_image(file).values().count();
        Progress silent;
        const Mesh mesh = read_field(file, silent);
        return mesh.vertices.size() + mesh.triangles.size();
    }

    TemporaryFolder folder_;
    fs::path sound_;
    std::string bytes_;
};

long peak_kilobytes() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss;
}

TEST_P(HostileFile, CutOffAnywhereIsRefused) {
    ASSERT_TRUE(reads(bytes_));
    if (GetParam().content == Content::text_mesh) return;
    const std::size_t needed = GetParam().needed(bytes_.size());
    const std::size_t step = std::max<std::size_t>(1, needed / 150);
    for (std::size_t length = 0; length < needed; length += step)
        EXPECT_FALSE(reads(bytes_.substr(0, length))) << length << " of " << bytes_.size();
    for (std::size_t missing = 1; missing < 20; ++missing)
        EXPECT_FALSE(reads(bytes_.substr(0, needed - missing))) << missing << " missing";
}

TEST_P(HostileFile, ChangedBytesNeitherCrashNorTakeAbsurdMemory) {
    const long before = peak_kilobytes();
    std::mt19937 random(20240229);
    constexpr int rounds = 400;
    for (int round = 0; round < rounds; ++round) {
        std::string changed = bytes_;
        // Half of the changes hit the beginning or the end, where headers and directories are.
        const std::size_t edge = std::min<std::size_t>(changed.size(), 400);
        for (unsigned i = 0, count = 1 + static_cast<unsigned>(random() % 3); i < count; ++i) {
            const std::size_t place = random() % 2   ? random() % changed.size()
                                      : random() % 2 ? random() % edge
                                                     : changed.size() - 1 - random() % edge;
            const char values[]{0, 1, '\x7f', '\x80', '\xff', static_cast<char>(random())};
            changed[place] = values[random() % sizeof values];
        }
        reads(changed);
    }
    // Far below what one absurd size would take, far above what the small pictures do.
    EXPECT_LT(peak_kilobytes() - before, 512 * 1024);
}

INSTANTIATE_TEST_SUITE_P(Formats, HostileFile, testing::ValuesIn(samples), label_of());

}  // namespace
}  // namespace vyn::test
