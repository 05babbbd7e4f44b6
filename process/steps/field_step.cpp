#include "process/steps/field_step.h"

#include "core/log.h"
#include "core/numbers.h"
#include "process/point/experiment_type.h"
#include "process/steps/field_quantity.h"
#include "process/steps/law_conditions.h"
#include "process/steps/step_settings.h"
#include "process/steps/temperature_step.h"

namespace vyn {

namespace {

std::string general(double value) {
    return format_general(value, 6);
}

PreparedConversion prepare(const StepRun& run, FieldQuantity quantity, WindOffRule rule,
                           const image* temperature) {
    dataSetInterface& data = run.session.data;
    paintFeatures paint;
    flowFeatures flow;
    read(data, std::string(keys::sens_paint), paint);
    read(data, std::string(keys::flow), flow);
    PreparedConversion prepared = prepare_conversion(quantity, paint, flow, rule);
    if (temperature) take_temperatures(prepared, temperature_span(*temperature));
    // The conversion has complained of every name that its tables lack, the right ones among them.
    const std::vector<std::string> wrong =
        unit_warnings(paint, flow, prepared.paint.pressure_unit, prepared.paint.temperature_unit);
    for (const std::string& text : wrong)
        warn(run.report, WarningKind::conditions, text);
    if (wrong.empty())
        get_log().write(LogLevel::information,
                        "The unit names are right: the law takes " + prepared.paint.pressure_unit +
                            " and " + prepared.paint.temperature_unit + " as they stand");
    return prepared;
}

/// What enters the law, as lines of the log and as warnings.
void tell(const StepRun& run, const PreparedConversion& prepared, WindOffRule rule) {
    const auto log = [](const std::string& line) { get_log().write(LogLevel::progress, line); };
    if (prepared.message) {
        run.report.warnings.push_back({WarningKind::conditions, prepared.message});
        run.context.message(prepared.message);
    }
    const FieldConversion& conversion = prepared.conversion;
    log("adj_flow.wind_on_t=" + general(prepared.flow_in_paint_units.wind_on_t));
    if (!uses_wind_off(run.session.data, run.session.images))
        log("The ratio is of gates without wind-off pictures: fa = 1");
    else if (rule == WindOffRule::unity)
        log(std::string(keys::convert_wind_off_ratio.path) +
            " is \"unity\": the wind-off ratio is not taken from the law");
    log("fa=" + general(conversion.wind_off_ratio));
    log("a=" + general(conversion.law.a) + " b=" + general(conversion.law.b) +
        " c=" + general(conversion.law.c));
    for (const Warning& warning : condition_warnings(prepared, rule))
        warn(run.report, warning.kind, warning.text);
}

}  // namespace

StepFacts field_facts(const StepView& view) {
    const dataSetInterface& data = view.data;
    StepFacts facts;
    facts.takes = {{.name = image_names::ratio}};
    facts.told = {std::string(keys::pressure_file.path)};
    facts.gives = {{image_names::field, {}}};
    SettingPaths settings;
    settings.add(keys::convert_field, keys::convert_threshold);
    if (read(data, keys::convert_threshold) != 0)
        settings.add(keys::convert_min, keys::convert_max);
    const FieldQuantity quantity = field_quantity(read(data, keys::convert_field));
    if (quantity != FieldQuantity::ratio) {
        if (experiment_type(data) == ExperimentType::lifetime)
            facts.takes.push_back({.name = image_names::wind_off_sens,
                                   .need = StepImage::Need::if_there,
                                   .use = StepImage::Use::behind});
        if (uses_wind_off(data, view.images)) settings.add(keys::convert_wind_off_ratio);
        settings.add(keys::sens_paint,
                     {"gamma11", "gamma12", "gamma13", "gamma21", "gamma22", "gamma23", "gamma31",
                      "gamma32", "gamma33", "default_pressure_unit", "default_temperature_unit"});
        settings.add(keys::flow, {"wind_off_p", "wind_off_t", "p_unit", "t_unit"});
        if (temperature_wanted(data))
            facts.takes.push_back({.name = image_names::temperature});
        else
            settings.add(keys::flow, {"wind_on_t"});
        if (field_takes_law(data)) settings.add(keys::temperature_source);
        facts.behind = {experiment_flags};
        facts.told.emplace_back(keys::sens_paint);
        facts.told.emplace_back(keys::flow);
    }
    if (quantity == FieldQuantity::cp) settings.add(keys::flow, {"dynamic_p"});
    if (quantity == FieldQuantity::cp || quantity == FieldQuantity::p_over_static)
        settings.add(keys::flow, {"static_p"});
    facts.settings = settings.take();
    return facts;
}

image field_of_ratio(const StepRun& run, const image& ratio, const image* temperature) {
    dataSetInterface& data = run.session.data;
    const imagesList& images = run.session.images;
    run.context.status("Calculating Field");
    FieldConversion conversion;
    conversion.quantity = field_quantity(read(data, keys::convert_field));
    std::optional<LawOfMap> of_map;
    if (conversion.quantity != FieldQuantity::ratio) {
        const WindOffRule rule = uses_wind_off(data, images)
                                     ? wind_off_rule(read(data, keys::convert_wind_off_ratio))
                                     : WindOffRule::unity;
        const PreparedConversion prepared = prepare(run, conversion.quantity, rule, temperature);
        conversion = prepared.conversion;
        of_map = prepared.of_map;
        tell(run, prepared, rule);
        run.report.conversion = prepared;
    }
    conversion.limit = read(data, keys::convert_threshold) != 0;
    if (conversion.limit) {
        conversion.lower = static_cast<float>(read(data, keys::convert_min));
        conversion.upper = static_cast<float>(read(data, keys::convert_max));
    }
    image field = of_map
                      ? convert_field(ratio, {of_map->law, *temperature}, conversion, run.context)
                      : convert_field(ratio, conversion, run.context);
    field.name = image_names::field;
    warn_if_empty(run.report, field);
    return field;
}

TaskOutcome calculate_field(const StepRun& run) {
    const auto ratio = run.session.images.find(image_names::ratio);
    if (!ratio) return TaskOutcome::idle;
    std::shared_ptr<const image> temperature;
    if (temperature_wanted(run.session.data)) {
        temperature = run.session.images.find(image_names::temperature);
        if (!temperature) return TaskOutcome::failed;
    }
    image field = field_of_ratio(run, *ratio, temperature.get());
    run.report.field = true;
    field.file_name = read(run.session.data, keys::pressure_file);
    run.publish(std::move(field));
    return TaskOutcome::done;
}

}  // namespace vyn
