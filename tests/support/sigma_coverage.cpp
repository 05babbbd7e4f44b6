#include "tests/support/sigma_coverage.h"

#include <algorithm>
#include <cmath>
#include <random>
#include <stdexcept>

#include "api/image_io.h"
#include "calib/flow.h"
#include "core/keys.h"
#include "process/point/raw_images.h"
#include "process/point/session.h"
#include "process/project/project_tasks.h"
#include "process/steps/chain.h"
#include "process/steps/port_point.h"

namespace vyn::test {

namespace {

/// The share and the scatter, draw by draw.
class Tally {
  public:
    void add(double error, double sigma) {
        errors_ += error * error;
        sigmas_ += sigma * sigma;
        within_ += std::abs(error) <= 2 * sigma ? 1 : 0;
        ++count_;
    }
    Coverage result() const {
        return {std::sqrt(sigmas_ / errors_), double(within_) / double(count_), count_};
    }

  private:
    double errors_ = 0;
    double sigmas_ = 0;
    std::int64_t within_ = 0;
    std::int64_t count_ = 0;
};

class Normal {
  public:
    explicit Normal(unsigned seed) : engine_(seed) {}
    double operator()(double deviation) { return deviation * distribution_(engine_); }

  private:
    std::mt19937_64 engine_;
    std::normal_distribution<double> distribution_;
};

/// Pixels from the nearest excluded one or from outside, rows and columns alike, up to `most`.
Bitmap<int> depth_in(const Bitmap<std::uint8_t>& mask, int most) {
    Bitmap<int> depth(mask.width(), mask.height(), 0);
    const auto at = [&](int x, int y) {
        return x < 0 || y < 0 || x >= mask.width() || y >= mask.height() ? 0 : depth(x, y);
    };
    for (int pass = 1; pass <= most; ++pass) {
        Bitmap<int> next = depth;
        for (int y = 0; y < mask.height(); ++y)
            for (int x = 0; x < mask.width(); ++x) {
                bool all = mask(x, y) == 0;
                for (int v = -1; v <= 1 && all && pass > 1; ++v)
                    for (int u = -1; u <= 1 && all; ++u)
                        all = at(x + u, y + v) >= pass - 1;
                if (all) next(x, y) = pass;
            }
        depth = next;
    }
    return depth;
}

image noisy(const image& source, const image* dark, const Disturbance& disturbance, bool is_dark,
            Normal& normal) {
    image result = source;
    Bitmap<float>& values = result.values();
    for (int y = 0; y < values.height(); ++y)
        for (int x = 0; x < values.width(); ++x) {
            const double read2 = disturbance.read * disturbance.read;
            const double light = dark ? values(x, y) - dark->values()(x, y) : 0;
            const double variance = is_dark ? read2 / disturbance.dark_frames
                                            : read2 + std::max(light, 0.0) / disturbance.gain;
            values(x, y) += static_cast<float>(normal(std::sqrt(variance)));
        }
    return result;
}

/// A point that can be computed again and again with other errors.
class DisturbedPoint {
  public:
    DisturbedPoint(const SyntheticOptions& options, const Disturbance& disturbance,
                   std::vector<std::pair<std::string, any>> settings,
                   const std::filesystem::path& folder)
        : disturbance_(disturbance) {
        register_plugins("*.2dio");
        const SyntheticPoint point = make_synthetic_point(options, context_);
        write_synthetic_point(point, folder, context_);
        const std::vector<std::pair<std::string, any>> own{
            {std::string(keys::uncertainty_enable.path), any(1)},
            {std::string(keys::sens_noise_gain.path), any(disturbance.gain)},
            {std::string(keys::sens_noise_read.path), any(disturbance.read)},
            {std::string(keys::refe_noise_gain.path), any(disturbance.gain)},
            {std::string(keys::refe_noise_read.path), any(disturbance.read)},
            {std::string(keys::uncertainty_frames_dark.path), any(disturbance.dark_frames)},
            {std::string(keys::uncertainty_flat_relative.path), any(disturbance.flat)},
            {std::string(keys::uncertainty_marker_sigma.path), any(1.25 * disturbance.markers)},
            {std::string(keys::uncertainty_t_on_sigma.path), any(disturbance.temperature)},
            {std::string(keys::uncertainty_t_off_sigma.path), any(0.0)},
            {std::string(keys::uncertainty_p_off_sigma.path), any(disturbance.wind_off_p)},
            {std::string(keys::uncertainty_static_sigma.path), any(disturbance.static_p)},
            {std::string(keys::uncertainty_lamp_level.path), any(disturbance.lamp)}};
        settings.insert(settings.begin(), own.begin(), own.end());
        if (ReadProjectTask(session_.get(), {.file = folder / "project.xml", .settings = settings})
                .run(context_) != TaskOutcome::done)
            throw std::runtime_error("the point can not be read");
        for (const auto& picture : session_.images.all())
            inputs_.push_back(picture);
        read(session_.data, std::string(keys::flow), flow_);
        read(session_.data, std::string(keys::sens_paint), paint_);
        ports_ = point.ports;
        if (disturbance_.in_situ) calibrate(ports_);
        compute();
        reference_ = session_.images.find(image_names::field);
        dots_ = point.truth_markers;
    }

    const image& reference() const { return *reference_; }
    const MarkerSet& dots() const { return dots_; }

