#include "cli/picture_arguments.h"

#include "cli/commands.h"
#include "core/ascii.h"
#include "core/numbers.h"
#include "core/version.h"
#include "process/report/provenance.h"
#include "render/iso_levels.h"

namespace vyn::cli {

void add_picture_arguments(CLI::App& app, PictureArguments& arguments) {
    app.add_option("--palette", arguments.palette,
                   "rainbow, grey, viridis, cividis, Cp, or a file *.lut; default rainbow");
    app.add_flag("--invert", arguments.palette_style.inverted,
                 "the palette's last colour for the lowest value");
    app.add_option("--levels", arguments.palette_style.levels,
                   "so many levels of one colour each in place of a smooth palette")
        ->check(CLI::Range(1, most_palette_levels));
    auto* number = app.add_option_function<int>(
        "--iso",
        [&arguments](int count) {
            arguments.iso.kind = IsoStyle::Kind::number;
            arguments.iso.number = count;
        },
        "draw so many lines of equal value, evenly between the limits");
    number->check(CLI::Range(1, most_iso_levels));
    app.add_option_function<double>(
           "--iso-step",
           [&arguments](double step) {
               arguments.iso.kind = IsoStyle::Kind::step;
               arguments.iso.step = step;
           },
           "draw lines of equal value at the multiples of a step")
        ->check(CLI::PositiveNumber)
        ->excludes(number);
    app.add_flag_callback(
        "--no-iso-labels", [&arguments] { arguments.iso.labels = false; },
        "no numbers on the lines");
    app.add_option("--min", arguments.minimum,
                   "value of the first colour; default the 0.5 percentile of the valid values");
    app.add_option("--max", arguments.maximum,
                   "value of the last colour; default the 99.5 percentile");
    app.add_flag("--colour-bar,--color-bar", arguments.colour_bar,
                 "draw the colours' values beside");
    app.add_option(
        "--label", arguments.label,
        "text along the colour bar, such as \"Pressure, Pa\"; default the quantity and unit "
        "that the file states");
    app.add_option("--title", arguments.title, "text above the picture");
}

std::pair<int, int> parse_size(const std::string& option, const std::string& text) {
    const std::size_t cross = text.find('x');
    const auto width = parse_int(text.substr(0, cross));
    const auto height =
        cross == std::string::npos ? std::nullopt : parse_int(text.substr(cross + 1));
    if (!width || !height || *width < 1 || *height < 1)
        throw UsageError(option + " " + text + ": expected WxH, such as 640x480");
    return {*width, *height};
}

void check_picture_target(const std::string& target, Overwriting overwriting) {
    if (!figure_format(target))
        throw UsageError(target + ": pictures are files " + figure_extensions);
    check_output(target, overwriting);
}

palette_array chosen_palette(const std::string& wanted) {
    if (const palette_array* const palette = find_palette(wanted)) return *palette;
    if (lower_extension(wanted) == "lut") return read_lut(wanted);
    std::string names;
    for (const palette_array& palette : get_palette_list())
        names += palette.name + ", ";
    throw UsageError("--palette " + wanted + ": there are " + names + "or a file *.lut");
}

palette_array chosen_palette(const PictureArguments& arguments) {
    return styled(chosen_palette(arguments.palette), arguments.palette_style);
}

std::vector<double> chosen_iso_levels(const PictureArguments& arguments, const Limits& limits) {
    std::vector<double> levels = arguments.iso.levels(limits);
    if (arguments.iso.kind == IsoStyle::Kind::step && levels.empty())
        throw UsageError("--iso-step " + format_general(arguments.iso.step, 6) +
                         ": gives none or more than " + std::to_string(most_iso_levels) +
                         " lines from " + format_general(limits.minimum, 6) + " to " +
                         format_general(limits.maximum, 6));
    return levels;
}

Limits chosen_limits(const PictureArguments& arguments, const Limits& found) {
    const Limits limits{arguments.minimum.value_or(found.minimum),
                        arguments.maximum.value_or(found.maximum)};
    if (const std::string complaint = complaint_about(limits); !complaint.empty())
        throw UsageError(format_general(limits.minimum, 6) + " to " +
                         format_general(limits.maximum, 6) + ": " + complaint);
    return limits;
}

PictureTexts described_picture(const PictureArguments& arguments, const FrameOptions& drawing,
                               const std::string& source, const nlohmann::ordered_json& more) {
    const std::string program = std::string("VynLite ") + program_version;
    nlohmann::ordered_json provenance = {
        {"program", program},
        {"rendered_from", source_file(source)},
        {"title", arguments.title},
        {"quantity", drawing.label},
        {"palette", arguments.palette},
        {"inverted", arguments.palette_style.inverted},
        {"levels", arguments.palette_style.levels},
        {"iso_lines", chosen_iso_levels(arguments, drawing.limits)},
        {"minimum", drawing.limits.minimum},
        {"maximum", drawing.limits.maximum}};
    if (!more.is_null()) provenance.update(more);
    return {{"Title", arguments.title},
            {"Software", program},
            {"Comment", provenance.dump(-1, ' ', /*ensure_ascii=*/true,
                                        nlohmann::json::error_handler_t::replace)}};
}

}  // namespace vyn::cli
