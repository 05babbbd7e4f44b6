#include "plugins/hdf5/hdf5_writer.h"

#include <array>
#include <mutex>
#include <numeric>
#include <vector>

#include "plugins/hdf5/hdf5_id.h"
#include "plugins/hdf5/unpacker.h"
#include "plugins/support/attributes.h"
#include "plugins/support/provenance.h"
#include "plugins/support/refusal.h"

namespace vyn::plugins {

namespace {

Hdf5Id text_type(std::size_t size) {
    Hdf5Id type(H5Tcopy(H5T_C_S1), H5Tclose);
    H5Tset_size(type, size);
    H5Tset_cset(type, H5T_CSET_UTF8);
    return type;
}

/// Objects of one file; what fails is told when it is over.
class NexusFile {
  public:
    explicit NexusFile(const std::filesystem::path& path)
        : path_(path),
          file_((H5Eset_auto2(H5E_DEFAULT, nullptr, nullptr),
                 H5Fcreate(path.c_str(), H5F_ACC_TRUNC, H5P_DEFAULT, H5P_DEFAULT)),
                H5Fclose) {
        check(file_);
    }
    hid_t root() const { return file_; }

    void check(std::int64_t status) const {
        if (status < 0) fail_writing(path_, "not everything could be written");
    }

    /// Texts of fixed length, which every reader understands.
    void attribute(hid_t object, const char* name, const std::string& text) const {
        if (text.empty()) return;
        const Hdf5Id type = text_type(text.size());
        const Hdf5Id space(H5Screate(H5S_SCALAR), H5Sclose);
        const Hdf5Id made(H5Acreate2(object, name, type, space, H5P_DEFAULT, H5P_DEFAULT),
                          H5Aclose);
        check(made);
        check(H5Awrite(made, type, text.data()));
    }

    Hdf5Id group(hid_t parent, const char* name, const char* nexus_class) const {
        Hdf5Id made(H5Gcreate2(parent, name, H5P_DEFAULT, H5P_DEFAULT, H5P_DEFAULT), H5Gclose);
        check(made);
        attribute(made, "NX_class", nexus_class);
        return made;
    }

    void text(hid_t group, const char* name, const std::string& text) const {
        if (text.empty()) return;
        const Hdf5Id type = text_type(text.size());
        const Hdf5Id space(H5Screate(H5S_SCALAR), H5Sclose);
        const Hdf5Id made = data_set(group, name, type, space, H5P_DEFAULT);
        check(H5Dwrite(made, type, H5S_ALL, H5S_ALL, H5P_DEFAULT, text.data()));
    }

    void axis(hid_t group, const char* name, int length) const {
        std::vector<int> places(static_cast<std::size_t>(length));
        std::iota(places.begin(), places.end(), 0);
        const hsize_t count = places.size();
        const Hdf5Id space(H5Screate_simple(1, &count, nullptr), H5Sclose);
        const Hdf5Id made = data_set(group, name, H5T_STD_I32LE, space, H5P_DEFAULT);
        check(H5Dwrite(made, H5T_NATIVE_INT, H5S_ALL, H5S_ALL, H5P_DEFAULT, places.data()));
        attribute(made, "units", "pixel");
    }

    Hdf5Id data_set(hid_t group, const char* name, hid_t type, hid_t space, hid_t how) const {
        Hdf5Id made(H5Dcreate2(group, name, type, space, H5P_DEFAULT, how, H5P_DEFAULT), H5Dclose);
        check(made);
        return made;
    }

    void close() const { check(H5Fflush(file_, H5F_SCOPE_GLOBAL)); }

  private:
    std::filesystem::path path_;
    Hdf5Id file_;
};

/// Two texts as an attribute of an array, as NXdata names its axes.
void name_axes(const NexusFile& file, hid_t data) {
    constexpr std::array axes{'y', 'x'};
    const hsize_t count = axes.size();
    const Hdf5Id type = text_type(1);
    const Hdf5Id space(H5Screate_simple(1, &count, nullptr), H5Sclose);
    const Hdf5Id made(H5Acreate2(data, "axes", type, space, H5P_DEFAULT, H5P_DEFAULT), H5Aclose);
    file.check(made);
    file.check(H5Awrite(made, type, axes.data()));
}

void write_planes(const NexusFile& file, hid_t data, const image& picture, Progress& progress) {
    const std::array<hsize_t, 2> sides{static_cast<hsize_t>(picture.height()),
                                       static_cast<hsize_t>(picture.width())};
    const Hdf5Id space(H5Screate_simple(2, sides.data(), nullptr), H5Sclose);
    const Hdf5Id values =
        file.data_set(data, value_name(picture).c_str(), H5T_IEEE_F32LE, space, H5P_DEFAULT);
    file.attribute(values, "units", picture.unit);
    file.attribute(values, "long_name", field_label(picture).text());
    const Hdf5Id mask = file.data_set(data, "excluded", H5T_STD_U8LE, space, H5P_DEFAULT);
    const Hdf5Id memory(H5Screate_simple(1, &sides[1], nullptr), H5Sclose);
    std::vector<float> row;
    for (int y = 0; y < picture.height(); ++y) {
        report_row(progress, y, picture.height());
        unmasked_row(picture, y, row);
        const std::array<hsize_t, 2> from{static_cast<hsize_t>(y), 0};
        const std::array<hsize_t, 2> count{1, sides[1]};
        file.check(H5Sselect_hyperslab(space, H5S_SELECT_SET, from.data(), nullptr, count.data(),
                                       nullptr));
        file.check(H5Dwrite(values, H5T_NATIVE_FLOAT, memory, space, H5P_DEFAULT, row.data()));
        file.check(
            H5Dwrite(mask, H5T_NATIVE_UCHAR, memory, space, H5P_DEFAULT, picture.mask().row(y)));
    }
}

}  // namespace

void write_hdf5(const image& picture, const std::filesystem::path& path,
                const ImageWriteOptions& options, Progress& progress) {
    // The library serves one thread at a time.
    static std::mutex one_at_a_time;
    const std::lock_guard lock(one_at_a_time);
    const NexusFile file(path);
    file.attribute(file.root(), "NX_class", "NXroot");
    file.attribute(file.root(), "creator", software_name());
    file.attribute(file.root(), "default", "entry");
    const Hdf5Id entry = file.group(file.root(), "entry", "NXentry");
    file.attribute(entry, "default", "data");
    file.text(entry, "title", picture.name);
    const Hdf5Id data = file.group(entry, "data", "NXdata");
    file.attribute(data, "signal", value_name(picture));
    name_axes(file, data);
    file.axis(data, "y", picture.height());
    file.axis(data, "x", picture.width());
    write_planes(file, data, picture, progress);
    if (const auto text = image_description(picture, options.provenance); !text.empty()) {
        const Hdf5Id note = file.group(entry, description_group, "NXnote");
        file.text(note, "type", "application/json");
        file.text(note, "data", text);
    }
    file.close();
}

}  // namespace vyn::plugins
