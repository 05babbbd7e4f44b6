#include "render/histogram_picture.h"

#include <algorithm>

#include "core/errors.h"
#include "render/canvas.h"
#include "render/ticks.h"

namespace vyn {

namespace {

constexpr Canvas::Colour ink{40, 40, 40};
constexpr Canvas::Colour bar_colour{70, 110, 170};
constexpr double letters = 10;
constexpr int margin = 24;
constexpr int under = 52;  // for the scale and the label

}  // namespace

RgbPicture draw_histogram(const Histogram& histogram, const std::string& label, int width,
                          int height) {
    if (width < 160 || height < 120)
        throw AlgoError("Algorithm error!", "a histogram of " + std::to_string(width) + " x " +
                                                std::to_string(height) + " pixels is too small");
    RgbPicture picture{width, height, {}};
    picture.rgb.assign(static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * 3, 255);
    Canvas canvas(picture);
    const int left = margin;
    const int span = width - 2 * margin;
    const int base = height - under;
    const int room = base - margin / 2;

    const auto most = std::ranges::max_element(histogram.counts);
    const double largest =
        most == histogram.counts.end() ? 1 : std::max(1.0, static_cast<double>(*most));
    const auto bins = static_cast<int>(histogram.counts.size());
    for (int i = 0; i < bins; ++i) {
        const int x0 = left + span * i / bins;
        const int x1 = left + span * (i + 1) / bins;
        const double share =
            static_cast<double>(histogram.counts[static_cast<std::size_t>(i)]) / largest;
        const int tall = static_cast<int>(share * room);
        canvas.fill(x0, base - tall, std::max(1, x1 - x0), tall, bar_colour);
    }
    canvas.fill(left, base, span, 1, ink);

    const auto& [low, high] = histogram.range;
    if (high > low) {
        const Ticks ticks = make_ticks(low, high, 6);
        for (std::size_t i = 0; i < ticks.values.size(); ++i) {
            const double x = left + span * (ticks.values[i] - low) / (high - low);
            canvas.fill(static_cast<int>(x), base, 1, 5, ink);
            canvas.text(ticks.texts[i], x, base + 20, letters, ink, Canvas::Align::centre);
        }
    }
    canvas.text(label, left + 0.5 * span, height - 10, letters, ink, Canvas::Align::centre);
    return picture;
}

}  // namespace vyn
