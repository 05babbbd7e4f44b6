#pragma once

namespace vyn::bench {

/// Registers what the viewer does with an N x N image in a view of 1600 x 1000 pixels:
/// view_open        the reduced levels that a new image needs
/// view_limits_fit, view_palette_fit
///                  redrawing with other limits or another palette, the whole image in the view
/// view_limits_1    the same at one screen pixel per image pixel
/// view_pan, view_zoom
///                  the next picture of a movement
/// view_difference  the difference of two images, whole
/// view_summary, view_percentiles, view_histogram
///                  what limits are chosen by
void register_view_benchmarks();

}  // namespace vyn::bench
