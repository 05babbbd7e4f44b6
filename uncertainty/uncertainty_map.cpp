#include "uncertainty/uncertainty_map.h"

#include <algorithm>
#include <cmath>
#include <memory>

#include "api/image_parts.h"
#include "api/isa.h"
#include "api/parallel.h"
#include "uncertainty/kernels/sigma_kernels.h"

namespace vyn {

VYN_CHOOSE_KERNELS(SigmaKernels, sigma_kernels)

namespace {

constexpr int rows_per_block = 32;
/// Pixels of a row that are combined at once; the rows of terms are no power of two apart.
constexpr int piece = 512;
constexpr int piece_stride = piece + 24;
static_assert(sigma_rows == sigma_term_count + 1);

using Floats = std::vector<float>;
using Parts = std::vector<std::int32_t>;

/// Tables of a picture's interpolation and filter, per axis.
struct PictureTables {
    PictureTables(const UncertainPoint& point, const UncertainPicture& picture)
        : samplings(!picture.camera        ? Samplings::none
                    : !picture.undistorted ? Samplings::one
                                           : Samplings::two),
          x(point.degree, samplings, filter_of(point), point.filter ? point.filter->dx : 0),
          y(point.degree, samplings, filter_of(point), point.filter ? point.filter->dy : 0),
          gain_x(x.gains()),
          gain_y(y.gains()),
          filter(static_cast<float>(variance_of_filter(filter_of(point)))) {}

    static const FilterOptions* filter_of(const UncertainPoint& point) {
        // A window of one pixel in either direction leaves the picture as it is.
        if (!point.filter || point.filter->dx < 2 || point.filter->dy < 2) return nullptr;
        return &*point.filter;
    }

    Samplings samplings;
    ResamplingWeights x;
    ResamplingWeights y;
    Floats gain_x;
    Floats gain_y;
    float filter;
};

/// Where a map takes the pixels of rows that are asked for in their order: every few rows by the
/// map itself, straight between them, which is far finer than the parts of a pixel that count here.
class MappedRows {
  public:
    void at(const RowMap& map, int y, int width, const SigmaKernels& kernels, Parts& x,
            Parts& y_out) {
        const int first = y - y % step;
        if (first != first_) {
            if (first == first_ + step && first_ >= 0)
                std::swap(above_, below_);
            else
                above_.fill(map, first, width);
            below_.fill(map, first + step, width);
            first_ = first;
        }
        const double share = double(y - first) / step;
        kernels.places(above_.x.data(), below_.x.data(), share, width, x.data());
        kernels.places(above_.y.data(), below_.y.data(), share, width, y_out.data());
    }

  private:
    static constexpr int step = 4;
    struct Row {
        void fill(const RowMap& map, int row, int width) {
            x.resize(static_cast<std::size_t>(width));
            y.resize(x.size());
            map(0, width, row, x.data(), y.data());
        }
        std::vector<double> x, y;
    };
    int first_ = -1;
    Row above_, below_;
};

/// Squared slopes of ln I along a row, 0 where they are not known.
struct Slopes {
    Floats x, y, valid;
};

/// Tables of two pictures' common pixels.
struct SharedTables {
    SharedTables(const PictureTables& a, const PictureTables& b) : x(a.x, b.x), y(a.y, b.y) {}
    SharedWeights x;
    SharedWeights y;
};

/// A row of one picture.
struct PictureRow {
    explicit PictureRow(int n)
        : camera_x(size(n)),
          camera_y(size(n)),
          undistorted_x(size(n)),
          undistorted_y(size(n)),
          phase_x(size(n)),
          phase_y(size(n)),
          flat(size(n), 1),
          gain(size(n)),
          own(size(n)) {}
    static std::size_t size(int n) { return static_cast<std::size_t>(n); }
    /// The places of a picture that nobody moved.
    void lies_at(int y) {
        for (std::size_t x = 0; x < camera_x.size(); ++x)
            camera_x[x] = static_cast<std::int32_t>(x) * ResamplingWeights::phases;
        std::ranges::fill(camera_y, y * ResamplingWeights::phases);
    }

