#include "uncertainty/picture_noise.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <vector>

#include "core/errors.h"
#include "uncertainty/variance_line.h"

namespace vyn {

namespace {

/// What the pooled scatter of a picture's frames gives: the median variance of 64 classes of
/// brightness, and a straight line through them. Nothing when the frames tell nothing.
std::optional<VarianceLine> pooled(const image& picture, const image* dark) {
    constexpr int classes = 64;
    struct Pixel {
        float signal, variance;
    };
    std::vector<Pixel> pixels;
    const Bitmap<float>& variance = picture.frames->variance;
    const bool less_dark = dark && dark->values().same_size(picture.values());
    for (int y = 0; y < picture.height(); ++y)
        for (int x = 0; x < picture.width(); ++x)
            if (picture.mask()(x, y) == 0 && std::isfinite(variance(x, y)))
                pixels.push_back({picture.values()(x, y) - (less_dark ? dark->values()(x, y) : 0),
                                  variance(x, y)});
    if (pixels.size() < 2 * classes) return std::nullopt;
    std::ranges::sort(pixels, {}, &Pixel::signal);
    // a median lies below the mean of a chi-squared distribution (Wilson & Hilferty 1931)
    const double freedom = picture.frames->frames - 1;
    const double below = std::pow(1 - 2 / (9 * freedom), 3);
    std::vector<VariancePoint> points;
    for (std::size_t i = 0; i < classes; ++i) {
        const auto first = pixels.begin() + std::ptrdiff_t(i * pixels.size() / classes);
        const auto last = pixels.begin() + std::ptrdiff_t((i + 1) * pixels.size() / classes);
        const auto middle = first + (last - first) / 2;
        const double signal = middle->signal;
        std::ranges::nth_element(first, middle, last, {}, &Pixel::variance);
        points.push_back({signal, middle->variance / below, double(last - first) * freedom});
    }
    return variance_line(points);
}

}  // namespace

const char* noise_source_name(NoiseSource source) {
    switch (source) {
        case NoiseSource::burst:
            return "burst";
        case NoiseSource::transfer:
            return "photon transfer";
        case NoiseSource::entered:
            return "entered";
        case NoiseSource::unknown:
            break;
    }
    return "not known";
}

NoiseLine noise_line(const CameraNoise& camera, const std::string& wanted, const image* picture,
                     const image* dark, const std::string& gain_key) {
    NoiseLine line;
    if (wanted == "transfer" && !(camera.gain > 0))
        throw AlgoError("Algorithm error!",
                        "the noise of the pictures is to come from the photon transfer, but " +
                            gain_key + " is 0: measure it with \"vynlite-batch noise\"");
    const double read2 = camera.read * camera.read;
    if (camera.dark_frames > 0) line.dark = read2 / camera.dark_frames;
    if ((wanted == "auto" || wanted == "burst") && picture && picture->frames) {
        const int frames = picture->frames->frames;
        line.source = NoiseSource::burst;
        if (frames >= frames_that_tell) {
            line.frames = picture->frames;
            return line;
        }
        if (const auto found = pooled(*picture, dark)) {
            line.offset = found->offset / frames;
            line.slope = found->slope / frames;
            return line;
        }
    }
    if (wanted != "entered" && camera.gain > 0) {
        const double rounding = camera.whole_counts ? 1.0 / 12 : 0;
        line.source = NoiseSource::transfer;
        line.offset = (read2 + rounding) / camera.frames;
        line.slope = 1 / (camera.gain * camera.frames);
        return line;
    }
    line.source = camera.relative > 0 ? NoiseSource::entered : NoiseSource::unknown;
    line.relative = camera.relative;
    return line;
}

}  // namespace vyn
