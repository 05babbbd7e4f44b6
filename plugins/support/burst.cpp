#include "plugins/support/burst.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <string>
#include <utility>

#include "core/log.h"

namespace vyn::plugins {

Burst::Burst(int width, int height, int frames, double full_scale)
    : frames_(frames), full_scale_(full_scale), values_(width, height) {
    if (frames_ == 1) return;
    sums_ = Bitmap<double>(width, height, 0.0);
    squares_ = Bitmap<double>(width, height, 0.0);
    counts_ = Bitmap<std::uint32_t>(width, height, 0u);
}

void Burst::add_row(int y, const double* values) {
    if (full_scale_ > 0) note_saturation(y, values);
    std::transform(values, values + values_.width(), values_.row(y),
                   [](double value) { return static_cast<float>(value); });
    if (frames_ > 1) accumulate(y, values);
}

void Burst::note_saturation(int y, const double* values) {
    const int width = values_.width();
    const auto reached = [this](double value) { return value >= full_scale_; };
    if (std::none_of(values, values + width, reached)) return;
    if (!saturated_)
        saturated_ =
            std::make_shared<Bitmap<std::uint8_t>>(width, values_.height(), std::uint8_t{0});
    std::uint8_t* flags = saturated_->row(y);
    for (int x = 0; x < width; ++x)
        if (reached(values[x])) flags[x] = 1;
}

void Burst::accumulate(int y, const double* values) {
    double* sums = sums_.row(y);
    double* squares = squares_.row(y);
    std::uint32_t* counts = counts_.row(y);
    for (int x = 0, width = values_.width(); x < width; ++x) {
        if (!std::isfinite(values[x])) continue;
        sums[x] += values[x];
        squares[x] += values[x] * values[x];
        ++counts[x];
    }
}

void Burst::average() {
    for (int y = 0; y < values_.height(); ++y) {
        float* values = values_.row(y);
        const double* sums = sums_.row(y);
        const std::uint32_t* counts = counts_.row(y);
        for (int x = 0, width = values_.width(); x < width; ++x)
            if (counts[x] > 0) values[x] = static_cast<float>(sums[x] / counts[x]);
    }
}

FrameStatistics Burst::statistics() const {
    FrameStatistics found;
    found.frames = frames_;
    found.variance = Bitmap<float>(sums_.width(), sums_.height());
    for (int y = 0; y < sums_.height(); ++y)
        for (int x = 0; x < sums_.width(); ++x) {
            const double n = counts_(x, y);
            const double about_mean = squares_(x, y) - sums_(x, y) * sums_(x, y) / n;
            found.variance(x, y) = n > 1 ? static_cast<float>(std::max(about_mean, 0.0) / (n - 1))
                                         : std::numeric_limits<float>::quiet_NaN();
        }
    return found;
}

image Burst::take(const std::filesystem::path& file) {
    if (frames_ > 1) {
        average();
        get_log().write(LogLevel::information,
                        file.string() + ": average of " + std::to_string(frames_) + " frames");
    }
    Bitmap<std::uint8_t> mask(values_.width(), values_.height());
    for (int y = 0; y < values_.height(); ++y)
        std::transform(values_.row(y), values_.row(y) + values_.width(), mask.row(y),
                       [](float value) { return std::uint8_t{!std::isfinite(value)}; });
    image picture(std::move(values_), std::move(mask));
    picture.full_scale = full_scale_;
    picture.saturated = std::move(saturated_);
    if (frames_ > 1) picture.frames = std::make_shared<const FrameStatistics>(statistics());
    return picture;
}

}  // namespace vyn::plugins
