// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

// Costs against sizes, numbers of compartments and numbers of threads, and of the start. Each is named "curve/NAME/X".

#include "Rows.h"

#include "Trees.h"

#include <algorithm>
#include <map>

namespace
{

struct SKind
{
    const char* pszName;
    OV::DataStore::Type type;
    int bEncrypted;
};

constexpr SKind Kinds[] = {
    {"memory", OV::DataStore::MemoryStore, 0},
    {"encrypted", OV::DataStore::MemoryStore, 1},
    {"registry", OV::DataStore::RegistryStore, 0},
};

constexpr int MaxThreads = 4;
constexpr std::size_t MaxSize = (std::size_t{1} << 20) - 2; // the largest value of a registry, less its header

benchmark::internal::Benchmark* Register(const std::string& sName, long lX, const Run& run)
{
    return benchmark::RegisterBenchmark(("curve/" + sName + "/" + std::to_string(lX)).c_str(), run);
}

void RegisterSizes()
{
    for (const SKind& kind : Kinds) {
        for (std::size_t uPower = 1; uPower <= std::size_t{1} << 20; uPower *= 16) {
            const std::size_t uSize = std::min(uPower, MaxSize);
            const auto run = [=](void (CDataCaller::*method)()) {
                return Repeat([=] {
                    const std::string sName = std::string("Size") + kind.pszName + std::to_string(uSize);
                    static std::map<std::string, CDataCaller> callers;
                    CDataCaller& caller = callers.try_emplace(sName, sName, kind.type, kind.bEncrypted, uSize).first->second;
                    return [&caller, method] { (caller.*method)(); };
                });
            };
            Register(std::string("GetData ") + kind.pszName, static_cast<long>(uSize), run(&CDataCaller::Get));
            auto* pSet = Register(std::string("SetData ") + kind.pszName, static_cast<long>(uSize), run(&CDataCaller::Set));
            if (kind.type == OV::DataStore::RegistryStore) {
                pSet->UseRealTime(); // it waits for the disk
            }
        }
    }
}

/// Each thread reads from a store of its own, or all from one.
void RegisterThreads()
{
    for (const bool bOwnStores : {true, false}) {
        const Run run = ReadOnThreads(bOwnStores ? MaxThreads : 1);
        for (int nThreads = 1; nThreads <= MaxThreads; ++nThreads) {
            Register(bOwnStores ? "threads, own stores" : "threads, one store", nThreads, run)->Threads(nThreads)->UseRealTime();
        }
    }
}

void RegisterTrees(int nLargest)
{
    for (const STreeOperation& operation : TreeOperations) {
        for (int nCompartments = 1; nCompartments <= nLargest; nCompartments *= 10) {
            const Run run = Repeat([=, run = operation.Run] { return [&tree = TreeOf(nCompartments), run] { run(tree); }; });
            Register(operation.pszName, nCompartments, run);
        }
    }
}

/// A store is there for the rest of the process, so there is a limit to how often that can be measured.
void RegisterStart()
{
    constexpr int Times = 1000;
    for (const SKind& kind : Kinds) {
        const Run run = [=](benchmark::State& state) {
            int nStores = 0;
            for (auto _ : state) {
                const StringPointer name = MakeString("Start" + std::string(kind.pszName) + std::to_string(++nStores));
                Require(OV::DataStore::CStaticDataCacheClient::RegisterDataStore(name.get(), kind.type, kind.bEncrypted, 1, name.get()));
            }
        };
        Register(std::string("RegisterDataStore ") + kind.pszName, 1, run)->Iterations(Times);
    }
}

} // namespace

void RegisterCurves(int nLargest)
{
    RegisterSizes();
    RegisterThreads();
    RegisterStart();
    RegisterTrees(nLargest);
}
