// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

// usage: bench BATCHES LARGEST [GOOGLE BENCHMARK'S ARGUMENTS]. Measures each row BATCHES times, ours and the other next
// to each other, in trees of up to LARGEST compartments. The rows "..., log off" compare two programs: "ours" is what
// this one measures, "against" what bench_without_log does.

#include "Rows.h"

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <stdexcept>

namespace
{

/// A row's benchmarks are named "row/PATH/SIDE/BATCH"; they carry the aim.
void RegisterSide(const SRow& row, bool bOurs, int nBatch)
{
    const Run run = [=](benchmark::State& state) {
        state.SetLabel(row.sAgainst);
        state.counters["aim"] = benchmark::Counter(row.dAim, benchmark::Counter::kAvgThreads);
        (bOurs ? row.Ours : row.Against)(state);
    };
    const std::string sName = "row/" + row.sPath + (bOurs ? "/ours/" : "/against/") + std::to_string(nBatch);
    benchmark::internal::Benchmark* pBenchmark = benchmark::RegisterBenchmark(sName.c_str(), run);
    pBenchmark->Threads(bOurs ? row.nThreads : 1);
    if (row.bWaits) {
        pBenchmark->UseRealTime();
    }
    if (row.sPath.starts_with("memory of")) {
        pBenchmark->Iterations(1);
    }
}

void RegisterRows(const std::vector<SRow>& rows, int nBatches)
{
    for (const SRow& row : rows) {
        for (int nBatch = 0; nBatch < nBatches; ++nBatch) {
            const bool bOursFirst = nBatch % 2 == 0;
            RegisterSide(row, bOursFirst, nBatch);
            RegisterSide(row, !bOursFirst, nBatch);
        }
    }
}

int Measure(int argc, char** argv)
{
    if (argc < 3) {
        std::fputs("usage: bench BATCHES LARGEST [--benchmark_...]\n", stderr);
        return EXIT_FAILURE;
    }
    const int nBatches = std::atoi(argv[1]);
    const int nLargest = std::atoi(argv[2]);
    RegisterRows(PINRows(), nBatches);
    RegisterRows(DataRows(), nBatches);
    RegisterCurves(nLargest);
    RegisterRows(TreeRows(nLargest), nBatches);

    int nLeft = argc - 2;
    benchmark::Initialize(&nLeft, argv + 2);
    benchmark::RunSpecifiedBenchmarks();
    return EXIT_SUCCESS;
}

} // namespace

int main(int argc, char** argv)
{
    try {
        return Measure(argc, argv);
    } catch (const std::exception& e) {
        std::fprintf(stderr, "bench: %s\n", e.what());
        return EXIT_FAILURE;
    }
}
