#pragma once

namespace vyn::bench {

/// The stages on the model against OpenCV's solvePnP, projectPoints and remap, a bare loop of
/// Embree's rtcOccluded1, and assimp; what has no peer against seconds.
void print_model_peers();

}  // namespace vyn::bench
