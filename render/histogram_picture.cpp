#include "render/histogram_picture.h"

#include <algorithm>

#include "core/errors.h"
#include "render/canvas.h"
#include "render/ticks.h"

namespace vyn {

namespace {

constexpr Canvas::Colour ink{40, 40, 40};
constexpr Canvas::Colour pale{225, 225, 225};
constexpr Canvas::Colour bar_colour{70, 110, 170};
constexpr double letters = 9;
constexpr int margin = 24;
constexpr int under = 52;  // for the scale and the label

/// A histogram in its place.
struct Chart {
    Histogram histogram;
    std::string label;
    int width;
    int height;

    void draw(Canvas& canvas) const {
        const double base = height - under;
        const double room = base - margin;
        const auto most = std::ranges::max_element(histogram.counts);
        const double largest =
            most == histogram.counts.end() ? 1 : std::max(1.0, static_cast<double>(*most));
        const Ticks counts = make_ticks(0, largest, 5);
        double beside = 0;
        for (const std::string& text : counts.texts)
            beside = std::max(beside, text_width(text, {.height = letters}));
        const double left = margin + letters + beside + 12;
        const double span = width - left - margin;

        for (std::size_t i = 0; i < counts.values.size(); ++i) {
            const double y = base - room * counts.values[i] / largest;
            canvas.stroke({{{left, y}, {left + span, y}}}, 1, pale);
            canvas.text(counts.texts[i], left - 6, y + letters / 2,
                        {{.height = letters}, ink, Canvas::Align::right});
        }
        const auto bins = static_cast<double>(histogram.counts.size());
        for (std::size_t i = 0; i < histogram.counts.size(); ++i) {
            const double tall = room * static_cast<double>(histogram.counts[i]) / largest;
            const auto place = static_cast<double>(i);
            canvas.fill(left + span * place / bins, base - tall, span / bins, tall, bar_colour);
        }
        canvas.stroke({{{left, base}, {left + span, base}}}, 1, ink);
        const auto& [low, high] = histogram.range;
        const Ticks ticks = make_ticks(low, high, 6);
        for (std::size_t i = 0; i < ticks.values.size(); ++i) {
            const double x = left + span * (ticks.values[i] - low) / (high - low);
            canvas.stroke({{{x, base}, {x, base + 5}}}, 1, ink);
            canvas.text(ticks.texts[i], x, base + 10 + letters,
                        {{.height = letters}, ink, Canvas::Align::centre});
        }
        canvas.text(label, left + span / 2, height - 10,
                    {{.height = letters}, ink, Canvas::Align::centre});
        canvas.text("pixels", margin + letters / 2, base - room / 2,
                    {{.height = letters}, ink, Canvas::Align::centre, Canvas::Direction::up});
    }
};

}  // namespace

Figure histogram_figure(Histogram histogram, std::string label, int width, int height) {
    if (width < 160 || height < 120)
        throw AlgoError("Algorithm error!", "a histogram of " + std::to_string(width) + " x " +
                                                std::to_string(height) + " pixels is too small");
    return {width, height,
            [chart = Chart{std::move(histogram), std::move(label), width, height}](Canvas& canvas) {
                chart.draw(canvas);
            }};
}

}  // namespace vyn
