// Times all cases with Google Benchmark, under names such as "fmi2GetReal/fmu/1024". Takes its options.
#include <algorithm>

#include <malloc.h>

#include <benchmark/benchmark.h>

#include "benchmarks/cases.h"

namespace {

void measure(benchmark::State& state, const Case& measured) {
    if (measured.prepare) {
        for ([[maybe_unused]] auto _ : state) {
            state.PauseTiming();
            measured.prepare();
            state.ResumeTiming();
            measured.run(1);
        }
        return;
    }
    const std::size_t batch = std::max<std::size_t>(1, 1000 / measured.size);
    while (state.KeepRunningBatch(static_cast<benchmark::IterationCount>(batch))) measured.run(batch);
}

} // namespace

int main(int argc, char** argv) {
    // Freed memory is kept by the process: getting it from the system again would hide the cost of an instance.
    mallopt(M_TRIM_THRESHOLD, 1 << 30);
    mallopt(M_MMAP_THRESHOLD, 1 << 30);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;

    for (const Case& measured : makeCases(100'000)) {
        const std::string name = measured.what + "/" + measured.side + "/" + std::to_string(measured.size);
        benchmark::RegisterBenchmark(name.c_str(), measure, measured);
    }
    benchmark::RunSpecifiedBenchmarks();
}
