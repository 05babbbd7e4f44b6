#include "plugins/plot3d/plot3d_writer.h"

#include <cmath>
#include <cstdint>
#include <vector>

#include "core/ascii.h"
#include "plugins/mesh_support/mesh_bytes.h"
#include "plugins/support/refusal.h"

namespace vyn::plugins {

namespace {

using Field = field_data<double>;

std::size_t points_of(const Field::Zone& zone) {
    return static_cast<std::size_t>(zone.ni) * static_cast<std::size_t>(zone.nj);
}

void write_sizes(MeshWriter& out, const Field& field, int functions) {
    out.put(static_cast<std::int32_t>(field.zones.size()));
    for (const auto& zone : field.zones) {
        out.put(std::int32_t{zone.ni});
        out.put(std::int32_t{zone.nj});
        out.put(std::int32_t{1});
        if (functions > 0) out.put(std::int32_t{functions});
    }
}

}  // namespace

void write_plot3d(const Field& field, const std::filesystem::path& file, Progress& progress) {
    std::vector<const std::vector<double>*> values;
    for (const auto& quantity : field.quantities)
        if (quantity.place == Field::Place::node) values.push_back(&quantity.values);
    for (const auto& zone : field.zones)
        if (!zone.structured())
            fail_writing(file, "zone '" + zone.name + "' is not structured, as this format wants");

    MeshWriter out(file, progress);
    const std::string extension = lower_extension(file);
    if (extension == "f" || extension == "fun") {
        if (values.empty()) fail_writing(file, "there are no values at nodes");
        write_sizes(out, field, static_cast<int>(values.size()));
        for (const auto& zone : field.zones)
            for (const auto* quantity : values)
                for (std::size_t i = 0; i < points_of(zone); ++i)
                    out.put((*quantity)[zone.first_vertex + i]);
    } else {
        write_sizes(out, field, 0);
        for (const auto& zone : field.zones) {
            for (std::size_t axis = 0; axis < 3; ++axis)
                for (std::size_t i = 0; i < points_of(zone); ++i)
                    out.put(field.vertices[zone.first_vertex + i][axis]);
            for (std::size_t i = 0; i < points_of(zone); ++i) {
                const std::size_t vertex = zone.first_vertex + i;
                const bool unseen = !values.empty() && std::isnan((*values.front())[vertex]);
                out.put(std::int32_t{!field.is_blanked(vertex) && !unseen});
            }
        }
    }
    out.finish();
}

}  // namespace vyn::plugins
