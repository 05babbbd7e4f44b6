#include "plugins/hdf5/hdf5_file.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <vector>

namespace vyn::plugins {

namespace {

constexpr std::size_t longest_text = 4096;
constexpr std::size_t longest_description = 1 << 20;
/// Groups inside each other, and objects in all, that are looked through for a picture.
constexpr int deepest = 16;
constexpr int most_objects = 20000;

hid_t open_file(const std::filesystem::path& file) {
    H5Eset_auto2(H5E_DEFAULT, nullptr, nullptr);
    H5PLset_loading_state(0);
    return H5Fopen(file.c_str(), H5F_ACC_RDONLY, H5P_DEFAULT);
}

std::vector<std::string> parts_of(const std::string& path) {
    std::vector<std::string> parts;
    std::size_t at = 0;
    while ((at = path.find_first_not_of('/', at)) != path.npos) {
        const std::size_t end = std::min(path.find('/', at), path.size());
        parts.push_back(path.substr(at, end - at));
        at = end;
    }
    return parts;
}

/// Arrays that can be pictures, by their paths. Only hard links are followed, so that there is no
/// circle but one of groups, which the depth ends.
class Search {
  public:
    std::vector<std::string> found;

    void look_into(hid_t group, const std::string& path, int depth) {
        H5G_info_t info;
        if (depth > deepest || H5Gget_info(group, &info) < 0) return;
        for (hsize_t i = 0; i < info.nlinks && ++seen_ <= most_objects; ++i) {
            char name[256];
            const auto length = H5Lget_name_by_idx(group, ".", H5_INDEX_NAME, H5_ITER_INC, i, name,
                                                   sizeof name, H5P_DEFAULT);
            H5L_info_t link;
            if (length <= 0 || length >= static_cast<ssize_t>(sizeof name) ||
                H5Lget_info(group, name, &link, H5P_DEFAULT) < 0 || link.type != H5L_TYPE_HARD)
                continue;
            look_at(group, name, path + "/" + name, depth);
        }
    }

  private:
    void look_at(hid_t group, const char* name, const std::string& path, int depth) {
        const Hdf5Id object(H5Oopen(group, name, H5P_DEFAULT), H5Oclose);
        if (!object.good()) return;
        const H5I_type_t type = H5Iget_type(object);
        if (type == H5I_GROUP) return look_into(object, path, depth + 1);
        if (type != H5I_DATASET) return;
        const Hdf5Id space(H5Dget_space(object), H5Sclose);
        const int axes = H5Sget_simple_extent_ndims(space);
        if (axes == 2 || axes == 3) found.push_back(path);
    }

    int seen_ = 0;
};

}  // namespace

Hdf5File::Hdf5File(const std::filesystem::path& file) : file_(open_file(file), H5Fclose) {
    if (!file_.good()) throw Refusal("damaged or cut off: not an HDF5 file that can be opened");
}

std::string Hdf5File::text_attribute(hid_t object, const char* name) const {
    if (H5Aexists(object, name) <= 0) return {};
    const Hdf5Id attribute(H5Aopen(object, name, H5P_DEFAULT), H5Aclose);
    const Hdf5Id type(H5Aget_type(attribute), H5Tclose);
    const Hdf5Id space(H5Aget_space(attribute), H5Sclose);
    if (H5Tget_class(type) != H5T_STRING || H5Sget_simple_extent_npoints(space) != 1) return {};
    if (H5Tis_variable_str(type) > 0) {
        char* read = nullptr;
        if (H5Aread(attribute, type, &read) < 0 || !read) return {};
        const std::unique_ptr<char, herr_t (*)(void*)> text(
            read, [](void* memory) { return H5free_memory(memory); });
        return {text.get(), strnlen(text.get(), longest_text)};
    }
    const std::size_t size = H5Tget_size(type);
    if (size == 0 || size > longest_text) return {};
    std::string text(size, '\0');
    if (H5Aread(attribute, type, text.data()) < 0) return {};
    return text.substr(0, text.find('\0'));
}

std::string Hdf5File::stored_text(const std::string& path) const try {
    const Hdf5Id data = open(path);
    if (H5Iget_type(data) != H5I_DATASET) return {};
    const Hdf5Id type(H5Dget_type(data), H5Tclose);
    const Hdf5Id space(H5Dget_space(data), H5Sclose);
    const std::size_t size = H5Tget_size(type);
    if (H5Tget_class(type) != H5T_STRING || H5Tis_variable_str(type) > 0 ||
        H5Sget_simple_extent_npoints(space) != 1 || size > longest_description)
        return {};
    std::string text(size, '\0');
    if (H5Dread(data, type, H5S_ALL, H5S_ALL, H5P_DEFAULT, text.data()) < 0) return {};
    return text.substr(0, text.find('\0'));
} catch (const Refusal&) {
    return {};
}

Hdf5Id Hdf5File::open(const std::string& path) const {
    Hdf5Id object(H5Gopen2(file_, "/", H5P_DEFAULT), H5Gclose);
    std::vector<Hdf5Id> way;
    way.push_back(std::move(object));
    for (const std::string& part : parts_of(path)) {
        H5L_info_t link;
        if (H5Iget_type(way.back()) != H5I_GROUP ||
            H5Lget_info(way.back(), part.c_str(), &link, H5P_DEFAULT) < 0)
            throw Refusal("it has no " + path);
        if (link.type != H5L_TYPE_HARD) throw Refusal(path + " is a link, which is not followed");
        Hdf5Id next(H5Oopen(way.back(), part.c_str(), H5P_DEFAULT), H5Oclose);
        if (!next.good()) throw Refusal("damaged or cut off: " + path + " cannot be opened");
        way.push_back(std::move(next));
    }
    return std::move(way.back());
}

std::string Hdf5File::shown_data_set() const {
    // NeXus: file, entry and data group each name what to show next (Könnecke et al. 2015).
    std::string path;
    for (int depth = 0; depth < deepest; ++depth) {
        const Hdf5Id group = open(path);
        if (const std::string signal = text_attribute(group, "signal"); !signal.empty())
            return path.append("/").append(signal);
        const std::string next = text_attribute(group, "default");
        if (next.empty()) break;
        path += "/" + next;
    }
    Search search;
    search.look_into(open(""), "", 0);
    if (search.found.empty()) throw Refusal("it holds no picture");
    if (search.found.size() > 1) {
        std::string list;
        constexpr std::size_t most = 5;
        for (std::size_t i = 0; i < std::min(search.found.size(), most); ++i)
            list += (i > 0 ? ", " : "") + search.found[i];
        throw Refusal("it holds " + std::to_string(search.found.size()) + " pictures; say which: " +
                      list + (search.found.size() > most ? ", ..." : ""));
    }
    return search.found.front();
}

}  // namespace vyn::plugins
