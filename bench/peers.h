#pragma once

namespace vyn::bench {

enum class Measured { all, model };

/// Runs every stage by turns with its peer and prints, per stage, size and thread count, both times
/// (ns per pixel), their ratio, the targets and whether they are met. Stages without a peer in
/// OpenCV are set against the memory limit (the traffic they cannot avoid at the triad's speed) or
/// against the spline that they prepare.
/// Then the stages on a model; only these with `Measured::model`.
/// Gives the exit status: 1 when a result of ours and the peer's differ more than their methods do.
int print_peers(Measured measured);

}  // namespace vyn::bench
