#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <utility>

namespace vyn {

/// The steps of an editing session, to be undone and done again. Steps are forgotten, oldest first,
/// when together they cost more memory than allowed; the latest one is always kept.
template <class Step>
class History {
  public:
    explicit History(std::size_t most_bytes) : most_bytes_(most_bytes) {}

    /// A step that was just done; those undone before it are gone.
    void push(Step step, std::size_t bytes) {
        while (steps_.size() > done_) {
            bytes_ -= steps_.back().bytes;
            steps_.pop_back();
        }
        steps_.push_back({std::move(step), bytes, ++last_state_});
        bytes_ += bytes;
        ++done_;
        while (bytes_ > most_bytes_ && steps_.size() > 1) {
            first_state_ = steps_.front().state;
            bytes_ -= steps_.front().bytes;
            steps_.pop_front();
            --done_;
        }
    }
    bool can_undo() const { return done_ > 0; }
    bool can_redo() const { return done_ < steps_.size(); }
    /// The step to take back, or to do again; valid until the next push. Needs `can_undo`,
    /// `can_redo`.
    const Step& undo() { return steps_[--done_].step; }
    const Step& redo() { return steps_[done_++].step; }

    /// Names the state that the steps so far have led to; undo and redo come back to its name.
    std::uint64_t state() const { return done_ == 0 ? first_state_ : steps_[done_ - 1].state; }

  private:
    struct Entry {
        Step step;
        std::size_t bytes;
        std::uint64_t state;
    };
    std::size_t most_bytes_;
    std::size_t bytes_ = 0;
    std::size_t done_ = 0;
    std::uint64_t first_state_ = 0;
    std::uint64_t last_state_ = 0;
    std::deque<Entry> steps_;
};

}  // namespace vyn
