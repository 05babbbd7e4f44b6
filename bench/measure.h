#pragma once

#include <functional>
#include <vector>

namespace vyn::bench {

/// Image sides to measure: the numbers in BENCH_SIZES, by default 1024 2048 4096.
std::vector<int> sizes();
/// Thread counts to measure: the numbers in BENCH_THREADS, by default 1 2.
std::vector<int> thread_counts();

/// Calls `once`, which gives the nanoseconds of a run, a few times for warming up and then for as
/// long as a stable median takes.
double median_time(const std::function<double()>& once);
double median(std::vector<double> times);

/// "vynlite STAGE N THREADS NS" for every stage, size and thread count; NS per pixel of one plane.
/// Of the stages on a model (bench/model_stages.h) N is the number of their units and NS per unit.
void print_lines();

}  // namespace vyn::bench
