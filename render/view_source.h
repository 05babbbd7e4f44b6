#pragma once

#include <array>
#include <memory>
#include <optional>
#include <variant>

#include "api/displacement.h"
#include "render/image_levels.h"

namespace vyn {

/// What is read outside an image: background outside the region.
struct OutsidePixel {
    static constexpr float value = 0;
    static constexpr bool background = true;
    static constexpr bool in_roi = false;
};

/// An image in false colour.
struct FieldSource {
    std::shared_ptr<const ImageLevels> levels;
};

/// The difference `a` - `b`, made while it is drawn; background in either is background, the region
/// is that of `a`. Where one of two different sizes ends, there is background.
struct DifferenceSource {
    std::shared_ptr<const ImageLevels> a;
    std::shared_ptr<const ImageLevels> b;
};

/// Three images as red, green and blue, drawn without limits or palette: values are cut to whole
/// numbers from 0 to 255. An absent channel is 0.
struct ColourSource {
    std::array<std::shared_ptr<const ImageLevels>, 3> channels;
};

/// What a view shows.
using ViewSource = std::variant<FieldSource, DifferenceSource, ColourSource>;

struct ImageSize {
    int width = 0;
    int height = 0;
    bool operator==(const ImageSize&) const = default;
};

/// Of the image, of the first of two, or of the largest channel; 0 x 0 when there is none.
ImageSize size_of(const ViewSource& source);

/// What the mouse points at.
struct ProbedPixel {
    int x = 0;
    int y = 0;
    float value = OutsidePixel::value;
    bool background = OutsidePixel::background;
    bool in_roi = OutsidePixel::in_roi;
    bool has_vectors = false;  ///< of the image, everywhere in it
    float u = 0;
    float v = 0;
};

/// The pixel (x, y), which may lie outside; of a colour image the first channel. A value that is no
/// number is background.
ProbedPixel probe(const ViewSource& source, int x, int y);

}  // namespace vyn
