#include "uncertainty/map_rows.h"

#include <algorithm>
#include <memory>

#include "api/isa.h"
#include "api/parallel.h"
#include "uncertainty/kernels/sigma_kernels.h"
#include "uncertainty/kernels/term_kernels.h"
#include "uncertainty/law_rows.h"
#include "uncertainty/picture_tables.h"

namespace vyn {

VYN_CHOOSE_KERNELS(SigmaKernels, sigma_kernels)
VYN_CHOOSE_KERNELS(TermKernels, term_kernels)

namespace {

constexpr int rows_per_block = 32;
static_assert(sigma_rows == sigma_term_count + 1);
static_assert(static_cast<int>(TermRow::photons) == sigma_rows - 1);
static_assert(static_cast<int>(TermRow::conditions) == static_cast<int>(SigmaTerm::conditions));

/// Kernels go through rows in whole vectors.
constexpr int widest = 16;
int whole_vectors(int n) {
    return (n + widest - 1) / widest * widest;
}

/// A row's piece, aligned as the widest vectors are; pieces side by side are no power of two apart.
template <class T>
struct alignas(64) Piece {
    std::array<T, sigma_piece + widest> at{};
    T* data() { return at.data(); }
    const T* data() const { return at.data(); }
};
using Floats = Piece<float>;
using Parts = Piece<std::int32_t>;

/// Where a map takes the pixels of rows that are asked for in their order: every few rows by the
/// map itself, straight between them, which is far finer than the parts of a pixel that count here.
class MappedRows {
  public:
    void go_to(const RowMap& map, int y, int width, const SigmaKernels& kernels) {
        const int first = y - y % step;
        if (first != first_) {
            if (first == first_ + step && first_ >= 0)
                std::swap(above_, below_);
            else
                above_.fill(map, first, width, kernels);
            below_.fill(map, first + step, width, kernels);
            first_ = first;
        }
        share_ = double(y - first) / step;
    }
    /// Of n pixels of that row.
    void places(int x0, int n, const SigmaKernels& kernels, Parts& x, Parts& y) const {
        kernels.places(above_.of.row(0) + x0, below_.of.row(0) + x0, share_, n, x.data());
        kernels.places(above_.of.row(1) + x0, below_.of.row(1) + x0, share_, n, y.data());
    }

  private:
    static constexpr int step = 4;
    struct Row {
        void fill(const RowMap& map, int row, int width, const SigmaKernels& kernels) {
            if (of.empty()) of = Bitmap<double>(whole_vectors(width), 2);
            map(0, width, row, of.row(0), of.row(1));
            for (int axis = 0; axis < 2; ++axis)
                kernels.in_parts(whole_vectors(width), of.row(axis));
        }
        Bitmap<double> of;  ///< x and y
    };
    int first_ = -1;
    double share_ = 0;
    Row above_, below_;
};

/// A piece of a row of one picture.
struct PictureRow {
    PictureRow() { flat.at.fill(1); }
    /// The places of a picture that nobody moved.
    void lies_at(int x, int y, int n) {
        for (int i = 0; i < n; ++i)
            camera_x.data()[i] = (x + i) * ResamplingWeights::phases;
        std::fill_n(camera_y.data(), n, y * ResamplingWeights::phases);
    }

    MappedRows camera, undistorted;
    Parts camera_x, camera_y, undistorted_x, undistorted_y;
    Floats flat, gain, own, without_filter;
    const float* shown = nullptr;  ///< noise of the picture in the frame, as it is there
};

/// Pixels on either side that a slope is made of.
constexpr int slope_reach = 3;

/// A piece of a row with as many pixels on either side as slopes need.
class WithSides {
  public:
    WithSides() : values_{} {}
    /// The border's value stands for those beyond it.
    const float* of(const float* row, int width, int x, int n) {
        if (x >= slope_reach && x + whole_vectors(n) + slope_reach <= width) return row + x;
        float* const middle = values_.data() + widest;
        for (int i = -slope_reach; i < n + slope_reach; ++i)
            middle[i] = row[std::clamp(x + i, 0, width - 1)];
        return middle;
    }

