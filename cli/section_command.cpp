#include <memory>

#include "api/image_io.h"
#include "cli/commands.h"
#include "cli/console.h"
#include "cli/interrupt.h"
#include "cli/model_arguments.h"
#include "cli/settings.h"
#include "core/atomic_file.h"
#include "core/numbers.h"
#include "process/model/chord_lines.h"
#include "process/model/section_table.h"

namespace vyn::cli {

namespace {

struct SectionArguments {
    std::string field;
    std::string quantity;
    std::vector<std::string> planes;  ///< AXIS=VALUE
    std::vector<double> chords;       ///< x/c
    std::string lines;
    std::string normal;
    std::string point;
    std::string out;
    bool force = false;
};

SectionPlane parse_plane(const std::string& text) {
    const auto axis = std::string_view("xyz").find(text.empty() ? '?' : text[0]);
    const auto value = text.size() > 2 && text[1] == '='
                           ? parse_double(std::string_view(text).substr(2))
                           : std::nullopt;
    if (axis == std::string_view::npos || !value)
        throw UsageError("--plane " + text + ": expected x=VALUE, y=VALUE or z=VALUE");
    SectionPlane plane;
    plane.normal[axis] = 1;
    plane.offset = *value;
    return plane;
}

std::vector<SectionPlane> wanted_planes(const SectionArguments& arguments) {
    std::vector<SectionPlane> planes;
    for (const std::string& text : arguments.planes)
        planes.push_back(parse_plane(text));
    if (arguments.normal.empty() != arguments.point.empty())
        throw UsageError("section: --normal and --point belong together");
    if (!arguments.normal.empty()) {
        const Vec3 normal = parse_vector("--normal", arguments.normal);
        const double size = length(normal);
        if (!(size > 0)) throw UsageError("--normal must not be 0,0,0");
        const Vec3 unit = (1 / size) * normal;
        planes.push_back({unit, dot(unit, parse_vector("--point", arguments.point))});
    }
    if (arguments.chords.empty() != arguments.lines.empty())
        throw UsageError("section: --xc and --lines belong together");
    if (planes.empty() && arguments.chords.empty())
        throw UsageError("section: --plane, --normal and --point, or --xc and --lines is required");
    return planes;
}

ExitStatus work(const SectionArguments& arguments) {
    const auto planes = wanted_planes(arguments);
    check_output(arguments.out, arguments.force ? Overwriting::allowed : Overwriting::refused);
    const ChordLines lines =
        arguments.lines.empty() ? ChordLines{} : read_chord_lines(arguments.lines);
    InterruptProgress progress;
    const field_data<double> mesh = read_field(arguments.field, progress);
    const Surface surface = prepare_surface(mesh, progress);
    const std::string quantity = chosen_quantity(mesh, arguments.quantity);
    std::vector<std::vector<SectionCurve>> sections;
    for (std::size_t i = 0; i < planes.size(); ++i) {
        const Section section = cut_section(mesh, surface, planes[i], quantity);
        const SectionLoads& loads = section.loads;
        sections.push_back(section.curves);
        const auto number = [](double value) { return format_general(value, 6); };
        print("section " + std::to_string(i + 1) + "  chord " + number(loads.chord) + "  cn " +
              number(loads.normal) + "  ca " + number(loads.axial) + "  cm " +
              number(loads.moment) + "  covered " + number(100 * loads.covered_share) + " %\n");
    }
    for (const double x_c : arguments.chords)
        sections.push_back(cut_at_chord(mesh, surface, lines, x_c, quantity));
    write_file(arguments.out, section_csv(sections));
    return ExitStatus::done;
}

}  // namespace

Work prepare_section(CLI::App& app, const GlobalOptions&) {
    const auto arguments = std::make_shared<SectionArguments>();
    app.add_option("FIELD3D", arguments->field, "mesh with values at its nodes")->required();
    app.add_option("--quantity", arguments->quantity,
                   "values to take; by default the first quantity of the file");
    app.add_option("--plane", arguments->planes,
                   "x=VALUE, y=VALUE or z=VALUE, in the mesh's unit; several give several sections")
        ->take_all()
        ->allow_extra_args(false);
    app.add_option("--xc", arguments->chords,
                   "share of the chord between the lines of --lines: the curve along the span; "
                   "several are possible")
        ->take_all()
        ->allow_extra_args(false);
    app.add_option("--lines", arguments->lines,
                   "table (CSV) with the columns line, x, y, z: points of the \"leading\" and the "
                   "\"trailing\" edge in the mesh's unit");
    app.add_option("--normal", arguments->normal, "X,Y,Z: normal of another plane");
    app.add_option("--point", arguments->point, "X,Y,Z: a point of it");
    app.add_option("--out", arguments->out, "table to write (CSV)")->required();
    app.add_flag("--force", arguments->force, "replace an existing file");
    return [arguments] { return work(*arguments); };
}

}  // namespace vyn::cli
