#include "calib/in_situ_calibration.h"

#include <algorithm>
#include <filesystem>

#include "core/errors.h"
#include "core/log.h"
#include "core/numbers.h"
#include "markers/marker_files.h"

namespace vyn {

namespace {

constexpr int digits = 9;

/// Logs the line and makes the outcome of it. `why` says more than the line, where that is known.
InSituOutcome failed(const char* warning, const std::string& line, const std::string& why,
                     const std::string& advice) {
    get_log().write(LogLevel::error, line);
    return {std::nullopt, warning, (why.empty() ? line : why) + ". " + advice + "."};
}

/// The result of reading, a file that cannot be opened included.
MarkerFileResult read_checked(const std::string& file, MarkerSet& ports, int image_height) {
    try {
        MarkerFileResult result = read_image_markers(file, ports, image_height);
        const std::string problem = result ? port_problem(ports) : std::string();
        if (problem.empty() || !ports.hasF) return result;
        return {MarkerFileOutcome::malformed, file + ": " + problem};
    } catch (const FileError& error) {
        return {MarkerFileOutcome::malformed, error.detail};
    }
}

std::string list_of(const std::vector<std::string>& left_out) {
    constexpr std::size_t most_told = 3;
    std::string text;
    for (std::size_t i = 0; i < std::min(left_out.size(), most_told); ++i)
        text += (i > 0 ? "; " : "") + left_out[i];
    if (left_out.size() > most_told)
        text += "; and " + std::to_string(left_out.size() - most_told) + " more";
    return text.empty() ? "no port is active" : text;
}

paintFeatures record_of(const InSituFit& fit, const std::string& pressure_unit) {
    paintFeatures paint;
    paint.pressure_unit = pressure_unit;
    for (std::size_t power = 0; power < fit.coefficients.size(); ++power)
        paint.gamma[power][0] = fit.coefficients[power];
    if (fit.covariance) {
        LawCovariance& covariance = paint.covariance.emplace();
        for (std::size_t j = 0; j < fit.covariance->size(); ++j)
            for (std::size_t k = 0; k < fit.covariance->size(); ++k)
                covariance[3 * j][3 * k] = (*fit.covariance)[j][k];
    }
    return paint;
}

void log_result(const InSituFit& fit, const std::vector<CalibrationPoint>& points) {
    const auto number = [](double value) { return format_general(value, digits); };
    get_log().write(LogLevel::progress, "Calibration calculated! Epsilon=" + number(fit.deviation) +
                                            " maximum error at marker #" +
                                            std::to_string(points[fit.worst].number));
    get_log().write(LogLevel::progress, "Calibration: gamma11=" + number(fit.coefficients[0]) +
                                            " gamma21=" + number(fit.coefficients[1]) +
                                            " gamma31=" + number(fit.coefficients[2]));
}

void log_constants(const HybridFit& fit) {
    get_log().write(LogLevel::progress, std::string("Calibration of the project's law, \"") +
                                            calibration_model_name(fit.model) +
                                            "\": " + constants_text(fit));
}

}  // namespace

InSituOutcome calibrate_samples(PortSamples samples, const InSituOptions& options) {
    const std::vector<CalibrationPoint>& points = samples.points;
    if (points.empty())
        return failed(
            "No data points, can't calculate calibration!",
            "Calibration:No data points, can't calculate calibration!", list_of(samples.left_out),
            options.side < 1 ? "Average over an area of 1 pixel at least"
                             : "Look at the ports on the ratio image: each must be active, have a "
                               "pressure and lie on valid pixels");
    if (options.model != CalibrationModel::polynomial) {
        JointOutcome outcome = calibrate_jointly(
            {{.name = {}, .samples = std::move(samples), .law = options.law}}, options);
        if (!outcome.calibration)
            return failed("Can't calculate calibration!", "Calibration: " + outcome.reason,
                          outcome.reason, "Choose another model, or look at the ports");
        InSituCalibration& calibration = outcome.calibration->points.front();
        log_constants(*calibration.hybrid);
        return {std::move(calibration), {}, {}};
    }
    const int terms =
        static_cast<int>(std::min(static_cast<std::size_t>(options.terms), points.size()));
    get_log().write(
        LogLevel::progress,
        "Calibration using:" + std::to_string(points.size()) +
            " pressure ports for calibration, approximation order:" + std::to_string(terms));
    std::optional<InSituFit> fit = fit_in_situ(points, terms);
    if (!fit)
        return failed("Can't calculate calibration!",
                      "Calibration: can't find solution Gauss approximation!",
                      "The ports have fewer different ratios than the law has terms, " +
                          std::to_string(terms),
                      "Take fewer terms, or ports at other pressures");
    log_result(*fit, points);
    paintFeatures paint = record_of(*fit, options.pressure_unit);
    return {InSituCalibration{std::move(samples), std::move(*fit), std::move(paint)}, {}, {}};
}

std::optional<InSituOutcome> read_ports(const std::string& port_file, int image_height,
                                        MarkerSet& ports) {
    std::error_code ignored;
    if (!std::filesystem::exists(port_file, ignored))
        return failed("Error Reading Markers", "Calibration file doesn't exists:" + port_file, {},
                      "Choose the marker file of the pressure ports");
    const MarkerFileResult read = read_checked(port_file, ports, image_height);
    if (!read && read.outcome != MarkerFileOutcome::no_markers)
        return failed("Error Reading Markers", "Calibration file can't be read:" + port_file,
                      read.detail, "Save the ports anew as a marker file (mrk)");
    if (ports.markers.empty())
        return failed("Markers file empty",
                      "Calibration file doesn't have any markers:" + port_file, {},
                      "Mark the ports on the ratio image and save them with their pressures");
    if (!ports.hasF)
        return failed("Markers file doesn't have pressure information",
                      "Calibration file doesn't have Pressure information:" + port_file,
                      read.detail, "Give each port its pressure as function value and save as mrk");
    return std::nullopt;
}

InSituOutcome calibrate_in_situ(const std::string& port_file, const image* ratio,
                                const InSituOptions& options) {
    const gauss_approximation refuses_other_terms(options.terms);
    MarkerSet ports;
    if (auto wrong = read_ports(port_file, ratio ? ratio->height() : 0, ports))
        return std::move(*wrong);
    if (!ratio)
        return failed("I/Iref image doesn't exists", "Calibration I/Iref doesn't exists", {},
                      "Calculate I/Iref first");

    get_log().write(LogLevel::progress,
                    "Calibration pressure ports:" + std::to_string(ports.markers.size()));
    return calibrate_samples(in_law_unit(sample_ports(*ratio, ports, options.side), options),
                             options);
}

}  // namespace vyn
