#pragma once

#include <optional>
#include <string>
#include <utility>

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include "cli/settings.h"
#include "render/fashion.h"
#include "render/figure_file.h"
#include "render/picture.h"

namespace vyn::cli {

/// How a picture in false colour is asked for.
struct PictureArguments {
    std::string palette = "rainbow";
    PaletteStyle palette_style;
    IsoStyle iso;
    std::optional<double> minimum;
    std::optional<double> maximum;
    bool colour_bar = false;
    std::optional<std::string> label;
    std::string title;
};
void add_picture_arguments(CLI::App& app, PictureArguments& arguments);

/// "WxH" in pixels. Raises UsageError naming the option.
std::pair<int, int> parse_size(const std::string& option, const std::string& text);

/// Raises UsageError where a picture is asked for in a format that there is not, FileError where it
/// cannot be written.
void check_picture_target(const std::string& target, Overwriting overwriting);

/// The palette of that name or file; raises UsageError naming those that there are.
palette_array chosen_palette(const std::string& wanted);
/// The palette asked for, in its style.
palette_array chosen_palette(const PictureArguments& arguments);

/// The values of the iso-lines asked for. Raises UsageError where a step gives too many.
std::vector<double> chosen_iso_levels(const PictureArguments& arguments, const Limits& limits);

/// The limits asked for, those found where none are. Raises UsageError for limits that span
/// nothing.
Limits chosen_limits(const PictureArguments& arguments, const Limits& found);

/// The description in the picture's file, with what else it was drawn from.
PictureTexts described_picture(const PictureArguments& arguments, const FrameOptions& drawing,
                               const std::string& source, const nlohmann::ordered_json& more = {});

}  // namespace vyn::cli
