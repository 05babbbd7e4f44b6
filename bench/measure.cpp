#include "bench/measure.h"

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <iomanip>
#include <iostream>
#include <locale>
#include <stdexcept>
#include <string_view>

#include "api/parallel.h"
#include "bench/model_stages.h"
#include "bench/stages.h"

namespace vyn::bench {

namespace {

constexpr int least_repeats = 7;
constexpr double enough_ns = 0.7e9;

std::vector<int> numbers_of(const char* variable, std::vector<int> otherwise) {
    const char* const text = std::getenv(variable);
    if (!text) return otherwise;
    std::vector<int> numbers;
    std::string_view rest = text;
    while (true) {
        const std::size_t start = rest.find_first_not_of(' ');
        if (start == std::string_view::npos) return numbers;
        rest.remove_prefix(start);
        int number = 0;
        const auto [end, error] = std::from_chars(rest.data(), rest.data() + rest.size(), number);
        if (error != std::errc() || number <= 0)
            throw std::runtime_error(std::string(variable) + ": '" + text +
                                     "' is no list of numbers");
        numbers.push_back(number);
        rest.remove_prefix(static_cast<std::size_t>(end - rest.data()));
    }
}

}  // namespace

std::vector<int> sizes() {
    return numbers_of("BENCH_SIZES", {1024, 2048, 4096});
}
std::vector<int> thread_counts() {
    return numbers_of("BENCH_THREADS", {1, 2});
}

double median(std::vector<double> times) {
    const auto middle = times.begin() + static_cast<std::ptrdiff_t>(times.size() / 2);
    std::nth_element(times.begin(), middle, times.end());
    return *middle;
}

double median_time(const std::function<double()>& once) {
    once();
    once();
    std::vector<double> times;
    double spent = 0;
    while (times.size() < least_repeats || spent < enough_ns) {
        times.push_back(once());
        spent += times.back();
    }
    return median(times);
}

namespace {

/// By the stage's own unit, whose number stands in the place of the size.
void print_model_lines() {
    const ModelInputs inputs;
    for (const ModelStage& stage : model_stages(inputs))
        for (const int threads : thread_counts()) {
            const ThreadLimit limit(threads);
            const double ns = median_time([&] { return time_once(stage); });
            std::cout << "vynlite " << stage.name << ' ' << static_cast<long>(stage.units) << ' '
                      << threads << ' ' << ns / stage.units << std::endl;
        }
}

}  // namespace

void print_lines() {
    std::cout.imbue(std::locale::classic());
    std::cout << std::fixed << std::setprecision(3);
    for (const int n : sizes()) {
        Inputs inputs(n);
        for (const Stage& stage : our_stages(inputs)) {
            check_same_bits(stage);
            for (const int threads : thread_counts()) {
                const ThreadLimit limit(threads);
                const double ns = median_time([&] { return time_once(stage); });
                std::cout << "vynlite " << stage.name << ' ' << n << ' ' << threads << ' '
                          << ns / (static_cast<double>(n) * n) << std::endl;
            }
        }
    }
    print_model_lines();
}

}  // namespace vyn::bench
