#include "api/extended_edges.h"

#include <algorithm>
#include <atomic>
#include <vector>

#include "api/isa.h"
#include "api/kernels/edge_kernels.h"
#include "api/parallel.h"

namespace vyn {

VYN_CHOOSE_KERNELS(EdgeKernels, edge_kernels)

namespace {

constexpr int rows_per_block = 32;
/// Pixels on the line that a value is carried on along: the neighbour and the last one behind it.
constexpr int line = 4;
/// Bytes beyond the last pixel that the kernels read or write.
constexpr int overhang = 64;

struct Direction {
    int x;
    int y;
    float weight;
};
constexpr Direction directions[] = {{-1, 0, 1},     {1, 0, 1},     {0, -1, 1},    {0, 1, 1},
                                    {-1, -1, 0.5F}, {1, -1, 0.5F}, {-1, 1, 0.5F}, {1, 1, 0.5F}};

class EdgeExtension {
  public:
    EdgeExtension(int width, int height, int reach, FloatRows out)
        : width_(width),
          height_(height),
          reach_(reach),
          out_(out),
          states_(width + 2 * line + overhang, height + 2 * line),
          ring_(static_cast<std::size_t>(height)),
          next_ring_(static_cast<std::size_t>(height)) {}

    /// True when all pixels are usable.
    bool take_known(const Bitmap<float>& values, const Bitmap<std::uint8_t>& mask,
                    Progress& progress) {
        const EdgeKernels& kernels = active_edge_kernels();
        for (int y = 0; y < line; ++y) {
            forget(y, 0);
            forget(height_ + line + y, 0);
        }
        std::atomic<bool> all{true};
        parallel_rows(height_, rows_per_block, progress, [&](int y0, int y1) {
            for (int y = y0; y < y1; ++y) {
                if (!kernels.take_known({values.row(y), mask.row(y)}, width_, out_.row(y),
                                        state(y)))
                    all.store(false, std::memory_order_relaxed);
                std::fill_n(state(y) - line, line, pixel_state::unknown);
                forget(y + line, width_ + line);
            }
        });
        return all;
    }

    void run(Progress& progress) {
        find_first(progress);
        Progress silent;
        for (int ring = 1; has_ring(); ++ring) {
            throw_if_aborted(progress);
            fill(ring, silent);
            if (ring == reach_) break;
            grow(ring, silent);
        }
    }

  private:
    std::uint8_t* state(int y) { return states_.row(y + line) + line; }
    const std::uint8_t* state(int y) const { return states_.row(y + line) + line; }
    /// From byte `from` of a row of states on.
    void forget(int row, int from) {
        std::fill(states_.row(row) + from, states_.row(row) + states_.width(),
                  pixel_state::unknown);
    }

    bool has_ring() const {
        return std::ranges::any_of(ring_, [](const auto& columns) { return !columns.empty(); });
    }

    void find_first(Progress& progress) {
        const EdgeKernels& kernels = active_edge_kernels();
        parallel_rows(height_, rows_per_block, progress, [&](int y0, int y1) {
            std::vector<int> found(static_cast<std::size_t>(width_));
            for (int y = y0; y < y1; ++y) {
                const int count =
                    kernels.border(state(y - 1), state(y), state(y + 1), width_, found.data());
                ring_[static_cast<std::size_t>(y)].assign(found.begin(), found.begin() + count);
            }
        });
    }

    /// Values of the pixels of a ring, from those of lower states only.
    void fill(int ring, Progress& progress) {
        const float slope = (1 - static_cast<float>(ring - 1) / static_cast<float>(reach_)) /
                            static_cast<float>(line - 1);
        parallel_rows(height_, rows_per_block, progress, [&](int y0, int y1) {
            for (int y = y0; y < y1; ++y)
                for (const int x : ring_[static_cast<std::size_t>(y)])
                    out_.row(y)[x] = continued(x, y, ring, slope);
        });
    }

    float continued(int x, int y, int ring, float slope) const {
        const std::uint8_t* const own_state = state(y) + x;
        const float* const own_value = out_.row(y) + x;
        float sum = 0;
        float weights = 0;
        for (const Direction& direction : directions) {
            const std::ptrdiff_t step =
                direction.y * std::ptrdiff_t{states_.stride()} + direction.x;
            if (own_state[step] >= ring) continue;
            const std::ptrdiff_t value_step = direction.y * out_.stride + direction.x;
            float value = own_value[value_step];
            if (own_state[2 * step] < ring && own_state[3 * step] < ring &&
                own_state[line * step] < ring && own_state[-step] >= ring)
                value += (value - own_value[line * value_step]) * slope;
            sum += direction.weight * value;
            weights += direction.weight;
        }
        return sum / weights;
    }

    /// Marks the ring and finds the next one. A row is written by one thread, which reads no other
    /// row of states.
    void grow(int ring, Progress& progress) {
        parallel_rows(height_, rows_per_block, progress, [&](int y0, int y1) {
            for (int y = y0; y < y1; ++y) {
                std::uint8_t* const row = state(y);
                std::vector<int>& next = next_ring_[static_cast<std::size_t>(y)];
                next.clear();
                for (const int x : ring_[static_cast<std::size_t>(y)])
                    row[x] = static_cast<std::uint8_t>(ring);
                for (int near = std::max(y - 1, 0); near <= std::min(y + 1, height_ - 1); ++near)
                    for (const int middle : ring_[static_cast<std::size_t>(near)])
                        for (int x = std::max(middle - 1, 0); x <= std::min(middle + 1, width_ - 1);
                             ++x)
                            if (row[x] == pixel_state::unknown) {
                                row[x] = static_cast<std::uint8_t>(ring + 1);
                                next.push_back(x);
                            }
            }
        });
        ring_.swap(next_ring_);
    }

    const int width_;
    const int height_;
    const int reach_;
    const FloatRows out_;
    /// 0 known, the number of the ring that made it known, or unknown; with a margin that is never
    /// known.
    Bitmap<std::uint8_t> states_;
    std::vector<std::vector<int>> ring_;  ///< columns of the newest ring in each row
    std::vector<std::vector<int>> next_ring_;
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
