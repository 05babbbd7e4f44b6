#include "uncertainty/photon_transfer.h"

#include <algorithm>
#include <cmath>

#include "api/image_parts.h"
#include "core/errors.h"
#include "core/numbers.h"

namespace vyn {

namespace {

/// Of one pair of frames; a picture of a flat field has a wide enough range of brightness.
constexpr std::size_t classes = 16;
constexpr std::size_t least_pixels = 200;

struct Pixel {
    float signal, difference;
};

/// Brightness of two scenes, relative, beyond which they are no pair.
constexpr double same_scene = 0.05;

double mean_of(const image& frame) {
    double sum = 0;
    std::int64_t count = 0;
    for (int y = 0; y < frame.height(); ++y)
        for (int x = 0; x < frame.width(); ++x)
            if (frame.mask()(x, y) == 0) {
                sum += frame.values()(x, y);
                ++count;
            }
    return count > 0 ? sum / double(count) : 0;
}

void add_pair(const image& a, const image& b, const image* dark, double dark_level,
              std::vector<VariancePoint>& points) {
    std::vector<Pixel> pixels;
    for (int y = 0; y < a.height(); ++y)
        for (int x = 0; x < a.width(); ++x) {
            if (a.mask()(x, y) != 0 || b.mask()(x, y) != 0) continue;
            const double none = dark ? dark->values()(x, y) : dark_level;
            const double mean = (double(a.values()(x, y)) + b.values()(x, y)) / 2 - none;
            pixels.push_back({float(mean), a.values()(x, y) - b.values()(x, y)});
        }
    std::ranges::sort(pixels, {}, &Pixel::signal);
    for (std::size_t i = 0; i < classes; ++i) {
        const std::size_t first = i * pixels.size() / classes;
        const std::size_t last = (i + 1) * pixels.size() / classes;
        if (last - first < least_pixels) continue;
        const double count = double(last - first);
        double signal = 0;
        double mean = 0;
        for (std::size_t k = first; k < last; ++k) {
            signal += pixels[k].signal / count;
            mean += pixels[k].difference / count;  // the lamp's between the two
        }
        double squares = 0;
        for (std::size_t k = first; k < last; ++k)
            squares += (pixels[k].difference - mean) * (pixels[k].difference - mean);
        points.push_back({signal, squares / (count - 1) / 2, count - 1});
    }
}

}  // namespace

PhotonTransfer photon_transfer(const std::vector<image>& frames, const image* dark,
                               double dark_level) {
    if (frames.size() < 2)
        throw AlgoError("Algorithm error!", "the noise of a camera needs two frames or more");
    for (const image& frame : frames)
        check_same_size(frames.front(), frame);
    if (dark) check_same_size(frames.front(), *dark);
    PhotonTransfer measured;
    for (std::size_t i = 0; i + 1 < frames.size();) {
        const double a = mean_of(frames[i]);
        const double b = mean_of(frames[i + 1]);
        if (std::abs(a - b) > same_scene * std::max(a, b)) {
            ++i;  // a new scene begins
            continue;
        }
        add_pair(frames[i], frames[i + 1], dark, dark_level, measured.points);
        i += 2;
    }
    if (measured.points.empty())
        throw AlgoError("Algorithm error!",
                        "no two frames one after the other show the same scene");
    const auto line = variance_line(measured.points);
    if (!line || !(line->slope > 0))
        throw AlgoError("Algorithm error!",
                        "the frames' noise does not grow with their brightness: take flats of "
                        "different brightness, at least two frames of each, not saturated");
    measured.line = *line;
    measured.gain = 1 / line->slope;
    measured.gain_error = line->slope_error / (line->slope * line->slope);
    const double rounding = frames.front().full_scale > 0 ? 1.0 / 12 : 0;
    measured.read = std::sqrt(std::max(line->offset - rounding, 0.0));
    measured.read_error =
        line->offset_error / (2 * std::max(measured.read, std::sqrt(line->offset_error)));
    return measured;
}

std::vector<std::string> report_lines(const PhotonTransfer& measured) {
    const auto general = [](double value) { return format_general(value, 4); };
    std::vector<std::string> lines{
        "gain " + general(measured.gain) + " +- " + general(measured.gain_error) +
            " electrons per count",
        "read-out noise " + general(measured.read) + " +- " + general(measured.read_error) +
            " counts",
        "largest departure from the line " + general(100 * measured.line.largest_departure) +
            " % at " + general(measured.line.departs_at) + " counts, " +
            std::to_string(measured.points.size()) + " classes of brightness"};
    if (measured.line.largest_departure > 0.2)
        lines.push_back(
            "The line bends: frames near saturation, or scenes that moved between "
            "their frames, should be left out");
    return lines;
}

}  // namespace vyn