    MappedRows camera, undistorted;
    Parts camera_x, camera_y, undistorted_x, undistorted_y, phase_x, phase_y;
    Floats flat, gain, own;
};

class MapRows {
  public:
    MapRows(const UncertainPoint& point, UncertaintyMap& map)
        : point_(point),
          map_(map),
          kernels_(active_sigma_kernels()),
          width_(point.field->width()),
          height_(point.field->height()) {
        for (const UncertainPicture& picture : point.pictures)
            tables_.emplace_back(point, picture);
        for (const SharedPictures& pair : point.shared)
            shared_.emplace_back(tables_[pair.a], tables_[pair.b]);
        const FieldConversion& conversion = point.conversion;
        law_.fa = static_cast<float>(conversion.wind_off_ratio);
        std::ranges::transform(point.law.by_log_ratio, law_.by_log_ratio,
                               [](double c) { return static_cast<float>(c); });
        std::ranges::copy(point.law.temperature, law_.temperature);
        std::ranges::copy(point.law.reference, law_.reference);
        std::ranges::copy(point.law.law, law_.law);
        set_scale(conversion);
        if (point.temperature) set_laws(*point.temperature);
        sums_.assign(static_cast<std::size_t>(height_), {});
    }

    void operator()(int y0, int y1);

    /// Of one row.
    struct Sums {
        std::array<double, sigma_rows> terms{};
        float largest = 0;
        int valid = 0;
        int too_noisy = 0;
    };
    struct AllSums {
        std::array<double, sigma_rows> terms{};
        float largest = 0;
        std::int64_t valid = 0;
        std::int64_t too_noisy = 0;
    };
    /// Over all rows, in their order.
    AllSums sums() const {
        AllSums all;
        for (const Sums& row : sums_) {
            all.largest = std::max(all.largest, row.largest);
            for (std::size_t i = 0; i < all.terms.size(); ++i)
                all.terms[i] += row.terms[i];
            all.valid += row.valid;
            all.too_noisy += row.too_noisy;
        }
        return all;
    }

  private:
    struct Rows;

    void set_scale(const FieldConversion& conversion) {
        const auto square = [](double value) { return value * value; };
        double scale = conversion.unit_factor;
        double shift = 0;
        double divisor = 0;
        if (conversion.quantity == FieldQuantity::p_over_static) {
            scale = 1 / conversion.static_pressure;
            divisor = point_.conditions.static_p / conversion.static_pressure;
        } else if (conversion.quantity == FieldQuantity::cp) {
            scale = 1 / conversion.dynamic_pressure;
            shift = point_.conditions.static_p / conversion.dynamic_pressure;
            divisor = point_.conditions.dynamic_p / conversion.dynamic_pressure;
        }
        law_.scale = static_cast<float>(scale);
        law_.shift2 = static_cast<float>(square(shift));
        law_.of_value2 = static_cast<float>(square(divisor));
    }

    void set_laws(const UncertainTemperature& temperature) {
        const LawsOverTemperature& laws = temperature.laws;
        const auto fill = [&](auto member, auto& table) {
            for (std::size_t i = 0; i < std::size(table); ++i) {
                std::array<double, 5> values{};
                for (std::size_t k = 0; k < values.size(); ++k)
                    values[k] = (laws.at[k].*member)[i];
                std::ranges::copy(polynomial_through(values), table[i]);
            }
        };
        law_.given = true;
        fill(&LawVariance::by_log_ratio, of_temperature_.by_log_ratio);
        fill(&LawVariance::temperature, of_temperature_.temperature);
        fill(&LawVariance::reference, of_temperature_.reference);
        fill(&LawVariance::law, of_temperature_.law);
        const PaintLawOfTemperature& units = temperature.map.law;
        of_temperature_.factor = units.factor / laws.half;
        of_temperature_.offset = (units.offset - laws.middle) / laws.half;
        of_temperature_.to_law = units.factor;
    }

    PlaceRow place_of(std::size_t i, const Parts& camera, const Parts& undistorted) const;
    void picture_row(std::size_t i, int y, Rows& rows) const;
    void shared_row(std::size_t pair, int y, Rows& rows) const;
    void slopes(const MovedPictures& moved, int y, Slopes& slopes) const;
    void registration_row(std::size_t i, int y, Rows& rows) const;
    void combine(const RatioVarianceRow& row, int y, Rows& rows);

