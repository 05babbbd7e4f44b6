#include <algorithm>
#include <cmath>
#include <memory>

#include <nlohmann/json.hpp>

#include "api/image_io.h"
#include "cli/commands.h"
#include "cli/console.h"
#include "cli/interrupt.h"
#include "cli/settings.h"
#include "core/numbers.h"
#include "mesh/surface.h"

namespace vyn::cli {

namespace {

using Field = field_data<double>;

struct MeshOptions {
    std::string source;
    std::string target;
    std::string variant;
    bool force = false;
    bool json = false;
};

Field read_mesh(const MeshOptions& options, Progress& progress) {
    return read_field(options.source, progress, {.variant = options.variant});
}

std::array<Vec3, 2> box_of(const Field& mesh) {
    std::array<Vec3, 2> box{mesh.vertices.front(), mesh.vertices.front()};
    for (const Vec3& vertex : mesh.vertices)
        for (std::size_t i = 0; i < 3; ++i) {
            box[0][i] = std::min(box[0][i], vertex[i]);
            box[1][i] = std::max(box[1][i], vertex[i]);
        }
    return box;
}

nlohmann::ordered_json summary(const Field& mesh) {
    nlohmann::ordered_json text = {{"vertices", mesh.vertices.size()},
                                   {"triangles", mesh.triangles.size()},
                                   {"cells", mesh.cell_count()},
                                   {"unit", mesh.unit}};
    const auto box = box_of(mesh);
    text["lowest"] = box[0];
    text["highest"] = box[1];
    for (const auto& zone : mesh.zones) {
        nlohmann::ordered_json entry = {{"name", zone.name}, {"triangles", zone.triangle_count}};
        if (zone.structured()) entry["grid"] = {zone.ni, zone.nj};
        text["zones"].push_back(std::move(entry));
    }
    for (const auto& quantity : mesh.quantities) {
        std::size_t seen = 0;
        double low = 0;
        double high = 0;
        for (const double value : quantity.values) {
            if (!std::isfinite(value)) continue;
            low = seen == 0 ? value : std::min(low, value);
            high = seen == 0 ? value : std::max(high, value);
            ++seen;
        }
        text["quantities"].push_back(
            {{"name", quantity.name},
             {"unit", quantity.unit},
             {"at", quantity.place == Field::Place::node ? "nodes" : "cells"},
             {"seen", seen},
             {"of", quantity.values.size()},
             {"lowest", low},
             {"highest", high}});
    }
    for (const auto& view : mesh.views)
        text["views"].push_back({{"name", view.name}, {"rms", view.rms}});
    return text;
}

/// One line for each member, lists one line for each entry.
std::string as_text(const nlohmann::ordered_json& object) {
    std::string text;
    for (const auto& [key, value] : object.items()) {
        const bool list = value.is_array() && !value.empty() && !value.front().is_number();
        if (!list) {
            text +=
                key + "  " + (value.is_string() ? value.get<std::string>() : value.dump()) + "\n";
            continue;
        }
        text += key + "\n";
        for (const auto& entry : value)
            text += "  " + (entry.is_string() ? entry.get<std::string>() : entry.dump()) + "\n";
    }
    return text;
}

void show(const nlohmann::ordered_json& object, bool json) {
    using nlohmann::ordered_json;
    print(json ? object.dump(2, ' ', false, ordered_json::error_handler_t::replace) + "\n"
               : as_text(object));
}

ExitStatus info(const MeshOptions& options) {
    InterruptProgress progress;
    show(summary(read_mesh(options, progress)), options.json);
    return ExitStatus::done;
}

ExitStatus check(const MeshOptions& options) {
    InterruptProgress progress;
    const Field mesh = read_mesh(options, progress);
    const Surface surface = prepare_surface(mesh, progress);
    nlohmann::ordered_json text = {{"findings", describe(mesh, surface)},
                                   {"degenerate", surface.degenerate},
                                   {"open_edges", surface.open_edges},
                                   {"crowded_edges", surface.crowded_edges},
                                   {"one_sided_edges", surface.one_sided_edges},
                                   {"turned", surface.turned},
                                   {"diagonal", surface.diagonal},
                                   {"unit", mesh.unit}};
    for (const SurfacePiece& piece : surface.pieces)
        text["pieces"].push_back({{"triangles", piece.triangles},
                                  {"area", piece.area},
                                  {"volume", piece.has_inside ? piece.volume : 0.0},
                                  {"open_edges", piece.open_edges},
                                  {"has_inside", piece.has_inside}});
    show(text, options.json);
    return ExitStatus::done;
}

ExitStatus convert(const MeshOptions& options) {
    check_output(options.target, options.force ? Overwriting::allowed : Overwriting::refused);
    InterruptProgress progress;
    write_field(read_mesh(options, progress), options.target, progress);
    return ExitStatus::done;
}

}  // namespace

Work prepare_mesh(CLI::App& app, const GlobalOptions&) {
    const auto options = std::make_shared<MeshOptions>();
    const auto chosen = std::make_shared<Work>();
    app.require_subcommand(1);
    const auto add = [&](const char* name, const char* meaning,
                         ExitStatus (*work)(const MeshOptions&)) {
        CLI::App* sub = app.add_subcommand(name, meaning);
        sub->add_option("MESH", options->source, "mesh or 3-D field, in any readable format")
            ->required();
        sub->add_option("--as", options->variant,
                        "how to read a file that can be read in several ways, in the words of the "
                        "refusal");
        sub->callback([options, chosen, work] { *chosen = [=] { return work(*options); }; });
        return sub;
    };
    add("info", "say what a file holds", info)->add_flag("--json", options->json, "print as JSON");
    add("check", "find holes, degenerate faces and faces that point inward", check)
        ->add_flag("--json", options->json, "print as JSON");
    CLI::App* converting = add("convert", "write it in another format", convert);
    converting->add_option("OUT", options->target, "file to write; the extension picks the format")
        ->required();
    converting->add_flag("--force", options->force, "replace an existing file");
    return [chosen] { return (*chosen)(); };
}

}  // namespace vyn::cli
