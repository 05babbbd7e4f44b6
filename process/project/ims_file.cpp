#include <algorithm>
#include <cstdint>
#include <fstream>
#include <memory>
#include <set>
#include <system_error>

#include <nlohmann/json.hpp>
#include <zip.h>

#include "api/image_io.h"
#include "api/scratch_image.h"
#include "core/atomic_file.h"
#include "core/errors.h"
#include "core/free_memory.h"
#include "core/project_file.h"
#include "core/quotes.h"
#include "core/temporary_files.h"
#include "core/version.h"
#include "process/project/ims.h"
#include "process/report/json_text.h"

namespace vyn {

namespace fs = std::filesystem;
using json = nlohmann::json;

namespace {

/// Counts up when a reader of the old layout could no longer read a new container.
constexpr int container_format = 1;
constexpr std::uint64_t max_text_bytes = std::uint64_t{64} << 20;
/// An entry that claims to grow by more than this when unpacked is a bomb (deflate reaches 1032).
constexpr std::uint64_t max_growth = 1100;
constexpr int max_images = 1000;

[[noreturn]] void fail(const fs::path& file, const std::string& reason) {
    throw FileError("File error!", file.string() + ": " + reason);
}

struct DiscardArchive {
    void operator()(zip_t* archive) const { zip_discard(archive); }
};
using Archive = std::unique_ptr<zip_t, DiscardArchive>;

Archive open_archive(const fs::path& file, int flags, const fs::path& named) {
    int code = 0;
    Archive archive(zip_open(file.c_str(), flags, &code));
    if (!archive) {
        zip_error_t error;
        zip_error_init_with_code(&error, code);
        const std::string reason = zip_error_strerror(&error);
        zip_error_fini(&error);
        fail(named, "not an IMS container that can be opened (" + reason + ")");
    }
    return archive;
}

class Entry {
  public:
    Entry(zip_t* archive, const std::string& name, const fs::path& file) : file_(file) {
        zip_stat_init(&stat_);
        if (zip_stat(archive, name.c_str(), 0, &stat_) != 0 || !(stat_.valid & ZIP_STAT_SIZE) ||
            !(stat_.valid & ZIP_STAT_COMP_SIZE))
            fail(file, "has no entry " + name);
        if (stat_.size > (stat_.comp_size + 1) * max_growth)
            fail(file, "entry " + name + " has an impossible size");
        stream_.reset(zip_fopen(archive, name.c_str(), 0));
        if (!stream_) fail(file, "entry " + name + " cannot be read");
    }
    std::uint64_t size() const { return stat_.size; }
    /// Up to n bytes; a damaged entry raises FileError.
    std::size_t read(char* to, std::size_t n) {
        const zip_int64_t got = zip_fread(stream_.get(), to, n);
        if (got < 0) fail(file_, "entry " + std::string(stat_.name) + " is damaged");
        return static_cast<std::size_t>(got);
    }

