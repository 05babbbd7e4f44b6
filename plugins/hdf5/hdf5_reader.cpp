#include "plugins/hdf5/hdf5_reader.h"

#include <algorithm>
#include <array>
#include <limits>
#include <vector>

#include "core/free_memory.h"
#include "plugins/hdf5/hdf5_file.h"
#include "plugins/support/attributes.h"
#include "plugins/support/burst.h"
#include "plugins/support/pixels.h"
#include "plugins/support/refusal.h"

namespace vyn::plugins {

namespace {

namespace fs = std::filesystem;

/// The types that arrays are stored in, as the library names them.
struct StoredType {
    hid_t id;
    PixelType type;
    std::endian order;
};

/// One array of an open file, found sound.
struct Array {
    Hdf5Id data;
    std::array<hsize_t, 3> sides{1, 1, 1};  ///< frames, rows, columns
    int axes = 2;
    StoredType type{};
    bool blocks = false;  ///< else the pixels follow one another in the file
    hsize_t band = 64;    ///< rows that are read at once
};

/// Other types, such as those of fewer bits than bytes, would be converted by the library, which
/// believes what a damaged file says of them.
StoredType stored_type(const Hdf5File& file, hid_t type) {
    constexpr auto little = std::endian::little;
    constexpr auto big = std::endian::big;
    const StoredType known[] = {
        {H5T_STD_U8LE, PixelType::u8, little},    {H5T_STD_I8LE, PixelType::i8, little},
        {H5T_STD_U8BE, PixelType::u8, big},       {H5T_STD_I8BE, PixelType::i8, big},
        {H5T_STD_U16LE, PixelType::u16, little},  {H5T_STD_U16BE, PixelType::u16, big},
        {H5T_STD_I16LE, PixelType::i16, little},  {H5T_STD_I16BE, PixelType::i16, big},
        {H5T_STD_U32LE, PixelType::u32, little},  {H5T_STD_U32BE, PixelType::u32, big},
        {H5T_STD_I32LE, PixelType::i32, little},  {H5T_STD_I32BE, PixelType::i32, big},
        {H5T_STD_U64LE, PixelType::u64, little},  {H5T_STD_U64BE, PixelType::u64, big},
        {H5T_STD_I64LE, PixelType::i64, little},  {H5T_STD_I64BE, PixelType::i64, big},
        {H5T_IEEE_F32LE, PixelType::f32, little}, {H5T_IEEE_F32BE, PixelType::f32, big},
        {H5T_IEEE_F64LE, PixelType::f64, little}, {H5T_IEEE_F64BE, PixelType::f64, big}};
    for (const StoredType& one : known)
        if (H5Tequal(type, one.id) > 0) return one;
    refuse(file.path(), "its elements are no plain numbers of 8 to 64 bits");
}

/// Only what the library itself unpacks without taking more than the picture needs.
void check_filters(const Hdf5File& file, hid_t properties) {
    const int count = H5Pget_nfilters(properties);
    for (int i = 0; i < count; ++i) {
        unsigned flags = 0;
        std::size_t values = 0;
        unsigned settings = 0;
        const H5Z_filter_t filter = H5Pget_filter2(properties, static_cast<unsigned>(i), &flags,
                                                   &values, nullptr, 0, nullptr, &settings);
        if (filter != H5Z_FILTER_DEFLATE && filter != H5Z_FILTER_SHUFFLE &&
            filter != H5Z_FILTER_FLETCHER32)
            refuse(file.path(), "compression by filter " + std::to_string(filter) +
                                    " is not supported; deflate is");
    }
}

/// The way in which the elements are stored, and how many rows are best read at once.
void check_storage(const Hdf5File& file, Array& array, std::uint64_t element) {
    const Hdf5Id properties(H5Dget_create_plist(array.data), H5Pclose);
    if (H5Pget_external_count(properties) != 0)
        refuse(file.path(), "its pixels are in another file");
    const H5D_layout_t layout = H5Pget_layout(properties);
    if (layout == H5D_VIRTUAL) refuse(file.path(), "its pixels are in other files");
    const std::uint64_t bytes = array.sides[0] * array.sides[1] * array.sides[2] * element;
    const std::uint64_t size = fs::file_size(file.path());
    array.blocks = layout == H5D_CHUNKED;
    if (layout == H5D_CONTIGUOUS) return;
    if (layout != H5D_CHUNKED) refuse(file.path(), "its pixels are stored among its headers");
    check_filters(file, properties);
    const std::uint64_t stored = H5Dget_storage_size(array.data);
    if (stored > size || bytes > size * max_compression_ratio)
        refuse(file.path(), "the file is too small for the picture's size");
    std::array<hsize_t, 3> chunk{1, 1, 1};
    H5Pget_chunk(properties, array.axes, chunk.data() + 3 - array.axes);
    std::uint64_t chunk_bytes = element;
    for (std::size_t i = 0; i < chunk.size(); ++i) {
        // A chunk may reach beyond the array, but not without end.
        if (chunk[i] < 1 || chunk[i] > 2 * array.sides[i] + 64)
            refuse(file.path(), "its blocks are larger than the picture");
        chunk_bytes *= chunk[i];
    }
    if (chunk_bytes > free_memory() / 4)
        refuse(file.path(), "its blocks are larger than the memory that is free");
    array.band = std::min(chunk[1], array.sides[1]);
}

Array examine(const Hdf5File& file, const std::string& path) {
    Array array{.data = file.open(path)};
    if (H5Iget_type(array.data) != H5I_DATASET) refuse(file.path(), path + " is no array");
    const Hdf5Id type(H5Dget_type(array.data), H5Tclose);
    array.type = stored_type(file, type);
    const Hdf5Id space(H5Dget_space(array.data), H5Sclose);
    array.axes = H5Sget_simple_extent_ndims(space);
    if (array.axes != 2 && array.axes != 3)
        refuse(file.path(),
               path + " has " + std::to_string(array.axes) + " axes; two or three are supported");
    H5Sget_simple_extent_dims(space, array.sides.data() + 3 - array.axes, nullptr);
    constexpr auto most = static_cast<hsize_t>(std::numeric_limits<std::int32_t>::max());
    for (const hsize_t side : array.sides)
        if (side > most) refuse(file.path(), path + " is too large");
    check_sides(file.path(), static_cast<std::int64_t>(array.sides[2]),
                static_cast<std::int64_t>(array.sides[1]));
    if (array.sides[0] < 1) refuse(file.path(), path + " holds no frame");
    if (array.axes == 3 && array.sides[2] <= 4)
        refuse(file.path(), "its last axis looks like colours; only grey values are supported");
    check_storage(file, array, bytes_of(array.type.type));
    return array;
}

/// Without the library, which would trust its headers once more.
image read_contiguous(const Hdf5File& file, const Array& array, Progress& progress) {
    const haddr_t offset = H5Dget_offset(array.data);
    if (offset == HADDR_UNDEF) refuse(file.path(), "it holds no pixels");
    const PixelLayout layout{.width = static_cast<std::int64_t>(array.sides[2]),
                             .height = static_cast<std::int64_t>(array.sides[1]),
                             .frames = static_cast<std::int64_t>(array.sides[0]),
                             .type = array.type.type,
                             .order = array.type.order,
                             .offset = offset};
    return read_pixels(file.path(), layout, progress);
}

/// Band by band, as the library unpacks the blocks, in the type that the file has.
image read_blocks(const Hdf5File& file, const Array& array, Progress& progress) {
    const auto [frames, height, width] = array.sides;
    Burst burst(static_cast<int>(width), static_cast<int>(height), static_cast<int>(frames),
                full_scale(array.type.type));
    const std::size_t row_bytes = width * bytes_of(array.type.type);
    std::vector<std::byte> band(array.band * row_bytes);
    std::vector<double> values(width);
    const Hdf5Id space(H5Dget_space(array.data), H5Sclose);
    for (hsize_t frame = 0; frame < frames; ++frame)
        for (hsize_t y = 0; y < height; y += array.band) {
            throw_if_aborted(progress);
            progress.fraction(static_cast<double>(frame * height + y) /
                              static_cast<double>(frames * height));
            const hsize_t rows = std::min(array.band, height - y);
            const std::array<hsize_t, 3> from{frame, y, 0};
            const std::array<hsize_t, 3> count{1, rows, width};
            const std::size_t skip = static_cast<std::size_t>(3 - array.axes);
            const hsize_t wanted = rows * width;
            const Hdf5Id memory(H5Screate_simple(1, &wanted, nullptr), H5Sclose);
            if (H5Sselect_hyperslab(space, H5S_SELECT_SET, from.data() + skip, nullptr,
                                    count.data() + skip, nullptr) < 0 ||
                H5Dread(array.data, array.type.id, memory, space, H5P_DEFAULT, band.data()) < 0)
                refuse(file.path(), "damaged or cut off: the pixels cannot be read");
            for (hsize_t row = 0; row < rows; ++row) {
                decode_pixels(array.type.type, array.type.order, &band[row * row_bytes], values);
                burst.add_row(static_cast<int>(y + row), values.data());
            }
        }
    progress.fraction(1);
    return burst.take(file.path());
}

}  // namespace

image read_hdf5(const fs::path& path, const ImageReadOptions& options, Progress& progress) {
    const Hdf5File file(path);
    const std::string name = options.data_set.empty() ? file.shown_data_set() : options.data_set;
    const Array array = examine(file, name);
    image picture =
        array.blocks ? read_blocks(file, array, progress) : read_contiguous(file, array, progress);
    picture.unit = sound_unit(file.text_attribute(array.data, "units"));
    return picture;
}

}  // namespace vyn::plugins
