#pragma once

#include <optional>
#include <vector>

#include "core/progress.h"
#include "resect/start.h"

namespace vyn {

/// How a pose is first found. `stored` needs one at hand.
enum class StartKind { automatic = 0, direct_linear = 1, plane = 2, two_stage = 3, stored = 4 };

/// A pose that many pairs agree with.
struct Consensus {
    Pose pose;
    std::vector<int> agreeing;  ///< indices of the pairs within the reach
    double score = 0;           ///< sum of squared distances, each at most reach squared
};

/// Distance in raw pixels between a dot and where its marker is seen; infinite where it is not.
double miss_of(const PinholeCamera& camera, const Pose& pose, const DotPair& pair);

/// The pose of the draw of few pairs whose poses most of all agree with (Fischler and Bolles 1981,
/// scored as Torr and Zisserman 2000): three pairs a draw for the automatic start, six, four or
/// seven for the others. A fixed seed; as many draws as the share of agreeing pairs asks for.
/// Nothing when no draw gives a pose with `least` agreeing pairs.
std::optional<Consensus> find_consensus(const PinholeCamera& camera,
                                        const std::vector<DotPair>& pairs, StartKind kind,
                                        double reach, std::size_t least, const Progress& progress);

/// Draws whole numbers below a limit, the same on every machine.
class Dice {
  public:
    explicit Dice(std::uint64_t seed) : state_(seed) {}
    std::size_t below(std::size_t limit) {
        // SplitMix64 (Steele, Lea and Flood 2014).
        std::uint64_t z = (state_ += 0x9E3779B97F4A7C15U);
        z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9U;
        z = (z ^ (z >> 27)) * 0x94D049BB133111EBU;
        return static_cast<std::size_t>((z ^ (z >> 31)) % limit);
    }

  private:
    std::uint64_t state_;
};

}  // namespace vyn
