#include "render/line_profile.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "core/errors.h"
#include "core/numbers.h"

namespace vyn {

namespace {

constexpr double gap = std::numeric_limits<double>::quiet_NaN();

/// A pixel's share of a value; NaN for one that cannot give it.
double pixel(const image& picture, int x, int y) {
    if (!picture.values().contains(x, y) || picture.mask()(x, y) != 0) return gap;
    return double{picture.values()(x, y)};
}

double bilinear(const image& picture, Point p) {
    if (!(p.x >= 0 && p.x <= picture.width() - 1 && p.y >= 0 && p.y <= picture.height() - 1))
        return gap;
    const int x = static_cast<int>(p.x);
    const int y = static_cast<int>(p.y);
    const double u = p.x - x;
    const double v = p.y - y;
    double sum = 0;
    for (const int j : {0, 1})
        for (const int i : {0, 1}) {
            const double weight = (i == 1 ? u : 1 - u) * (j == 1 ? v : 1 - v);
            if (weight > 0) sum += weight * pixel(picture, x + i, y + j);
        }
    return sum;
}

/// The places across the line that have a value.
struct Band {
    double sum = 0;
    double squares = 0;
    int count = 0;

    double mean() const { return count > 0 ? sum / count : gap; }
};

Band band_of(const image& picture, Point middle, Point across, int width) {
    Band band;
    for (int k = 0; k < width; ++k) {
        const double offset = k - (width - 1) / 2.0;
        const double value =
            bilinear(picture, {middle.x + offset * across.x, middle.y + offset * across.y});
        if (!std::isfinite(value)) continue;
        band.sum += value;
        band.squares += value * value;
        ++band.count;
    }
    return band;
}

Point across_line(const LineProfile& profile) {
    if (!(profile.length > 0)) return {0, 1};
    return {-(profile.to.y - profile.from.y) / profile.length,
            (profile.to.x - profile.from.x) / profile.length};
}

/// A text as one cell of comma-separated values (RFC 4180).
std::string in_csv_quotes(const std::string& text) {
    std::string quoted = "\"";
    for (const char c : text)
        quoted += c == '"' ? std::string("\"\"") : std::string(1, c);
    return quoted + '"';
}

}  // namespace

LineProfile sample_profile(const image& picture, Point from, Point to, int width) {
    picture.check_planes();
    LineProfile profile{from, to, std::hypot(to.x - from.x, to.y - from.y), {}};
    if (!(profile.length <= longest_profile))
        throw AlgoError("Algorithm error!",
                        "a profile needs two positions at most 100000 pixels apart");
    if (width < 1 || width > widest_profile)
        throw AlgoError("Algorithm error!",
                        "a profile is 1 to " + std::to_string(widest_profile) + " pixels wide");
    const int steps = static_cast<int>(std::ceil(profile.length));
    const Point along{to.x - from.x, to.y - from.y};
    const Point across = across_line(profile);
    for (int i = 0; i <= steps; ++i) {
        const double part = steps > 0 ? double(i) / steps : 0;
        const Point place{from.x + part * along.x, from.y + part * along.y};
        profile.samples.push_back(
            {part * profile.length, place, band_of(picture, place, across, width).mean()});
    }
    return profile;
}

void add_sigmas(LineProfile& profile, const ProfileSigmas& sigmas, int width) {
    const Point across = across_line(profile);
    for (ProfileSample& sample : profile.samples) {
        if (width == 1) {
            sample.sigma = band_of(sigmas.total, sample.place, across, 1).mean();
            continue;
        }
        const Band random = band_of(sigmas.area, sample.place, across, width);
        sample.sigma = std::hypot(band_of(sigmas.common, sample.place, across, width).mean(),
                                  std::sqrt(random.squares) / random.count);
    }
}

std::vector<std::span<const ProfileSample>> unbroken_parts(const LineProfile& profile) {
    std::vector<std::span<const ProfileSample>> parts;
    const std::span<const ProfileSample> all(profile.samples);
    for (std::size_t i = 0; i < all.size(); ++i) {
        const std::size_t first = i;
        while (i < all.size() && std::isfinite(all[i].value))
            ++i;
        if (i > first) parts.push_back(all.subspan(first, i - first));
    }
    return parts;
}

std::optional<double> value_at(const LineProfile& profile, double distance) {
    if (!(distance >= 0 && distance <= profile.length)) return std::nullopt;
    const std::size_t last = profile.samples.size() - 1;
    const double at = last > 0 ? distance / profile.length * static_cast<double>(last) : 0;
    const std::size_t i = std::min(static_cast<std::size_t>(at), last);
    const std::size_t next = std::min(i + 1, last);
    const double part = at - static_cast<double>(i);
    const double value =
        part > 0 ? (1 - part) * profile.samples[i].value + part * profile.samples[next].value
                 : profile.samples[i].value;
    if (!std::isfinite(value)) return std::nullopt;
    return value;
}

std::string profile_csv(std::span<const LineProfile> profiles, std::span<const ProfileName> names) {
    const bool with_sigma = std::ranges::any_of(profiles, [](const LineProfile& profile) {
        return std::ranges::any_of(profile.samples,
                                   [](const auto& sample) { return !std::isnan(sample.sigma); });
    });
    const auto cell = [](double value) {
        return "," + (std::isnan(value) ? "" : format_double(value));
    };
    std::string text = "line,distance,x,y,value";
    if (with_sigma) text += ",sigma";
    if (!names.empty()) text += ",image";
    text += "\n";
    for (std::size_t line = 0; line < profiles.size(); ++line)
        for (const ProfileSample& sample : profiles[line].samples) {
            text += std::to_string(names.empty() ? line + 1 : names[line].line);
            for (const double number : {sample.distance, sample.place.x, sample.place.y})
                text += "," + format_double(number);
            text += cell(sample.value);
            if (with_sigma) text += cell(sample.sigma);
            if (!names.empty()) text += "," + in_csv_quotes(names[line].image);
            text += "\n";
        }
    return text;
}

}  // namespace vyn
