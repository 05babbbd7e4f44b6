#include "api/frame_average.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>
#include <numeric>
#include <vector>

#include "api/parallel.h"
#include "core/errors.h"

namespace vyn {

namespace {

constexpr int row_block = 16;
/// A median of deviations times this is the standard deviation of a normal distribution.
constexpr double normal_median = 1.4826;

double median(std::vector<double>& values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    if (values.size() % 2 == 1) return *middle;
    return (*middle + *std::max_element(values.begin(), middle)) / 2;
}

/// Leaves the values near the median, in their order.
void clip(std::vector<double>& values, double deviations, std::vector<double>& scratch) {
    scratch = values;
    const double middle = median(scratch);
    for (double& value : scratch)
        value = std::abs(value - middle);
    const double reach = deviations * normal_median * median(scratch);
    if (reach > 0)
        std::erase_if(values, [&](double value) { return std::abs(value - middle) > reach; });
}

struct Average {
    double value = 0;
    double variance = std::numeric_limits<double>::quiet_NaN();
};

Average average_of(std::vector<double>& values, const AverageOptions& options,
                   std::vector<double>& scratch) {
    if (options.method == AverageMethod::clipped_mean) clip(values, options.clip, scratch);
    const auto count = static_cast<double>(values.size());
    Average result;
    const double mean = std::accumulate(values.begin(), values.end(), 0.0) / count;
    double squares = 0;
    for (const double value : values)
        squares += (value - mean) * (value - mean);
    if (values.size() > 1) result.variance = squares / (count - 1);
    result.value = options.method == AverageMethod::median ? median(values) : mean;
    return result;
}

void check(std::span<const image> frames, const AverageOptions& options) {
    if (frames.empty()) throw AlgoError("Algorithm error!", "there are no frames to average");
    if (!(options.clip > 0))
        throw AlgoError("Algorithm error!", "the clip of an average must be positive");
    for (const image& frame : frames) {
        frame.check_planes();
        if (frame.width() != frames[0].width() || frame.height() != frames[0].height())
            throw DimError(frame.file_name + " has another size than " + frames[0].file_name);
    }
}

std::shared_ptr<const Bitmap<std::uint8_t>> saturated_in_any(std::span<const image> frames) {
    std::shared_ptr<Bitmap<std::uint8_t>> any;
    for (const image& frame : frames) {
        if (!frame.saturated) continue;
        if (!any) {
            any = std::make_shared<Bitmap<std::uint8_t>>(*frame.saturated);
            continue;
        }
        for (int y = 0; y < frame.height(); ++y)
            for (int x = 0; x < frame.width(); ++x)
                if ((*frame.saturated)(x, y) != 0) (*any)(x, y) = 1;
    }
    return any;
}

}  // namespace

image average(std::span<const image> frames, const AverageOptions& options, Progress& progress) {
    check(frames, options);
    const int width = frames[0].width();
    const int height = frames[0].height();
    image result(width, height);
    result.attributes() = frames[0].attributes();
    FrameStatistics statistics{.frames = static_cast<int>(frames.size()),
                               .variance = Bitmap<float>(width, height)};
    Bitmap<float>& averages = result.values();
    Bitmap<std::uint8_t>& mask = result.mask();
    parallel_rows(height, row_block, progress, [&](int y0, int y1) {
        std::vector<double> values;
        std::vector<double> scratch;
        for (int y = y0; y < y1; ++y)
            for (int x = 0; x < width; ++x) {
                values.clear();
                for (const image& frame : frames)
                    if (frame.mask()(x, y) == 0) values.push_back(frame.values()(x, y));
                mask(x, y) = values.empty() ? 1 : 0;
                const Average found = values.empty() ? Average{frames.back().values()(x, y)}
                                                     : average_of(values, options, scratch);
                averages(x, y) = static_cast<float>(found.value);
                statistics.variance(x, y) = static_cast<float>(found.variance);
            }
    });
    if (options.method == AverageMethod::median)
        statistics.frames =
            std::max(1, static_cast<int>(std::lround(statistics.frames * 2 / std::numbers::pi)));
    result.frames = std::make_shared<const FrameStatistics>(std::move(statistics));
    result.saturated = saturated_in_any(frames);
    for (const image& frame : frames)
        if (frame.exposure != result.exposure) result.exposure.reset();
    return result;
}

}  // namespace vyn
