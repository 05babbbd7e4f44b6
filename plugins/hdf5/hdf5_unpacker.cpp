// hdf5_unpacker FILE DATA_SET MEMORY_LIMIT SECONDS_LIMIT: see unpacker.h.
#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <vector>

#include <nlohmann/json.hpp>
#include <sys/resource.h>

#include "plugins/hdf5/hdf5_file.h"
#include "plugins/hdf5/unpacker.h"

namespace vyn::plugins {

namespace {

/// One array of an open file, found sound.
struct Array {
    Hdf5Id data;
    std::array<hsize_t, 3> sides{1, 1, 1};  ///< frames, rows, columns
    int axes = 2;
    hid_t type = 0;         ///< of the machine, that holds the file's
    const char* word = "";  ///< its name
    std::size_t bytes = 0;  ///< its size
    hsize_t band = 64;      ///< rows that are read at once

    std::array<hsize_t, 3> selected(hsize_t frames, hsize_t rows, hsize_t columns) const {
        std::array<hsize_t, 3> all{frames, rows, columns};
        std::rotate(all.begin(), all.end() - axes, all.end());
        return all;
    }
};

void take_type(Array& array) {
    struct Known {
        H5T_class_t kind;
        bool is_signed;
        std::size_t bytes;
        hid_t id;
        const char* word;
    };
    const Known types[] = {{H5T_INTEGER, false, 1, H5T_NATIVE_UINT8, "u8"},
                           {H5T_INTEGER, true, 1, H5T_NATIVE_INT8, "i8"},
                           {H5T_INTEGER, false, 2, H5T_NATIVE_UINT16, "u16"},
                           {H5T_INTEGER, true, 2, H5T_NATIVE_INT16, "i16"},
                           {H5T_INTEGER, false, 4, H5T_NATIVE_UINT32, "u32"},
                           {H5T_INTEGER, true, 4, H5T_NATIVE_INT32, "i32"},
                           {H5T_INTEGER, false, 8, H5T_NATIVE_UINT64, "u64"},
                           {H5T_INTEGER, true, 8, H5T_NATIVE_INT64, "i64"},
                           {H5T_FLOAT, true, 4, H5T_NATIVE_FLOAT, "f32"},
                           {H5T_FLOAT, true, 8, H5T_NATIVE_DOUBLE, "f64"}};
    const Hdf5Id stored(H5Dget_type(array.data), H5Tclose);
    const H5T_class_t kind = H5Tget_class(stored);
    const bool is_signed = kind == H5T_FLOAT || H5Tget_sign(stored) == H5T_SGN_2;
    for (const Known& one : types) {
        if (one.kind != kind || one.is_signed != is_signed || H5Tget_size(stored) > one.bytes)
            continue;
        array.type = one.id;
        array.word = one.word;
        array.bytes = one.bytes;
        return;
    }
    throw Refusal("its elements are no plain numbers of 8 to 64 bits");
}

void check_filters(hid_t properties) {
    const int count = H5Pget_nfilters(properties);
    for (int i = 0; i < count; ++i) {
        unsigned flags = 0;
        std::size_t values = 0;
        std::array<char, 64> name{};
        unsigned settings = 0;
        const H5Z_filter_t filter =
            H5Pget_filter2(properties, static_cast<unsigned>(i), &flags, &values, nullptr,
                           name.size() - 1, name.data(), &settings);
        if (filter < 0 || H5Zfilter_avail(filter) <= 0)
            throw Refusal("compression by filter " + std::to_string(filter) + " (" + name.data() +
                          ") is not supported; deflate is");
    }
}

/// The way in which the elements are stored, and how many rows are best read at once.
void check_storage(Array& array) {
    const Hdf5Id properties(H5Dget_create_plist(array.data), H5Pclose);
    if (H5Pget_external_count(properties) != 0) throw Refusal("its pixels are in another file");
    const H5D_layout_t layout = H5Pget_layout(properties);
    if (layout == H5D_VIRTUAL) throw Refusal("its pixels are in other files");
    if (H5Dget_storage_size(array.data) == 0) throw Refusal("it holds no pixels");
    check_filters(properties);
    if (layout != H5D_CHUNKED) return;
    std::array<hsize_t, 3> chunk{1, 1, 1};
    H5Pget_chunk(properties, array.axes, chunk.data() + 3 - array.axes);
    array.band = chunk[1];
}

Array examine(const Hdf5File& file, const std::string& path) {
    Array array{.data = file.open(path)};
    if (H5Iget_type(array.data) != H5I_DATASET) throw Refusal(path + " is no array");
    take_type(array);
    const Hdf5Id space(H5Dget_space(array.data), H5Sclose);
    array.axes = H5Sget_simple_extent_ndims(space);
    if (array.axes != 2 && array.axes != 3)
        throw Refusal(path + " has " + std::to_string(array.axes) +
                      " axes; two or three are supported");
    H5Sget_simple_extent_dims(space, array.sides.data() + 3 - array.axes, nullptr);
    constexpr auto most = static_cast<hsize_t>(std::numeric_limits<std::int32_t>::max());
    for (const hsize_t side : array.sides)
        if (side > most) throw Refusal(path + " is too large");
    if (array.axes == 3 && array.sides[2] <= 4)
        throw Refusal("its last axis looks like colours; only grey values are supported");
    check_storage(array);
    array.band = std::clamp<hsize_t>(array.band, 1, std::max<hsize_t>(array.sides[1], 1));
    return array;
}

void send_line(const nlohmann::ordered_json& line) {
    // Texts of a file may be anything.
    std::puts(line.dump(-1, ' ', true, nlohmann::ordered_json::error_handler_t::replace).c_str());
}

/// Band by band, as the library unpacks its blocks.
bool send_pixels(const Array& array) {
    const auto [frames, height, width] = array.sides;
    std::vector<std::byte> band(array.band * width * array.bytes);
    const Hdf5Id space(H5Dget_space(array.data), H5Sclose);
    for (hsize_t frame = 0; frame < frames; ++frame)
        for (hsize_t y = 0; y < height; y += array.band) {
            const hsize_t pixels = std::min(array.band, height - y) * width;
            const Hdf5Id memory(H5Screate_simple(1, &pixels, nullptr), H5Sclose);
            const auto from = array.selected(frame, y, 0);
            const auto count = array.selected(1, pixels / width, width);
            if (H5Sselect_hyperslab(space, H5S_SELECT_SET, from.data(), nullptr, count.data(),
                                    nullptr) < 0 ||
                H5Dread(array.data, array.type, memory, space, H5P_DEFAULT, band.data()) < 0 ||
                std::fwrite(band.data(), array.bytes, pixels, stdout) != pixels)
                return false;
        }
    return true;
}

bool unpack(const std::string& path, std::string data_set) {
    namespace member = unpacker_answer;
    try {
        const Hdf5File file(path);
        if (data_set.empty()) data_set = file.shown_data_set();
        const Array array = examine(file, data_set);
        send_line({{member::frames, array.sides[0]},
                   {member::height, array.sides[1]},
                   {member::width, array.sides[2]},
                   {member::type, array.word},
                   {member::unit, file.text_attribute(array.data, "units")},
                   {member::description, file.stored_text(description_path)}});
        return send_pixels(array);
    } catch (const Refusal& refusal) {
        send_line({{member::refused, refusal.what()}});
        return true;
    }
}

void limit(int resource, const char* number) {
    const rlim_t most = std::strtoull(number, nullptr, 10);
    const rlimit both{most, most};
    setrlimit(static_cast<__rlimit_resource>(resource), &both);
}

}  // namespace

}  // namespace vyn::plugins

int main(int argc, char** argv) {
    if (argc != 5) return 2;
    using namespace vyn::plugins;
    limit(RLIMIT_CORE, "0");
    limit(RLIMIT_CPU, argv[4]);
#ifdef VYN_LIMITED_MEMORY
    limit(RLIMIT_DATA, argv[3]);
#endif
    return unpack(argv[1], argv[2]) && std::fflush(stdout) == 0 ? 0 : 1;
}
