#include "api/extended_edges.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cmath>
#include <mutex>
#include <span>
#include <utility>
#include <vector>

#include "api/edge_ring.h"
#include "api/isa.h"
#include "api/kernels/edge_kernels.h"
#include "api/parallel.h"

namespace vyn {

VYN_CHOOSE_KERNELS(EdgeKernels, edge_kernels)

namespace {

constexpr int rows_per_block = 32;
/// Pixels on the line that a value is carried on along: the neighbour and the last one behind it.
constexpr int line = 4;
/// Pixels inside a border that may show what lies beyond it: the blur of the optics.
constexpr int mixed_depth = 3;
/// Pixels around a plane of states that are never known.
constexpr int margin = 8;
/// Bytes beyond the last pixel that the kernels read or write.
constexpr int overhang = 64;

struct Direction {
    int x;
    int y;
    float weight;
};
constexpr std::array<Direction, 8> directions{{{-1, 0, 1},
                                               {1, 0, 1},
                                               {0, -1, 1},
                                               {0, 1, 1},
                                               {-1, -1, 0.5F},
                                               {1, -1, 0.5F},
                                               {-1, 1, 0.5F},
                                               {1, 1, 0.5F}}};

class EdgeExtension {
  public:
    EdgeExtension(int width, int height, int reach, FloatRows out)
        : width_(width),
          height_(height),
          reach_(reach),
          out_(out),
          states_(width + 2 * margin + overhang, height + 2 * margin),
          ring_(height),
          next_ring_(height) {
        for (std::size_t i = 0; i < directions.size(); ++i) {
            state_steps_[i] = directions[i].y * std::ptrdiff_t{states_.stride()} + directions[i].x;
            value_steps_[i] = directions[i].y * out.stride + directions[i].x;
        }
    }

    /// True when all pixels are usable.
    bool take_known(const Bitmap<float>& values, const Bitmap<std::uint8_t>& mask,
                    Progress& progress) {
        const EdgeKernels& kernels = active_edge_kernels();
        for (int y = 0; y < margin; ++y) {
            forget(y, 0);
            forget(height_ + margin + y, 0);
        }
        std::atomic<bool> all{true};
        parallel_rows(height_, rows_per_block, progress, [&](int y0, int y1) {
            for (int y = y0; y < y1; ++y) {
                if (!kernels.take_known({values.row(y), mask.row(y)}, width_, out_.row(y),
                                        state(y)))
                    all.store(false, std::memory_order_relaxed);
                std::fill_n(state(y) - margin, margin, pixel_state::unknown);
                forget(y + margin, width_ + margin);
            }
        });
        return all;
    }

    void run(Progress& progress) {
        find_first(progress, [](int) { return true; });
        const std::vector<std::uint8_t> changed = drop_mixed();
        if (!changed.empty())
            find_first(progress, [&](int y) { return changed[static_cast<std::size_t>(y)] != 0; });
        Progress silent;
        for (int ring = 1; !ring_.empty(); ++ring) {
            throw_if_aborted(progress);
            fill(ring, silent);
            if (ring == reach_) break;
            grow(ring, silent);
        }
    }

  private:
    std::uint8_t* state(int y) { return states_.row(y + margin) + margin; }
    const std::uint8_t* state(int y) const { return states_.row(y + margin) + margin; }
    /// From byte `from` of a row of states on.
    void forget(int row, int from) {
        std::fill(states_.row(row) + from, states_.row(row) + states_.width(),
                  pixel_state::unknown);
    }

    /// The first ring, found anew in the rows that are `wanted`.
    template <class Wanted>
    void find_first(Progress& progress, const Wanted& wanted) {
        const EdgeKernels& kernels = active_edge_kernels();
        parallel_rows(height_, EdgeRing::rows_per_block, progress, [&](int y0, int y1) {
            std::vector<int> found(static_cast<std::size_t>(width_));
            EdgeRing::Writer next = next_ring_.block_from(y0);
            for (int y = y0; y < y1; ++y) {
                if (wanted(y)) {
                    const int count =
                        kernels.border(state(y - 1), state(y), state(y + 1), width_, found.data());
                    next.add(std::span(found).first(static_cast<std::size_t>(count)));
                } else {
                    next.add(ring_.row(y));
                }
                next.end_row();
            }
        });
        std::swap(ring_, next_ring_);
    }

    struct Pixel {
        int x;
        int y;
    };

    /// Makes usable pixels unknown that show what lies beyond the border as well. Gives 1 for the
    /// rows at and beside them; nothing when there are none.
    std::vector<std::uint8_t> drop_mixed() {
        std::mutex mutex;
        std::vector<Pixel> mixed;
        Progress silent;
        parallel_rows(height_, EdgeRing::rows_per_block, silent, [&](int y0, int y1) {
            std::vector<Pixel> found;
            for (int y = y0; y < y1; ++y)
                for (const int x : ring_.row(y))
                    for (std::size_t i = 0; i < directions.size(); ++i)
                        find_mixed({x, y}, i, found);
            const std::lock_guard lock(mutex);
            mixed.insert(mixed.end(), found.begin(), found.end());
        });
        std::vector<std::uint8_t> changed;
        if (!mixed.empty()) changed.resize(static_cast<std::size_t>(height_), 0);
        for (const Pixel& pixel : mixed) {
            state(pixel.y)[pixel.x] = pixel_state::unknown;
            for (int near = std::max(pixel.y - 1, 0); near <= std::min(pixel.y + 1, height_ - 1);
                 ++near)
                changed[static_cast<std::size_t>(near)] = 1;
        }
        return changed;
    }

