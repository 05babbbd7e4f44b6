#include "calib/paint.h"

#include "calib/paint_fields.h"
#include "calib/record_fields.h"
#include "calib/units.h"

namespace vyn {

namespace {

constexpr const char* covariance_key = "covariance";

template <class Data>
KeptCovariance kept_covariance(Data& data, const std::string& tree, const LawCoefficients& gamma) {
    std::string text;
    read_field(data, tree + covariance_key, text);
    return parse_covariance(text, gamma);
}

template <class Data>
void read_record(Data& data, const std::string& tree, paintFeatures& record) {
    for_each_calibration_field(record, [&](const PaintKey& key, auto& field) {
        read_field(data, tree + key.name, field);
    });
    for_each_test_field(record,
                        [&](const char* key, auto& field) { read_field(data, tree + key, field); });
    record.covariance = kept_covariance(data, tree, record.gamma).covariance;
}

}  // namespace

void change_units(paintFeatures& record, const std::string& pressure_unit,
                  const std::string& temperature_unit) {
    for (double* pressure : {&record.normalizing_pressure, &record.minimal_pressure,
                             &record.maximal_pressure, &record.tolerance_pressure})
        *pressure = convert_pressure(*pressure, record.pressure_unit, pressure_unit);
    record.pressure_unit = pressure_unit;

    const auto converted = [&](double temperature) {
        return convert_temperature(temperature, record.temperature_unit, temperature_unit);
    };
    for (double* temperature : {&record.normalizing_temperature, &record.minimal_temperature,
                                &record.maximal_temperature})
        *temperature = converted(*temperature);
    record.tolerance_temperature = converted(record.tolerance_temperature) - converted(0);
    record.temperature_unit = temperature_unit;
}

void read(dataSetInterface& data, const std::string& tree, paintFeatures& record) {
    read_record(data, tree, record);
}

void read(const dataSetInterface& data, const std::string& tree, paintFeatures& record) {
    read_record(data, tree, record);
}

void write(dataSetInterface& data, const std::string& tree, const paintFeatures& record) {
    for_each_calibration_field(record, [&](const PaintKey& key, const auto& field) {
        write_field(data, tree + key.name, field);
    });
    for_each_test_field(
        record, [&](const char* key, const auto& field) { write_field(data, tree + key, field); });
    write_field(
        data, tree + covariance_key,
        record.covariance ? format_covariance(record.gamma, *record.covariance) : std::string());
}

KeptCovariance read_covariance(dataSetInterface& data, const std::string& tree,
                               const LawCoefficients& gamma) {
    KeptCovariance kept = kept_covariance(data, tree, gamma);
    if (!kept.problem.empty()) kept.problem = tree + covariance_key + ": " + kept.problem;
    return kept;
}

}  // namespace vyn
