#include <algorithm>
#include <cstdlib>
#include <mutex>
#include <new>
#include <vector>

#include "api/bitmap.h"

#ifdef __linux__
#include <sys/mman.h>
#endif

namespace vyn::plane_memory {

namespace {

constexpr std::size_t alignment = 64;
constexpr std::size_t huge_page = std::size_t{2} << 20;

/// Smaller blocks are the C library's business.
constexpr std::size_t smallest_kept = std::size_t{1} << 20;
/// What may lie idle: this many blocks, together no more than this many of the largest of them.
constexpr std::size_t most_blocks = 16;
constexpr std::size_t most_planes = 6;
/// So much of small planes at least: those of a whole point of 4 megapixels.
constexpr std::size_t always_kept = std::size_t{160} << 20;

#ifdef __SANITIZE_ADDRESS__
constexpr bool keeps_blocks = false;  // a kept block would hide a use after release
#else
constexpr bool keeps_blocks = true;
#endif

struct Block {
    void* address;
    std::size_t bytes;
};

/// Idle blocks, the one released last at the end.
class IdleBlocks {
  public:
    /// Null when there is none of exactly this size.
    void* take(std::size_t bytes) {
        const std::lock_guard lock(mutex_);
        for (auto block = blocks_.end(); block != blocks_.begin();) {
            --block;
            if (block->bytes != bytes) continue;
            void* const address = block->address;
            blocks_.erase(block);
            return address;
        }
        return nullptr;
    }

    void put(Block block) {
        const std::lock_guard lock(mutex_);
        blocks_.push_back(block);
        while (too_much()) {
            std::free(blocks_.front().address);
            blocks_.erase(blocks_.begin());
        }
    }

    void clear() {
        const std::lock_guard lock(mutex_);
        for (const Block& block : blocks_)
            std::free(block.address);
        blocks_.clear();
    }

  private:
    bool too_much() const {
        std::size_t sum = 0;
        std::size_t largest = 0;
        for (const Block& block : blocks_) {
            sum += block.bytes;
            largest = std::max(largest, block.bytes);
        }
        return blocks_.size() > most_blocks || sum > std::max(most_planes * largest, always_kept);
    }

    std::mutex mutex_;
    std::vector<Block> blocks_ = [] {
        std::vector<Block> blocks;
        blocks.reserve(most_blocks + 1);
        return blocks;
    }();
};

/// Never destroyed: planes in static objects are released after everything else.
IdleBlocks& idle_blocks() {
    static IdleBlocks& blocks = *new IdleBlocks;
    return blocks;
}

/// Large blocks are whole huge pages, so that none of them is touched page by page and planes of
/// nearly the same size take over each other's memory.
std::size_t rounded(std::size_t bytes) {
    return bytes < 2 * huge_page ? bytes : (bytes + huge_page - 1) / huge_page * huge_page;
}

void* fresh(std::size_t bytes) {
    void* block = nullptr;
    const bool large = bytes >= 2 * huge_page;
    if (posix_memalign(&block, large ? huge_page : alignment, bytes) != 0) throw std::bad_alloc();
#ifdef __linux__
    // The first touch of small pages costs several times a whole pass over the plane.
    if (large) madvise(block, bytes, MADV_HUGEPAGE);
#endif
    return block;
}

}  // namespace

void* allocate(std::size_t bytes) {
    bytes = rounded(bytes);
    if (keeps_blocks && bytes >= smallest_kept)
        if (void* block = idle_blocks().take(bytes)) return block;
    return fresh(bytes);
}

void release(void* block, std::size_t bytes) noexcept {
    if (keeps_blocks && bytes >= smallest_kept)
        idle_blocks().put({block, rounded(bytes)});
    else
        std::free(block);
}

void trim() noexcept {
    idle_blocks().clear();
}

}  // namespace vyn::plane_memory