    /// Usable pixels inwards of one of the border that depart from the line through the five behind
    /// them by far more than their bend and noise explain, and those behind one that departs by a
    /// tenth: the blur reaches them, too, by less than noise lets be seen.
    void find_mixed(Pixel border, std::size_t inwards, std::vector<Pixel>& mixed) const {
        constexpr float of_bend = 3;
        constexpr float of_noise = 2;
        constexpr float of_value = 0.0005F;
        constexpr float half_lit = 0.1F;
        const std::ptrdiff_t step = state_steps_[inwards];
        const std::uint8_t* const border_state = state(border.y) + border.x;
        for (int k = 1; k <= margin; ++k)
            if (border_state[k * step] != pixel_state::known) return;
        const std::ptrdiff_t value_step = value_steps_[inwards];
        const float* const value = out_.row(border.y) + border.x;
        const auto behind = [&](int k) { return value[(mixed_depth + 1 + k) * value_step]; };
        const auto bend = [&](int k, int by) {
            return std::abs(behind(k - by) - 2 * behind(k) + behind(k + by));
        };
        const float mean = (behind(0) + behind(1) + behind(2) + behind(3) + behind(4)) / 5;
        const float slope = (2 * (behind(4) - behind(0)) + behind(3) - behind(1)) / 10;
        const float bent = bend(2, 2) / 4;
        const float noise = std::max({bend(1, 1), bend(2, 1), bend(3, 1)});
        bool beside_half_lit = false;
        for (int depth = 1; depth <= mixed_depth; ++depth) {
            const auto from_middle = static_cast<float>(depth - mixed_depth - 3);
            const float expected = mean + slope * from_middle;
            const float departure = std::abs(value[depth * value_step] - expected);
            // A parabola departs from its line through five points so far.
            const float explained = bent * (from_middle * from_middle / 2 - 1);
            const bool departs =
                departure > of_bend * explained + of_noise * noise + of_value * std::abs(expected);
            if (departs || beside_half_lit)
                mixed.push_back({border.x + depth * directions[inwards].x,
                                 border.y + depth * directions[inwards].y});
            beside_half_lit = departs && departure > half_lit * std::abs(expected);
        }
    }

    /// Values of the pixels of a ring, from those of lower states only.
    void fill(int ring, Progress& progress) {
        const float slope = (1 - static_cast<float>(ring - 1) / static_cast<float>(reach_)) /
                            static_cast<float>(line - 1);
        parallel_rows(height_, EdgeRing::rows_per_block, progress, [&](int y0, int y1) {
            for (int y = y0; y < y1; ++y)
                for (const int x : ring_.row(y))
                    out_.row(y)[x] = continued(x, y, ring, slope);
        });
    }

    float continued(int x, int y, int ring, float slope) const {
        const std::uint8_t* const own_state = state(y) + x;
        const float* const own_value = out_.row(y) + x;
        float sum = 0;
        float weights = 0;
        for (std::size_t i = 0; i < directions.size(); ++i) {
            const std::ptrdiff_t step = state_steps_[i];
            if (own_state[step] >= ring) continue;
            const std::ptrdiff_t value_step = value_steps_[i];
            float value = own_value[value_step];
            if (own_state[2 * step] < ring && own_state[3 * step] < ring &&
                own_state[line * step] < ring && own_state[-step] >= ring)
                value += (value - own_value[line * value_step]) * slope;
            sum += directions[i].weight * value;
            weights += directions[i].weight;
        }
        return sum / weights;
    }

    /// Marks the ring and finds the next one. A row is written by one thread, which reads no other
    /// row of states.
    void grow(int ring, Progress& progress) {
        parallel_rows(height_, EdgeRing::rows_per_block, progress, [&](int y0, int y1) {
            EdgeRing::Writer next = next_ring_.block_from(y0);
            for (int y = y0; y < y1; ++y) {
                std::uint8_t* const row = state(y);
                for (const int x : ring_.row(y))
                    row[x] = static_cast<std::uint8_t>(ring);
                for (int near = std::max(y - 1, 0); near <= std::min(y + 1, height_ - 1); ++near)
                    for (const int middle : ring_.row(near)) {
                        // Unknown is the highest state: one branch for the three.
                        if (std::max({row[middle - 1], row[middle], row[middle + 1]}) !=
                            pixel_state::unknown)
                            continue;
                        for (int x = std::max(middle - 1, 0); x <= std::min(middle + 1, width_ - 1);
                             ++x)
                            if (row[x] == pixel_state::unknown) {
                                row[x] = static_cast<std::uint8_t>(ring + 1);
                                next.add(x);
                            }
                    }
                next.end_row();
            }
        });
        std::swap(ring_, next_ring_);
    }

    const int width_;
    const int height_;
    const int reach_;
    const FloatRows out_;
    /// 0 known, the number of the ring that made it known, or unknown; with a margin that is never
    /// known.
    Bitmap<std::uint8_t> states_;
    std::array<std::ptrdiff_t, directions.size()> state_steps_{};  ///< to the neighbours
    std::array<std::ptrdiff_t, directions.size()> value_steps_{};
    EdgeRing ring_;  ///< the newest one
    EdgeRing next_ring_;
};

}  // namespace

void extend_edges(const Bitmap<float>& values, const Bitmap<std::uint8_t>& mask, int reach,
                  FloatRows out, Progress& progress) {
    if (!values.same_size(mask)) throw DimError();
    if (values.empty()) return;
    SubProgress taking(progress, 0, 0.5);
    SubProgress filling(progress, 0.5, 1);
    EdgeExtension extension(values.width(), values.height(), reach, out);
    if (!extension.take_known(values, mask, taking)) extension.run(filling);
}

}  // namespace vyn