    const UncertainPoint& point_;
    UncertaintyMap& map_;
    const SigmaKernels& kernels_;
    int width_;
    int height_;
    std::vector<PictureTables> tables_;
    std::vector<SharedTables> shared_;
    LawRow law_{};
    LawOfTemperature of_temperature_{};
    std::vector<Sums> sums_;
};

/// What one block of rows works with.
struct MapRows::Rows {
    Rows(std::size_t pictures, std::size_t moved, int n)
        : of_picture(pictures, PictureRow(n)), slopes(moved), slopes_of(moved, -2) {
        const auto size = static_cast<std::size_t>(n);
        for (Floats* plane : {&noise, &white, &shot, &largest, &slope_sums.x, &slope_sums.y,
                              &slope_sums.valid, &flat, &flat_white, &registration, &correlation,
                              &of_difference, &measured, &var_x, &var_y})
            plane->resize(size);
        for (std::array<Slopes, 3>& three : slopes)
            for (Slopes& row : three)
                for (Floats* plane : {&row.x, &row.y, &row.valid})
                    plane->resize(size);
        for (Parts* plane : {&phase_a, &phase_b, &base_a, &base_b})
            plane->resize(size);
        terms.resize(static_cast<std::size_t>(piece_stride) * sigma_rows);
    }

    std::vector<PictureRow> of_picture;
    NoiseSums sums() { return {noise.data(), white.data(), shot.data(), largest.data()}; }

