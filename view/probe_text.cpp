#include "view/probe_text.h"

#include "core/numbers.h"

namespace vyn {

namespace {

constexpr int decimals = 6;  // those of printf's %f

}  // namespace

std::string probe_text(const ProbedPixel& pixel, const std::string& field_name,
                       std::optional<float> sigma) {
    std::string text = "x=" + std::to_string(pixel.x) + " y=" + std::to_string(pixel.y) + ", ";
    if (pixel.background)
        text += "Background";
    else if (pixel.in_roi) {
        text += field_name + "=" + format_fixed(double{pixel.value}, decimals) + " ";
        if (sigma) text += "± " + format_general(2 * double{*sigma}, 3) + " (2σ) ";
    } else
        text += "ROI excluded";
    if (pixel.has_vectors)
        text += "; vectors: U=" + format_fixed(double{pixel.u}, decimals) +
                ", V=" + format_fixed(double{pixel.v}, decimals);
    return text;
}

}  // namespace vyn
