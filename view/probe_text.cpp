#include "view/probe_text.h"

#include "api/image_list.h"
#include "core/keys.h"
#include "core/numbers.h"
#include "process/steps/field_quantity.h"

namespace vyn {

namespace {

constexpr int decimals = 6;  // those of printf's %f
constexpr const char* ratio_name = "I/Iref";

FieldLabel label_of_quantity(dataSetInterface& data) {
    const FieldQuantity quantity = field_quantity(read(data, keys::convert_field));
    if (quantity == FieldQuantity::ratio) return {ratio_name, {}};
    FieldLabel label{field_name(quantity), {}};
    if (quantity == FieldQuantity::pressure) {
        const std::string path = std::string(keys::flow) + "p_unit";
        label.unit = read(data, Key<std::string>{path});
    }
    return label;
}

}  // namespace

std::string probe_text(const ProbedPixel& pixel, const std::string& field_name) {
    std::string text = "x=" + std::to_string(pixel.x) + " y=" + std::to_string(pixel.y) + ", ";
    if (pixel.background)
        text += "Background";
    else if (pixel.in_roi)
        text += field_name + "=" + format_fixed(double{pixel.value}, decimals) + " ";
    else
        text += "ROI excluded";
    if (pixel.has_vectors)
        text += "; vectors: U=" + format_fixed(double{pixel.u}, decimals) +
                ", V=" + format_fixed(double{pixel.v}, decimals);
    return text;
}

FieldLabel field_label(const image& picture, dataSetInterface& data) {
    if (picture.displacement) return {"Displacement", "px"};
    if (picture.name == image_names::field) return label_of_quantity(data);
    if (picture.name == image_names::ratio) return {ratio_name, {}};
    return {"Intensity", {}};
}

}  // namespace vyn
