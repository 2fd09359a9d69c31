// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <benchmark/benchmark.h>

#include <functional>
#include <string>
#include <vector>

using Run = std::function<void(benchmark::State&)>;
using Operation = std::function<void()>;

/// A path through the library and what its cost is compared with. Cost is time, or the counter "bytes".
struct SRow
{
    std::string sPath;
    std::string sAgainst;
    double dAim; ///< what the cost may be, as a multiple of the other one; 0: no aim
    Run Ours;
    Run Against;
    bool bWaits = false; ///< for a disk or for threads: its time is that of the wall, and else that of the processor
    int nThreads = 1;    ///< for ours
};

/// A function that makes an operation when it is first run, keeps it, and repeats it. When none can be made here,
/// the row is skipped.
Run Repeat(std::function<Operation()> make);

/// Threads that read a small value, in turn from so many stores.
Run ReadOnThreads(int nStores);

/// The table of rows: PINs, then data, then large trees, which would slow down what comes after them. The registry
/// comes into being with the second row, if not before.
std::vector<SRow> PINRows();
std::vector<SRow> DataRows();
std::vector<SRow> TreeRows(int nLargest);

/// Costs against sizes, numbers of compartments and numbers of threads, and of the start.
void RegisterCurves(int nLargest);
