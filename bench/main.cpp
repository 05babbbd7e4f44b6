#include <cstring>
#include <iostream>
#include <memory>

#include <benchmark/benchmark.h>

#include "api/parallel.h"
#include "bench/measure.h"
#include "bench/stages.h"
#include "bench/view_benchmarks.h"
#ifdef VYN_BENCH_PEERS
#include "bench/peers.h"
#endif

namespace vyn::bench {
namespace {

/// The inputs of one size at a time, made and their stages' bits checked when first needed.
class CurrentInputs {
  public:
    Inputs& of(int n) {
        if (!inputs_ || inputs_->scene.size != n) {
            inputs_ = std::make_unique<Inputs>(n);
            for (const Stage& stage : our_stages(*inputs_))
                check_same_bits(stage);
        }
        return *inputs_;
    }

  private:
    std::unique_ptr<Inputs> inputs_;
};

/// One registered benchmark per size, stage and thread count.
void run_google_benchmark(int argc, char** argv) {
    CurrentInputs current;
    Inputs for_names(16);
    const std::vector<Stage> stages = our_stages(for_names);
    for (const int n : sizes())
        for (std::size_t i = 0; i < stages.size(); ++i)
            for (const int threads : thread_counts()) {
                const std::string name = stages[i].name + "/" + std::to_string(n) +
                                         "/threads:" + std::to_string(threads);
                benchmark::RegisterBenchmark(
                    name.c_str(),
                    [&current, i, n, threads](benchmark::State& state) {
                        const Stage stage = our_stages(current.of(n))[i];
                        const ThreadLimit limit(threads);
                        for (auto _ : state)
                            time_once(stage);
                        state.SetItemsProcessed(state.iterations() * n * n);
                    })
                    ->UseRealTime()
                    ->Unit(benchmark::kMillisecond);
            }
    register_view_benchmarks();
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
}

int run(int argc, char** argv) {
    const bool lines = argc > 1 && std::strcmp(argv[1], "--lines") == 0;
    const bool peers = argc > 1 && std::strcmp(argv[1], "--peers") == 0;
    if (lines) {
        print_lines();
    } else if (peers) {
#ifdef VYN_BENCH_PEERS
        const bool model_only = argc > 2 && std::strcmp(argv[2], "--model") == 0;
        return print_peers(model_only ? Measured::model : Measured::all);
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
