#include "render/render.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <vector>

#include "api/parallel.h"

namespace vyn {

namespace {

constexpr int rows_per_block = 16;

/// The whole number at or below a position, held within -1..limit; NaN gives -1.
int pixel_at(double position, int limit) {
    const double floored = std::floor(position);
    return static_cast<int>(floored >= -1 ? std::min(floored, static_cast<double>(limit)) : -1);
}

/// One row of what is drawn.
struct SampledRow {
    explicit SampledRow(int width)
        : value(static_cast<std::size_t>(width)),
          background(static_cast<std::size_t>(width)),
          in_roi(static_cast<std::size_t>(width)) {}
    std::vector<float> value;
    std::vector<std::uint8_t> background;
    std::vector<std::uint8_t> in_roi;
};

/// Fetches the pixels of one image that lie under the screen pixels of a rectangle.
class Sampler {
  public:
    /// `levels` may be null: outside everywhere.
    Sampler(const ImageLevels* levels, const ViewRectangle& rectangle) : rectangle_(rectangle) {
        if (!levels || levels->level(0).values->empty()) return;
        const int k = levels->level_for(rectangle.zoom);
        level_ = levels->level(k);
        pixels_per_level_pixel_ = std::ldexp(1.0, k);
        const int width = level_.values->width();
        columns_.resize(static_cast<std::size_t>(rectangle.width));
        for (int i = 0; i < rectangle.width; ++i)
            columns_[static_cast<std::size_t>(i)] = level_pixel(rectangle.x, i, width);
        const auto inside = [width](int column) { return column >= 0 && column < width; };
        begin_ = static_cast<std::size_t>(std::find_if(columns_.begin(), columns_.end(), inside) -
                                          columns_.begin());
        end_ = begin_;
        while (end_ < columns_.size() && inside(columns_[end_]))
            ++end_;
    }

    void sample(int j, SampledRow& out) const {
        const int y = level_.values ? level_pixel(rectangle_.y, j, level_.values->height()) : -1;
        if (y < 0 || y >= level_.values->height()) {
            fill_outside(out, 0, out.value.size());
            return;
        }
        fill_outside(out, 0, begin_);
        fill_outside(out, end_, out.value.size());
        const float* const values = level_.values->row(y);
        const std::uint8_t* const mask = level_.mask->row(y);
        for (std::size_t i = begin_; i < end_; ++i) {
            out.value[i] = values[columns_[i]];
            out.background[i] = mask[columns_[i]];
        }
        if (level_.region) {
            const std::uint8_t* const region = level_.region->row(y);
            for (std::size_t i = begin_; i < end_; ++i)
                out.in_roi[i] = region[columns_[i]];
        } else {
            std::fill(out.in_roi.begin() + static_cast<std::ptrdiff_t>(begin_),
                      out.in_roi.begin() + static_cast<std::ptrdiff_t>(end_), std::uint8_t{1});
        }
    }

  private:
    int level_pixel(double origin, int screen_pixel, int limit) const {
        const double position = origin + (screen_pixel + 0.5) / rectangle_.zoom;
        return pixel_at((position + 0.5) / pixels_per_level_pixel_, limit);
    }

    static void fill_outside(SampledRow& out, std::size_t begin, std::size_t end) {
        for (std::size_t i = begin; i < end; ++i) {
            out.value[i] = OutsidePixel::value;
            out.background[i] = OutsidePixel::background;
            out.in_roi[i] = OutsidePixel::in_roi;
        }
    }

    ViewRectangle rectangle_;
    ImageLevels::Level level_{};
    double pixels_per_level_pixel_ = 1;
    std::vector<int>
        columns_;  ///< of the level, per screen column; those in begin_..end_ lie in it
    std::size_t begin_ = 0;
    std::size_t end_ = 0;
};

/// Draws rows of one kind of source; one per thread.
class FieldPainter {
  public:
    FieldPainter(const FieldSource& source, const colour_map& colours,
                 const ViewRectangle& rectangle)
        : sampler_(source.levels.get(), rectangle), colours_(&colours) {}

