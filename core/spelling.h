#pragma once

#include <cstddef>
#include <string_view>

namespace vyn {

/// How many characters must be inserted, deleted or replaced (V. Levenshtein, 1966).
std::size_t edit_distance(std::string_view a, std::string_view b);

/// Looks among words for the one that was probably meant; one by one, so that nobody needs a list.
class NearestWord {
  public:
    /// `wanted` outlives the object.
    explicit NearestWord(std::string_view wanted);
    /// True when this one is nearer than every one before, and near enough.
    bool offer(std::string_view word);

  private:
    std::string_view wanted_;
    std::size_t least_;
};

}  // namespace vyn
