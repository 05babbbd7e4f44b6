#include "process/steps/law_conditions.h"

#include <array>

#include "calib/units.h"
#include "core/ascii.h"
#include "core/keys.h"
#include "core/numbers.h"
#include "process/point/experiment_type.h"
#include "process/report/image_statistics.h"
#include "process/steps/field_quantity.h"
#include "process/steps/temperature_step.h"

namespace vyn {

namespace {

constexpr int digits = 7;

std::string general(double value) {
    return format_general(value, 6);
}

std::string with_unit(double value, const std::string& unit) {
    return format_general(value, digits) + " " + unit;
}

/// A unit name of the project, and what the tables make of it.
struct UnitName {
    std::string key;
    const std::string& name;
    bool known;
    std::string_view base;    ///< converts with factor 1, as an unknown name does
    std::string_view in_law;  ///< name of the law's unit: values are taken as they stand
    std::vector<std::string> table;
    const char* what;
};

/// Whether the name's values are taken as they stand although it looks like another unit.
bool misleading(const UnitName& unit) {
    if (unit.known || unit.name == unit.in_law) return false;
    return lower_case(unit.name) != unit.base;
}

std::string describe(const UnitName& unit) {
    std::string names;
    for (const std::string& name : unit.table)
        names += (names.empty() ? "" : ", ") + name;
    return unit.key + " \"" + unit.name + "\" is no known unit name (" + names + "): " + unit.what +
           " are taken as they stand. For numbers that are those of the law, type " +
           std::string(unit.in_law);
}

}  // namespace

std::vector<std::string> unit_warnings(const paintFeatures& paint, const flowFeatures& flow,
                                       const std::string& law_unit,
                                       const std::string& law_temperature_unit) {
    const UnitMessagesOff preview;
    const auto pressure = [&](std::string_view tree, const char* key, const std::string& name) {
        return UnitName{std::string(tree) + key, name,       is_pressure_unit(name), "pa", law_unit,
                        pressure_unit_names(),   "pressures"};
    };
    const auto temperature = [&](std::string_view tree, const char* key, const std::string& name) {
        return UnitName{std::string(tree) + key,
                        name,
                        is_temperature_unit(name),
                        "k",
                        law_temperature_unit,
                        temperature_unit_names(),
                        "temperatures"};
    };
    std::vector<std::string> warnings;
    for (const UnitName& unit :
         {pressure(keys::flow, "p_unit", flow.p_unit),
          temperature(keys::flow, "t_unit", flow.t_unit),
          pressure(keys::sens_paint, "default_pressure_unit", paint.pressure_unit),
          temperature(keys::sens_paint, "default_temperature_unit", paint.temperature_unit)})
        if (misleading(unit)) warnings.push_back(describe(unit));
    // Names of the table convert to kelvin, whatever the law was measured in.
    if (lower_case(paint.temperature_unit) == "c" && is_temperature_unit(flow.t_unit))
        warnings.push_back(std::string(keys::flow) + "t_unit \"" + flow.t_unit +
                           "\" enters the law in kelvin, but the paint's temperatures are in "
                           "degrees Celsius: type " +
                           law_temperature_unit + ", and temperatures in degrees Celsius");
    if (convert_pressure(1, paint.pressure_unit, "pa") != 1)
        warnings.push_back("The paint's coefficients are taken as they stand for a law in " +
                           law_unit + ", although its pressure unit is " + paint.pressure_unit);
    return warnings;
}

namespace {

std::vector<LawConditions::Line> lines_of(const flowFeatures& entered,
                                          const paintFeatures& entered_paint,
                                          const PreparedConversion& prepared, WindOffRule rule) {
    const flowFeatures& flow = prepared.flow_in_paint_units;
    const paintFeatures& paint = prepared.paint;
    std::vector<LawConditions::Line> lines;
    const auto pressure = [&](const char* name, double value, double in_law) {
        lines.push_back({name, with_unit(value, entered.p_unit), format_general(in_law, digits)});
    };
    const auto temperature = [&](const char* name, double value, double in_law) {
        lines.push_back({name, with_unit(value, entered.t_unit), format_general(in_law, digits)});
    };
    const auto span = [](double low, double high) {
        return format_general(low, digits) + " to " + format_general(high, digits);
    };
    if (prepared.of_map)
        lines.push_back(
            {"Wind-on T", "by pixel", span(prepared.of_map->lowest, prepared.of_map->highest)});
    else
        temperature("Wind-on T", entered.wind_on_t, flow.wind_on_t);
    temperature("Wind-off T", entered.wind_off_t, flow.wind_off_t);
    pressure("Wind-off P", entered.wind_off_p, flow.wind_off_p);
    pressure("Static P", entered.static_p, flow.static_p);
    pressure("Dynamic P", entered.dynamic_p, flow.dynamic_p);
    if (paint.minimal_temperature < paint.maximal_temperature)
        lines.push_back(
            {"Paint's T range",
             span(entered_paint.minimal_temperature, entered_paint.maximal_temperature) + " " +
                 entered_paint.temperature_unit,
             span(paint.minimal_temperature, paint.maximal_temperature)});
    lines.push_back({"Wind-off ratio fa", rule == WindOffRule::unity ? "unity" : "by the law",
                     format_general(prepared.conversion.wind_off_ratio, digits)});
    return lines;
}

}  // namespace

WindOffRule wind_off_rule(const dataSetInterface& data, const imagesList& images) {
    return uses_wind_off(data, images) ? wind_off_rule(read(data, keys::convert_wind_off_ratio))
                                       : WindOffRule::unity;
}

std::vector<Warning> condition_warnings(const PreparedConversion& prepared, WindOffRule rule) {
    std::vector<Warning> warnings;
    const flowFeatures& flow = prepared.flow_in_paint_units;
    if (rule == WindOffRule::law && !(flow.wind_off_p > 0))
        warnings.push_back(
            {WarningKind::conditions,
             std::string(keys::flow) +
                 "wind_off_p is not positive: the wind-off ratio, and with it the field, "
                 "will be wrong"});
    const paintFeatures& paint = prepared.paint;
    if (!(paint.minimal_temperature < paint.maximal_temperature)) return warnings;
    const std::string tree(keys::flow);
    std::vector<std::pair<std::string, double>> temperatures{
        {tree + "wind_off_t", flow.wind_off_t}};
    if (prepared.of_map) {
        temperatures.emplace_back("the lowest wind-on temperature", prepared.of_map->lowest);
        temperatures.emplace_back("the highest wind-on temperature", prepared.of_map->highest);
    } else {
        temperatures.emplace_back(tree + "wind_on_t", flow.wind_on_t);
    }
    for (const auto& [name, value] : temperatures)
        if (!(value >= paint.minimal_temperature && value <= paint.maximal_temperature))
            warnings.push_back(
                {WarningKind::paint_range,
                 name + " enters the law as " + general(value) + ", outside the paint's range " +
                     general(paint.minimal_temperature) + " to " +
                     general(paint.maximal_temperature) + "; check the unit names: " +
                     paint.temperature_unit + " takes temperatures as they stand"});
    return warnings;
}

LawConditions law_conditions(const dataSetInterface& data, const imagesList& images) {
    const UnitMessagesOff preview;
    const FieldQuantity quantity = field_quantity(read(data, keys::convert_field));
    if (quantity == FieldQuantity::ratio)
        return {{}, {"The field is the ratio itself: paint and test conditions have no effect"}};
    const WindOffRule rule = wind_off_rule(data, images);
    paintFeatures paint;
    flowFeatures flow;
    read(data, std::string(keys::sens_paint), paint);
    read(data, std::string(keys::flow), flow);
    PreparedConversion prepared = prepare_conversion(quantity, paint, flow, rule);
    const auto map = images.find(image_names::temperature);
    if (map && temperature_wanted(data) && image_statistics(*map).valid > 0)
        take_temperatures(prepared, temperature_span(*map));

    LawConditions conditions;
    conditions.lines = lines_of(flow, paint, prepared, rule);
    conditions.remarks =
        unit_warnings(paint, flow, prepared.paint.pressure_unit, prepared.paint.temperature_unit);
    for (Warning& warning : condition_warnings(prepared, rule))
        conditions.remarks.push_back(std::move(warning.text));
    if (prepared.message) conditions.remarks.emplace_back(prepared.message);
    return conditions;
}

}  // namespace vyn