    struct Scratch {
        explicit Scratch(int width) : row(width) {}
        SampledRow row;
    };
    void paint(int j, Scratch& scratch, std::uint32_t* out) const {
        sampler_.sample(j, scratch.row);
        colours_->colour_row(scratch.row.value.data(), scratch.row.background.data(),
                             scratch.row.in_roi.data(), scratch.row.value.size(), out);
    }

  private:
    Sampler sampler_;
    const colour_map* colours_;
};

class DifferencePainter {
  public:
    DifferencePainter(const DifferenceSource& source, const colour_map& colours,
                      const ViewRectangle& rectangle)
        : a_(source.a.get(), rectangle), b_(source.b.get(), rectangle), colours_(&colours) {}

    struct Scratch {
        explicit Scratch(int width) : a(width), b(width) {}
        SampledRow a;
        SampledRow b;
    };
    void paint(int j, Scratch& scratch, std::uint32_t* out) const {
        SampledRow& a = scratch.a;
        a_.sample(j, a);
        b_.sample(j, scratch.b);
        for (std::size_t i = 0; i < a.value.size(); ++i) {
            a.value[i] -= scratch.b.value[i];
            a.background[i] |= scratch.b.background[i];
        }
        colours_->colour_row(a.value.data(), a.background.data(), a.in_roi.data(), a.value.size(),
                             out);
    }

  private:
    Sampler a_;
    Sampler b_;
    const colour_map* colours_;
};

class ColourPainter {
  public:
    ColourPainter(const ColourSource& source, const colour_map&, const ViewRectangle& rectangle) {
        unsigned shift = 24;
        for (const auto& channel : source.channels)
            channels_.push_back({Sampler(channel.get(), rectangle), shift -= 8});
    }

    struct Scratch {
        explicit Scratch(int width) : row(width) {}
        SampledRow row;
    };
    void paint(int j, Scratch& scratch, std::uint32_t* out) const {
        std::fill_n(out, scratch.row.value.size(), 0xFF000000U);
        for (const Channel& channel : channels_) {
            channel.sampler.sample(j, scratch.row);
            for (std::size_t i = 0; i < scratch.row.value.size(); ++i)
                out[i] |= byte_of(scratch.row.value[i]) << channel.shift;
        }
    }

  private:
    /// Cut to a whole number; NaN gives 0.
    static std::uint32_t byte_of(float value) {
        return value > 0 ? static_cast<std::uint32_t>(std::min(value, 255.0F)) : 0;
    }
    struct Channel {
        Sampler sampler;
        unsigned shift;  ///< of its byte in the pixel
    };
    std::vector<Channel> channels_;
};

template <class Painter, class Source>
void render_with(const Source& source, const colour_map& colours, const ViewRectangle& rectangle,
                 PixelBuffer out) {
    const Painter painter(source, colours, rectangle);
    Progress progress;
    parallel_rows(rectangle.height, rows_per_block, progress, [&](int j0, int j1) {
        typename Painter::Scratch scratch(rectangle.width);
        int drawn_row = 0;
        for (int j = j0; j < j1; ++j) {
            std::uint32_t* const to = out.pixels + j * out.stride;
            // Magnified, several rows show the same pixels.
            const double position = rectangle.y + (j + 0.5) / rectangle.zoom + 0.5;
            const int row = pixel_at(position, max_bitmap_side);
            if (j > j0 && row == drawn_row)
                std::memcpy(to, to - out.stride,
                            static_cast<std::size_t>(rectangle.width) * sizeof *to);
            else
                painter.paint(j, scratch, to);
            drawn_row = row;
        }
    });
}

}  // namespace

void render(const ViewSource& source, const colour_map& colours, const ViewRectangle& rectangle,
            PixelBuffer out) {
    if (rectangle.width <= 0 || rectangle.height <= 0) return;
    if (const auto* field = std::get_if<FieldSource>(&source))
        render_with<FieldPainter>(*field, colours, rectangle, out);
    else if (const auto* difference = std::get_if<DifferenceSource>(&source))
        render_with<DifferencePainter>(*difference, colours, rectangle, out);
    else
        render_with<ColourPainter>(std::get<ColourSource>(source), colours, rectangle, out);
}

}  // namespace vyn
