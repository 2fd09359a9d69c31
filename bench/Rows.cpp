// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "Rows.h"

#include "Caller.h"
#include "Floors.h"
#include "platform/Registry.h"

#include <malloc.h>
#include <memory>

namespace
{

using OV::DataStore::MemoryStore;
using OV::DataStore::RegistryStore;
using Method = void (CDataCaller::*)();

constexpr std::size_t Small = 100;
constexpr std::size_t Large = std::size_t{64} << 10;

/// An operation on one item in a store of its own, whose name is never used twice.
Operation Data(OV::DataStore::Type type, int bEncrypted, std::size_t uSize, Method method)
{
    static int nStores = 0;
    auto pCaller = std::make_shared<CDataCaller>("Row" + std::to_string(++nStores), type, bEncrypted, uSize);
    return [=] { (pCaller.get()->*method)(); };
}

Operation GetPIN()
{
    return [pCaller = std::make_shared<CPINCaller>()] { pCaller->Get(); };
}

/// The bytes that the heap holds more after something was added Count times.
Run Growth(std::function<std::function<void(int)>()> make)
{
    return [make = std::move(make)](benchmark::State& state) {
        constexpr int Count = 10'000;
        for (auto _ : state) {
            const std::function<void(int)> add = make();
            const auto held = [] {
                const auto info = mallinfo2();
                return static_cast<double>(info.uordblks + info.hblkhd);
            };
            const double dBefore = held();
            for (int i = 0; i < Count; ++i) {
                add(i);
            }
            state.counters["bytes"] = (held() - dBefore) / Count;
        }
    };
}

Run Fixed(std::size_t uBytes)
{
    return [=](benchmark::State& state) {
        for (auto _ : state) {
            state.counters["bytes"] = static_cast<double>(uBytes);
        }
    };
}

std::string Numbered(const char* psz, int nNumber)
{
    return psz + std::to_string(10'000 + nNumber); // as long for each number
}

/// Adds what a caller of a new data store selects.
Run DataGrowth(void (CDataCaller::*select)(std::string_view), const char* pszName)
{
    return Growth([=] {
        static int nStores = 0;
        auto pCaller = std::make_shared<CDataCaller>(Numbered("Growing", ++nStores), MemoryStore, 0, Small);
        return [=](int nNumber) {
            (pCaller.get()->*select)(Numbered(pszName, nNumber));
            pCaller->Set();
        };
    });
}

Run PINGrowth()
{
    return Growth([] {
        static int nCards = 0;
        auto pCaller = std::make_shared<CPINCaller>();
        return [=, sCard = Numbered("Pin", ++nCards)](int nNumber) {
            pCaller->Select(Numbered(sCard.c_str(), nNumber));
            pCaller->Set();
        };
    });
}

} // namespace

Run ReadOnThreads(int nStores)
{
    std::vector<Operation> readers;
    for (int i = 0; i < nStores; ++i) {
        readers.push_back(Data(MemoryStore, 0, Small, &CDataCaller::Get));
    }
    return [=](benchmark::State& state) {
        const Operation& read = readers[static_cast<std::size_t>(state.thread_index()) % readers.size()];
        for (auto _ : state) {
            read();
        }
    };
}

Run Repeat(std::function<Operation()> make)
{
    return [make = std::move(make), pMade = std::make_shared<Operation>()](benchmark::State& state) {
        if (*pMade == nullptr) {
            *pMade = make();
        }
        if (*pMade == nullptr) {
            state.SkipWithError("not measured here");
        }
        for (auto _ : state) {
            (*pMade)();
        }
    };
}

std::vector<SRow> PINRows()
{
    const auto withRegistry = [] {
        PVHKEY hKey = nullptr;
        Require(static_cast<HRESULT>(pvRegCreateKeyEx("HKEY_LOCAL_MACHINE", "Software", 0, nullptr, 0, 0, nullptr, &hKey, nullptr)));
        pvRegCloseKey(hKey);
        return GetPIN();
    };
    const Run read = Repeat([] { return Data(MemoryStore, 0, Small, &CDataCaller::Get); });
    const char* const pszKeyring = "kernel keyring: search, read, set timeout";
    const char* const pszNoLog = "with an empty pvlogLog";
    return {
        {"GetPIN, no registry", pszKeyring, 0, Repeat(GetPIN), Repeat(KeyringRead)},
        {"GetPIN", pszKeyring, 0.3, Repeat(withRegistry), Repeat(KeyringRead)},
        {"GetPIN, log off", pszNoLog, 1.1, Repeat(withRegistry), Repeat(withRegistry)},
        {"GetData, memory, 100 B, log off", pszNoLog, 1.1, read, read},
    };
}

std::vector<SRow> DataRows()
{
    const auto data = [](OV::DataStore::Type type, int bEncrypted, std::size_t uSize, Method method) {
        return Repeat([=] { return Data(type, bEncrypted, uSize, method); });
    };
    const auto cipher = [](bool bEncrypt) { return Repeat([=] { return CipherRun(bEncrypt, Large); }); };
    const auto small = [](Operation (*make)(std::size_t)) { return Repeat([=] { return make(Small); }); };
    const Method get = &CDataCaller::Get;
    const Method set = &CDataCaller::Set;
    return {
        {"GetData, memory, 100 B", "std::map, copy under a mutex", 3, data(MemoryStore, 0, Small, get), small(MapRead)},
        {"GetData, encrypted, 64 KiB", "bare AES-128-CBC", 1.75, data(MemoryStore, 1, Large, get), cipher(false)},
        {"SetData, encrypted, 64 KiB", "bare AES-128-CBC", 1.2, data(MemoryStore, 1, Large, set), cipher(true)},
        {"GetData, registry, 100 B", "LMDB read", 4, data(RegistryStore, 0, Small, get), small(LmdbRead)},
        {"GetData, registry, 100 B", "SQLite, prepared read", 1, data(RegistryStore, 0, Small, get), small(SqliteRead)},
        {"SetData, registry, 100 B", "LMDB commit, durable", 1.15, data(RegistryStore, 0, Small, set), small(LmdbWrite), true},
        {"GetData, two threads, two stores", "one thread, one store", 1 / 1.6, ReadOnThreads(2), ReadOnThreads(1), true, 2},
        {"memory of a compartment with one item", "path, identifier and value", 5, DataGrowth(&CDataCaller::Select, "Card"),
         Fixed(Numbered("Card", 0).size() + 5 + Small)},
        {"memory of an item", "identifier and value", 0, DataGrowth(&CDataCaller::SelectItem, "Item"),
         Fixed(Numbered("Item", 0).size() + Small)},
        {"memory of a PIN", "path and PIN", 0, PINGrowth(), Fixed(sizeof "Card1/Pin1000110000" - 1 + 8)},
    };
}
