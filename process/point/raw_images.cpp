#include "process/point/raw_images.h"

#include <algorithm>
#include <cmath>
#include <span>

#include "api/frame_average.h"
#include "api/image_io.h"
#include "core/errors.h"
#include "core/file_names.h"
#include "core/log.h"
#include "core/numbers.h"
#include "markers/marker_files.h"
#include "process/point/digest.h"
#include "process/point/image_sizes.h"
#include "process/point/input_files.h"
#include "process/point/project_paths.h"
#include "process/point/read_options.h"
#include "process/steps/image_origin.h"

namespace vyn {

namespace names = image_names;

Key<double> full_scale_key(const RawImage& raw) {
    return raw.camera == keys::sens_camera ? keys::sens_full_scale : keys::refe_full_scale;
}

const std::array<RawImage, 4>& raw_images() {
    static const std::array<RawImage, 4> table{{
        {names::wind_off_sens, names::wind_off_dark_sens, names::flat_sens,
         keys::wind_off_sens_file, keys::wind_off_sens_mark_file, keys::wind_off_sens_mask_file,
         keys::wind_off_sens_region_file, keys::wind_off_sens_dark_file, keys::wind_off_sens_dark,
         keys::sens_camera, names::wind_off_sens_cor, nullptr},
        {names::wind_on_sens, names::wind_on_dark_sens, names::flat_sens, keys::wind_on_sens_file,
         keys::wind_on_sens_mark_file, keys::wind_on_sens_mask_file, keys::wind_on_sens_region_file,
         keys::wind_on_sens_dark_file, keys::wind_on_sens_dark, keys::sens_camera,
         names::wind_on_sens_cor, names::wind_on_sens_aligned},
        {names::wind_off_refe, names::wind_off_dark_refe, names::flat_refe,
         keys::wind_off_refe_file, keys::wind_off_refe_mark_file, keys::wind_off_refe_mask_file,
         keys::wind_off_refe_region_file, keys::wind_off_refe_dark_file, keys::wind_off_refe_dark,
         keys::refe_camera, names::wind_off_refe_cor, nullptr},
        {names::wind_on_refe, names::wind_on_dark_refe, names::flat_refe, keys::wind_on_refe_file,
         keys::wind_on_refe_mark_file, keys::wind_on_refe_mask_file, keys::wind_on_refe_region_file,
         keys::wind_on_refe_dark_file, keys::wind_on_refe_dark, keys::refe_camera,
         names::wind_on_refe_cor, names::wind_on_refe_aligned},
    }};
    return table;
}

namespace {

/// Marks the pixels that reach the level; with none above 0, what the file says stands.
void mark_saturated(image& picture, float level) {
    if (!(level > 0)) return;
    Bitmap<std::uint8_t> plane(picture.width(), picture.height(), 0);
    for (int y = 0; y < picture.height(); ++y)
        for (int x = 0; x < picture.width(); ++x)
            plane(x, y) = picture.values()(x, y) >= level ? 1 : 0;
    picture.saturated = std::make_shared<Bitmap<std::uint8_t>>(std::move(plane));
}

/// Several files that the name means together become one picture, saturated where one of them is.
image read_average(const dataSetInterface& data, const std::filesystem::path& name,
                   float saturation, TaskContext& context) {
    const std::vector<std::filesystem::path> files = files_named(name);
    const auto read_frame = [&](const std::filesystem::path& file) {
        image frame = read_image(file, read_options(data, file), context);
        mark_saturated(frame, saturation);
        return frame;
    };
    if (files.size() < 2) return read_frame(files.empty() ? name : files.front());
    std::vector<image> frames;
    for (const std::filesystem::path& file : files) {
        throw_if_aborted(context);
        frames.push_back(read_frame(file));
    }
    image picture = average(frames, average_options(data), context);
    picture.file_name = name.string();
    get_log().write(LogLevel::information,
                    name.string() + ": " + std::to_string(files.size()) + " files averaged");
    return picture;
}

image load_named(const dataSetInterface& data, const std::string& file_name, std::string_view key,
                 const char* name, TaskContext& context, float saturation = 0) {
    throw_if_aborted(context);
    const std::filesystem::path file = find_input(data, file_name, key);
    image picture = read_average(data, file, saturation, context);
    picture.name = name;
    picture.file_sha256 = known_file_sha256(file);
    return picture;
}

/// Excludes the pixels that are not 0 in the image's mask file.
void apply_mask_file(image& picture, const image& mask) {
    require_same_size(mask, picture);
    for (int y = 0; y < picture.height(); ++y) {
        const float* excluded = mask.values().row(y);
        std::uint8_t* bytes = picture.mask().row(y);
        for (int x = 0; x < picture.width(); ++x)
            if (excluded[x] != 0) bytes[x] = 1;
    }
}

Bitmap<std::uint8_t> region_of_file(const image& picture, const image& file) {
    require_same_size(file, picture);
    Bitmap<std::uint8_t> region(picture.width(), picture.height());
    for (int y = 0; y < picture.height(); ++y)
        std::transform(file.values().row(y), file.values().row(y) + picture.width(), region.row(y),
                       [](float value) { return value != 0 ? 1 : 0; });
    return region;
}

/// Says when several pixels share a largest value that is the end of a sensor's range, such as the
/// 4095 of 12 bits in 16.
void note_ceiling(const image& picture) {
    float largest = 0;
    std::int64_t count = 0;
    for (int y = 0; y < picture.height(); ++y)
        for (const float value :
             std::span(picture.values().row(y), static_cast<std::size_t>(picture.width()))) {
            if (value > largest) {
                largest = value;
                count = 0;
            }
            count += value == largest;
        }
    constexpr double smallest_sensor = 255;
    const bool end_of_range = largest >= smallest_sensor && largest < picture.full_scale &&
                              std::exp2(std::round(std::log2(largest + 1.0))) == largest + 1.0;
    if (count > 1 && end_of_range)
        get_log().write(LogLevel::information,
                        picture.file_name + ": " + std::to_string(count) + " pixels are at " +
                            format_double(largest) +
                            "; if that is the sensor's maximum, set the camera's full_scale");
}

/// The sensor's maximum as the project knows it; 0 when it does not.
float saturation_of(const dataSetInterface& data, const RawImage& raw) {
    const double entered = read(data, keys::saturation_level);
    return static_cast<float>(entered > 0 ? entered : read(data, full_scale_key(raw)));
}

/// Counts the pixels at the sensor's maximum and excludes them when the project says so.
void treat_saturated(const dataSetInterface& data, image& picture) {
    const bool exclude = read(data, keys::saturation_exclude) != 0;
    if (!picture.saturated) return note_ceiling(picture);
    std::int64_t count = 0;
    for (int y = 0; y < picture.height(); ++y) {
        const std::uint8_t* saturated = picture.saturated->row(y);
        std::uint8_t* mask = picture.mask().row(y);
        for (int x = 0; x < picture.width(); ++x) {
            if (!saturated[x]) continue;
            ++count;
            if (exclude) mask[x] = 1;
        }
    }
    if (count > 0)
        get_log().write(LogLevel::information, picture.file_name + ": " + std::to_string(count) +
                                                   " pixels at the sensor's maximum" +
                                                   (exclude ? ", excluded" : ""));
}

/// What the project takes the file for, where the file does not say it itself.
void state_quantity(image& picture, InputFile::Role role) {
    if (picture.quantity.known()) return;
    if (role == InputFile::Role::temperature) {
        picture.quantity = {Quantity::Kind::temperature};
        return;
    }
    const bool counts = role != InputFile::Role::flat;
    picture.quantity = {counts ? Quantity::Kind::raw_counts : Quantity::Kind::flat_field};
    if (counts && picture.unit.empty()) picture.unit = count_unit;
}

image load_raw(const dataSetInterface& data, const RawImage& raw, const std::string& file,
               TaskContext& context) {
    image picture =
        load_named(data, file, raw.file.path, raw.name, context, saturation_of(data, raw));
    treat_saturated(data, picture);
    const std::string mask_file = read(data, raw.mask_file);
    if (!mask_file.empty())
        apply_mask_file(picture, load_named(data, mask_file, raw.mask_file.path, "mask", context));
    const std::string region_file = read(data, raw.region_file);
    if (!region_file.empty())
        picture.set_region(region_of_file(
            picture, load_named(data, region_file, raw.region_file.path, "region", context)));
    if (!read(data, raw.marker_file).empty())
        picture.markers = load_markers(data, raw.marker_file, picture.height());
    return picture;
}

}  // namespace

MarkerSet load_markers(const dataSetInterface& data, Key<std::string> key, int image_height) {
    const std::filesystem::path file = find_input(data, read(data, key), key.path);
    MarkerSet set;
    const MarkerFileResult result = read_image_markers(file.string(), set, image_height);
    if (!result)
        throw FileError("File error!", result.detail + " (named by " + std::string(key.path) + ")");
    if (!result.detail.empty()) get_log().write(LogLevel::information, result.detail);
    set.left_out = result.detail;
    return set;
}

std::optional<image> load_image(const dataSetInterface& data, std::string_view name,
                                TaskContext& context) {
    const InputFile& input = *input_of_image(name);
    const std::string file = named_file(data, input);
    if (file.empty()) return std::nullopt;
    ImageOrigin origin = input_origin(data, input);
    image picture = input.role == InputFile::Role::picture
                        ? load_raw(data, *input.raw, file, context)
                        : load_named(data, file, input.file.path, input.image, context);
    if (input.role == InputFile::Role::temperature)
        for (const auto& [item, key] : files_beside(input))
            if (!read(data, key).empty())
                picture.markers = load_markers(data, key, picture.height());
    state_quantity(picture, input.role);
    picture.origin = std::move(origin);
    picture.note_markers_saved();
    picture.note_mask_saved();
    return picture;
}

std::vector<image> load_images(const dataSetInterface& data, const imagesList& present,
                               TaskContext& context) {
    std::vector<image> loaded;
    const auto wanted = [&](const char* name) {
        if (present.find(name)) return false;
        for (const image& picture : loaded)
            if (picture.name == name) return false;
        return true;
    };
    for (const RawImage& raw : raw_images()) {
        if (read(data, raw.file).empty()) continue;
        for (const char* name : {raw.name, raw.dark_name, raw.flat_name})
            if (wanted(name))
                if (auto picture = load_image(data, name, context))
                    loaded.push_back(std::move(*picture));
    }
    if (read(data, keys::temperature_source) != "map") return loaded;
    for (const char* name : {names::temperature_map, names::temperature_map_sigma})
        if (wanted(name))
            if (auto picture = load_image(data, name, context))
                loaded.push_back(std::move(*picture));
    return loaded;
}

void remove_results(imagesList& images) {
    bool removed = false;
    for (const char* name : names::results)
        removed |= images.remove(name);
    if (removed) get_log().write(LogLevel::progress, "Removing Unneeded Images!");
}

}  // namespace vyn
