#include "process/model/loads_table.h"

#include <algorithm>
#include <array>
#include <numbers>
#include <utility>

#include <nlohmann/json.hpp>

#include "core/atomic_file.h"
#include "core/errors.h"
#include "core/keys.h"
#include "core/numbers.h"

namespace vyn {

namespace {

std::string csv_text(const std::string& text) {
    if (text.find_first_of(",\"\n\r") == std::string::npos) return text;
    std::string quoted = "\"";
    for (const char c : text)
        quoted += c == '"' ? "\"\"" : std::string(1, c);
    return quoted + "\"";
}

/// The numbers that a point's settings hold.
std::array<std::pair<Key<double>, double*>, 6> stored_numbers(LoadsReference& reference) {
    return {{{keys::loads_area, &reference.area},
             {keys::loads_chord, &reference.chord},
             {keys::loads_span, &reference.span},
             {keys::loads_about_x, &reference.about[0]},
             {keys::loads_about_y, &reference.about[1]},
             {keys::loads_about_z, &reference.about[2]}}};
}

}  // namespace

void read_loads_reference(const std::filesystem::path& file, LoadsReference& reference) {
    constexpr std::size_t largest = std::size_t{1} << 20;
    const auto text = nlohmann::json::parse(read_file(file, largest), nullptr, false);
    if (!text.is_object())
        throw FileError("Can't open file for reading!",
                        file.string() + ": no object with area, chord, span, about");
    const auto number = [&](const char* name, double& value) {
        if (text.contains(name) && text[name].is_number()) value = text[name];
    };
    number("area", reference.area);
    number("chord", reference.chord);
    number("span", reference.span);
    number("static_p", reference.static_pressure);
    number("dynamic_p", reference.dynamic_pressure);
    number("alpha", reference.alpha);
    number("beta", reference.beta);
    if (!text.contains("about")) return;
    const auto& about = text["about"];
    if (!about.is_array() || about.size() != 3 ||
        !std::ranges::all_of(about, [](const auto& part) { return part.is_number(); }))
        throw FileError("Can't open file for reading!", file.string() + ": about is no [x, y, z]");
    for (std::size_t i = 0; i < 3; ++i)
        reference.about[i] = about[i];
}

LoadsReference read_loads_reference(const dataSetInterface& data) {
    LoadsReference reference;
    for (const auto& [key, value] : stored_numbers(reference))
        *value = read(data, key);
    return reference;
}

void write_loads_reference(dataSetInterface& data, const LoadsReference& reference) {
    LoadsReference copy = reference;
    for (const auto& [key, value] : stored_numbers(copy))
        if (read(std::as_const(data), key) != *value) write(data, key, *value);
}

std::string problem_of(const LoadsReference& reference) {
    if (!(reference.area > 0 && reference.chord > 0 && reference.span > 0))
        return "area, chord and span must be above 0";
    return reference.dynamic_pressure == 0 ? "the dynamic pressure must not be 0" : "";
}

std::vector<std::pair<std::string, double>> load_coefficients(const PatchLoads& patch,
                                                              const LoadsReference& reference) {
    constexpr double degree = std::numbers::pi / 180;
    const double q_s = reference.dynamic_pressure * reference.area;
    const Vec3 wind = in_wind_axes(patch.force, reference.alpha * degree, reference.beta * degree);
    return {{"CX", patch.force[0] / q_s},
            {"CY", patch.force[1] / q_s},
            {"CZ", patch.force[2] / q_s},
            {"Cl", patch.moment[0] / (q_s * reference.span)},
            {"Cm", patch.moment[1] / (q_s * reference.chord)},
            {"Cn", patch.moment[2] / (q_s * reference.span)},
            {"CD", wind[0] / q_s},
            {"CY_wind", wind[1] / q_s},
            {"CL", wind[2] / q_s}};
}

double hinge_coefficient(double moment, const LoadsReference& reference) {
    return moment / (reference.dynamic_pressure * reference.area * reference.chord);
}

std::string loads_csv(const std::vector<PatchLoads>& patches, const LoadsReference& reference) {
    std::string text = "patch,area,covered_share,FX,FY,FZ,MX,MY,MZ";
    for (const auto& [name, value] : load_coefficients(PatchLoads(), reference))
        text += "," + name;
    text += "\n";
    for (const PatchLoads& patch : patches) {
        text += csv_text(patch.name);
        const auto add = [&](double value) { text += "," + format_double(value); };
        add(patch.area);
        add(patch.covered_share());
        for (const Vec3& vector : {patch.force, patch.moment})
            for (const double value : vector)
                add(value);
        for (const auto& [name, value] : load_coefficients(patch, reference))
            add(value);
        text += "\n";
    }
    return text;
}

}  // namespace vyn
