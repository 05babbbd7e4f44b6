#include "align/dots/blob_search.h"

#include <algorithm>
#include <cmath>
#include <mutex>
#include <numbers>
#include <optional>
#include <tuple>
#include <utility>

#include "api/parallel.h"

namespace vyn {

namespace {

constexpr int row_block = 32;
/// From one scale to the next.
constexpr double scale_step = 1.25;
/// A Gaussian is cut off at this many standard deviations.
constexpr double gauss_reach = 3;
/// Values below this share of the picture's bright parts count as this much: the logarithm would
/// blow up the noise of unlit ground.
constexpr double floor_share = 0.03;
/// Weight of valid pixels below which a mean means nothing.
constexpr float min_weight = 0.3F;
/// Every how many pixels the typical response is sampled.
constexpr int sample_step = 5;

/// Mean of the valid pixels about each pixel: `weighted` over `weight`.
struct Means {
    Bitmap<float> weighted;
    Bitmap<float> weight;
};

std::vector<float> gauss_kernel(double sigma) {
    const int reach = std::max(1, static_cast<int>(std::ceil(gauss_reach * sigma)));
    std::vector<float> kernel(static_cast<std::size_t>(reach) + 1);
    double sum = 0;
    for (int i = -reach; i <= reach; ++i)
        sum += std::exp(-i * i / (2 * sigma * sigma));
    for (int i = 0; i <= reach; ++i)
        kernel[static_cast<std::size_t>(i)] =
            static_cast<float>(std::exp(-i * i / (2 * sigma * sigma)) / sum);
    return kernel;
}

void blur_rows(Bitmap<float>& plane, const std::vector<float>& kernel, Progress& progress) {
    const int width = plane.width();
    const int reach = static_cast<int>(kernel.size()) - 1;
    parallel_rows(plane.height(), row_block, progress, [&](int y0, int y1) {
        std::vector<float> padded(static_cast<std::size_t>(width + 2 * reach), 0.0F);
        float* const source = padded.data() + reach;
        for (int y = y0; y < y1; ++y) {
            float* const row = plane.row(y);
            std::copy(row, row + width, source);
            for (int x = 0; x < width; ++x)
                row[x] = kernel[0] * source[x];
            for (int i = 1; i <= reach; ++i) {
                const float weight = kernel[static_cast<std::size_t>(i)];
                for (int x = 0; x < width; ++x)
                    row[x] += weight * (source[x - i] + source[x + i]);
            }
        }
    });
}

void blur_columns(const Bitmap<float>& source, Bitmap<float>& target,
                  const std::vector<float>& kernel, Progress& progress) {
    const int width = source.width();
    const int height = source.height();
    const int reach = static_cast<int>(kernel.size()) - 1;
    parallel_rows(height, row_block, progress, [&](int y0, int y1) {
        for (int y = y0; y < y1; ++y) {
            float* const out = target.row(y);
            std::fill(out, out + width, 0.0F);
            for (int j = std::max(y - reach, 0); j <= std::min(y + reach, height - 1); ++j) {
                const float weight = kernel[static_cast<std::size_t>(std::abs(j - y))];
                const float* const in = source.row(j);
                for (int x = 0; x < width; ++x)
                    out[x] += weight * in[x];
            }
        }
    });
}

void blur(Means& means, double sigma, Bitmap<float>& scratch, Progress& progress) {
    const std::vector<float> kernel = gauss_kernel(sigma);
    for (Bitmap<float>* plane : {&means.weighted, &means.weight}) {
        blur_rows(*plane, kernel, progress);
        blur_columns(*plane, scratch, kernel, progress);
        plane->swap(scratch);
    }
}

template <class Visit>
void for_each_sample(const image& picture, const Visit& visit) {
    for (int y = sample_step / 2; y < picture.height(); y += sample_step)
        for (int x = sample_step / 2; x < picture.width(); x += sample_step)
            if (picture.mask()(x, y) == 0 && std::isfinite(picture.values()(x, y))) visit(x, y);
}

double quantile(std::vector<float>& values, double share) {
    if (values.empty()) return 0;
    const auto place = static_cast<std::ptrdiff_t>(share * static_cast<double>(values.size() - 1));
    std::nth_element(values.begin(), values.begin() + place, values.end());
    return values[static_cast<std::size_t>(place)];
}

/// ln(value) of the valid pixels with weight 1, others 0 with weight 0.
Means logarithms(const image& picture, Progress& progress) {
    std::vector<float> sample;
    for_each_sample(picture, [&](int x, int y) { sample.push_back(picture.values()(x, y)); });
    const auto level = static_cast<float>(std::max(floor_share * quantile(sample, 0.95), 1e-30));

    Means means{Bitmap<float>(picture.width(), picture.height()),
                Bitmap<float>(picture.width(), picture.height())};
    parallel_rows(picture.height(), row_block, progress, [&](int y0, int y1) {
        for (int y = y0; y < y1; ++y) {
            const float* const values = picture.values().row(y);
            const std::uint8_t* const mask = picture.mask().row(y);
            for (int x = 0; x < picture.width(); ++x) {
                const bool valid = mask[x] == 0 && std::isfinite(values[x]);
                means.weighted.row(y)[x] = valid ? std::log(std::max(values[x], level)) : 0.0F;
                means.weight.row(y)[x] = valid ? 1.0F : 0.0F;
            }
        }
    });
    return means;
}

/// How much the wider mean is above the narrower one (below it, for bright dots).
Bitmap<float> difference(const Means& narrow, const Means& wide, DotPolarity polarity,
                         Progress& progress) {
    const float sign = polarity == DotPolarity::dark ? 1.0F : -1.0F;
    Bitmap<float> result(wide.weight.width(), wide.weight.height());
    parallel_rows(result.height(), row_block, progress, [&](int y0, int y1) {
        for (int y = y0; y < y1; ++y)
            for (int x = 0; x < result.width(); ++x) {
                const float weight = narrow.weight.row(y)[x];
                result.row(y)[x] = weight < min_weight
                                       ? 0.0F
                                       : sign * (wide.weighted.row(y)[x] / wide.weight.row(y)[x] -
                                                 narrow.weighted.row(y)[x] / weight);
            }
    });
    return result;
}

struct Layer {
    Bitmap<float> response;
    double radius = 0;
    double typical = 0;  ///< response that noise and texture give, as a standard deviation
};

Layer make_layer(const image& picture, Bitmap<float> response, double radius) {
    std::vector<float> sample;
    for_each_sample(picture, [&](int x, int y) { sample.push_back(std::abs(response(x, y))); });
    const double typical = 1.4826 * quantile(sample, 0.5);
    return {std::move(response), radius, std::max(typical, 1e-6)};
}

/// True when no neighbour in the plane is above the value; equals count for the first of them only.
bool is_peak(const Bitmap<float>& plane, int x, int y, float value) {
    for (int j = y - 1; j <= y + 1; ++j)
        for (int i = x - 1; i <= x + 1; ++i) {
            if (!plane.contains(i, j)) continue;
            const bool before = j < y || (j == y && i < x);
            if (before ? plane(i, j) >= value && (i != x || j != y) : plane(i, j) > value)
                return false;
        }
    return true;
}

void collect_peaks(const Layer* below, const Layer& here, const Layer* above,
                   double min_significance, std::vector<Blob>& blobs, Progress& progress) {
    const auto threshold = static_cast<float>(min_significance * here.typical);
    std::mutex access;
    parallel_rows(here.response.height(), row_block, progress, [&](int y0, int y1) {
        std::vector<Blob> found;
        for (int y = y0; y < y1; ++y) {
            const float* const row = here.response.row(y);
            for (int x = 0; x < here.response.width(); ++x) {
                if (row[x] < threshold || !is_peak(here.response, x, y, row[x]) ||
                    (below && !is_peak(below->response, x, y, row[x])) ||
                    (above && !is_peak(above->response, x, y, row[x])))
                    continue;
                found.push_back({x, y, here.radius, row[x] / here.typical});
            }
        }
        const std::lock_guard lock(access);
        blobs.insert(blobs.end(), found.begin(), found.end());
    });
}

bool stronger(const Blob& a, const Blob& b) {
    return std::tuple(-a.significance, a.y, a.x, a.radius) <
           std::tuple(-b.significance, b.y, b.x, b.radius);
}

}  // namespace

std::vector<Blob> find_blobs(const image& picture, DotPolarity polarity, double min_radius,
                             double max_radius, double min_significance, Progress& progress) {
    picture.check_planes();
    std::vector<Blob> blobs;
    if (picture.width() == 0 || picture.height() == 0) return blobs;
    Means narrow = logarithms(picture, progress);
    Bitmap<float> scratch(picture.width(), picture.height());

    // A disc of radius r answers strongest at r / sqrt 2; the two Gaussians of a difference lie
    // half a step to either side.
    double sigma = min_radius / std::numbers::sqrt2 / std::pow(scale_step, 1.5);
    blur(narrow, sigma, scratch, progress);
    std::optional<Layer> below;
    std::optional<Layer> here;
    const double last_radius = max_radius * scale_step;
    double radius = min_radius / scale_step;
    while (radius <= last_radius * 1.001) {
        Means wide = narrow;
        blur(wide, sigma * std::sqrt(scale_step * scale_step - 1), scratch, progress);
        sigma *= scale_step;
        Layer above = make_layer(picture, difference(narrow, wide, polarity, progress), radius);
        narrow = std::move(wide);
        if (here)
            collect_peaks(below ? &*below : nullptr, *here, &above, min_significance, blobs,
                          progress);
        below = std::move(here);
        here = std::move(above);
        radius *= scale_step;
    }
    if (here)
        collect_peaks(below ? &*below : nullptr, *here, nullptr, min_significance, blobs, progress);
    std::sort(blobs.begin(), blobs.end(), stronger);
    return blobs;
}

}  // namespace vyn