    Slopes slope_sums;
    Floats noise, white, shot, largest, flat, flat_white, registration, correlation, of_difference,
        measured, var_x, var_y, terms;
    std::vector<std::array<Slopes, 3>> slopes;  ///< of the rows y - 1, y and y + 1
    std::vector<int> slopes_of;                 ///< that y
    Parts phase_a, phase_b, base_a, base_b;
};

void MapRows::picture_row(std::size_t i, int y, Rows& rows) const {
    const UncertainPicture& picture = point_.pictures[i];
    const PictureTables& tables = tables_[i];
    PictureRow& row = rows.of_picture[i];
    if (picture.camera)
        row.camera.at(picture.camera, y, width_, kernels_, row.camera_x, row.camera_y);
    else
        row.lies_at(y);
    if (tables.samplings == Samplings::two)
        row.undistorted.at(picture.undistorted, y, width_, kernels_, row.undistorted_x,
                           row.undistorted_y);
    const PlaceRow x = place_of(i, row.camera_x, row.undistorted_x);
    const PlaceRow along_y = place_of(i, row.camera_y, row.undistorted_y);
    kernels_.phase(x, tables.x.seconds(), 0, width_, row.phase_x.data());
    kernels_.phase(along_y, tables.y.seconds(), 0, width_, row.phase_y.data());
    kernels_.gain(tables.gain_x.data(), tables.gain_y.data(), row.phase_x.data(),
                  row.phase_y.data(), width_, row.gain.data());
    const auto nearest = [&](const Bitmap<float>& plane, Floats& out) {
        kernels_.nearest(static_cast<int>(plane.stride()), plane.width(), plane.height(),
                         row.camera_x.data(), row.camera_y.data(), width_, rows.phase_a.data());
        kernels_.gather(plane.row(0), rows.phase_a.data(), width_, out.data());
    };
    if (picture.flat) nearest(picture.flat->values(), row.flat);
    const NoiseLine& line = picture.noise;
    NoiseRow noise{picture.in_frame->values().row(y),
                   row.flat.data(),
                   static_cast<float>(line.offset),
                   static_cast<float>(line.slope),
                   static_cast<float>(line.relative * line.relative),
                   static_cast<float>(line.dark),
                   tables.filter};
    if (line.frames) {
        noise.slope = 1 / static_cast<float>(line.frames->frames);
        nearest(line.frames->variance, rows.measured);
        kernels_.measured_noise(noise, rows.measured.data(), row.gain.data(), width_, rows.sums(),
                                row.own.data());
    } else {
        kernels_.noise(noise, row.gain.data(), width_, rows.sums(), row.own.data());
    }
}

PlaceRow MapRows::place_of(std::size_t i, const Parts& camera, const Parts& undistorted) const {
    return {camera.data(), tables_[i].samplings == Samplings::two ? undistorted.data() : nullptr};
}

void MapRows::shared_row(std::size_t pair, int y, Rows& rows) const {
    const SharedPictures& what = point_.shared[pair];
    const SharedTables& tables = shared_[pair];
    const PictureRow& a = rows.of_picture[what.a];
    const PictureRow& b = rows.of_picture[what.b];
    std::ranges::fill(rows.correlation, 1.0F);
    const auto along = [&](const SharedWeights& weights, PlaceRow place_a, PlaceRow place_b) {
        kernels_.phase(place_a, 1, 1, width_, rows.phase_a.data());
        kernels_.phase(place_b, weights.b_seconds(), 1, width_, rows.phase_b.data());
        kernels_.base(place_a, width_, rows.base_a.data());
        kernels_.base(place_b, width_, rows.base_b.data());
        kernels_.shared(weights.table().data(), weights.b_firsts() * weights.b_seconds(),
                        SharedWeights::most_apart, rows.phase_a.data(), rows.base_a.data(),
                        rows.phase_b.data(), rows.base_b.data(), width_, rows.correlation.data());
    };
    along(tables.x, place_of(what.a, a.camera_x, a.undistorted_x),
          place_of(what.b, b.camera_x, b.undistorted_x));
    along(tables.y, place_of(what.a, a.camera_y, a.undistorted_y),
          place_of(what.b, b.camera_y, b.undistorted_y));
    const auto intensity = [&](std::size_t i) {
        return point_.pictures[i].in_frame->values().row(y);
    };
    const SharedRow row{a.gain.data(),
                        b.gain.data(),
                        intensity(what.a),
                        intensity(what.b),
                        a.flat.data(),
                        b.flat.data(),
                        static_cast<float>(what.flat_relative * what.flat_relative),
                        what.same_dark ? float(point_.pictures[what.a].noise.dark) : 0.0F};
    kernels_.common(row, rows.correlation.data(), width_, rows.sums(), rows.flat.data(),
                    rows.flat_white.data());
}

void MapRows::slopes(const MovedPictures& moved, int y, Slopes& slopes) const {
    std::ranges::fill(slopes.x, 0.0F);
    std::ranges::fill(slopes.y, 0.0F);
    std::ranges::fill(slopes.valid, y > 0 && y < height_ - 1 ? 1.0F : 0.0F);
    if (y <= 0 || y >= height_ - 1) return;
    for (const MovedPictures::Part& part : moved.parts) {
        const image& picture = *point_.pictures[part.picture].in_frame;
        const Bitmap<float>& values = picture.values();
        const Bitmap<std::uint8_t>& mask = picture.mask();
        kernels_.slope(values.row(y - 1), values.row(y), values.row(y + 1), mask.row(y - 1),
                       mask.row(y), mask.row(y + 1), float(part.sign), width_, slopes.x.data(),
                       slopes.y.data(), slopes.valid.data());
    }
    kernels_.squares(width_, slopes.x.data(), slopes.y.data(), slopes.valid.data());
}

void MapRows::registration_row(std::size_t i, int y, Rows& rows) const {
    const MovedPictures& moved = point_.moved[i];
    std::array<Slopes, 3>& three = rows.slopes[i];
    // The rows y - 1 and y are those of the pixel row before.
    if (rows.slopes_of[i] == y - 1) {
        std::rotate(three.begin(), three.begin() + 1, three.end());
        slopes(moved, y + 1, three[2]);
    } else {
        for (int k = 0; k < 3; ++k)
            slopes(moved, y + k - 1, three[static_cast<std::size_t>(k)]);
    }
    rows.slopes_of[i] = y;
    moved.variance.row(width_, y, rows.var_x.data(), rows.var_y.data());
    std::ranges::fill(rows.of_difference, 0.0F);
    for (const MovedPictures::Part& part : moved.parts) {
        const Floats& own = rows.of_picture[part.picture].own;
        for (std::size_t x = 0; x < own.size(); ++x)
            rows.of_difference[x] += own[x] / 2;
    }
    const auto column_sums = [&](Floats Slopes::*plane) {
        kernels_.column_sums(
            {(three[0].*plane).data(), (three[1].*plane).data(), (three[2].*plane).data()}, width_,
            (rows.slope_sums.*plane).data());
    };
    for (Floats Slopes::*plane : {&Slopes::x, &Slopes::y, &Slopes::valid})
        column_sums(plane);
    kernels_.registration(
        {rows.slope_sums.x.data(), rows.slope_sums.y.data(), rows.slope_sums.valid.data()},
        rows.of_difference.data(), rows.var_x.data(), rows.var_y.data(), width_,
        rows.registration.data());
}

/// In pieces whose terms stay in the fastest memory.
void MapRows::combine(const RatioVarianceRow& row, int y, Rows& rows) {
    Sums& sums = sums_[static_cast<std::size_t>(y)];
    const std::uint8_t* mask = point_.field->mask().row(y);
    float* total = map_.total.values().row(y);
    for (int x = 0; x < width_; x += piece) {
        const int n = std::min(piece, width_ - x);
        const RatioVarianceRow part{row.noise + x, row.noise_white + x, row.shot + x,
                                    row.flat + x,  row.flat_white + x,  row.registration + x,
                                    row.lamp};
        if (const auto& temperature = point_.temperature)
            kernels_.law_at(law_, of_temperature_, point_.ratio->values().row(y) + x,
                            temperature->values->values().row(y) + x,
                            temperature->sigma->values().row(y) + x, mask + x, n,
                            {rows.terms.data(), piece_stride});
        kernels_.combine(law_, part, point_.ratio->values().row(y) + x,
                         point_.field->values().row(y) + x, mask + x, n,
                         {rows.terms.data(), piece_stride}, total + x,
                         map_.common.values().row(y) + x, map_.area.values().row(y) + x);
        for (std::size_t term = 0; term < sums.terms.size(); ++term)
            sums.terms[term] += kernels_.sum(rows.terms.data() + term * piece_stride, n);
        for (std::size_t term = 0; term < map_.terms.size(); ++term)
            kernels_.root(rows.terms.data() + term * piece_stride, n,
                          map_.terms[term].values().row(y) + x);
    }
    constexpr float limit = 0.1F * 0.1F;
    kernels_.tally(rows.largest.data(), mask, width_, limit, &sums.valid, &sums.too_noisy);
    sums.largest = kernels_.largest(total, width_);
}

void MapRows::operator()(int y0, int y1) {
    Rows rows(point_.pictures.size(), point_.moved.size(), width_);
    const auto lamp = static_cast<float>(point_.lamp + point_.other);
    for (int y = y0; y < y1; ++y) {
        for (Floats* plane : {&rows.noise, &rows.white, &rows.shot, &rows.largest, &rows.flat,
                              &rows.flat_white, &rows.registration})
            std::ranges::fill(*plane, 0.0F);
        for (std::size_t i = 0; i < point_.pictures.size(); ++i)
            picture_row(i, y, rows);
        for (std::size_t pair = 0; pair < shared_.size(); ++pair)
            shared_row(pair, y, rows);
        for (std::size_t i = 0; i < point_.moved.size(); ++i)
            registration_row(i, y, rows);
        const RatioVarianceRow variances{rows.noise.data(),
                                         rows.white.data(),
                                         rows.shot.data(),
                                         rows.flat.data(),
                                         rows.flat_white.data(),
                                         rows.registration.data(),
                                         lamp};
        combine(variances, y, rows);
    }
}

image like_field(const image& field, const char* name) {
    image plane = with_planes(field, Bitmap<float>(field.width(), field.height()), field.mask());
    plane.name = field.name + "_sigma" + name;
    plane.file_name.clear();
    plane.quantity.deviation = true;
    plane.displacement.reset();
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
    Floats sample;
    for (int y = 0; y < total.height(); y += step)
        for (int x = 0; x < total.width(); x += step)
            if (total.mask()(x, y) == 0) sample.push_back(total.values()(x, y));
    if (sample.empty()) return;
    const auto at = [&](double share) {
        const auto place = sample.begin() + std::ptrdiff_t(share * double(sample.size() - 1));
        std::ranges::nth_element(sample, place);
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
        case SigmaTerm::noise:
        case SigmaTerm::registration:
        case SigmaTerm::lamp:
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

UncertaintyBudget budget_of(const UncertainPoint& point, const MapRows::AllSums& sums,
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
    map.total = like_field(field, "");
    map.common = like_field(field, "_common");
    map.area = like_field(field, "_area");
    if (point.keep_terms)
        for (std::size_t i = 0; i < sigma_term_count; ++i) {
            const std::string name = std::string("_") + sigma_term_name(static_cast<SigmaTerm>(i));
            map.terms.push_back(like_field(field, name.c_str()));
        }
    MapRows rows(point, map);
    parallel_rows(field.height(), rows_per_block, progress,
                  [&rows](int y0, int y1) { rows(y0, y1); });
    map.budget = budget_of(point, rows.sums(), map.total);
    return map;
}

}  // namespace vyn
