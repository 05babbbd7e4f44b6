#pragma once

#include "core/keys.h"
#include "process/steps/field_quantity.h"
#include "process/steps/step.h"

namespace vyn {

/// True when the paint's law makes the field.
template <class Data>
bool field_takes_law(Data& data) {
    const FieldQuantity quantity = field_quantity(read(data, keys::convert_field));
    return quantity != FieldQuantity::ratio && quantity != FieldQuantity::kept;
}

/// True when the field takes the wind-on temperature pixel by pixel. Of settings that may be
/// constant or not.
template <class Data>
bool temperature_wanted(Data& data) {
    return field_takes_law(data) && read(data, keys::temperature_source) != "number";
}

/// The wind-on temperature of every pixel of the ratio and its standard deviation: a map brought
/// into the frame of the results by its markers, or the recovery temperature of the local flow.
/// Without either, older ones are removed.
StepFacts temperature_facts(const StepView& view);
TaskOutcome find_temperature(const StepRun& run);

/// The temperatures of an image of them; raises AlgoError when no pixel is valid.
TemperatureSpan temperature_span(const image& temperature);

}  // namespace vyn
