#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "align/dots/extreme_search.h"
#include "view/edit/history.h"

namespace vyn {

/// The markers of one image while the user edits them. Every operation that changes something is
/// one step that can be undone. Positions in pixels of the image.
class MarkerEdit {
  public:
    explicit MarkerEdit(MarkerSet set = {});

    const MarkerSet& set() const { return set_; }
    std::size_t count() const { return set_.markers.size(); }
    const Marker& at(std::size_t index) const { return set_.markers.at(index); }

    /// A new active marker at the end, with the next free number; it becomes the current one.
    void add(Point place);
    void move(std::size_t index, Point place);
    /// Switches a marker on or off.
    void toggle(std::size_t index);
    /// Other values for a marker. Raises AlgoError "Algorithm error!" for a position or a function
    /// value that is not finite, or a number that another marker has.
    void edit(std::size_t index, const Marker& marker);
    void remove(std::size_t index);
    void clear();
    /// Other markers altogether, such as those of a file.
    void replace(MarkerSet set);

    /// Moves a marker to the middle of its dot. False when there is no dot: the marker stays.
    bool revise(std::size_t index, const image& picture, const ExtremeSearchOptions& options);

    /// The nearest marker within `reach` pixels; of equally near ones the later, which is drawn on
    /// top.
    std::optional<std::size_t> nearest(Point place, double reach) const;

    bool can_undo() const { return history_.can_undo(); }
    bool can_redo() const { return history_.can_redo(); }
    void undo();
    void redo();

    /// True when the markers differ from those at the start or at the last `set_saved`.
    bool modified() const { return history_.state() != saved_state_; }
    void set_saved() { saved_state_ = history_.state(); }

    /// The marker of the information panel; nothing while there is none.
    std::optional<std::size_t> current() const { return current_; }
    void set_current(std::optional<std::size_t> index);
    /// Steps through the markers in their order, round the end.
    void go_next();
    void go_prev();

  private:
    /// `removed` in the place of `inserted` from `first` on, and what the set says of all markers.
    struct Step {
        std::size_t first;
        std::vector<Marker> removed;
        std::vector<Marker> inserted;
        MarkerSet header_before;
        MarkerSet header_after;
    };
    void change(std::size_t first, std::size_t count, std::vector<Marker> inserted,
                MarkerSet header);
    void put(std::size_t first, std::size_t count, const std::vector<Marker>& markers,
             const MarkerSet& header);
    void change_one(std::size_t index, const Marker& marker);

    MarkerSet set_;
    History<Step> history_;
    std::uint64_t saved_state_ = 0;
    std::optional<std::size_t> current_;
};

/// What the text format "mpt" would not keep of these markers, as a list for the user ("marker
/// numbers, function values"); empty when nothing is lost.
std::string lost_in_text_format(const MarkerSet& set);

}  // namespace vyn