  private:
    struct Close {
        void operator()(zip_file_t* stream) const { zip_fclose(stream); }
    };
    fs::path file_;
    zip_stat_t stat_{};
    std::unique_ptr<zip_file_t, Close> stream_;
};

std::string read_text(zip_t* archive, const std::string& name, const fs::path& file) {
    Entry entry(archive, name, file);
    if (entry.size() > max_text_bytes) fail(file, "entry " + name + " is too large");
    std::string text(static_cast<std::size_t>(entry.size()), '\0');
    std::size_t filled = 0;
    while (filled < text.size()) {
        const std::size_t got = entry.read(text.data() + filled, text.size() - filled);
        if (got == 0) fail(file, "entry " + name + " is cut off");
        filled += got;
    }
    return text;
}

image read_stored_image(zip_t* archive, const std::string& name, const fs::path& file,
                        const fs::path& scratch, Progress& progress) {
    {
        Entry entry(archive, name, file);
        std::ofstream out(scratch, std::ios::binary);
        std::vector<char> buffer(std::size_t{1} << 20);
        while (const std::size_t got = entry.read(buffer.data(), buffer.size())) {
            throw_if_aborted(progress);
            out.write(buffer.data(), static_cast<std::streamsize>(got));
        }
        if (!out.flush())
            fail(file, "entry " + name + " cannot be unpacked to " + scratch.string());
    }
    image picture = read_image(scratch, progress);
    std::error_code ignored;
    fs::remove(scratch, ignored);
    return picture;
}

json read_header(zip_t* archive, const fs::path& file) {
    json header = json::parse(read_text(archive, "ims.json", file), nullptr, false);
    if (!header.is_object() || !header.contains("format") ||
        !header["format"].is_number_integer() || !header.contains("images") ||
        !header["images"].is_array())
        fail(file, "is no IMS container: its ims.json is malformed");
    if (header["format"].get<std::int64_t>() > container_format)
        fail(file, "was written by a newer version of the program");
    if (header["images"].size() > max_images) fail(file, "lists too many images");
    return header;
}

/// Text of a member of a JSON object; empty when absent or of another type.
std::string text_of(const json& object, const char* member) {
    const auto found = object.find(member);
    return found != object.end() && found->is_string() ? found->get<std::string>() : std::string();
}

/// What a container may unpack to: more is a bomb, or does not fit.
void check_total(zip_t* archive, const std::vector<json>& images, const fs::path& file) {
    // Of images nobody would make the average shrink further, small ones aside.
    constexpr std::uint64_t most_growth_of_all = 100;
    constexpr std::uint64_t always_allowed = std::uint64_t{64} << 20;
    std::set<std::string> names;
    std::uint64_t total = 0;
    for (const json& image : images) {
        const std::string name = text_of(image, "entry");
        if (!names.insert(name).second) fail(file, "names the entry " + in_quotes(name) + " twice");
        total += Entry(archive, name, file).size();
    }
    std::error_code ignored;
    const std::uint64_t packed = fs::file_size(file, ignored);
    const std::uint64_t most =
        std::min(free_memory(), std::max(always_allowed, most_growth_of_all * packed));
    if (total > most)
        fail(file, "unpacks to " + std::to_string(total >> 20) + " MiB; at most " +
                       std::to_string(most >> 20) + " MiB are allowed for its size and fit");
}

/// Where an image came from; empty in containers that do not tell.
ImageOrigin origin_of(const json& entry) {
    ImageOrigin origin;
    const auto items = entry.find("origin");
    if (items == entry.end() || !items->is_object()) return origin;
    for (const auto& [item, value] : items->items())
        if (value.is_string()) origin[item] = value.get<std::string>();
    return origin;
}

void add_text(zip_t* archive, const char* name, const std::string& text, const fs::path& file) {
    zip_source_t* source = zip_source_buffer(archive, text.data(), text.size(), 0);
    if (!source || zip_file_add(archive, name, source, ZIP_FL_ENC_UTF_8) < 0) {
        if (source) zip_source_free(source);
        fail(file, zip_strerror(archive));
    }
}

void add_stored_file(zip_t* archive, const std::string& name, const fs::path& content,
                     const fs::path& file) {
    zip_source_t* source = zip_source_file(archive, content.c_str(), 0, -1);
    const zip_int64_t index =
        source ? zip_file_add(archive, name.c_str(), source, ZIP_FL_ENC_UTF_8) : -1;
    if (index < 0) {
        if (source) zip_source_free(source);
        fail(file, zip_strerror(archive));
    }
    // Float planes hardly shrink; storing them keeps saving as fast as the disk.
    zip_set_file_compression(archive, static_cast<zip_uint64_t>(index), ZIP_CM_STORE, 0);
}

}  // namespace

std::string read_ims_project(const fs::path& file) {
    const Archive archive = open_archive(file, ZIP_RDONLY | ZIP_CHECKCONS, file);
    read_header(archive.get(), file);
    return read_text(archive.get(), "project.xml", file);
}

ImsData read_ims_data(const fs::path& file, Progress& progress, const WantedImages& wanted) {
    const Archive archive = open_archive(file, ZIP_RDONLY | ZIP_CHECKCONS, file);
    const json header = read_header(archive.get(), file);
    ImsData ims;
    ims.version = text_of(header, "version");
    ims.project = read_text(archive.get(), "project.xml", file);

    std::vector<json> entries;
    for (const json& entry : header["images"])
        if (!wanted || wanted(text_of(entry, "name"))) entries.push_back(entry);
    check_total(archive.get(), entries, file);
    const ScratchFolder scratch(temporary_folder());
    for (std::size_t i = 0; i < entries.size(); ++i) {
        throw_if_aborted(progress);
        const std::string entry = text_of(entries[i], "entry");
        image picture =
            read_stored_image(archive.get(), entry, file, scratch / "image.imp", progress);
        picture.name = text_of(entries[i], "name");
        if (picture.name.empty()) fail(file, "holds an image without a name");
        picture.file_name = text_of(entries[i], "file");
        picture.file_sha256 = text_of(entries[i], "sha256");
        picture.origin = origin_of(entries[i]);
        picture.note_markers_saved();
        picture.note_mask_saved();
        ims.images.push_back(std::make_shared<const image>(std::move(picture)));
        progress.fraction(static_cast<double>(i + 1) / static_cast<double>(entries.size()));
    }
    return ims;
}

void write_ims_strings(const fs::path& file, const ImsData& ims, Progress& progress) {
    AtomicFile target(file);
    // The archive makes its own file; an empty one of that name is no archive to it.
    std::error_code ignored;
    fs::remove(target.temporary(), ignored);

    const ScratchFolder scratch(target.temporary().parent_path());
    const auto& all = ims.images;
    const auto count = static_cast<double>(all.size());
    json entries = json::array();
    for (std::size_t i = 0; i < all.size(); ++i) {
        const image& picture = *all[i];
        const std::string entry = "images/" + std::to_string(i) + ".imp";
        const auto images_done = static_cast<double>(i);
        SubProgress part(progress, 0.5 * images_done / count, 0.5 * (images_done + 1) / count);
        write_scratch_image(picture, scratch / (std::to_string(i) + ".imp"), file, part);
        entries.push_back({{"entry", entry},
                           {"name", picture.name},
                           {"file", picture.file_name},
                           {"sha256", picture.file_sha256},
                           {"origin", picture.origin}});
    }
    const std::string header = json_text({{"format", container_format},
                                          {"version", ims.version},
                                          {"program", std::string("VynLite ") + program_version},
                                          {"images", entries}},
                                         1);

    Archive archive = open_archive(target.temporary(), ZIP_CREATE | ZIP_EXCL, file);
    add_text(archive.get(), "ims.json", header, file);
    add_text(archive.get(), "project.xml", ims.project, file);
    for (std::size_t i = 0; i < all.size(); ++i)
        add_stored_file(archive.get(), entries[i]["entry"].get<std::string>(),
                        scratch / (std::to_string(i) + ".imp"), file);
    throw_if_aborted(progress);
    zip_register_cancel_callback_with_state(
        archive.get(),
        [](zip_t*, void* state) { return static_cast<Progress*>(state)->aborted() ? 1 : 0; },
        nullptr, &progress);
    if (zip_close(archive.get()) != 0) {
        throw_if_aborted(progress);
        fail(file, zip_strerror(archive.get()));
    }
    (void)archive.release();  // closed
    progress.fraction(1);
    target.commit();
}

}  // namespace vyn
