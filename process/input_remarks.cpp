#include "process/input_remarks.h"

#include "calib/paint_law.h"
#include "core/keys.h"
#include "core/numbers.h"
#include "process/field_quantity.h"
#include "process/page_rows.h"
#include "process/per_image.h"
#include "process/run_report.h"

namespace vyn {

namespace {

void saturation_remark(dataSetInterface& data, const std::shared_ptr<const image>& picture,
                       const std::string& label, std::vector<std::string>& remarks) {
    static PerImage<std::int64_t> counts;
    const std::int64_t count = counts.get(picture, saturated_count);
    if (count == 0) return;
    const bool exclude = read(data, keys::saturation_exclude) != 0;
    remarks.push_back(label + ": " + std::to_string(count) +
                      (count == 1 ? " pixel is" : " pixels are") + " saturated" +
                      (exclude ? " and excluded." : "."));
}

void picture_remarks(dataSetInterface& data, const imagesList& images, ExperimentType type,
                     std::vector<std::string>& remarks) {
    for (const PageCard& card : page_cards(type)) {
        const auto picture = images.find(card.raw->name);
        if (!picture) continue;
        if (!images.find(card.raw->dark_name))
            remarks.push_back(card.title + ": no dark image is used.");
        if (!images.find(card.raw->flat_name))
            remarks.push_back(card.title + ": no flat field is used.");
        saturation_remark(data, picture, card.title, remarks);
    }
}

std::string general(double value) {
    return format_general(value, 6);
}

/// Nothing is said of a field that is the ratio itself: it needs no law.
void law_remarks(dataSetInterface& data, std::vector<std::string>& remarks) {
    const FieldQuantity quantity = field_quantity(read(data, keys::convert_field));
    if (quantity == FieldQuantity::ratio) return;
    paintFeatures paint;
    flowFeatures flow;
    read(data, std::string(keys::sens_paint), paint);
    read(data, std::string(keys::flow), flow);
    if (paint.gamma == paintFeatures().gamma) {
        remarks.emplace_back("There is no paint calibration yet: the field will be wrong.");
        return;
    }
    const WindOffRule rule = wind_off_rule(read(data, keys::convert_wind_off_ratio));
    const PreparedConversion prepared = prepare_conversion(quantity, paint, flow, rule);
    const flowFeatures& in = prepared.flow_in_paint_units;
    remarks.push_back("The law gets wind-off " + general(in.wind_off_t) + ' ' + in.t_unit +
                      " and " + general(in.wind_off_p) + ' ' + in.p_unit + ", wind-on " +
                      general(in.wind_on_t) + ' ' + in.t_unit +
                      "; wind-off ratio fa = " + general(prepared.conversion.wind_off_ratio) + '.');
    if (prepared.message) remarks.emplace_back(prepared.message);
}

}  // namespace

std::vector<std::string> input_remarks(dataSetInterface& data, const imagesList& images) {
    std::vector<std::string> remarks;
    const ExperimentType type = experiment_type(data);
    if (type == ExperimentType::s3f) return {not_evaluated_text};
    picture_remarks(data, images, type, remarks);
    law_remarks(data, remarks);
    return remarks;
}

}  // namespace vyn