  private:
    std::array<float, sigma_piece + 3 * widest> values_;
};

/// What one block of rows works with.
struct Work {
    Work(const UncertainPoint& point, int width) : of_picture(point.pictures.size()), sides(1) {
        for (const MovedPictures& moved : point.moved) {
            of_moved.emplace_back(whole_vectors(width), 2, 0.0F);
            sides.resize(std::max(sides.size(), moved.parts.size()));
        }
    }

    NoiseSums sums() { return {noise.data(), white.data(), shot.data(), largest.data()}; }
    TermRows term_rows() {
        return {terms[0].data(), static_cast<std::ptrdiff_t>(sizeof(Floats) / sizeof(float))};
    }

    std::vector<PictureRow> of_picture;
    std::vector<Bitmap<float>> of_moved;  ///< variances of a row's places along x and y
    std::vector<WithSides> sides;
    std::vector<RegistrationRow::Part> slope_parts;
    Floats noise, white, shot, largest, flat, flat_white, registration, measured, plain;
    std::array<Floats, sigma_rows> terms;
};

/// Pixels of a row that are worked on together, and as many as whole vectors have.
struct Span {
    int x;
    int y;
    int n;
    int whole() const { return whole_vectors(n); }
};

class MapRows {
  public:
    MapRows(const UncertainPoint& point, UncertaintyMap& map)
        : point_(point),
          kernels_(active_sigma_kernels()),
          term_kernels_(active_term_kernels()),
          width_(point.field->width()),
          height_(point.field->height()),
          laws_(law_rows(point)) {
        for (image* plane : {&map.total, &map.common, &map.area})
            planes_.push_back(&plane->values());
        for (image& term : map.terms)
            terms_.push_back(&term.values());
        for (const UncertainPicture& picture : point.pictures)
            tables_.emplace_back(point, picture);
        for (const SharedPictures& pair : point.shared)
            shared_.emplace_back(tables_[pair.a], tables_[pair.b]);
        sums_.assign(static_cast<std::size_t>(height_), {});
    }

    void operator()(int y0, int y1);

    /// Over all rows, in their order.
    SigmaSums sums() const {
        SigmaSums all;
        for (const RowSums& row : sums_) {
            all.largest = std::max(all.largest, row.tally.largest);
            for (std::size_t i = 0; i < all.terms.size(); ++i)
                all.terms[i] += row.terms[i];
            all.valid += row.tally.valid;
            all.too_noisy += row.tally.too_noisy;
        }
        return all;
    }

  private:
    struct RowSums {
        std::array<double, sigma_rows> terms{};
        SigmaTally tally{};
    };

    void start_row(int y, Work& work) const;
    void piece(Span span, Work& work);
    void picture_row(std::size_t i, Span span, Work& work) const;
    PlaceRow place_of(std::size_t i, const Parts& camera, const Parts& undistorted) const;
    void shared_row(std::size_t pair, Span span, Work& work) const;
    SlopeRow slope_row(std::size_t picture, Span span, WithSides& sides) const;
    void registration_row(std::size_t i, Span span, Work& work) const;
    void combine(Span span, Work& work);
    void leave_out(Span span);

