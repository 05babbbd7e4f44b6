// How well the uncertainty map foretells errors: many draws of synthetic points, one table.
#include "tests/support/sigma_coverage.h"

#include <cstdlib>
#include <filesystem>
#include <iomanip>
#include <iostream>

#include <unistd.h>

#include "core/keys.h"

namespace vyn::bench {
namespace {

using test::Coverage;
using test::CoverageOfPoint;
using test::Disturbance;
using Settings = std::vector<std::pair<std::string, any>>;

struct Case {
    std::string name;
    SyntheticOptions options;
    Disturbance disturbance;
    Settings settings;
};

std::pair<std::string, any> with(std::string_view path, any value) {
    return {std::string(path), std::move(value)};
}

std::vector<Case> cases() {
    using Channels = SyntheticOptions::Channels;
    const auto point = [](Channels channels, int order, FieldQuantity quantity) {
        SyntheticOptions options;
        options.width = 240;
        options.height = 180;
        options.order = order;
        options.quantity = quantity;
        options.channels = channels;
        return options;
    };
    const SyntheticOptions single = point(Channels::single, 1, FieldQuantity::pressure);
    const SyntheticOptions binary = point(Channels::binary, 1, FieldQuantity::pressure);
    const SyntheticOptions lifetime = point(Channels::lifetime, 1, FieldQuantity::pressure);
    // Its paint shows texture, and its project aligns by it.
    SyntheticOptions bent = single;
    bent.bending = 1;
    Disturbance noise;
    noise.gain = 1;
    noise.read = 3;
    Disturbance flat;
    flat.flat = 0.002;
    Disturbance markers;
    markers.markers = 0.04;
    Disturbance conditions;
    conditions.temperature = 1;
    conditions.wind_off_p = 200;
    conditions.lamp = 0.002;
    Disturbance everything = noise;
    everything.flat = flat.flat;
    everything.markers = markers.markers;
    everything.temperature = 0.5;
    everything.wind_off_p = 100;
    everything.lamp = 0.001;
    const Settings filtered{with(keys::filter_enable.path, any(1)),
                            with(keys::filter_type.path, any(1))};
    const Settings median{with(keys::filter_enable.path, any(1)),
                          with(keys::filter_type.path, any(4))};
    const Settings once{with(keys::resample_once.path, any(1)),
                        with(keys::spline_edges.path, any(std::string("extended")))};
    Settings median_once = median;
    median_once.insert(median_once.end(), once.begin(), once.end());
    Settings cp{with(keys::convert_field.path, any(std::string("Cp")))};
    Disturbance everything_cp = everything;
    everything_cp.static_p = 50;
    const auto in_situ = [&](CalibrationModel model) {
        Disturbance with = everything;
        with.ports = 100;
        with.in_situ =
            InSituOptions{.terms = 3,
                          .side = 5,
                          .pressure_unit = "Pa",
                          .model = model,
                          .port_sigma = model == CalibrationModel::polynomial ? 0.0 : 100.0};
        return with;
    };
    return {{"noise", single, noise, {}},
            {"noise, sampled once", single, noise, once},
            {"flat field", single, flat, {}},
            {"flat field, sampled once", single, flat, once},
            {"markers", single, markers, {}},
            {"markers, sampled once", single, markers, once},
            {"conditions and lamp", single, conditions, {}},
            {"everything", single, everything, {}},
            {"everything, Cp", point(Channels::single, 1, FieldQuantity::cp), everything_cp, cp},
            {"everything, order 2",
             point(Channels::single, 2, FieldQuantity::pressure),
             everything,
             {}},
            {"noise, box 3", single, noise, filtered},
            {"everything, box 3", single, everything, filtered},
            {"noise, median 3", single, noise, median},
            {"noise, median 3, sampled once", single, noise, median_once},
            {"noise, cross-correlation", bent, noise, {}},
            {"noise, binary", binary, noise, {}},
            {"markers, binary", binary, markers, {}},
            {"markers, binary, sampled once", binary, markers, once},
            {"everything, binary", binary, everything, {}},
            {"everything, lifetime", lifetime, everything, {}},
            {"in situ, three terms", single, in_situ(CalibrationModel::polynomial), {}},
            {"in situ, k", single, in_situ(CalibrationModel::ratio_gain), {}},
            {"in situ, offset and gain", single, in_situ(CalibrationModel::offset_gain), {}},
            {"in situ, temperature", single, in_situ(CalibrationModel::temperature), {}}};
}

void print(const Coverage& part) {
    std::cout << std::fixed << std::setprecision(3) << std::setw(9) << part.ratio
              << std::setprecision(1) << std::setw(7) << 100 * part.inside << " %";
}

int run(int argc, char** argv) {
    const int draws = argc > 1 ? std::atoi(argv[1]) : 400;
    std::cout << draws << " draws; predicted over actual scatter, errors within two deviations\n"
              << std::left << std::setw(30) << "disturbed"
              << "  inside            rim"
              << "               means of 100 pixels\n";
    const std::filesystem::path folder =
        std::filesystem::temp_directory_path() / ("vyn_sigma_" + std::to_string(getpid()));
    for (const Case& one : cases()) {
        if (argc > 2 && one.name.find(argv[2]) == std::string::npos) continue;
        const CoverageOfPoint found =
            sigma_coverage(one.options, one.disturbance, one.settings, draws, folder);
        std::cout << std::left << std::setw(30) << one.name << std::right;
        print(found.inside);
        print(found.rim);
        print(found.means);
        std::cout << std::endl;
    }
    std::filesystem::remove_all(folder);
    return 0;
}

}  // namespace
}  // namespace vyn::bench

int main(int argc, char** argv) {
    try {
        return vyn::bench::run(argc, argv);
    } catch (const std::exception& error) {
        std::cerr << "vyn_sigma_coverage: " << error.what() << "\n";
        return 1;
    }
}
