#include "plugins/hdf5/hdf5_reader.h"

#include <algorithm>
#include <bit>
#include <limits>
#include <memory>
#include <system_error>
#include <vector>

#include <dlfcn.h>
#include <nlohmann/json.hpp>

#include "core/free_memory.h"
#include "plugins/hdf5/child_output.h"
#include "plugins/hdf5/unpacker.h"
#include "plugins/support/attributes.h"
#include "plugins/support/burst.h"
#include "plugins/support/pixels.h"
#include "plugins/support/refusal.h"

namespace vyn::plugins {

namespace {

namespace fs = std::filesystem;

constexpr const char* damaged = "damaged or cut off: the HDF5 library gave it up";

/// It lies beside the plug-in.
fs::path unpacker() {
    static const char here = 0;
    Dl_info info{};
    dladdr(&here, &info);
    return fs::path(info.dli_fname ? info.dli_fname : "").parent_path() / "hdf5_unpacker";
}

UnpackerQuestion question_for(const fs::path& file, const std::string& data_set) {
    constexpr std::uint64_t least_seconds = 30;
    constexpr std::uint64_t bytes_per_second = 1 << 20;  // deflate alone does fifty times as many
    return {.file = file.string(),
            .data_set = data_set,
            .memory_limit = free_memory() / 2,
            .seconds_limit = least_seconds + fs::file_size(file) / bytes_per_second};
}

std::unique_ptr<ChildOutput> start_unpacker(const fs::path& file, const std::string& data_set) {
    const UnpackerQuestion question = question_for(file, data_set);
    try {
        return std::make_unique<ChildOutput>(unpacker(), question.arguments());
    } catch (const std::system_error& problem) {
        refuse(file,
               std::string("the program that unpacks it cannot be started: ") + problem.what());
    }
}

struct Answer {
    std::int64_t frames;
    std::int64_t height;
    std::int64_t width;
    PixelType type;
    std::string unit;
    std::string description;
};

Answer parse_answer(const std::string& line, const fs::path& file) try {
    namespace member = unpacker_answer;
    const auto json = nlohmann::json::parse(line);
    if (json.contains(member::refused)) refuse(file, json.value(member::refused, ""));
    const auto type = pixel_type(json.value(member::type, ""));
    if (!type) refuse(file, damaged);
    return {.frames = json.value(member::frames, std::int64_t{0}),
            .height = json.value(member::height, std::int64_t{0}),
            .width = json.value(member::width, std::int64_t{0}),
            .type = *type,
            .unit = json.value(member::unit, ""),
            .description = json.value(member::description, "")};
} catch (const nlohmann::json::exception&) {
    refuse(file, damaged);
}

void check_size(const Answer& answer, const fs::path& file) {
    check_sides(file, answer.width, answer.height);
    if (answer.frames < 1 || answer.frames > std::numeric_limits<int>::max())
        refuse(file, "a burst of " + std::to_string(answer.frames) + " frames");
    const std::uint64_t pixels = static_cast<std::uint64_t>(answer.width) *
                                 static_cast<std::uint64_t>(answer.height) *
                                 static_cast<std::uint64_t>(answer.frames);
    if (pixels > fs::file_size(file) * max_compression_ratio)
        refuse(file, "the file is too small for the picture's size");
}

image read_frames(ChildOutput& output, const Answer& answer, const fs::path& file,
                  Progress& progress) {
    const int frames = static_cast<int>(answer.frames);
    const int height = static_cast<int>(answer.height);
    Burst burst(static_cast<int>(answer.width), height, frames, full_scale(answer.type));
    std::vector<double> values(static_cast<std::size_t>(answer.width));
    std::vector<std::byte> packed(values.size() * bytes_of(answer.type));
    for (int frame = 0; frame < frames; ++frame) {
        SubProgress part(progress, static_cast<double>(frame) / frames, (frame + 1.0) / frames);
        for (int row = 0; row < height; ++row) {
            report_row(part, row, height);
            if (!output.read(packed, progress)) refuse(file, damaged);
            decode_pixels(answer.type, std::endian::native, packed.data(), values);
            burst.add_row(row, values.data());
        }
    }
    if (!output.ended_well()) refuse(file, damaged);
    progress.fraction(1);
    return burst.take(file);
}

}  // namespace

image read_hdf5(const fs::path& file, const ImageReadOptions& options, Progress& progress) {
    const auto output = start_unpacker(file, options.data_set);
    constexpr std::size_t longest_answer = 1 << 22;
    std::string line;
    if (!output->read_line(line, longest_answer, progress)) refuse(file, damaged);
    const Answer answer = parse_answer(line, file);
    check_size(answer, file);
    image picture = read_frames(*output, answer, file, progress);
    picture.unit = sound_unit(answer.unit);
    take_description(answer.description, picture);
    return picture;
}

}  // namespace vyn::plugins