    /// The field of a draw and its map.
    std::array<std::shared_ptr<const image>, 3> draw(unsigned seed) {
        Normal normal(seed);
        const double lamp = 1 + normal(disturbance_.lamp);
        std::shared_ptr<const image> dark;
        for (const auto& source : inputs_) {
            image picture = *source;
            const auto raw = std::ranges::find_if(
                raw_images(), [&](const RawImage& r) { return source->name == r.name; });
            const bool camera = raw != raw_images().end();
            const bool is_dark = source->name.find("dark") != std::string::npos;
            if (camera) {
                dark = find(raw->dark_name);
                if (raw->aligned_name)
                    for (int y = 0; y < picture.height(); ++y)
                        for (int x = 0; x < picture.width(); ++x) {
                            const float none = dark ? dark->values()(x, y) : 0;
                            float& value = picture.values()(x, y);
                            value = static_cast<float>(none + (value - none) / lamp);
                        }
                for (Marker& marker : picture.markers.markers) {
                    marker.x += normal(disturbance_.markers);
                    marker.y += normal(disturbance_.markers);
                }
            }
            if ((camera || is_dark) && disturbance_.gain > 0)
                picture =
                    noisy(picture, camera ? dark.get() : nullptr, disturbance_, is_dark, normal);
            if (source->name.find("flat") != std::string::npos)
                for (int y = 0; y < picture.height(); ++y)
                    for (int x = 0; x < picture.width(); ++x)
                        picture.values()(x, y) *= static_cast<float>(1 + normal(disturbance_.flat));
            session_.images.add(std::move(picture));
        }
        flowFeatures flow = flow_;
        flow.wind_on_t += normal(disturbance_.temperature);
        flow.wind_off_p += normal(disturbance_.wind_off_p);
        flow.static_p += normal(disturbance_.static_p);
        write(session_.data, std::string(keys::flow), flow);
        if (disturbance_.in_situ) {
            MarkerSet ports = ports_;
            for (Marker& port : ports.markers)
                port.f += normal(disturbance_.ports);
            calibrate(ports);
        }
        compute();
        return {session_.images.find(image_names::field), session_.images.find(image_names::sigma),
                session_.images.find(image_names::sigma_area)};
    }

    std::shared_ptr<const image> common() const {
        return session_.images.find(image_names::sigma_common);
    }

  private:
    std::shared_ptr<const image> find(const std::string& name) const {
        for (const auto& input : inputs_)
            if (input->name == name) return input;
        return nullptr;
    }
    /// With the point's own paint.
    void calibrate(const MarkerSet& ports) {
        write(session_.data, std::string(keys::sens_paint), paint_);
        write(session_.data, keys::convert_wind_off_ratio, std::string("law"));
        if (vyn::calculate(Goal::ratio, session_.get(), std::make_shared<RunReport>())
                ->run(context_) != TaskOutcome::done)
            throw std::runtime_error("the ratio can not be computed");
        const auto ratio = session_.images.find(image_names::ratio);
        const InSituOptions options = for_point(*disturbance_.in_situ, session_.get());
        InSituOutcome outcome =
            calibrate_samples(sample_ports(*ratio, ports, options.side), options);
        if (!outcome.calibration) throw std::runtime_error(outcome.reason);
        store_calibration(session_.data, *outcome.calibration, "unity");
    }
    void compute() {
        const auto job = calculate(Goal::all, session_.get(), std::make_shared<RunReport>());
        if (job->run(context_) != TaskOutcome::done)
            throw std::runtime_error("the point can not be computed");
    }

    Disturbance disturbance_;
    TaskContext context_;
    OwnSession session_;
    std::vector<std::shared_ptr<const image>> inputs_;
    std::shared_ptr<const image> reference_;
    MarkerSet dots_;
    flowFeatures flow_;
    paintFeatures paint_;
    MarkerSet ports_;
};

}  // namespace

CoverageOfPoint sigma_coverage(const SyntheticOptions& options, const Disturbance& disturbance,
                               const std::vector<std::pair<std::string, any>>& settings, int draws,
                               const std::filesystem::path& folder) {
    constexpr int off_rim = 8;
    constexpr int least = 2;
    constexpr double off_dots = 7;
    constexpr int square = 10;
    DisturbedPoint point(options, disturbance, settings, folder);
    const image& reference = point.reference();
    Bitmap<int> depth = depth_in(reference.mask(), off_rim + 1);
    for (const Marker& dot : point.dots().markers)
        for (int y = 0; y < depth.height(); ++y)
            for (int x = 0; x < depth.width(); ++x)
                if (std::hypot(x - dot.x, y - dot.y) < off_dots) depth(x, y) = 0;
    Tally inside;
    Tally rim;
    Tally means;
    for (int i = 0; i < draws; ++i) {
        const auto [field, sigma, area] = point.draw(static_cast<unsigned>(1000 + i));
        const auto common = point.common();
        const auto error = [&, &field = field](int x, int y) {
            return double(field->values()(x, y)) - reference.values()(x, y);
        };
        for (int y = 0; y < depth.height(); ++y)
            for (int x = 0; x < depth.width(); ++x)
                if (depth(x, y) > least && field->mask()(x, y) == 0)
                    (depth(x, y) > off_rim ? inside : rim).add(error(x, y), sigma->values()(x, y));
        for (int y0 = 0; y0 + square <= depth.height(); y0 += square)
            for (int x0 = 0; x0 + square <= depth.width(); x0 += square) {
                double sum = 0;
                double random = 0;
                double shared = 0;
                bool whole = true;
                for (int y = y0; y < y0 + square; ++y)
                    for (int x = x0; x < x0 + square; ++x) {
                        whole = whole && depth(x, y) > off_rim && field->mask()(x, y) == 0;
                        sum += error(x, y);
                        random += std::pow(area->values()(x, y), 2);
                        shared += common->values()(x, y);
                    }
                constexpr double n = square * square;
                if (whole) means.add(sum / n, std::hypot(std::sqrt(random) / n, shared / n));
            }
    }
    return {inside.result(), rim.result(), means.result()};
}

}  // namespace vyn::test
