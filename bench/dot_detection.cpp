// How well dots are found when nobody says how many there are:
//   vyn_dot_detection [SCENES]                  panels with clutter made on the spot, 50 unless
//   said vyn_dot_detection IMAGE MARKERS [bright]    a picture whose dots are known
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string_view>

#include "align/dots/marker_detection.h"
#include "api/image_io.h"
#include "process/point/marker_io.h"
#include "sample/dot_scene.h"

namespace {

using namespace vyn;

struct Score {
    std::size_t wanted = 0;
    std::size_t found = 0;
    std::size_t right = 0;

    void print(const char* what) const {
        std::printf(
            "%-12s %5zu dots, %5zu found, %5zu right: recall %.4f, precision %.4f\n", what, wanted,
            found, right, static_cast<double>(right) / static_cast<double>(wanted),
            static_cast<double>(right) / static_cast<double>(std::max<std::size_t>(found, 1)));
    }
};

Score look_at(const image& picture, DotPolarity polarity, const std::vector<Point>& centres) {
    constexpr double near = 1;  // pixels
    Progress progress;
    const auto dots = find_dots(picture, {.polarity = polarity}, progress);
    Score score{.wanted = centres.size(), .found = dots.size()};
    for (const Point& centre : centres)
        for (const DetectedDot& dot : dots)
            if (std::hypot(dot.fit.centre.x - centre.x, dot.fit.centre.y - centre.y) < near) {
                ++score.right;
                break;
            }
    return score;
}

int look_at_file(int count, char** arguments) {
    register_plugins("*.2dio");
    const image picture = read_image(arguments[1]);
    const MarkerSet set = read_marker_file(arguments[2], picture.height());
    std::vector<Point> centres;
    for (const Marker& marker : set.markers)
        centres.push_back({marker.x, marker.y});
    const bool bright = count > 3 && std::string_view(arguments[3]) == "bright";
    look_at(picture, bright ? DotPolarity::bright : DotPolarity::dark, centres)
        .print(picture.name.c_str());
    return 0;
}

}  // namespace

int main(int count, char** arguments) {
    if (count > 2) return look_at_file(count, arguments);
    const int scenes = count > 1 ? std::atoi(arguments[1]) : 50;
    Score all;
    for (int number = 1; number <= scenes; ++number) {
        const DotScene scene = cluttered_scene(static_cast<std::uint64_t>(number));
        const DotPicture made = make_dot_picture(scene);
        const Score score = look_at(made.picture, scene.polarity, made.centres);
        score.print(("scene " + std::to_string(number)).c_str());
        all.wanted += score.wanted;
        all.found += score.found;
        all.right += score.right;
    }
    all.print("all");
    return 0;
}
