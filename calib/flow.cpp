#include "calib/flow.h"

#include "calib/record_fields.h"
#include "calib/units.h"

namespace vyn {

namespace {

template <class Record, class Visit>
void for_each_field(Record& record, Visit visit) {
    visit("alpha", record.alpha);
    visit("beta", record.beta);
    visit("mach", record.mach);
    visit("static_p", record.static_p);
    visit("dynamic_p", record.dynamic_p);
    visit("wind_off_p", record.wind_off_p);
    visit("wind_off_t", record.wind_off_t);
    visit("wind_on_t", record.wind_on_t);
    visit("p_unit", record.p_unit);
    visit("t_unit", record.t_unit);
}

template <class Data>
void read_record(Data& data, const std::string& tree, flowFeatures& record) {
    for_each_field(record,
                   [&](const char* key, auto& field) { read_field(data, tree + key, field); });
}

}  // namespace

flowFeatures in_units(const flowFeatures& flow, const std::string& pressure_unit,
                      const std::string& temperature_unit) {
    flowFeatures converted = flow;
    for (double* pressure : {&converted.wind_off_p, &converted.static_p, &converted.dynamic_p})
        *pressure = convert_pressure(*pressure, flow.p_unit, pressure_unit);
    for (double* temperature : {&converted.wind_off_t, &converted.wind_on_t})
        *temperature = convert_temperature(*temperature, flow.t_unit, temperature_unit);
    converted.p_unit = pressure_unit;
    converted.t_unit = temperature_unit;
    return converted;
}

void read(dataSetInterface& data, const std::string& tree, flowFeatures& record) {
    read_record(data, tree, record);
}

void read(const dataSetInterface& data, const std::string& tree, flowFeatures& record) {
    read_record(data, tree, record);
}

void write(dataSetInterface& data, const std::string& tree, const flowFeatures& record) {
    for_each_field(
        record, [&](const char* key, const auto& field) { write_field(data, tree + key, field); });
}

}  // namespace vyn
