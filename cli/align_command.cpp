#include <cmath>
#include <memory>

#include <nlohmann/json.hpp>

#include "align/correlation/correlation_images.h"
#include "align/marker_alignment.h"
#include "api/image_io.h"
#include "api/resample.h"
#include "cli/commands.h"
#include "cli/console.h"
#include "cli/interrupt.h"
#include "cli/settings.h"
#include "core/ascii.h"
#include "core/atomic_file.h"
#include "core/errors.h"
#include "core/version.h"
#include "process/point/marker_io.h"
#include "process/report/json_text.h"
#include "process/report/provenance.h"
#include "process/report/run_report_json.h"

namespace vyn::cli {

namespace {

namespace fs = std::filesystem;

struct AlignCommand {
    std::string off;
    std::string on;
    std::string aligned;
    std::string displacement;
    std::string report;
    std::vector<std::string> markers;
    int order = 1;
    bool by_texture = false;
    bool global = false;
    bool relative = false;
    bool allow_unaligned = false;
    bool force = false;
    CorrelationOptions texture;
};

/// What was found of two images.
struct Found {
    std::optional<MarkerMatch> match;
    std::optional<CorrelationReport> texture;
    std::optional<CorrelationResult> displacement;
    ImageMap by_markers;  ///< the identity without markers
    ImageMap map;
};

void check_usage(const AlignCommand& command) {
    if (command.markers.empty() && !command.by_texture)
        throw UsageError("align: --markers OFF.mrk ON.mrk, --qped or both are needed");
    if (command.relative && (command.markers.empty() || !command.by_texture))
        throw UsageError(
            "align: --relative takes --markers and --qped: it writes what the markers "
            "leave to the texture");
    if (command.relative && command.displacement.empty())
        throw UsageError("align: --relative takes --displacement");
    const auto overwriting = command.force ? Overwriting::allowed : Overwriting::refused;
    for (const std::string& target : {command.aligned, command.displacement, command.report})
        check_output(target, overwriting);
    const std::string extension = lower_extension(command.displacement);
    if (!command.displacement.empty() && extension != "dat" && extension != "imp" &&
        extension != "csv")
        throw UsageError("align: --displacement " + command.displacement +
                         ": the name must end in .dat, .imp or .csv");
}

MarkerMatch matched(const AlignCommand& command, const image& off, const image& on) {
    const MarkerSet wind_off = read_marker_file(command.markers[0], off.height());
    const MarkerSet wind_on = read_marker_file(command.markers[1], on.height());
    MarkerMatch match =
        match_markers(wind_off, wind_on, {.order = command.order, .by_geometry = true});
    for (const std::string& note : match.notes)
        console().line(note);
    for (const std::string& line : report_lines(match, command.markers[0], command.markers[1]))
        console().line(line);
    if (!match.ok) throw AlgoError("Aligning Images FAILED!", match.failure);
    return match;
}

void align_by_texture(const AlignCommand& command, const image& off, const image& on, Found& found,
                      Progress& progress) {
    StartMapping start;
    if (found.match) start = [&](Point at) { return found.by_markers.at(at); };
    CorrelationResult result = align_by_correlation(off, on, command.texture, start, progress);
    CorrelationReport& report = found.texture.emplace();
    report.statistics = result.statistics;
    report.failure = result.failure;
    if (!result.failure.empty()) {
        if (!found.match) throw AlgoError("Aligning Images FAILED!", result.failure);
        console().line("QPED alignment: " + result.failure + "; the alignment by markers stands");
        return;
    }
    if (found.match) report.left_after_markers = displacement_left(result, found.by_markers);
    for (const std::string& line : report_lines(report))
        console().line(line);
    found.map = ImageMap().then(std::make_shared<const DisplacementField>(result.field));
    found.displacement = std::move(result);
}

void write_displacement(const AlignCommand& command, const image& off, const Found& found,
                        Progress& progress) {
    const CorrelationResult nodes = found.displacement
                                        ? *found.displacement
                                        : displacement_of(found.map, off, command.texture.step);
    const ImageMap known = command.relative ? found.by_markers : ImageMap();
    const std::string extension = lower_extension(command.displacement);
    if (extension == "csv") {
        write_file(command.displacement, displacement_csv(nodes, known));
    } else if (extension == "imp") {
        image picture = displacement_image(nodes, off, known, progress);
        picture.name = "displacement";
        write_image(picture, command.displacement, {}, progress);
    } else {
        DisplacementMap map = displacement_map(nodes, known);
        map.name = fs::path(command.on).filename().string();
        map.write_map(command.displacement, MapIntensity::none);
    }
}

nlohmann::json provenance_of(const AlignCommand& command) {
    nlohmann::json result{{"program", std::string("VynLite ") + program_version},
                          {"wind_off", source_file(command.off)},
                          {"wind_on", source_file(command.on)}};
    if (!command.markers.empty()) {
        result["wind_off_markers"] = source_file(command.markers[0]);
        result["wind_on_markers"] = source_file(command.markers[1]);
        result["order"] = command.order;
    }
    if (command.by_texture)
        result["qped"] = {{"global", command.global},
                          {"iterations", command.texture.iterations},
                          {"step", command.texture.step},
                          {"cell", command.texture.cell}};
    if (command.by_texture && std::isfinite(command.texture.level))
        result["qped"]["level"] = command.texture.level;
    return result;
}

ExitStatus align(AlignCommand command) {
    check_usage(command);
    command.texture.global = command.global ? GlobalPass::yes : GlobalPass::no;
    InterruptProgress progress;
    const image off = read_image(command.off, progress);
    image on = read_image(command.on, progress);
    Found found;
    if (!command.markers.empty()) {
        found.match = matched(command, off, on);
        found.by_markers.then(found.match->moved_from_reference);
        found.map = found.by_markers;
    }
    if (command.by_texture) align_by_texture(command, off, on, found, progress);
    // What the markers left, the texture has corrected.
    if (found.match && found.match->poor && !found.displacement && !command.allow_unaligned)
        throw AlgoError("Aligning Images FAILED!", found.match->notes.back());

    const nlohmann::json provenance = provenance_of(command);
    if (!command.aligned.empty()) {
        on.edges = SplineEdges::extended;
        const image aligned = resample(on, off.width(), off.height(), found.map.rows(), progress);
        ImageWriteOptions options;
        options.provenance = json_text(provenance);
        write_image(aligned, command.aligned, options, progress);
    }
    if (!command.displacement.empty()) write_displacement(command, off, found, progress);
    if (!command.report.empty()) {
        nlohmann::json report = provenance;
        if (found.match) report["alignment"] = to_json(*found.match);
        if (found.texture) report["correlation"] = to_json(*found.texture);
        write_file(command.report, json_text(report, 2) + "\n");
    }
    return ExitStatus::done;
}

}  // namespace

Work prepare_align(CLI::App& app, const GlobalOptions&) {
    const auto command = std::make_shared<AlignCommand>();
    CorrelationOptions& texture = command->texture;
    app.add_option("OFF", command->off, "wind-off image, in any readable format")->required();
    app.add_option("ON", command->on, "wind-on image")->required();
    app.add_option("--out", command->aligned, "wind-on image on the wind-off image's pixels");
    app.add_option("--displacement", command->displacement,
                   "where the wind-on image shows the wind-off image's places, pixels: .dat for "
                   "Tecplot, .imp for the viewer, .csv with standard deviations");
    app.add_option("--markers", command->markers,
                   "marker files of both images; their markers are paired by place")
        ->expected(2)
        ->option_text("OFF.mrk ON.mrk");
    app.add_option("--order", command->order, "order of the mapping by markers")
        ->check(CLI::Range(0, 3))
        ->capture_default_str();
    app.add_flag("--qped", command->by_texture,
                 "align by the texture of the paint, from where the markers put it");
    app.add_flag("--global", command->global,
                 "first look for one shift of the whole picture, for motions beyond a tenth of it");
    app.add_option("--iterations", texture.iterations, "refining passes")->capture_default_str();
    app.add_option("--step", texture.step,
                   "distance of the displacement's nodes in pixels; detail of about 4 steps can be "
                   "followed")
        ->capture_default_str();
    app.add_option("--cell", texture.cell,
                   "side of the square that is compared, pixels; it should show three grains of "
                   "the texture in a row")
        ->capture_default_str();
    app.add_option("--level", texture.level, "pixels below it in either image are left out");
    app.add_flag("--relative", command->relative,
                 "write as displacement what the markers leave to the texture");
    app.add_option("--report", command->report, "what was found, as JSON");
    app.add_flag("--allow-unaligned", command->allow_unaligned,
                 "write results even when the markers align the images poorly");
    app.add_flag("--force", command->force, "replace existing files");
    return [command] { return align(*command); };
}

}  // namespace vyn::cli
