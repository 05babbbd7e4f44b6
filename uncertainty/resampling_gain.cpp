#include "uncertainty/resampling_gain.h"

#include <cmath>
#include <cstdlib>

#include "api/spline.h"

namespace vyn {

namespace {

/// Beyond, a cardinal spline of degree 5 is below 1e-4.
constexpr int spline_reach = 12;

using Weights = std::vector<double>;

/// Of the weight of pixel `offset` among those from -reach to reach.
std::size_t index(int offset, int reach) {
    return static_cast<std::size_t>(offset) + static_cast<std::size_t>(reach);
}

/// Weights of the pixels -spline_reach .. spline_reach for a place `phase` pixels after pixel 0:
/// what the spline through a single 1 is there.
class CardinalSpline {
  public:
    explicit CardinalSpline(int degree) : impulse_(impulse(degree)) {}

    Weights at(double phase) const {
        Weights weights(2 * spline_reach + 1);
        for (int j = -spline_reach; j <= spline_reach; ++j)
            weights[index(j, spline_reach)] = impulse_.at(centre + phase - j, centre);
        return weights;
    }

  private:
    static constexpr int centre = 2 * spline_reach + 4;

    static SplineCoefficients impulse(int degree) {
        constexpr int size = 2 * centre + 1;
        Bitmap<float> values(size, size, 0);
        values(centre, centre) = 1;
        Progress progress;
        return {values, Bitmap<std::uint8_t>(size, size, 0), degree, SplineEdges::stored, progress};
    }

    SplineCoefficients impulse_;
};

Weights convolved(const Weights& a, const Weights& b) {
    Weights result(a.size() + b.size() - 1, 0);
    for (std::size_t i = 0; i < a.size(); ++i)
        for (std::size_t j = 0; j < b.size(); ++j)
            result[i + j] += a[i] * b[j];
    return result;
}

double squares(const Weights& weights) {
    double sum = 0;
    for (const double weight : weights)
        sum += weight * weight;
    return sum;
}

/// All passes of a filter along one axis.
Weights window_of(const FilterOptions* filter, int width) {
    Weights all{1};
    if (!filter || filter->type == FilterType::limits || width < 2) return all;
    const int odd = width | 1;
    const int half = odd / 2;
    Weights pass(static_cast<std::size_t>(odd));
    double sum = 0;
    for (int i = 0; i < odd; ++i) {
        const double u = static_cast<double>(i - half) / half;
        const bool gauss =
            filter->type == FilterType::gauss || filter->type == FilterType::range_gauss;
        const double weight = gauss ? std::exp(-u * u) : 1;
        pass[static_cast<std::size_t>(i)] = weight;
        sum += weight;
    }
    for (double& weight : pass)
        weight /= sum;
    for (int i = 0; i < filter->iterations; ++i)
        all = convolved(all, pass);
    return all;
}

}  // namespace

ResamplingWeights::ResamplingWeights(int degree, Samplings samplings, const FilterOptions* filter,
                                     int filter_width)
    : samplings_(samplings) {
    const Weights window = window_of(filter, filter_width);
    const CardinalSpline spline(degree);
    std::vector<Weights> sampled;
    sampled.reserve(phases);
    for (int phase = 0; phase < (samplings == Samplings::none ? 1 : phases); ++phase)
        sampled.push_back(spline.at(double(phase) / phases));
    if (samplings == Samplings::none) sampled.front() = {1};
    for (const Weights& first : sampled) {
        const Weights filtered = convolved(first, window);
        if (samplings != Samplings::two) {
            weights_.push_back(filtered);
            continue;
        }
        for (const Weights& second : sampled)
            weights_.push_back(convolved(filtered, second));
    }
    reach_ = static_cast<int>(weights_.front().size() / 2);
}

const Weights& ResamplingWeights::at(int first, int second) const {
    const auto stride = static_cast<std::size_t>(seconds());
    return weights_[static_cast<std::size_t>(first) * stride + static_cast<std::size_t>(second)];
}

std::vector<float> ResamplingWeights::gains() const {
    std::vector<float> gains;
    gains.reserve(weights_.size());
    for (const Weights& weights : weights_)
        gains.push_back(static_cast<float>(squares(weights)));
    return gains;
}

SharedWeights::SharedWeights(const ResamplingWeights& a, const ResamplingWeights& b) {
    constexpr int coarser = ResamplingWeights::phases / phases;
    const auto count = [](int fine) { return fine == 1 ? 1 : fine / coarser; };
    a_firsts_ = count(a.firsts());
    b_firsts_ = count(b.firsts());
    b_seconds_ = count(b.seconds());
    const auto correlation = [&](const Weights& of_a, const Weights& of_b, int apart) {
        double sum = 0;
        for (int j = -a.reach(); j <= a.reach(); ++j) {
            const int in_b = j - apart;
            if (std::abs(in_b) <= b.reach())
                sum += of_a[index(j, a.reach())] * of_b[index(in_b, b.reach())];
        }
        return static_cast<float>(sum / std::sqrt(squares(of_a) * squares(of_b)));
    };
    for (int fa = 0; fa < a_firsts_; ++fa)
        for (int fb = 0; fb < b_firsts_; ++fb)
            for (int sb = 0; sb < b_seconds_; ++sb)
                for (int apart = -most_apart; apart <= most_apart; ++apart)
                    table_.push_back(correlation(a.at(fa * coarser, 0),
                                                 b.at(fb * coarser, sb * coarser), apart));
}

}  // namespace vyn
