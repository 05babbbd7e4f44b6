#include <random>

#include <gmock/gmock.h>
#include <hdf5.h>

#include "core/errors.h"
#include "tests/plugins/sample_files.h"
#include "tests/support/error_of.h"

namespace vyn::test {
namespace {

using testing::HasSubstr;

namespace fs = std::filesystem;

enum class Length { fixed, variable };

void add_text(hid_t object, const char* name, const std::string& text,
              Length length = Length::fixed) {
    const bool varies = length == Length::variable;
    const hid_t type = H5Tcopy(H5T_C_S1);
    H5Tset_size(type, varies ? H5T_VARIABLE : text.size());
    const hid_t space = H5Screate(H5S_SCALAR);
    const hid_t attribute = H5Acreate2(object, name, type, space, H5P_DEFAULT, H5P_DEFAULT);
    const char* start = text.c_str();
    H5Awrite(attribute, type, varies ? static_cast<const void*>(&start) : start);
    H5Aclose(attribute);
    H5Sclose(space);
    H5Tclose(type);
}

enum class Packing { none, deflate, unknown };

/// An array with the values 100 + x + 10 y, each further frame 2 more than the one before.
void add_array(hid_t group, const char* name, std::vector<hsize_t> sides,
               Packing packing = Packing::none) {
    std::vector<std::uint16_t> values;
    const hsize_t frames = sides.size() == 3 ? sides[0] : 1;
    for (hsize_t frame = 0; frame < frames; ++frame)
        for (hsize_t y = 0; y < sides[sides.size() - 2]; ++y)
            for (hsize_t x = 0; x < sides.back(); ++x)
                values.push_back(static_cast<std::uint16_t>(100 + x + 10 * y + 2 * frame));
    const hid_t space = H5Screate_simple(static_cast<int>(sides.size()), sides.data(), nullptr);
    const hid_t properties = H5Pcreate(H5P_DATASET_CREATE);
    if (packing != Packing::none) {
        std::vector<hsize_t> chunk(sides.size(), 1);
        chunk[sides.size() - 2] = 3;
        chunk.back() = 4;
        H5Pset_chunk(properties, static_cast<int>(chunk.size()), chunk.data());
        H5Pset_shuffle(properties);
        if (packing == Packing::deflate) H5Pset_deflate(properties, 6);
        constexpr H5Z_filter_t nobody_has_it = 40000;
        if (packing == Packing::unknown)
            H5Pset_filter(properties, nobody_has_it, H5Z_FLAG_OPTIONAL, 0, nullptr);
    }
    const hid_t data =
        H5Dcreate2(group, name, H5T_STD_U16BE, space, H5P_DEFAULT, properties, H5P_DEFAULT);
    H5Dwrite(data, H5T_NATIVE_UINT16, H5S_ALL, H5S_ALL, H5P_DEFAULT, values.data());
    add_text(data, "units", "counts");
    H5Dclose(data);
    H5Pclose(properties);
    H5Sclose(space);
}

template <class Fill>
void make_hdf5(const fs::path& file, const Fill& fill) {
    const hid_t id = H5Fcreate(file.c_str(), H5F_ACC_TRUNC, H5P_DEFAULT, H5P_DEFAULT);
    fill(id);
    H5Fclose(id);
}

image read_part(const fs::path& file, const std::string& path) {
    Progress silent;
    return read_image(file, {.data_set = path}, silent);
}

Numbers expected() {
    return {7, 5, [](int x, int y) { return 100.0 + x + 10 * y; }};
}

TEST(Hdf5, ReadsTheOnlyArrayOrTheOneThatIsNamed) {
    TemporaryFolder folder;
    const fs::path file = folder / "a.h5";
    for (const Packing packing : {Packing::none, Packing::deflate}) {
        make_hdf5(file, [&](hid_t id) { add_array(id, "image", {5, 7}, packing); });
        const image picture = read_image(file);
        expect_picture(picture, expected());
        EXPECT_EQ(picture.unit, "counts");
        EXPECT_EQ(picture.full_scale, 65535);
    }
    make_hdf5(file, [&](hid_t id) {
        add_array(id, "image", {5, 7}, Packing::deflate);
        add_array(id, "burst", {3, 5, 7}, Packing::deflate);
    });
    EXPECT_THAT(refusal(file), HasSubstr("2 pictures; say which: /burst, /image"));
    expect_picture(read_part(file, "image"), expected());
    const image burst = read_part(file, "/burst");
    expect_picture(burst, Numbers(7, 5, [](int x, int y) { return 102.0 + x + 10 * y; }));
    ASSERT_TRUE(burst.frames);
    EXPECT_EQ(burst.frames->variance(3, 3), 4);
    for (const char* name : {"none", "image/none", "/"})
        EXPECT_THROW(read_part(file, name), FileError) << name;
}

TEST(Hdf5, FollowsWhatNexusWantsShown) {
    TemporaryFolder folder;
    const fs::path file = folder / "a.nxs";
    make_hdf5(file, [](hid_t id) {
        const hid_t entry = H5Gcreate2(id, "entry", H5P_DEFAULT, H5P_DEFAULT, H5P_DEFAULT);
        const hid_t data = H5Gcreate2(entry, "data", H5P_DEFAULT, H5P_DEFAULT, H5P_DEFAULT);
        add_text(id, "default", "entry");
        add_text(entry, "default", "data");
        add_text(data, "signal", "counts", Length::variable);
        add_array(data, "counts", {5, 7});
        add_array(data, "errors", {5, 8});
        H5Gclose(data);
        H5Gclose(entry);
    });
    expect_picture(read_image(file), expected());
}

TEST(Hdf5, RefusesWhatItCannotTrust) {
    TemporaryFolder folder;
    make_hdf5(folder / "other.h5", [](hid_t id) { add_array(id, "image", {5, 7}); });
    struct Case {
        const char* message;
        std::function<void(hid_t)> fill;
    };
    const Case cases[]{
        {"is a link",
         [&](hid_t id) {
             H5Lcreate_external((folder / "other.h5").c_str(), "/image", id, "image", H5P_DEFAULT,
                                H5P_DEFAULT);
         }},
        {"not supported",
         [](hid_t id) {
             add_array(id, "image", {5, 7}, Packing::unknown);
         }},
        {"looks like colours",
         [](hid_t id) {
             add_array(id, "image", {5, 7, 3});
         }},
        {"1 axes",
         [](hid_t id) {
             add_array(id, "image", {1, 7}), H5Ldelete(id, "image", H5P_DEFAULT);
             const hsize_t side = 4;
             const hid_t space = H5Screate_simple(1, &side, nullptr);
             H5Dclose(H5Dcreate2(id, "image", H5T_STD_U8LE, space, H5P_DEFAULT, H5P_DEFAULT,
                                 H5P_DEFAULT));
             H5Sclose(space);
         }},
        {"no array",
         [](hid_t id) {
             H5Gclose(H5Gcreate2(id, "image", H5P_DEFAULT, H5P_DEFAULT, H5P_DEFAULT));
         }},
        {"in another file",
         [&](hid_t id) {
             const hsize_t sides[]{5, 7};
             const hid_t space = H5Screate_simple(2, sides, nullptr);
             const hid_t properties = H5Pcreate(H5P_DATASET_CREATE);
             H5Pset_external(properties, (folder / "other.h5").c_str(), 0, 70);
             H5Dclose(H5Dcreate2(id, "image", H5T_STD_U16LE, space, H5P_DEFAULT, properties,
                                 H5P_DEFAULT));
             H5Pclose(properties);
             H5Sclose(space);
         }},
        {"holds no pixels", [](hid_t id) {
             const hsize_t sides[]{30000, 30000};
             const hsize_t chunk[]{64, 64};
             const hid_t space = H5Screate_simple(2, sides, nullptr);
             const hid_t properties = H5Pcreate(H5P_DATASET_CREATE);
             H5Pset_chunk(properties, 2, chunk);
             H5Dclose(H5Dcreate2(id, "image", H5T_STD_U16LE, space, H5P_DEFAULT, properties,
                                 H5P_DEFAULT));
             H5Pclose(properties);
             H5Sclose(space);
         }}};
    for (const Case& one : cases) {
        make_hdf5(folder / "a.h5", one.fill);
        EXPECT_THAT(error_of<FileError>([&] { read_part(folder / "a.h5", "/image"); }).what(),
                    HasSubstr(one.message));
    }
}

TEST(Hdf5, WhatIsWrittenComesBack) {
    const TemporaryFolder folder;
    image field = example_image();
    field.quantity = {Quantity::Kind::pressure};
    field.unit = "kPa";
    field.origin = {{"law", "a = 1"}};
    write_image(field, folder / "field.nxs");
    const image read = read_part(folder / "field.nxs", "");
    EXPECT_EQ(read.quantity, field.quantity);
    EXPECT_EQ(read.unit, field.unit);
    EXPECT_EQ(read.origin, field.origin);
    for (int y = 0; y < field.height(); ++y)
        for (int x = 0; x < field.width(); ++x) {
            EXPECT_EQ(read.mask()(x, y) == 0, field.mask()(x, y) == 0);
            if (field.mask()(x, y) != 0) continue;
            EXPECT_EQ(read.values()(x, y), field.values()(x, y));
        }
}

TEST(Hdf5, ReadingStopsWhenItIsTold) {
    const TemporaryFolder folder;
    make_hdf5(folder / "a.h5", [](hid_t id) { add_array(id, "image", {5, 7}); });
    struct Stop : Progress {
        bool aborted() const override { return true; }
    } stop;
    EXPECT_THROW(read_image(folder / "a.h5", {}, stop), Aborted);
}

/// The library believes much of what a file says; where it fails, only the unpacker ends.
TEST(Hdf5, ChangedBytesDoNotCrash) {
    TemporaryFolder folder;
    const fs::path file = folder / "a.h5";
    std::mt19937 random(20260301);
    for (const Packing packing : {Packing::none, Packing::deflate}) {
        make_hdf5(file, [&](hid_t id) {
            add_text(id, "signal", "image");
            add_array(id, "image", {5, 7}, packing);
        });
        const std::string sound = get_file(file);
        int read = 0;
        constexpr int rounds = 50;
        for (int round = 0; round < rounds; ++round) {
            std::string bytes = sound;
            for (int i = 0; i < 3; ++i)
                bytes[random() % std::min<std::size_t>(bytes.size(), 4096)] =
                    static_cast<char>(random() % 2 ? random() : 0xff);
            put_file(file, bytes);
            try {
                read += read_image(file).width() > 0;
            } catch (const FileError&) {
            }
        }
        EXPECT_GT(read, 0);
        EXPECT_LT(read, rounds);
    }
}

}  // namespace
}  // namespace vyn::test
