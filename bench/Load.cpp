// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

// How long the library takes to be loaded and unloaded, with all that it links to. This program does not link to it.

#include <benchmark/benchmark.h>
#include <dlfcn.h>

namespace
{

void Load(benchmark::State& state)
{
    for (auto _ : state) {
        void* pLibrary = dlopen(SHAREDSTORE_LIBRARY, RTLD_NOW);
        if (pLibrary == nullptr) {
            state.SkipWithError(dlerror());
            break;
        }
        dlclose(pLibrary);
    }
}

const auto* const pRegistered = benchmark::RegisterBenchmark("curve/load and unload the library/1", Load) -> UseRealTime();

} // namespace

BENCHMARK_MAIN();
