#pragma once

namespace vyn {

/// What a long computation tells and asks its caller. The default listens to nothing and never
/// stops. Implementations may be called from several threads.
class Progress {
  public:
    virtual ~Progress() = default;
    /// How much of the current step is done, 0 to 1.
    virtual void fraction(double /*done*/) {}
    /// True when the user asked to stop; polled at least every 100 ms of work.
    virtual bool aborted() const { return false; }
};

/// Thrown by a computation that was told to stop; it is no error and belongs to no error family.
struct Aborted {};

inline void throw_if_aborted(const Progress& progress) {
    if (progress.aborted()) throw Aborted{};
}

/// For loops over the rows of a file: tells and asks now and then, at the start of row `row` of
/// `rows`. Throws Aborted.
inline void report_row(Progress& progress, int row, int rows) {
    constexpr int rows_per_report = 64;
    if (row % rows_per_report != 0) return;
    throw_if_aborted(progress);
    progress.fraction(static_cast<double>(row) / rows);
}

/// A part of a larger progress: its 0..1 becomes begin..end of the whole.
class SubProgress final : public Progress {
  public:
    SubProgress(Progress& whole, double begin, double end)
        : whole_(whole), begin_(begin), end_(end) {}
    void fraction(double done) override { whole_.fraction(begin_ + (end_ - begin_) * done); }
    bool aborted() const override { return whole_.aborted(); }

  private:
    Progress& whole_;
    double begin_;
    double end_;
};

}  // namespace vyn
