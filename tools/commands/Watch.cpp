// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "commands/Commands.h"

#include "support/Failure.h"
#include "support/Output.h"
#include "support/RegistryFile.h"
#include "support/Snapshot.h"
#include "support/Sources.h"
#include "support/Text.h"

#include <nlohmann/json.hpp>

#include <chrono>
#include <csignal>
#include <ctime>
#include <iterator>
#include <limits>
#include <poll.h>
#include <sys/signalfd.h>
#include <unistd.h>

namespace Tool
{

namespace
{

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr std::uint64_t MaxSeconds = std::uint64_t{365} * 24 * 60 * 60;
constexpr std::uint64_t DefaultInterval = 1000;
constexpr std::uint64_t MaxInterval = std::uint64_t{1000} * 60 * 60;

/// What ends a watch from outside: a signal, or that whoever read the output has gone. While it lives, the signals wait
/// until they are asked for: none comes in the middle of a line.
class CStop
{
public:
    CStop()
    {
        sigset_t signals = {};
        sigemptyset(&signals);
        sigaddset(&signals, SIGINT);
        sigaddset(&signals, SIGTERM);
        m_nSignals = signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK);
        if (m_nSignals < 0) {
            throw SystemFailure("signals");
        }
        pthread_sigmask(SIG_BLOCK, &signals, &m_Before);
    }
    ~CStop()
    {
        signalfd_siginfo ignored = {};
        (void)!read(m_nSignals, &ignored, sizeof ignored); // one that still waits would end the process
        close(m_nSignals);
        pthread_sigmask(SIG_SETMASK, &m_Before, nullptr);
    }
    CStop(const CStop&) = delete;
    CStop& operator=(const CStop&) = delete;

    /// Waits that long for it, and returns whether it came.
    bool Wait(milliseconds time) const
    {
        // Of an output poll tells that its reader has gone without being asked for anything.
        pollfd sources[] = {{m_nSignals, POLLIN, 0}, {STDOUT_FILENO, 0, 0}};
        return poll(sources, std::size(sources), static_cast<int>(time.count())) > 0;
    }

private:
    int m_nSignals = -1;
    sigset_t m_Before = {};
};

std::string Now()
{
    const std::time_t now = std::time(nullptr);
    std::tm local = {};
    char szTime[32] = "";
    (void)std::strftime(szTime, sizeof szTime, "%Y-%m-%dT%H:%M:%S%z", localtime_r(&now, &local));
    return szTime;
}

void Tell(const Change& change, bool bJson)
{
    if (bJson) {
        nlohmann::json json{{"time", Now()}, {"event", change.pszWhat}, {"compartment", JsonText(change.sCompartment)}, {"item", nullptr}};
        if (!change.sItem.empty()) {
            json["item"] = JsonText(change.sItem);
        }
        Print(json.dump() + '\n');
    } else {
        Print(Now() + ' ' + change.pszWhat + ' ' + Quoted(change.sCompartment) + (change.sItem.empty() ? "" : ' ' + Quoted(change.sItem)) +
              '\n');
    }
    FlushOutput();
}

std::uint64_t NumberOr(const CArguments& arguments, const char* pszName, std::uint64_t uDefault, std::uint64_t uMaximum)
{
    return arguments.Has(pszName) ? NumberArgument(arguments.Text(pszName), uMaximum) : uDefault;
}

void RequireRegistryStore(const CStore& store)
{
    if (store.Settings().type != OV::DataStore::RegistryStore) {
        throw CFailure(ExitCode::Failed,
                       "it is a memory store, and what such a store holds can be seen in its own process alone; a registry "
                       "store can be watched");
    }
}

void Watch(const CArguments& arguments, Session& session)
{
    const std::uint64_t uCount =
        NumberOr(arguments, "--count", std::numeric_limits<std::uint64_t>::max(), std::numeric_limits<std::uint64_t>::max());
    const auto end = Clock::now() + std::chrono::seconds(NumberOr(arguments, "--for", MaxSeconds, MaxSeconds));
    const milliseconds interval(NumberOr(arguments, "--interval", DefaultInterval, MaxInterval));
    const std::string sPath = arguments.TextOr("COMPARTMENT", std::string(WholeStore));
    CStore store(session, arguments.Text("STORE"));
    RequireRegistryStore(store);

    const CStop stop;
    const auto look = [&] { return TakeSnapshot(store, sPath, [&stop] { return stop.Wait(milliseconds(0)); }); };
    std::uint64_t uState = RegistryState(); // ahead of the look, so that what comes during it is looked for again
    std::optional<Snapshot> before = look();
    if (!before.has_value()) {
        return;
    }
    Tell({"watching", sPath, ""}, arguments.Has("--json"));
    std::uint64_t uTold = 0;
    while (uTold < uCount && Clock::now() < end) {
        if (stop.Wait(std::min(interval, std::chrono::ceil<milliseconds>(end - Clock::now())))) {
            return;
        }
        const std::uint64_t uNow = RegistryState();
        if (uNow == uState) {
            continue; // reading a large store is work, and most of the time nobody wrote
        }
        uState = uNow;
        std::optional<Snapshot> after = look();
        if (!after.has_value()) {
            return;
        }
        for (const Change& change : Changes(*before, *after)) {
            if (uTold++ < uCount) {
                Tell(change, arguments.Has("--json"));
            }
        }
        before = std::move(after);
    }
}

constexpr Argument Arguments[] = {
    StoreArgument,
    {"COMPARTMENT", Takes::OptionalPositional, "what to watch, with all below it; '/', the default, is the whole store"},
    {"-i,--interval", Takes::Value, "how often to look (default 1000); what comes and goes again between two looks is not told",
     "MILLISECONDS"},
    {"-n,--count", Takes::Value, "end after so many changes", "NUMBER"},
    {"--for", Takes::Value, "end after this time", "SECONDS"},
    {"-j,--json", Takes::Flag, "write a line of JSON for each change"},
};

const Command Table[] = {
    {"watch", "",
     "tell which compartments and items of a registry store come, change and go, until interrupted; versions count what a process itself "
     "does, so there are none to show",
     Arguments,
     "  sharedstore watch Wallet\n"
     "  sharedstore watch Wallet Card1 --for 60 --json\n",
     Watch},
};

} // namespace

std::span<const Command> WatchCommands()
{
    return Table;
}

} // namespace Tool
