#include <memory>

#include <nlohmann/json.hpp>

#include "calib/paint_fit.h"
#include "cli/commands.h"
#include "cli/console.h"
#include "cli/settings.h"

namespace vyn::cli {

namespace {

struct FitPaintOptions {
    std::string table;
    std::string out;
    PaintTableUnits units;
    PaintFitOptions fit;
    bool json = false;
    bool force = false;
};

std::string as_json(const PaintTable& table, const PaintFit& fit) {
    nlohmann::ordered_json samples = nlohmann::json::array();
    for (std::size_t i = 0; i < table.samples.size(); ++i) {
        const PaintSample& sample = table.samples[i];
        samples.push_back({{"line", sample.line},
                           {"pressure", sample.pressure},
                           {"temperature", sample.temperature},
                           {"ratio", sample.ratio},
                           {"residual", fit.residuals[i]},
                           {"leave_one_out", fit.leave_one_out[i]}});
    }
    std::vector<std::string> remarks = table.remarks;
    remarks.insert(remarks.end(), fit.remarks.begin(), fit.remarks.end());
    const nlohmann::ordered_json text{
        {"gamma", fit.paint.gamma},       {"covariance", *fit.paint.covariance},
        {"ratio_order", fit.ratio_order}, {"temperature_order", fit.temperature_order},
        {"deviation", fit.deviation},     {"leave_one_out_rms", fit.leave_one_out_rms},
        {"condition", fit.condition},     {"samples", std::move(samples)},
        {"remarks", std::move(remarks)}};
    return text.dump(2) + "\n";
}

ExitStatus fit_table(const FitPaintOptions& options) {
    if (!is_table_pressure_unit(options.units.pressure))
        throw UsageError("--pressure-unit " + options.units.pressure +
                         ": there is no such pressure unit");
    if (!is_table_temperature_unit(options.units.temperature))
        throw UsageError("--temperature-unit " + options.units.temperature +
                         ": there is no such temperature unit");
    check_output(options.out, options.force ? Overwriting::allowed : Overwriting::refused);
    const PaintTable table = read_paint_table(options.table, options.units);
    const PaintFit fit = fit_paint(table, options.fit);
    write_paint_calibration(options.out, fit.paint);
    if (options.json) {
        print(as_json(table, fit));
        return ExitStatus::done;
    }
    std::string text;
    for (const std::string& line : report_lines(table, fit))
        text += line + "\n";
    print(text);
    return ExitStatus::done;
}

}  // namespace

Work prepare_fit_paint(CLI::App& app, const GlobalOptions&) {
    const auto options = std::make_shared<FitPaintOptions>();
    app.add_option("TABLE", options->table,
                   "pressure, temperature and ratio of a calibration cell (CSV): a head names the "
                   "columns P, T and R with units in brackets or in the next line")
        ->required();
    app.add_option("OUT", options->out, "paint calibration to write (.clb), with its covariance")
        ->required();
    app.add_option("--ratio-order", options->fit.ratio_order, "highest power of the ratio")
        ->check(CLI::Range(1, 2))
        ->capture_default_str();
    app.add_option("--temperature-order", options->fit.temperature_order,
                   "highest power of the temperature; less where the table does not tell it")
        ->check(CLI::Range(0, 2))
        ->capture_default_str();
    app.add_option("--pressure-unit", options->units.pressure, "of a table that names none")
        ->capture_default_str();
    app.add_option("--temperature-unit", options->units.temperature, "of a table that names none")
        ->capture_default_str();
    app.add_flag("--json", options->json, "print as JSON");
    app.add_flag("--force", options->force, "replace an existing file");
    return [options] { return fit_table(*options); };
}

}  // namespace vyn::cli
