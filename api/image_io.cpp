#include "api/image_io.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <fstream>
#include <system_error>

#include "api/scratch_image.h"
#include "core/ascii.h"
#include "core/atomic_file.h"
#include "core/errors.h"
#include "core/log.h"

namespace vyn {

namespace fs = std::filesystem;

namespace {

std::atomic<OriginInFiles> origin_in_files{OriginInFiles::told};

constexpr const char* unreadable = "Can't open file for reading!";
constexpr const char* unwritable = "Error writing file";

bool has_extension(const FormatInfo& info, const std::string& extension) {
    return std::ranges::find(info.extensions, extension) != info.extensions.end();
}

[[noreturn]] void fail(const char* text, const fs::path& file, const std::string& why,
                       ErrorPlace at = std::source_location::current()) {
    throw FileError(text, file.string() + ": " + why, at);
}

constexpr std::size_t image_head = 64;
constexpr std::size_t mesh_head = 4096;

/// The first bytes of a file that is there, is a file and has a content.
std::vector<std::byte> read_head(const fs::path& file, std::size_t most) {
    std::error_code problem;
    const auto status = fs::status(file, problem);
    if (!fs::exists(status)) fail(unreadable, file, "no such file");
    if (fs::is_directory(status)) fail(unreadable, file, "this is a folder");
    if (!fs::is_regular_file(status)) fail(unreadable, file, "not a regular file");

    std::ifstream stream(file, std::ios::binary);
    if (!stream) fail(unreadable, file, "no permission to read it");
    std::vector<std::byte> head(most);
    stream.read(reinterpret_cast<char*>(head.data()), static_cast<std::streamsize>(most));
    head.resize(static_cast<std::size_t>(stream.gcount()));
    if (head.empty()) fail(unreadable, file, "the file is empty");
    return head;
}

Claim claim_of(const ImageFormat& format, std::span<const std::byte> head, const fs::path& file) {
    return format.recognises(head) ? format.claim(file) : Claim::none;
}

Claim claim_of(const MeshFormat& format, std::span<const std::byte> head, const fs::path& file) {
    return format.claim(head, file);
}

/// The surest of the formats that recognise the file; the extension decides between equals, the
/// order of registration after that.
template <class Format>
const Format* format_of_content(const FormatRegistry<Format>& registry, const fs::path& file,
                                std::span<const std::byte> head) {
    const std::string extension = lower_extension(file);
    const Format* best = nullptr;
    int best_rank = 0;
    for (const auto& format : registry.formats()) {
        if (!format->info().can_read) continue;
        const Claim claim = claim_of(*format, head, file);
        if (claim == Claim::none) continue;
        const int rank = 2 * static_cast<int>(claim) + has_extension(format->info(), extension);
        if (rank <= best_rank) continue;
        best = format.get();
        best_rank = rank;
    }
    return best;
}

const ImageFormat* format_without_header(const ImageFormats& registry) {
    for (const auto& format : registry.formats())
        if (format->info().headerless) return format.get();
    return nullptr;
}

template <class Format>
std::string extensions_where(const FormatRegistry<Format>& registry, bool FormatInfo::*able) {
    std::string list;
    for (const auto& format : registry.formats())
        if (format->info().*able)
            for (const auto& extension : format->info().extensions)
                list += (list.empty() ? "" : ", ") + extension;
    return list.empty() ? "none, no plug-in is loaded" : list;
}

/// The format for an extension, or the error that lists those that would do.
template <class Format>
const Format& format_of_extension(const FormatRegistry<Format>& registry, const fs::path& file,
                                  bool FormatInfo::*able, const char* text) {
    const Format* format = registry.by_extension(file);
    if (!format || !(format->info().*able))
        fail(text, file,
             "no plug-in for this extension; possible are: " + extensions_where(registry, able));
    return *format;
}

/// Runs a reader; whatever it throws becomes a FileError that names the file.
template <class Read>
auto reading(const fs::path& file, const Read& read) {
    try {
        return read();
    } catch (const FileError&) {
        throw;
    } catch (const std::bad_alloc&) {
        fail(unreadable, file, "not enough memory for it");
    } catch (const std::exception& error) {
        fail(unreadable, file, error.what());
    }
}

/// What the system said when a disk did not take a file; format libraries do not pass it on.
std::string disk_problem(int os_error) {
    constexpr std::array problems{ENOSPC, EDQUOT, EFBIG, EIO, EROFS};
    if (std::ranges::find(problems, os_error) == problems.end()) return {};
    return std::generic_category().message(os_error) + "; ";
}

/// Runs a writer on a file that is not the one the user knows; its failures name that one.
template <class Write>
void writing_to(const fs::path& temporary, const fs::path& known, const Write& write) {
    errno = 0;
    try {
        const UnloggedErrors told_below;
        write(temporary);
    } catch (const std::bad_alloc&) {
        fail(unwritable, known, "not enough memory");
    } catch (const GenericError& error) {
        const std::string problem = disk_problem(errno);
        std::string reason = error.detail.empty() ? error.text : error.detail;
        const std::string prefix = temporary.string() + ": ";
        if (reason.starts_with(prefix)) reason.erase(0, prefix.size());
        fail(unwritable, known, problem + reason);
    } catch (const std::exception& error) {
        fail(unwritable, known, error.what());
    }
}

/// Replaces the file by what the writer makes.
template <class Write>
void writing(const fs::path& file, const Write& write) {
    AtomicFile target(file);
    writing_to(target.temporary(), file, write);
    target.commit();
}

/// The format that the extension names, which can write the picture.
const ImageFormat& writer_of(const image& picture, const fs::path& file) {
    picture.check_planes();
    const auto& format = format_of_extension(get_2dio(), file, &FormatInfo::can_write, unwritable);
    if (picture.values().empty()) fail(unwritable, file, "the image has no pixels");
    return format;
}

/// The picture as files may tell of it.
image as_told(const image& picture) {
    image told = picture;
    if (origin_in_files == OriginInFiles::left_out) told.origin.clear();
    return told;
}

}  // namespace

template <class Format>
bool FormatRegistry<Format>::add(std::unique_ptr<Format> format) {
    const std::string& id = format->info().id;
    const auto same = [&](const auto& other) { return other->info().id == id; };
    if (std::ranges::any_of(formats_, same)) {
        get_log().write(LogLevel::information, "The format '" + id + "' is registered already");
        return false;
    }
    formats_.push_back(std::move(format));
    return true;
}

template <class Format>
const Format* FormatRegistry<Format>::by_extension(const fs::path& file) const {
    const std::string extension = lower_extension(file);
    for (const auto& format : formats_)
        if (has_extension(format->info(), extension)) return format.get();
    return nullptr;
}

template class FormatRegistry<ImageFormat>;
template class FormatRegistry<MeshFormat>;

ImageFormats& get_2dio() {
    static ImageFormats formats;
    return formats;
}

MeshFormats& get_3dio() {
    static MeshFormats formats;
    return formats;
}

image read_image(const fs::path& file, const ImageReadOptions& options, Progress& progress) {
    const auto head = read_head(file, image_head);
    const ImageFormat* format = options.raw_layout.empty()
                                    ? format_of_content(get_2dio(), file, head)
                                    : format_without_header(get_2dio());
    if (!format) fail(unreadable, file, "not an image that any plug-in reads");
    image picture = reading(file, [&] { return format->read(file, options, progress); });
    if (picture.name.empty()) picture.name = file.stem().string();
    picture.file_name = file.string();
    return picture;
}

image read_image(const fs::path& file, Progress& progress) {
    return read_image(file, ImageReadOptions(), progress);
}

image read_image(const fs::path& file) {
    Progress silent;
    return read_image(file, silent);
}

void write_image(const image& picture, const fs::path& file, const ImageWriteOptions& options,
                 Progress& progress) {
    const ImageFormat& format = writer_of(picture, file);
    const image told = as_told(picture);
    writing(file,
            [&](const fs::path& temporary) { format.write(told, temporary, options, progress); });
}

void write_scratch_image(const image& picture, const fs::path& scratch, const fs::path& target,
                         Progress& progress) {
    const ImageFormat& format = writer_of(picture, scratch);
    const image told = as_told(picture);
    writing_to(scratch, target, [&](const fs::path& file) {
        format.write(told, file, ImageWriteOptions(), progress);
    });
}

void set_origin_in_files(OriginInFiles choice) {
    origin_in_files = choice;
}

void write_image(const image& picture, const fs::path& file, const ImageWriteOptions& options) {
    Progress silent;
    write_image(picture, file, options, silent);
}

field_data<double> read_field(const fs::path& file, Progress& progress,
                              const MeshReadOptions& options) {
    const auto head = read_head(file, mesh_head);
    const MeshFormat* format = format_of_content(get_3dio(), file, head);
    if (!format) fail(unreadable, file, "not a mesh that any plug-in reads");
    return reading(file, [&] { return format->read(file, options, progress); });
}

void write_field(const field_data<double>& field, const fs::path& file, Progress& progress) {
    const auto& format = format_of_extension(get_3dio(), file, &FormatInfo::can_write, unwritable);
    if (!field.has_data()) fail(unwritable, file, "the mesh has no vertices");
    writing(file, [&](const fs::path& temporary) { format.write(field, temporary, progress); });
}

}  // namespace vyn
