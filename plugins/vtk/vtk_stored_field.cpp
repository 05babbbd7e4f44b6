#include <algorithm>
#include <cmath>

#include "plugins/vtk/vtk_cells.h"

namespace vyn::plugins {

namespace {

using Field = field_data<double>;

/// The one description of a view's numbers, for both ways.
template <class View, class Visit>
void visit_numbers(View& view, const Visit& visit) {
    for (auto& number : view.rotation)
        visit(number);
    for (auto& number : view.shift)
        visit(number);
    visit(view.fx);
    visit(view.fy);
    for (auto* lens : {&view.lens, &view.field_lens}) {
        visit(lens->cx);
        visit(lens->cy);
        visit(lens->a2);
        visit(lens->a4);
    }
    visit(view.width);
    visit(view.height);
    visit(view.rms);
}

const std::vector<std::string>* texts_of(const VtkFieldData& stored, const char* name) {
    for (const auto& [known, texts] : stored.texts)
        if (known == name) return &texts;
    return nullptr;
}

const VtkArray* numbers_of(const VtkFieldData& stored, const char* name) {
    for (const VtkArray& array : stored.numbers)
        if (array.name == name) return &array;
    return nullptr;
}

void restore_views(const VtkFieldData& stored, Field& mesh) {
    const auto* names = texts_of(stored, vtk_names::views);
    const VtkArray* numbers = numbers_of(stored, vtk_names::view_numbers);
    if (!names || !numbers || numbers->values.size() != names->size() * numbers_per_view) return;
    if (!std::ranges::all_of(numbers->values, [](double v) { return std::abs(v) < 1e30; })) return;
    std::size_t at = 0;
    for (const std::string& name : *names) {
        auto& view = mesh.views.emplace_back();
        view.name = name;
        visit_numbers(view, [&]<class T>(T& number) {
            constexpr double largest_side = 1e6;
            const double value = numbers->values[at++];
            if constexpr (std::is_same_v<T, int>)
                number = static_cast<int>(std::clamp(value, 0.0, largest_side));
            else
                number = value;
        });
    }
}

void restore_zones(const VtkFieldData& stored, Field& mesh) {
    const VtkArray* sizes = numbers_of(stored, vtk_names::zone_sizes);
    if (!sizes || sizes->values.size() != 3 * mesh.zones.size()) return;
    const auto vertices = static_cast<double>(mesh.vertices.size());
    for (std::size_t z = 0; z < mesh.zones.size(); ++z) {
        const double* size = sizes->values.data() + 3 * z;
        const bool sound =
            size[0] >= 1 && size[1] >= 1 && size[2] >= 0 && size[2] + size[0] * size[1] <= vertices;
        if (!sound) continue;
        mesh.zones[z].ni = static_cast<int>(size[0]);
        mesh.zones[z].nj = static_cast<int>(size[1]);
        mesh.zones[z].first_vertex = static_cast<std::size_t>(size[2]);
    }
}

}  // namespace

std::vector<double> view_numbers(const Field::View& view) {
    std::vector<double> numbers;
    visit_numbers(view, [&](const auto& number) { numbers.push_back(number); });
    return numbers;
}

void restore_attributes(const VtkFieldData& stored, Field& mesh) {
    const auto first = [&](const char* name) {
        const auto* texts = texts_of(stored, name);
        return texts && !texts->empty() ? texts->front() : std::string();
    };
    mesh.unit = first(vtk_names::unit);
    mesh.history = first(vtk_names::history);
    if (const auto* units = texts_of(stored, vtk_names::quantity_units))
        for (std::size_t i = 0; i + 1 < units->size(); i += 2)
            for (auto& quantity : mesh.quantities)
                if (quantity.name == (*units)[i]) quantity.unit = (*units)[i + 1];
    restore_zones(stored, mesh);
    restore_views(stored, mesh);
}

}  // namespace vyn::plugins
