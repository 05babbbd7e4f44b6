#pragma once

#include <cstddef>
#include <filesystem>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "api/field_data.h"
#include "api/image.h"
#include "core/progress.h"

namespace vyn {

/// What a file format says of itself.
struct FormatInfo {
    std::string id;                       ///< "tiff"
    std::string label;                    ///< "TIFF image", for file dialogs
    std::vector<std::string> extensions;  ///< lower case, without dot; the first is the usual one
    bool can_read = false;
    bool can_write = false;
    bool headerless = false;  ///< reads what `ImageReadOptions::raw_layout` describes
};

/// What a file may leave open.
struct ImageReadOptions {
    /// FITS files that do not say it: where the first row belongs in the picture.
    enum class FirstRow { top, bottom };
    FirstRow fits_first_row = FirstRow::top;
    /// Pages that are channels or heights (z) of one view: no burst, unless asked for.
    enum class Stacks { refused, averaged };
    Stacks stacks = Stacks::refused;
    /// The path of the picture in a file that holds several (HDF5); empty: the one to be shown.
    std::string data_set = {};
    /// Describes the pixels of a file without a header, and has it read as one; empty: by content.
    std::string raw_layout = {};
};

struct ImageWriteOptions {
    /// Integer formats: stretch the valid values to the full range instead of clipping them.
    enum class Scale { none, stretch };
    Scale scale = Scale::none;
    /// Program, settings and inputs behind the image (JSON), kept in the file's description.
    std::string provenance;
    /// PNG: bits of a pixel.
    enum class Depth { eight_bit, sixteen_bit };
    Depth depth = Depth::sixteen_bit;
};

/// Whether image files tell what their images came from (`ImageAttributes::origin`).
enum class OriginInFiles { told, left_out };

/// For the whole program, before it starts to write; told unless chosen.
void set_origin_in_files(OriginInFiles choice);

/// How sure a format is that a file which it recognises by its head is its own.
enum class Claim { none, likely, certain };

/// A 2-D file format. A reader excludes NaN and infinite pixels, refuses colour, averages the
/// frames of a burst in 64-bit with a log line, and trusts nothing in the file. Raises FileError
/// naming the file and what is wrong.
class ImageFormat {
  public:
    virtual ~ImageFormat() = default;
    virtual const FormatInfo& info() const = 0;
    /// True when a file that starts with these bytes (up to 64) is of this format.
    virtual bool recognises(std::span<const std::byte> head) const = 0;
    /// For formats that share their first bytes with another: a closer look at a recognised file.
    /// Must not throw or log.
    virtual Claim claim(const std::filesystem::path& /*file*/) const { return Claim::likely; }
    virtual image read(const std::filesystem::path& file, const ImageReadOptions& options,
                       Progress& progress) const = 0;
    /// Writes to exactly this path; the caller makes the replacement atomic.
    virtual void write(const image& picture, const std::filesystem::path& file,
                       const ImageWriteOptions& options, Progress& progress) const = 0;
};

struct MeshReadOptions {
    /// For a file that can be read in several ways: the one wanted, in the words of the refusal.
    std::string variant;
};

/// A 3-D file format. A reader trusts nothing in the file: it refuses coordinates that are not
/// finite, vertices that are not there and counts that the file cannot back, and raises FileError
/// naming the file and what is wrong.
class MeshFormat {
  public:
    virtual ~MeshFormat() = default;
    virtual const FormatInfo& info() const = 0;
    /// How sure the format is of a file that starts with these bytes (up to 4096). Must not throw
    /// or log.
    virtual Claim claim(std::span<const std::byte> head,
                        const std::filesystem::path& file) const = 0;
    virtual field_data<double> read(const std::filesystem::path& file,
                                    const MeshReadOptions& options, Progress& progress) const = 0;
    /// Writes to exactly this path; the caller makes the replacement atomic.
    virtual void write(const field_data<double>& field, const std::filesystem::path& file,
                       Progress& progress) const = 0;
};

/// Formats by id; a second format of the same id is refused with a log line. Filled before other
/// threads use it.
template <class Format>
class FormatRegistry {
  public:
    /// False when a format of that id is there already.
    bool add(std::unique_ptr<Format> format);
    const std::vector<std::unique_ptr<Format>>& formats() const { return formats_; }
    /// The format that writes or reads files of this extension; null when none does.
    const Format* by_extension(const std::filesystem::path& file) const;

