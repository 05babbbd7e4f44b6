#include <charconv>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <map>
#include <memory>

#include <benchmark/benchmark.h>

#include "api/parallel.h"
#include "bench/measure.h"
#include "bench/stages.h"
#ifdef VYN_BENCH_PEERS
#include "bench/peers.h"
#endif

namespace vyn::bench {
namespace {

/// One registered benchmark per stage, size and thread count; inputs are made when first needed and
/// kept for one size at a time.
void run_google_benchmark(int argc, char** argv) {
    static std::unique_ptr<Inputs> inputs;
    const auto inputs_of = [](int n) -> Inputs& {
        if (!inputs || inputs->scene.size != n) inputs = std::make_unique<Inputs>(n);
        return *inputs;
    };
    constexpr int smallest = 16;
    Inputs names_only(smallest);
    for (const int n : sizes())
        for (const Stage& stage : our_stages(names_only))
            for (const int threads : thread_counts()) {
                const std::string name =
                    stage.name + "/" + std::to_string(n) + "/threads:" + std::to_string(threads);
                benchmark::RegisterBenchmark(
                    name.c_str(),
                    [inputs_of, n, threads, wanted = stage.name](benchmark::State& state) {
                        const ThreadLimit limit(threads);
                        for (const Stage& own : our_stages(inputs_of(n)))
                            if (own.name == wanted) {
                                check_same_bits(own);
                                for (auto _ : state)
                                    time_once(own);
                            }
                        state.SetItemsProcessed(state.iterations() * n * n);
                    })
                    ->UseRealTime()
                    ->Unit(benchmark::kMillisecond);
            }
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    inputs.reset();
}

int run(int argc, char** argv) {
    const bool lines = argc > 1 && std::strcmp(argv[1], "--lines") == 0;
    const bool peers = argc > 1 && std::strcmp(argv[1], "--peers") == 0;
    if (lines) {
        print_lines();
    } else if (peers) {
#ifdef VYN_BENCH_PEERS
        return print_peers();
#else
        std::cerr << "vyn_bench: built without the comparison; configure with "
                     "-DVYN_BENCH_PEERS=ON\n";
        return 2;
#endif
    } else {
        run_google_benchmark(argc, argv);
    }
    return 0;
}

}  // namespace
}  // namespace vyn::bench

int main(int argc, char** argv) {
    try {
        return vyn::bench::run(argc, argv);
    } catch (const std::exception& error) {
        std::cerr << "vyn_bench: " << error.what() << "\n";
        return 1;
    }
}
