#include "process/steps/field_task.h"

#include "api/image_list.h"
#include "core/keys.h"
#include "core/log.h"
#include "core/numbers.h"
#include "process/point/experiment_type.h"
#include "process/steps/field_quantity.h"
#include "process/steps/law_conditions.h"

namespace vyn {

namespace {

std::string general(double value) {
    return format_general(value, 6);
}

PreparedConversion prepare(dataSetInterface& data, FieldQuantity quantity, WindOffRule rule) {
    paintFeatures paint;
    flowFeatures flow;
    read(data, std::string(keys::sens_paint), paint);
    read(data, std::string(keys::flow), flow);
    return prepare_conversion(quantity, paint, flow, rule);
}

}  // namespace

TaskOutcome FieldTask::run(TaskContext& context) {
    imagesList& images = get_images();
    dataSetInterface& data = vyn_db();
    const auto ratio = images.find(ratio_);
    if (!ratio) return TaskOutcome::idle;

    context.status("Calculating Field");
    FieldConversion conversion;
    conversion.quantity = field_quantity(read(data, keys::convert_field));
    if (conversion.quantity != FieldQuantity::ratio) {
        const WindOffRule rule = wind_off_rule(data, images);
        const PreparedConversion prepared = prepare(data, conversion.quantity, rule);
        conversion = prepared.conversion;
        if (prepared.message) {
            report_->warnings.push_back({WarningKind::conditions, prepared.message});
            context.message(prepared.message);
        }
        get_log().write(LogLevel::progress,
                        "adj_flow.wind_on_t=" + general(prepared.flow_in_paint_units.wind_on_t));
        if (!uses_wind_off(data, images))
            get_log().write(LogLevel::progress,
                            "The ratio is of gates without wind-off pictures: fa = 1");
        else if (rule == WindOffRule::unity)
            get_log().write(LogLevel::progress,
                            std::string(keys::convert_wind_off_ratio.path) +
                                " is \"unity\": the wind-off ratio is not taken from the law");
        get_log().write(LogLevel::progress, "fa=" + general(conversion.wind_off_ratio));
        get_log().write(LogLevel::progress, "a=" + general(conversion.law.a) +
                                                " b=" + general(conversion.law.b) +
                                                " c=" + general(conversion.law.c));
        for (const Warning& warning : condition_warnings(prepared, rule))
            warn(*report_, warning.kind, warning.text);
        report_->conversion = prepared;
    }
    conversion.limit = read(data, keys::convert_threshold) != 0;
    conversion.lower = static_cast<float>(read(data, keys::convert_min));
    conversion.upper = static_cast<float>(read(data, keys::convert_max));

    image field = convert_field(*ratio, conversion, context);
    field.name = field_;
    warn_if_empty(*report_, field);
    report_->field = true;
    field.file_name = read(data, keys::pressure_file);
    images.add(std::move(field));
    return TaskOutcome::done;
}

}  // namespace vyn
