#include "bench/peer_stages.h"

#include <cmath>

#include <opencv2/imgproc.hpp>

namespace vyn::bench {

namespace {

/// The plane as a matrix, without a copy; only read.
cv::Mat matrix_of(Bitmap<float>& plane) {
    return {plane.height(), plane.width(), CV_32F, plane.row(0),
            static_cast<std::size_t>(plane.stride()) * sizeof(float)};
}

cv::Mat valid_of(const Bitmap<std::uint8_t>& mask) {
    cv::Mat valid(mask.height(), mask.width(), CV_8U);
    for (int y = 0; y < mask.height(); ++y)
        for (int x = 0; x < mask.width(); ++x)
            valid.at<std::uint8_t>(y, x) = mask(x, y) == 0 ? 255 : 0;
    return valid;
}

/// Four steps of the fixed point are what this scene needs for 1e-6; a fixed number lets the
/// compiler vectorise the row.
void distortion_row(const Distortion& lens, int y, int n, float* map_x, float* map_y) {
    const double dy = y - lens.cy;
    for (int x = 0; x < n; ++x) {
        const double dx = x - lens.cx;
        const double r2 = dx * dx + dy * dy;
        double d = (r2 * lens.a4 + lens.a2) * r2 + 1;
        for (int step = 0; step < 4; ++step) {
            const double rho = d * d * r2;
            d = (rho * lens.a4 + lens.a2) * rho + 1;
        }
        map_x[x] = static_cast<float>(dx * d + lens.cx);
        map_y[x] = static_cast<float>(dy * d + lens.cy);
    }
}

void alignment_row(const PolyTransform& map, int y, int n, float* map_x, float* map_y) {
    for (int x = 0; x < n; ++x) {
        const auto value = [x, y](const std::array<double, 10>& c) {
            return static_cast<float>((c[4] * x + c[3] * y + c[1]) * x + (c[5] * y + c[2]) * y +
                                      c[0]);
        };
        map_x[x] = value(map.ax);
        map_y[x] = value(map.ay);
    }
}

/// Calls `row(y)` for all rows from the library's threads.
template <class Row>
void for_each_row(int rows, Row row) {
    cv::parallel_for_(cv::Range(0, rows), [&](const cv::Range& range) {
        for (int y = range.start; y < range.end; ++y)
            row(y);
    });
}

/// Level, dark, below zero and flat of one row, without branches so that it vectorises.
void corrected_row(const float* __restrict raw, const float* __restrict dark,
                   const float* __restrict flat, float level, int n, float* __restrict values,
                   std::uint8_t* __restrict valid) {
    for (int x = 0; x < n; ++x) {
        const float lit = raw[x] - dark[x];
        const bool good = (raw[x] >= level) & (lit >= 0) & (flat[x] != 0);
        values[x] = lit / (good ? flat[x] : 1.0F);
        valid[x] = good ? 255 : 0;
    }
}

/// Ratio, law and limits of one row, likewise.
void field_row(const float* __restrict off, const std::uint8_t* __restrict off_valid,
               const float* __restrict on, const std::uint8_t* __restrict on_valid,
               const FieldConversion& conversion, int n, float* __restrict values,
               std::uint8_t* __restrict valid) {
    const double a = conversion.law.a;
    const double b = conversion.law.b;
    const double c = conversion.law.c;
    const double fa = conversion.wind_off_ratio;
    const double unit = conversion.unit_factor;
    const float lower = conversion.lower;
    const float upper = conversion.upper;
    for (int x = 0; x < n; ++x) {
        const bool usable = (off_valid[x] != 0) & (on_valid[x] != 0) & (on[x] != 0);
        const double r = off[x] / (usable ? on[x] : 1.0F) * fa;
        const float field = static_cast<float>(((c * r + b) * r + a) * unit);
        const bool good = usable & (field >= lower) & (field * 0 == 0);
        values[x] = good ? (field > upper ? upper : field) : off[x];
        valid[x] = good ? 255 : 0;
    }
}

/// Bytes of the pixels at truncated positions; 0 outside.
void valid_row(const cv::Mat& source, const float* map_x, const float* map_y, int n,
               std::uint8_t* valid) {
    for (int x = 0; x < n; ++x) {
        const int column = static_cast<int>(map_x[x]);
        const int row = static_cast<int>(map_y[x]);
        const bool inside = static_cast<unsigned>(column) < static_cast<unsigned>(source.cols) &&
                            static_cast<unsigned>(row) < static_cast<unsigned>(source.rows);
        valid[x] = inside ? source.ptr<std::uint8_t>(row)[column] : 0;
    }
}

}  // namespace

PeerStages::PeerStages(Inputs& inputs)
    : scene_(inputs.scene),
      off_(matrix_of(inputs.scene.off.values())),
      on_(matrix_of(inputs.scene.on.values())),
      dark_(matrix_of(inputs.scene.dark.values())),
      flat_(matrix_of(inputs.scene.flat.values())) {
    const auto picture = [](image& own) {
        return Picture{matrix_of(own.values()), valid_of(own.mask())};
    };
    corrected_off_ = picture(inputs.corrected_off);
    undistorted_off_ = picture(inputs.undistorted_off);
    undistorted_on_ = picture(inputs.undistorted_on);
    aligned_on_ = picture(inputs.aligned_on);
    filter_source_ = picture(inputs.filter_source);
    given_maps_ = alignment_maps();
}

PeerStages::Picture PeerStages::empty_picture() const {
    const int n = scene_.size;
    return {cv::Mat(n, n, CV_32F), cv::Mat(n, n, CV_8U)};
}

PeerStages::Picture PeerStages::corrected(const cv::Mat& raw) const {
    Picture result = empty_picture();
    for_each_row(scene_.size, [&](int y) {
        corrected_row(raw.ptr<float>(y), dark_.ptr<float>(y), flat_.ptr<float>(y),
                      scene_.dark_level, scene_.size, result.values.ptr<float>(y),
                      result.valid.ptr(y));
    });
    return result;
}

PeerStages::Maps PeerStages::distortion_maps() const {
    const int n = scene_.size;
    Maps maps{cv::Mat(n, n, CV_32F), cv::Mat(n, n, CV_32F)};
    for_each_row(n, [&](int y) {
        distortion_row(scene_.lens, y, n, maps.x.ptr<float>(y), maps.y.ptr<float>(y));
    });
    return maps;
}

PeerStages::Maps PeerStages::alignment_maps() const {
    const int n = scene_.size;
    Maps maps{cv::Mat(n, n, CV_32F), cv::Mat(n, n, CV_32F)};
    for_each_row(n, [&](int y) {
        alignment_row(scene_.off_from_on, y, n, maps.x.ptr<float>(y), maps.y.ptr<float>(y));
    });
    return maps;
}

PeerStages::Picture PeerStages::remapped(const Picture& source, const Maps& maps) const {
    Picture result = empty_picture();
    cv::remap(source.values, result.values, maps.x, maps.y, cv::INTER_CUBIC,
              cv::BORDER_REFLECT_101);
    for_each_row(scene_.size, [&](int y) {
        valid_row(source.valid, maps.x.ptr<float>(y), maps.y.ptr<float>(y), scene_.size,
                  result.valid.ptr(y));
    });
    return result;
}

PeerStages::Picture PeerStages::undistorted(const Picture& source) const {
    return remapped(source, distortion_maps());
}

PeerStages::Picture PeerStages::aligned(const Picture& source) const {
    return remapped(source, alignment_maps());
}

PeerStages::Picture PeerStages::field_of(const Picture& off, const Picture& on) const {
    Picture result = empty_picture();
    for_each_row(scene_.size, [&](int y) {
        field_row(off.values.ptr<float>(y), off.valid.ptr(y), on.values.ptr<float>(y),
                  on.valid.ptr(y), scene_.conversion, scene_.size, result.values.ptr<float>(y),
                  result.valid.ptr(y));
    });
    return result;
}

/// Both pictures are seen through one lens: one map for both.
PeerStages::Picture PeerStages::field_of_point() const {
    const Maps lens = distortion_maps();
    const Picture off = remapped(corrected(off_), lens);
    const Picture on = aligned(remapped(corrected(on_), lens));
    return field_of(off, on);
}

/// Blurred values by blurred mask, the values of excluded pixels being 0.
template <class Blur>
cv::Mat PeerStages::masked_mean(Blur blur) const {
    cv::Mat weights;
    filter_source_.valid.convertTo(weights, CV_32F, 1.0 / 255);
    cv::Mat values;
    cv::multiply(filter_source_.values, weights, values);
    blur(values);
    blur(weights);
    cv::divide(values, weights, values);
    return values;
}

/// Filters by the name of the stage; OpenCV has no median of floats above 5 x 5.
cv::Mat PeerStages::filtered(const std::string& stage) const {
    for (const int size : {3, 5, 9, 15}) {
        const std::string digits = std::to_string(size);
        if (stage == "median" + digits && size <= 5) {
            cv::Mat values;
            cv::medianBlur(filter_source_.values, values, size);
            return values;
        }
        const cv::Size window(size, size);
        if (stage == "box" + digits + "_masked")
            return masked_mean([window](cv::Mat& plane) {
                cv::boxFilter(plane, plane, -1, window, {-1, -1}, false, cv::BORDER_CONSTANT);
            });
        // exp(-u^2) across half a window is a Gaussian of this width
        const double sigma = size / 2 / std::sqrt(2.0);
        if (stage == "gauss" + digits + "_masked")
            return masked_mean([window, sigma](cv::Mat& plane) {
                cv::GaussianBlur(plane, plane, window, sigma, sigma, cv::BORDER_CONSTANT);
            });
    }
    return {};
}

cv::Mat PeerStages::run(const std::string& stage) {
    if (stage == "correct_fused") return corrected(off_).values;
    if (stage == "spline_eval") {
        cv::Mat values;
        cv::remap(corrected_off_.values, values, given_maps_.x, given_maps_.y, cv::INTER_CUBIC,
                  cv::BORDER_REFLECT_101);
        return values;
    }
    if (stage == "undistort") return undistorted(corrected_off_).values;
    if (stage == "polywarp") return aligned(undistorted_on_).values;
    if (stage == "field_fused") return field_of(undistorted_off_, aligned_on_).values;
    if (stage == "chain") return field_of_point().values;
    return filtered(stage);
}

}  // namespace vyn::bench
