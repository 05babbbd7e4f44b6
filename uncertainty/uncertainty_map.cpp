#include "uncertainty/uncertainty_map.h"

#include <algorithm>
#include <cmath>

#include "api/image_parts.h"
#include "uncertainty/map_rows.h"

namespace vyn {

namespace {

image like_field(const image& field) {
    image plane = with_planes(field, Bitmap<float>(field.width(), field.height()), field.mask());
    plane.name = field.name + "_sigma";
    plane.file_name.clear();
    plane.quantity.deviation = true;
    plane.displacement.reset();
    return plane;
}

/// With the same mask, in the same memory.
image beside(const image& total, const std::string& name) {
    image plane = total;
    plane.set_values(Bitmap<float>(total.width(), total.height()));
    plane.name += "_" + name;
    return plane;
}

void check_sizes(const UncertainPoint& point) {
    const image& field = *point.field;
    check_same_size(field, *point.ratio);
    if (point.temperature)
        for (const image* plane : {point.temperature->values, point.temperature->sigma})
            check_same_size(field, *plane);
    for (const UncertainPicture& picture : point.pictures)
        check_same_size(field, *picture.in_frame);
}

/// Median and 95 %; of large images over pixels of a grid.
void quantiles(const image& total, UncertaintyBudget& budget) {
    constexpr double most = 200'000;
    const int step =
        std::max(1, static_cast<int>(std::sqrt(double(total.width()) * total.height() / most)));
    std::vector<float> sample;
    for (int y = 0; y < total.height(); y += step)
        for (int x = 0; x < total.width(); x += step)
            if (total.mask()(x, y) == 0) sample.push_back(total.values()(x, y));
    if (sample.empty()) return;
    auto from = sample.begin();
    const auto at = [&](double share) {
        const auto place = sample.begin() + std::ptrdiff_t(share * double(sample.size() - 1));
        std::nth_element(from, place, sample.end());
        from = place;  // what comes behind it is larger
        return double(*place);
    };
    budget.median = at(0.5);
    budget.quantile_95 = at(0.95);
}

/// Whether a point has that part at all.
bool applies(const UncertainPoint& point, SigmaTerm term) {
    const FieldQuantity quantity = point.conversion.quantity;
    switch (term) {
        case SigmaTerm::flat:
            return !point.flat_cancels &&
                   std::ranges::any_of(point.pictures, &UncertainPicture::flat);
        case SigmaTerm::temperature:
        case SigmaTerm::law:
            return quantity != FieldQuantity::ratio;
        case SigmaTerm::reference:
            return quantity != FieldQuantity::ratio && point.law.through_reference;
        case SigmaTerm::conditions:
            return quantity == FieldQuantity::cp || quantity == FieldQuantity::p_over_static;
        case SigmaTerm::lamp:
            return !point.lamp_cancels;
        case SigmaTerm::noise:
        case SigmaTerm::registration:
            break;
    }
    return true;
}

/// A part may be known and nothing, as the flat field's where the model did not move.
bool known(const UncertainPoint& point, SigmaTerm term, double sum) {
    switch (term) {
        case SigmaTerm::noise:
            return std::ranges::none_of(point.pictures, [](const UncertainPicture& picture) {
                return picture.noise.source == NoiseSource::unknown;
            });
        case SigmaTerm::flat:
            return std::ranges::any_of(
                point.shared, [](const SharedPictures& pair) { return pair.flat_relative > 0; });
        case SigmaTerm::registration:
            return !point.moved.empty();
        case SigmaTerm::law:
            return point.law.law_known;
        case SigmaTerm::lamp:
        case SigmaTerm::temperature:
        case SigmaTerm::reference:
        case SigmaTerm::conditions:
            break;
    }
    return sum > 0;
}

UncertaintyBudget budget_of(const UncertainPoint& point, const SigmaSums& sums,
                            const image& total) {
    UncertaintyBudget budget;
    budget.unit = total.unit;
    budget.valid = sums.valid;
    budget.too_noisy = sums.too_noisy;
    budget.largest = double(sums.largest);
    budget.noise = point.pictures.empty() ? NoiseSource::unknown : point.pictures[0].noise.source;
    for (const UncertainPicture& picture : point.pictures)
        if (picture.noise.source == NoiseSource::unknown) budget.noise = NoiseSource::unknown;
    if (!point.moved.empty()) {
        budget.registration_px = point.moved.front().variance.typical();
        budget.registration_source = point.moved.front().variance.source;
    }
    double whole = 0;
    for (std::size_t i = 0; i < sigma_term_count; ++i)
        whole += sums.terms[i];
    if (sums.valid > 0) budget.shot_noise_floor = std::sqrt(sums.terms.back() / double(sums.valid));
    for (std::size_t i = 0; i < sigma_term_count; ++i) {
        BudgetLine& line = budget.lines[i];
        line.term = static_cast<SigmaTerm>(i);
        line.random = line.term == SigmaTerm::noise || line.term == SigmaTerm::flat;
        if (sums.valid > 0) line.rms = std::sqrt(sums.terms[i] / double(sums.valid));
        if (whole > 0) line.share = sums.terms[i] / whole;
        line.applies = applies(point, line.term);
        line.known = line.applies && known(point, line.term, sums.terms[i]);
    }
    quantiles(total, budget);
    return budget;
}

}  // namespace

UncertaintyMap uncertainty_map(const UncertainPoint& point, Progress& progress) {
    check_sizes(point);
    const image& field = *point.field;
    UncertaintyMap map;
    map.total = like_field(field);
    map.common = beside(map.total, "common");
    map.area = beside(map.total, "area");
    if (point.keep_terms)
        for (std::size_t i = 0; i < sigma_term_count; ++i)
            map.terms.push_back(beside(map.total, sigma_term_name(static_cast<SigmaTerm>(i))));
    map.budget = budget_of(point, fill_map(point, map, progress), map.total);
    return map;
}

}  // namespace vyn