  private:
    std::vector<std::unique_ptr<Format>> formats_;
};

using ImageFormats = FormatRegistry<ImageFormat>;
using MeshFormats = FormatRegistry<MeshFormat>;

/// The program's registered formats.
ImageFormats& get_2dio();
MeshFormats& get_3dio();

/// Loads the plug-ins whose file names match the pattern ("*.2dio", "*.3dio") from the folders of
/// `plugin_folders()` and their sub-folders, in the order of their names. A plug-in that does not
/// load is left out with an error line in the log. Gives the number of formats added.
int register_plugins(const char* pattern);

/// Where plug-ins are looked for: $VYNLITE_PLUGINS when set; else "plugins" beside this library.
std::vector<std::filesystem::path> plugin_folders();

/// What a plug-in exports under the name `vyn_plugin_2dio` or `vyn_plugin_3dio`.
inline constexpr int plugin_interface_version = 5;
template <class Format>
struct PluginEntry {
    int interface_version;
    Format* (*create)();  ///< a new format; the registry owns it
};

/// The `create` of a format that needs no arguments.
template <class Interface, class Format>
Interface* create_format() {
    return new Format;
}

/// Reads an image file by its content (by its described layout when there is one), whatever its
/// name; only among formats that are equally sure of it the extension decides. Sets file_name, and
/// name (the file's stem) where the format carries none. Raises FileError naming the file: missing,
/// empty, not an image, cut off, colour, too large.
image read_image(const std::filesystem::path& file, const ImageReadOptions& options,
                 Progress& progress);
image read_image(const std::filesystem::path& file, Progress& progress);
image read_image(const std::filesystem::path& file);

/// Writes an image in the format that the file's extension names, in any letter case, replacing an
/// old file atomically. Raises AlgoError or DimError for an image without matching values and mask,
/// FileError otherwise; Aborted when told to stop, the old file being as it was.
void write_image(const image& picture, const std::filesystem::path& file,
                 const ImageWriteOptions& options, Progress& progress);
void write_image(const image& picture, const std::filesystem::path& file,
                 const ImageWriteOptions& options = {});

/// The same for meshes and fields on them: read by their content, written by the extension. A mesh
/// that was read has triangles and zones. Raise FileError; Aborted when told to stop.
field_data<double> read_field(const std::filesystem::path& file, Progress& progress,
                              const MeshReadOptions& options = {});
void write_field(const field_data<double>& field, const std::filesystem::path& file,
                 Progress& progress);

}  // namespace vyn

/// Defines the entry of a 2-D plug-in.
#define VYN_IMAGE_PLUGIN(FormatClass)                                                          \
    extern "C" __attribute__((visibility("default"))) const vyn::PluginEntry<vyn::ImageFormat> \
        vyn_plugin_2dio;                                                                       \
    const vyn::PluginEntry<vyn::ImageFormat> vyn_plugin_2dio = {                               \
        vyn::plugin_interface_version, &vyn::create_format<vyn::ImageFormat, FormatClass>};

/// The same for a 3-D plug-in.
#define VYN_MESH_PLUGIN(FormatClass)                                                          \
    extern "C" __attribute__((visibility("default"))) const vyn::PluginEntry<vyn::MeshFormat> \
        vyn_plugin_3dio;                                                                      \
    const vyn::PluginEntry<vyn::MeshFormat> vyn_plugin_3dio = {                               \
        vyn::plugin_interface_version, &vyn::create_format<vyn::MeshFormat, FormatClass>};
