// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

// Both clients, used at random for as long as wanted: sharedstore_soak SECONDS. Nothing of the process may grow.

#include "load/Load.h"
#include "support/KeyFile.h"

#include <chrono>
#include <iostream>
#include <malloc.h>
#include <random>

namespace
{

/// What must not grow, and by how much it may exceed its level after the start.
struct SMeasure
{
    const char* pszName;
    long nMargin;
    long (*Read)();
};

long CountEntries(const char* pszFolder)
{
    return std::distance(std::filesystem::directory_iterator(pszFolder), {});
}

long ResidentKilobytes()
{
    long nPages = 0;
    std::ifstream("/proc/self/statm") >> nPages >> nPages;
    return nPages * (sysconf(_SC_PAGESIZE) / 1024);
}

/// The sanitizers have heaps of their own, which keep what is freed.
const long AnyMemory = UnderSanitizer ? 1L << 30 : 0;

const SMeasure Measures[] = {
    {"VmRSS KiB", AnyMemory + 8192, &ResidentKilobytes},
    {"heap KiB", AnyMemory + 8192, [] { return static_cast<long>(mallinfo2().uordblks / 1024); }},
    {"threads", 1, [] { return CountEntries("/proc/self/task"); }},
    {"descriptors", 2, [] { return CountEntries("/proc/self/fd"); }},
};

unsigned int SecondsWanted()
{
    std::ifstream commandLine("/proc/self/cmdline");
    std::string sArgument;
    std::getline(std::getline(commandLine, sArgument, '\0'), sArgument, '\0');
    const int nSeconds = std::atoi(sArgument.c_str());
    return nSeconds > 0 ? static_cast<unsigned int>(nSeconds) : 2;
}

/// A random number below another.
unsigned int Any(unsigned int uBelow)
{
    static thread_local std::mt19937 s_random(std::random_device{}());
    return static_cast<unsigned int>(s_random() % uBelow);
}

std::string AnyName(unsigned int uBelow)
{
    return std::to_string(Any(uBelow));
}

/// One of all operations; what comes of it depends on what others do.
void UseData(const std::string& sStore)
{
    CStaticDataCacheClient client;
    SArguments args{Bytes(std::string(Any(2000), 'v'))};
    const SOperation& operation = Operations[Any(std::size(Operations))];
    operation.Run(client, CText(sStore), CText(AnyName(4) + "/" + AnyName(4)), CText(AnyName(8)), args);
    const ArrayPointer pOut(args.psaOut);
}

void UsePins(CTestPins& pins)
{
    const std::string sCard = AnyName(6), sId = AnyName(8);
    switch (Any(8)) {
    case 0:
        Any(50) == 0 ? pins.Flush() : pins.Remove(sCard, sId);
        break;
    case 1:
    case 2:
        EXPECT_EQ(pins.Set(sCard, sId), S_OK);
        break;
    default:
        pins.Has(sCard, sId);
    }
}

} // namespace

TEST(Soak, MixedUse_MakesNothingGrow)
{
    constexpr auto Tick = std::chrono::milliseconds(100);
    constexpr unsigned int TicksPerSecond = 10, PrintEvery = 10 * TicksPerSecond;
    const unsigned int uTicks = SecondsWanted() * TicksPerSecond, uStart = uTicks / 4;
    const CKeyFile keyFile;
    Strings stores;
    for (const auto type : {OV::DataStore::MemoryStore, OV::DataStore::RegistryStore}) {
        for (const int bEncrypted : {0, 1}) {
            stores.push_back("Soak " + std::to_string(type) + std::to_string(bEncrypted));
            const CTestStore store(stores.back(), 1, "Product", type, bEncrypted);
        }
    }
    CTestPins pins;
    std::atomic<unsigned long> ulOperations = 0;
    std::vector<long> levels(std::size(Measures));
    const auto start = std::chrono::steady_clock::now();
    const auto watch = [&](unsigned int, unsigned int uTick) {
        std::this_thread::sleep_until(start + (uTick + 1) * Tick);
        const bool bPrint = (uTick + 1) % PrintEvery == 0 || uTick + 1 == uTicks;
        std::string sLine = std::to_string((uTick + 1) / TicksPerSecond) + " s, " + std::to_string(ulOperations) + " operations";
        for (std::size_t i = 0; i < std::size(Measures); ++i) {
            const long nNow = Measures[i].Read();
            sLine += ", " + std::to_string(nNow) + " " + Measures[i].pszName;
            levels[i] = uTick < uStart ? std::max(levels[i], nNow) : levels[i];
            EXPECT_LE(nNow, levels[i] + Measures[i].nMargin) << Measures[i].pszName << " have grown";
        }
        if (bPrint || testing::Test::HasFailure()) {
            std::cout << sLine << std::endl;
        }
    };
    const auto configure = [Tick](unsigned int, unsigned int) { // PINs live for 15 minutes, 5 seconds or not at all
        for (const unsigned int uTimeout : {15U, 0U, 0x40000000U}) {
            Configure("Software\\Policies\\Orvane\\SharedStore\\Authentication", "Timeout", REG_DWORD,
                      {reinterpret_cast<const char*>(&uTimeout), sizeof uTimeout});
            std::this_thread::sleep_for(Tick);
        }
    };
    RunWorkers({
        {1, uTicks, watch},
        {1, 0, configure},
        {3, 0, [&](unsigned int, unsigned int) { UseData(stores[Any(static_cast<unsigned int>(stores.size()))]), ++ulOperations; }},
        {3, 0, [&](unsigned int, unsigned int) { UsePins(pins), ++ulOperations; }},
    });
    EXPECT_GT(ulOperations, uTicks);
}
