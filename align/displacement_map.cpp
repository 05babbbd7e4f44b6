#include "align/displacement_map.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string_view>
#include <system_error>

#include "api/image_io.h"
#include "core/atomic_file.h"
#include "core/errors.h"
#include "core/numbers.h"
#include "core/progress.h"

namespace vyn {

namespace fs = std::filesystem;

namespace {

constexpr const char* source_unit = "qped_io";
constexpr int append_line = 44;
constexpr int write_line = 132;
constexpr const char* cannot_write = "Error writing file";
constexpr const char* field_extension = ".imp";
constexpr int decimals = 6;

const char* header_line(MapIntensity intensity) {
    return intensity == MapIntensity::none
               ? "TITLE=\"Displacement Map\"\nVARIABLES =\"x\" \"y\" \"u\" \"v\" \"l\" \"g\"\n"
               : "TITLE=\"Displacement Map\"\n"
                 "VARIABLES =\"x\" \"y\" \"u\" \"v\" \"l\" \"i\" \"g\"\n";
}

const char* type_line(MapIntensity intensity) {
    return intensity == MapIntensity::none
               ? "DT=(DOUBLE DOUBLE DOUBLE DOUBLE DOUBLE DOUBLE)\n"
               : "DT=(DOUBLE DOUBLE DOUBLE DOUBLE DOUBLE DOUBLE DOUBLE)\n";
}

std::string fixed(double value) {
    return format_fixed(value, decimals);
}

float length(DisplacementVector vector) {
    return std::sqrt(vector.u * vector.u + vector.v * vector.v);
}

/// Pixels from `first` on that lie inside 0..size - 1, as a half-open range.
struct Span {
    std::int64_t first;
    std::int64_t end;
};
Span inside(std::int64_t centre, std::int64_t half, int size) {
    return {std::max<std::int64_t>(centre - half, 0), std::min<std::int64_t>(centre + half, size)};
}

/// Mean of the valid pixels around a centre; nothing when there is none.
std::optional<double> cell_mean(const image& picture, std::int64_t x, std::int64_t y,
                                std::int64_t half) {
    const Bitmap<float>& values = picture.values();
    const Bitmap<std::uint8_t>& mask = picture.mask();
    picture.check_planes();
    const Span columns = inside(x, half, values.width());
    const Span rows = inside(y, half, values.height());
    double sum = 0;
    std::int64_t count = 0;
    for (auto row = static_cast<int>(rows.first); row < rows.end; ++row)
        for (auto column = static_cast<int>(columns.first); column < columns.end; ++column) {
            if (mask(column, row) != 0) continue;
            sum += static_cast<double>(values(column, row));
            ++count;
        }
    if (count == 0) return std::nullopt;
    return sum / static_cast<double>(count);
}

[[noreturn]] void fail_append(const std::string& file, const std::error_code& problem) {
    throw FileError(cannot_write, file + ": " + problem.message(), {source_unit, append_line});
}

/// Adds the bytes at the end of a regular file; on failure the file has its old length again.
void append_to_file(const std::string& file, std::string_view bytes) {
    std::error_code problem;
    const bool existed = fs::exists(file, problem);
    const std::uintmax_t old_size = existed ? fs::file_size(file, problem) : 0;
    if (existed && problem) fail_append(file, problem);

    errno = 0;
    std::ofstream stream(file, std::ios::binary | std::ios::app);
    const bool opened = stream.is_open();
    stream.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    stream.close();
    if (stream) return;
    problem.assign(errno != 0 ? errno : EIO, std::generic_category());
    std::error_code ignored;
    if (opened && existed)
        fs::resize_file(file, old_size, ignored);
    else if (opened)
        fs::remove(file, ignored);
    fail_append(file, problem);
}

}  // namespace

void DisplacementMap::write_map(const std::string& fileName, MapIntensity intensity) const {
    try {
        if (fileName.find(field_extension) != std::string::npos)
            write_field_file(fileName);
        else
            write_file(fileName, header_line(intensity) + zone(intensity),
                       {source_unit, write_line});
    } catch (const FileError& error) {
        const std::string reason = error.detail.empty() ? error.text : error.detail;
        const bool named = reason.find(fileName) != std::string::npos;
        throw FileError(cannot_write, named ? reason : fileName + ": " + reason,
                        {source_unit, write_line});
    }
}

void DisplacementMap::append_map(const std::string& fileName, MapIntensity intensity) const {
    append_to_file(fileName, zone(intensity));
}

std::string DisplacementMap::zone(MapIntensity intensity) const {
    if (!field.same_size(mask))
        throw DimError("the map '" + name + "' has a mask of another size than its field",
                       {source_unit});
    std::string text = "ZONE T=\"" + name + "\" I=" + std::to_string(field.width() - 1) +
                       ",J=" + std::to_string(field.height() - 1) + ",K=1,F=POINT\n" +
                       type_line(intensity);
    for (int row = 1; row < field.height(); ++row)
        for (int column = 1; column < field.width(); ++column)
            text += node_line(column, row, intensity);
    return text;
}

std::string DisplacementMap::node_line(int column, int row, MapIntensity intensity) const {
    const DisplacementVector vector = field(column, row);
    const std::string end = intensity == MapIntensity::none
                                ? (mask(column, row) == 0 ? " 1\n" : " 0\n")
                                : intensity_text(column, row, intensity);
    return std::to_string(std::int64_t{column} * step) + " " +
           std::to_string(std::int64_t{row} * step) + " " + fixed(static_cast<double>(vector.u)) +
           " " + fixed(static_cast<double>(vector.v)) + " " +
           fixed(static_cast<double>(length(vector))) + end;
}

std::string DisplacementMap::intensity_text(int column, int row, MapIntensity intensity) const {
    const auto mean_of = [&](const image* picture) -> std::optional<double> {
        if (!picture) return std::nullopt;
        return cell_mean(*picture, std::int64_t{column} * step, std::int64_t{row} * step, step / 2);
    };
    std::optional<double> value = mean_of(image1);
    if (intensity == MapIntensity::ratio && image2) {
        const std::optional<double> second = mean_of(image2);
        value = value && second ? std::optional(*second / *value) : std::nullopt;
    }
    if (!value || mask(column, row) != 0) return " 0.0 0\n";
    return " " + fixed(*value) + " 1\n";
}

void DisplacementMap::write_field_file(const std::string& file_name) const {
    if (!field.same_size(mask))
        throw DimError("the map '" + name + "' has a mask of another size than its field",
                       {source_unit});
    if (step < 1)
        throw FileError(cannot_write,
                        file_name + ": a step of " + std::to_string(step) +
                            " pixels cannot be kept in a field file",
                        {source_unit, write_line});
    const ImageFormat* format = get_2dio().by_extension(std::string("map") + field_extension);
    if (!format)
        throw FileError(cannot_write, file_name + ": no plug-in writes field files",
                        {source_unit, write_line});
    image picture(field.width(), field.height());
    picture.name = name;
    picture.quantity = {Quantity::Kind::displacement};
    picture.unit = "px";
    Displacement displacement{Bitmap<float>(field.width(), field.height()),
                              Bitmap<float>(field.width(), field.height()), step};
    for (int row = 0; row < field.height(); ++row)
        for (int column = 0; column < field.width(); ++column) {
            const DisplacementVector vector = field(column, row);
            displacement.u(column, row) = vector.u;
            displacement.v(column, row) = vector.v;
            picture.values()(column, row) = length(vector);
            picture.mask()(column, row) = mask(column, row) == 0 ? 0 : 1;
        }
    picture.displacement = std::move(displacement);
    AtomicFile target(file_name, {source_unit, write_line});
    Progress silent;
    format->write(picture, target.temporary(), {}, silent);
    target.commit();
}

}  // namespace vyn
