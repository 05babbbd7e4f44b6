#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <span>
#include <vector>

namespace vyn {

/// Columns of the pixels of a ring, row by row in blocks that are written by one thread each.
class EdgeRing {
  public:
    /// A ring has few pixels in a row.
    static constexpr int rows_per_block = 64;

  private:
    struct Block {
        std::vector<int> columns;
        std::array<std::size_t, rows_per_block + 1> ends{};
    };

  public:
    explicit EdgeRing(int height)
        : blocks_(static_cast<std::size_t>((height - 1) / rows_per_block + 1)) {}

    bool empty() const {
        return std::ranges::all_of(blocks_, [](const Block& one) { return one.columns.empty(); });
    }
    std::span<const int> row(int y) const {
        const Block& own = blocks_[static_cast<std::size_t>(y / rows_per_block)];
        const auto in_block = static_cast<std::size_t>(y % rows_per_block);
        const std::size_t begin = own.ends[in_block];
        return std::span(own.columns).subspan(begin, own.ends[in_block + 1] - begin);
    }

    /// Writes the rows of a block anew, one after the other.
    class Writer {
      public:
        explicit Writer(Block& block) : block_(block) { block.columns.clear(); }
        void add(int column) { block_.columns.push_back(column); }
        void add(std::span<const int> columns) {
            block_.columns.insert(block_.columns.end(), columns.begin(), columns.end());
        }
        void end_row() { block_.ends[++rows_] = block_.columns.size(); }

      private:
        Block& block_;
        std::size_t rows_ = 0;
    };
    Writer block_from(int y) {
        return Writer(blocks_[static_cast<std::size_t>(y / rows_per_block)]);
    }

  private:
    std::vector<Block> blocks_;
};

}  // namespace vyn
