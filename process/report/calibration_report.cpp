#include "process/report/calibration_report.h"

#include <algorithm>
#include <array>
#include <cmath>

#include <nlohmann/json.hpp>

#include "calib/units.h"
#include "core/keys.h"
#include "core/numbers.h"
#include "process/point/digest.h"
#include "process/point/experiment_type.h"
#include "process/steps/field_quantity.h"
#include "process/steps/law_conditions.h"

namespace vyn {

namespace {

using json = nlohmann::json;

constexpr std::array coefficient_names{"gamma11", "gamma21", "gamma31"};
/// Wind-off ratios beyond this factor from 1 come from a mistake, such as a wrong unit.
constexpr double unlikely_ratio = 2;
constexpr const char* pascal = "pa";

std::string number(double value) {
    return format_general(value, 7);
}

const char* rule_name(WindOffRule rule) {
    return rule == WindOffRule::unity ? "unity" : "law";
}

/// The wind-off ratio that the field is computed with.
double ratio_used(const CalibrationReport& report) {
    return report.rule == WindOffRule::unity ? 1 : report.conversion.conversion.wind_off_ratio;
}

/// How far scaling the ratio by fa takes the pressure at the ports away from the fitted law.
double largest_shift(const CalibrationReport& report) {
    const PaintLaw& law = report.conversion.conversion.law;
    const auto pressure = [&](double ratio) { return law.a + (law.b + law.c * ratio) * ratio; };
    double largest = 0;
    for (const CalibrationPoint& point : report.calibration.samples.points)
        largest = std::max(
            largest, std::abs(pressure(point.ratio * ratio_used(report)) - pressure(point.ratio)));
    return largest;
}

/// What the wind-off ratio of a law with these terms means for the field.
std::string wind_off_remark(const CalibrationReport& report) {
    const std::string key(keys::convert_wind_off_ratio.path);
    if (!report.wind_off)
        return "There are no wind-off pictures: the field is computed with fa = 1, which is right "
               "for a law fitted to the ratio itself";
    if (report.rule == WindOffRule::unity)
        return key +
               " is \"unity\": the field is computed with fa = 1, which is right for a law "
               "fitted to the ratio itself";
    const int terms = report.calibration.fit.terms;
    if (report.conversion.message && terms < gauss_approximation::most_terms)
        return "With " + std::to_string(terms) + (terms == 1 ? " term" : " terms") +
               " gamma31 is 0: the field computation shows \"" + report.conversion.message +
               "\" and takes fa = 1. For a law fitted to the ratio itself fa = 1 is right, and so "
               "is the field; with \"unity\" in " +
               key + " there is no message";
    if (report.conversion.message)
        return "The field computation shows \"" + std::string(report.conversion.message) +
               "\" and takes fa = 1, since the law has no ratio for the wind-off pressure";
    return "The law gives the wind-off pressure at fa = " + number(ratio_used(report)) +
           ", and the field is computed with the ratio times fa, although the law was fitted to "
           "the ratio itself; that shifts the pressure by up to " +
           format_general(largest_shift(report), 3) + " at the ports. Set " + key +
           " to \"unity\" to compute the field with fa = 1";
}

/// The record's unit is only a name to the field computation: coefficients are not converted.
std::string unit_remark(const CalibrationReport& report) {
    const std::string& unit = report.calibration.paint.pressure_unit;
    const std::string& law_unit = report.conversion.paint.pressure_unit;
    if (unit == law_unit || unit == pascal) return {};
    return "The ports' pressures are in " + unit +
           ", but the field computation takes the coefficients as they stand for a law in " +
           law_unit + ": the field will be wrong unless the ports are given in pascal";
}

/// Of a corrected law.
void add_hybrid_remarks(const CalibrationReport& report, std::vector<std::string>& remarks) {
    const HybridFit& fit = *report.calibration.hybrid;
    if (report.options.port_sigma == 0)
        remarks.emplace_back(
            "The ports' own standard deviation is 0, not known: all ports weigh alike, and only "
            "their residuals tell how sure the constants are");
    constexpr double light = 0.5;
    for (std::size_t i = 0; i < fit.weights.size(); ++i)
        if (fit.weights[i] < light)
            remarks.push_back("Port " +
                              std::to_string(report.calibration.samples.points[i].number) +
                              " does not fit the others: it counts " +
                              format_general(100 * fit.weights[i], 2) + " %");
    if (fit.sigmas.empty())
        remarks.emplace_back(
            "There are as many constants as ports: nothing can be said of their error");
    else
        remarks.push_back(
            "The law's covariance holds what the errors of lamp and wind-on "
            "temperature leave: where it is stored, " +
            std::string(keys::uncertainty_at_ports.path) + " becomes 1");
    remarks.push_back("The law holds the wind-off ratio and takes the ratio as it is: " +
                      std::string(keys::convert_wind_off_ratio.path) + " is \"unity\"");
}

std::vector<std::string> remarks_of(const CalibrationReport& report) {
    const InSituCalibration& calibration = report.calibration;
    const std::size_t ports = calibration.samples.points.size();
    const int terms = calibration.fit.terms;
    std::vector<std::string> remarks;
    for (const std::string& port : calibration.samples.left_out)
        remarks.push_back("Left out: " + port);
    if (calibration.hybrid) {
        add_hybrid_remarks(report, remarks);
        return remarks;
    }
    if (terms < report.options.terms)
        remarks.push_back(
            "Only " + std::to_string(ports) + " of " + std::to_string(report.options.terms) +
            " ports needed: the law has fewer terms than asked for, " + std::to_string(terms));
    if (!calibration.fit.covariance)
        remarks.emplace_back(
            "There are as many terms as ports: the law runs through every port, and nothing can be "
            "said of its error");
    for (const CalibrationPoint& port : calibration.samples.points) {
        if (port.pressure > 0) continue;
        remarks.push_back("The pressure of port " + std::to_string(port.number) + " is " +
                          number(port.pressure) +
                          ": the law needs absolute pressures, not differences from a reference");
        break;
    }
    if (terms == 1)
        remarks.emplace_back("A law of one term is a constant: the field has one pressure only");
    if (const std::string remark = unit_remark(report); !remark.empty()) remarks.push_back(remark);
    remarks.push_back(wind_off_remark(report));
    const double fa = report.conversion.conversion.wind_off_ratio;
    if (!report.conversion.message && !(fa > 1 / unlikely_ratio && fa < unlikely_ratio))
        remarks.push_back("A wind-off ratio of " + number(fa) +
                          " is far from 1; check project/flow/wind_off_p and the pressure units");
    return remarks;
}

std::string law_text(const InSituCalibration& calibration) {
    if (!calibration.hybrid) return "P = gamma11 + gamma21 R + gamma31 R^2";
    const char* form = "";
    switch (calibration.hybrid->model) {
        case CalibrationModel::ratio_gain:
            form = "P = law(k fa R, T)";
            break;
        case CalibrationModel::offset_gain:
            form = "P = offset + gain law(fa R, T)";
            break;
        case CalibrationModel::temperature:
            form = "P = law(fa R, T + degrees)";
            break;
        case CalibrationModel::polynomial:
            break;
    }
    return std::string(form) + ", " + constants_text(*calibration.hybrid) +
           "\n               at the wind-on temperature P = gamma11 + gamma21 R + gamma31 R^2";
}

double standard_error(const InSituFit& fit, std::size_t coefficient) {
    return std::sqrt((*fit.covariance)[coefficient][coefficient]);
}

/// Right-aligned in a column.
std::string column(const std::string& text, std::size_t width) {
    return std::string(width > text.size() ? width - text.size() : 1, ' ') + text;
}

std::string port_lines(const InSituCalibration& calibration) {
    const std::vector<CalibrationPoint>& points = calibration.samples.points;
    std::string text = "\n  number      ratio   pressure   residual  leave-one-out\n";
    for (std::size_t i = 0; i < points.size(); ++i) {
        const double left_out = calibration.fit.leave_one_out[i];
        text += column(std::to_string(points[i].number), 8) +
                column(format_fixed(points[i].ratio, 6), 11) +
                column(format_general(points[i].pressure, 6), 11) +
                column(format_general(calibration.fit.residuals[i], 4), 11) +
                column(std::isfinite(left_out) ? format_general(left_out, 4) : "-", 15) + "\n";
    }
    return text;
}

json port_json(const InSituCalibration& calibration) {
    json ports = json::array();
    for (std::size_t i = 0; i < calibration.samples.points.size(); ++i) {
        const CalibrationPoint& point = calibration.samples.points[i];
        ports.push_back({{"number", point.number},
                         {"ratio", point.ratio},
                         {"pressure", point.pressure},
                         {"residual", calibration.fit.residuals[i]},
                         {"leave_one_out", calibration.fit.leave_one_out[i]}});
    }
    return ports;
}

json constants_json(const std::optional<HybridFit>& fit) {
    if (!fit) return nullptr;
    const HybridConstants& constants = fit->constants;
    json values = json::object();
    if (fit->model == CalibrationModel::ratio_gain) values["k"] = constants.ratio_gain;
    if (fit->model == CalibrationModel::temperature) values["degrees"] = constants.degrees;
    if (fit->model == CalibrationModel::offset_gain)
        values = {{"offset", constants.offset}, {"gain", constants.gain}};
    return {{"values", std::move(values)}, {"standard_errors", fit->sigmas}};
}

/// The rows and columns of the fitted terms.
json covariance_json(const InSituFit& fit) {
    if (!fit.covariance) return nullptr;
    json rows = json::array();
    for (int j = 0; j < fit.terms; ++j) {
        const auto& row = (*fit.covariance)[static_cast<std::size_t>(j)];
        rows.push_back(std::vector<double>(row.begin(), row.begin() + fit.terms));
    }
    return rows;
}

}  // namespace

CalibrationReport report_calibration(const dataSetInterface& data, const imagesList& images,
                                     std::string port_file, const InSituOptions& options,
                                     InSituCalibration calibration) {
    CalibrationReport report;
    report.port_file = std::move(port_file);
    report.options = options;
    report.calibration = std::move(calibration);
    report.wind_off = uses_wind_off(data, images);
    report.rule = wind_off_rule(data, images);
    flowFeatures flow;
    read(data, std::string(keys::flow), flow);
    report.conversion = prepare_conversion(FieldQuantity::pressure, report.calibration.paint, flow);
    report.remarks = remarks_of(report);
    return report;
}

std::string to_text(const CalibrationReport& report) {
    const InSituFit& fit = report.calibration.fit;
    const std::vector<CalibrationPoint>& points = report.calibration.samples.points;
    const std::size_t ports = points.size() + report.calibration.samples.left_out.size();
    std::string text = "ports          " + std::to_string(points.size()) + " of " +
                       std::to_string(ports) + ", ratio averaged over " +
                       std::to_string(report.options.side) + " x " +
                       std::to_string(report.options.side) + " pixels\n" + "law            " +
                       law_text(report.calibration) + "\n";
    for (std::size_t k = 0; k < static_cast<std::size_t>(fit.terms); ++k) {
        text += std::string(coefficient_names[k]) + "        " + number(fit.coefficients[k]);
        if (fit.covariance) text += "  +- " + format_general(standard_error(fit, k), 3);
        text += "\n";
    }
    text += "deviation      " + number(fit.deviation) + "\n" + "maximum error  " +
            number(std::abs(fit.residuals[fit.worst])) + " at port " +
            std::to_string(points[fit.worst].number) + "\n" + "pressure unit  " +
            report.calibration.paint.pressure_unit + ", enters the law as " +
            report.conversion.paint.pressure_unit + "\n" + "fa             " +
            number(ratio_used(report)) + "\n";
    text += port_lines(report.calibration) + "\n";
    for (const std::string& remark : report.remarks)
        text += remark + ".\n";
    return text;
}

json to_json(const CalibrationReport& report) {
    const InSituFit& fit = report.calibration.fit;
    json coefficients = json::object();
    json errors = json::object();
    for (std::size_t k = 0; k < static_cast<std::size_t>(fit.terms); ++k) {
        coefficients[coefficient_names[k]] = fit.coefficients[k];
        if (fit.covariance) errors[coefficient_names[k]] = standard_error(fit, k);
    }
    return {{"port_file", report.port_file},
            {"port_file_sha256", file_sha256(report.port_file)},
            {"area", report.options.side},
            {"terms", fit.terms},
            {"coefficients", std::move(coefficients)},
            {"standard_errors", std::move(errors)},
            {"covariance", covariance_json(fit)},
            {"deviation", fit.deviation},
            {"worst_port", report.calibration.samples.points[fit.worst].number},
            {"pressure_unit", report.calibration.paint.pressure_unit},
            {"pressure_unit_in_law", report.conversion.paint.pressure_unit},
            {"wind_off_ratio", rule_name(report.rule)},
            {"fa", ratio_used(report)},
            {"fa_by_law", report.conversion.conversion.wind_off_ratio},
            {"ports", port_json(report.calibration)},
            {"model", calibration_model_name(report.options.model)},
            {"constants", constants_json(report.calibration.hybrid)},
            {"remarks", report.remarks}};
}

std::string to_text(const std::vector<CalibrationReport>& points) {
    std::string text;
    for (const CalibrationReport& point : points)
        text += (text.empty() ? "" : "\n") + point.name + "\n" + to_text(point);
    return text;
}

json to_json(const std::vector<CalibrationReport>& points) {
    json list = json::array();
    for (const CalibrationReport& point : points) {
        list.push_back(to_json(point));
        list.back()["project"] = point.name;
    }
    return list;
}

std::string results_file(const std::vector<CalibrationPoint>& points) {
    std::string text = "Number,I0/I,P\n";
    for (const CalibrationPoint& point : points)
        text += std::to_string(point.number) + "," + format_double(point.ratio) + "," +
                format_double(point.pressure) + "\n";
    return text;
}

}  // namespace vyn