    const UncertainPoint& point_;
    std::vector<Bitmap<float>*> planes_;  ///< of the map: total, common, area
    std::vector<Bitmap<float>*> terms_;
    const SigmaKernels& kernels_;
    const TermKernels& term_kernels_;
    int width_;
    int height_;
    LawRows laws_;
    std::vector<PictureTables> tables_;
    std::vector<SharedTables> shared_;
    std::vector<RowSums> sums_;
};

/// What is made of whole rows at once.
void MapRows::start_row(int y, Work& work) const {
    for (std::size_t i = 0; i < point_.pictures.size(); ++i) {
        const UncertainPicture& picture = point_.pictures[i];
        PictureRow& row = work.of_picture[i];
        if (picture.camera) row.camera.go_to(picture.camera, y, width_, kernels_);
        if (tables_[i].samplings == Samplings::two)
            row.undistorted.go_to(picture.undistorted, y, width_, kernels_);
    }
    for (std::size_t i = 0; i < point_.moved.size(); ++i)
        point_.moved[i].variance.row(width_, y, work.of_moved[i].row(0), work.of_moved[i].row(1));
}

PlaceRow MapRows::place_of(std::size_t i, const Parts& camera, const Parts& undistorted) const {
    return {camera.data(), tables_[i].samplings == Samplings::two ? undistorted.data() : nullptr};
}

void MapRows::picture_row(std::size_t i, Span span, Work& work) const {
    const UncertainPicture& picture = point_.pictures[i];
    const PictureTables& tables = tables_[i];
    PictureRow& row = work.of_picture[i];
    const int n = span.whole();
    if (picture.camera)
        row.camera.places(span.x, n, kernels_, row.camera_x, row.camera_y);
    else
        row.lies_at(span.x, span.y, n);
    if (tables.samplings == Samplings::two)
        row.undistorted.places(span.x, n, kernels_, row.undistorted_x, row.undistorted_y);
    const auto gain = [&](const AxisTables& of_axes, Floats& out) {
        kernels_.gain(of_axes.x.data(), of_axes.y.data(),
                      place_of(i, row.camera_x, row.undistorted_x),
                      place_of(i, row.camera_y, row.undistorted_y), n, out.data());
    };
    gain(tables.gains, row.gain);
    const auto nearest = [&](const Bitmap<float>& plane, Floats& out) {
        kernels_.nearest({plane.row(0), plane.stride(), plane.width(), plane.height()},
                         row.camera_x.data(), row.camera_y.data(), n, out.data());
    };
    if (picture.flat) nearest(picture.flat->values(), row.flat);
    const NoiseLine& line = picture.noise;
    NoiseRow noise{picture.in_frame->values().row(span.y) + span.x,
                   row.flat.data(),
                   static_cast<float>(line.offset),
                   static_cast<float>(line.slope),
                   static_cast<float>(line.relative * line.relative),
                   static_cast<float>(line.dark)};
    if (line.frames) {
        noise.slope = 1 / static_cast<float>(line.frames->frames);
        nearest(line.frames->variance, work.measured);
        kernels_.measured_noise(noise, work.measured.data(), row.gain.data(), n, work.sums(),
                                row.own.data());
    } else {
        kernels_.noise(noise, row.gain.data(), n, work.sums(), row.own.data());
    }
    row.shown = row.own.data();
    if (!tables.plain) return;
    gain(*tables.plain, work.plain);
    if (!picture.filtered) {
        kernels_.unfiltered(row.own.data(), row.gain.data(), work.plain.data(), n,
                            row.without_filter.data());
        row.shown = row.without_filter.data();
    }
    if (tables.median)
        kernels_.median({slope_row(i, span, work.sides.front()), row.gain.data(), work.plain.data(),
                         row.shown, tables.median->excess.data(), tables.median->before},
                        n, work.sums(), row.own.data());
}

void MapRows::shared_row(std::size_t pair, Span span, Work& work) const {
    const SharedPictures& what = point_.shared[pair];
    const SharedTables& tables = shared_[pair];
    const PictureRow& a = work.of_picture[what.a];
    const PictureRow& b = work.of_picture[what.b];
    const auto along = [](const SharedWeights& weights, const Parts& place_a, PlaceRow place_b) {
        return SharedAxis{weights.table().data(), weights.b_firsts() * weights.b_seconds(),
                          weights.b_seconds(),    SharedWeights::most_apart,
                          place_a.data(),         place_b};
    };
    const auto intensity = [&](std::size_t i) {
        return point_.pictures[i].in_frame->values().row(span.y) + span.x;
    };
    const SharedRow row{along(tables.x, a.camera_x, place_of(what.b, b.camera_x, b.undistorted_x)),
                        along(tables.y, a.camera_y, place_of(what.b, b.camera_y, b.undistorted_y)),
                        a.gain.data(),
                        b.gain.data(),
                        intensity(what.a),
                        intensity(what.b),
                        a.flat.data(),
                        b.flat.data(),
                        static_cast<float>(what.flat_relative * what.flat_relative),
                        what.same_dark ? float(point_.pictures[what.a].noise.dark) : 0.0F};
    kernels_.shared(row, span.whole(), work.sums(), work.flat.data(), work.flat_white.data());
}

SlopeRow MapRows::slope_row(std::size_t picture, Span span, WithSides& sides) const {
    const Bitmap<float>& values = point_.pictures[picture].in_frame->values();
    const auto row = [&](int away) {
        return values.row(std::clamp(span.y + away, 0, height_ - 1));
    };
    SlopeRow rows{};
    rows.middle = sides.of(row(0), width_, span.x, span.n);
    for (int away = 1; away <= slope_reach; ++away) {
        rows.across[away - 1] = row(away) + span.x;
        rows.across[away - 1 + slope_reach] = row(-away) + span.x;
    }
    return rows;
}

void MapRows::registration_row(std::size_t i, Span span, Work& work) const {
    work.slope_parts.clear();
    for (const MovedPictures::Part& part : point_.moved[i].parts)
        work.slope_parts.push_back(
            {slope_row(part.picture, span, work.sides[work.slope_parts.size()]),
             work.of_picture[part.picture].shown, static_cast<float>(part.sign)});
    Bitmap<float>& variances = work.of_moved[i];
    kernels_.registration({work.slope_parts.data(), static_cast<int>(work.slope_parts.size()),
                           variances.row(0) + span.x, variances.row(1) + span.x},
                          span.whole(), work.registration.data());
}

void MapRows::combine(Span span, Work& work) {
    const auto row_of = [&](auto&& plane) { return plane.row(span.y) + span.x; };
    const std::uint8_t* mask = row_of(point_.field->mask());
    const float* ratio = row_of(point_.ratio->values());
    const TermRows terms = work.term_rows();
    if (const auto& temperature = point_.temperature)
        term_kernels_.law_at(laws_.law, laws_.of_temperature, ratio,
                             row_of(temperature->values->values()),
                             row_of(temperature->sigma->values()), mask, span.n, terms);
    const RatioVarianceRow variances{
        work.noise.data(),      work.white.data(),
        work.shot.data(),       work.flat.data(),
        work.flat_white.data(), work.registration.data(),
        work.largest.data(),    static_cast<float>(point_.lamp + point_.other)};
    RowSums& sums = sums_[static_cast<std::size_t>(span.y)];
    term_kernels_.combine(laws_.law, variances, ratio, row_of(point_.field->values()), mask, span.n,
                          terms, {row_of(*planes_[0]), row_of(*planes_[1]), row_of(*planes_[2])},
                          &sums.tally);
    term_kernels_.add_sums(terms, span.n, sums.terms.data());
    for (std::size_t term = 0; term < terms_.size(); ++term)
        term_kernels_.root(work.terms[term].data(), span.n, row_of(*terms_[term]));
}

/// Excluded pixels have no deviation.
void MapRows::leave_out(Span span) {
    for (const auto* planes : {&planes_, &terms_})
        for (Bitmap<float>* plane : *planes)
            std::fill_n(plane->row(span.y) + span.x, span.n, 0.0F);
}

void MapRows::piece(Span span, Work& work) {
    int first = 0;
    int end = 0;
    term_kernels_.valid_span(point_.field->mask().row(span.y) + span.x, span.n, &first, &end);
    end = std::min(end, span.n);
    leave_out({span.x, span.y, first});
    leave_out({span.x + end, span.y, span.n - end});
    if (first == end) return;
    const Span valid{span.x + first, span.y, end - first};
    for (Floats* sum : {&work.noise, &work.white, &work.shot, &work.largest, &work.flat,
                        &work.flat_white, &work.registration})
        std::fill_n(sum->data(), valid.whole(), 0.0F);
    for (std::size_t i = 0; i < point_.pictures.size(); ++i)
        picture_row(i, valid, work);
    for (std::size_t pair = 0; pair < shared_.size(); ++pair)
        shared_row(pair, valid, work);
    for (std::size_t i = 0; i < point_.moved.size(); ++i)
        registration_row(i, valid, work);
    combine(valid, work);
}

void MapRows::operator()(int y0, int y1) {
    const auto work = std::make_unique<Work>(point_, width_);
    for (int y = y0; y < y1; ++y) {
        start_row(y, *work);
        for (int x = 0; x < width_; x += sigma_piece)
            piece({x, y, std::min(sigma_piece, width_ - x)}, *work);
    }
}

}  // namespace

SigmaSums fill_map(const UncertainPoint& point, UncertaintyMap& map, Progress& progress) {
    MapRows rows(point, map);
    parallel_rows(point.field->height(), rows_per_block, progress,
                  [&rows](int y0, int y1) { rows(y0, y1); });
    return rows.sums();
}

}  // namespace vyn
