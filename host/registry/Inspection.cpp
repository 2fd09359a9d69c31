// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "registry/Inspection.h"

#include "registry/Operation.h"

#include <cstdlib>

namespace Registry
{

namespace
{

EAccess AccessOf(const CEnvironment& environment)
{
    if (environment.HasFlag(MDB_NOLOCK)) {
        return EAccess::ReadUnregistered;
    }
    return environment.HasFlag(MDB_RDONLY) ? EAccess::Read : EAccess::Write;
}

/// LMDB tells of its readers in lines of text: those of readers begin with a process id.
unsigned CountReaders(const CEnvironment& environment)
{
    unsigned uCount = 0;
    const auto countLine = [](const char* pszLine, void* pCount) {
        *static_cast<unsigned*>(pCount) += std::strtoul(pszLine, nullptr, 10) != 0 ? 1 : 0;
        return 0;
    };
    const int nResult = mdb_reader_list(environment.Get(), countLine, &uCount);
    Require(nResult < 0 ? nResult : MDB_SUCCESS);
    return uCount;
}

void Inspect(CEnvironment& environment, SInspection& inspection)
{
    inspection.counts = environment.Check();
    inspection.bExists = true;
    inspection.eAccess = AccessOf(environment);
    MDB_envinfo info = {};
    MDB_stat status = {};
    Require(mdb_env_info(environment.Get(), &info));
    Require(mdb_env_stat(environment.Get(), &status));
    inspection.uPageSize = status.ms_psize;
    inspection.uMapPages = info.me_mapsize / status.ms_psize;
    inspection.uUsedPages = info.me_last_pgno + 1 - inspection.counts.uFreePages;
    inspection.uReaderSlots = info.me_maxreaders;
    inspection.uReadersTaken = CountReaders(environment);
    inspection.uReadersFreed = static_cast<unsigned>(environment.DeadReadersFound());
}

} // namespace

long InspectRegistry(SInspection& inspection, std::string& sReason) noexcept
{
    return Run(true, [&](CDatabase& database) {
        try {
            database.Inspect([&](CEnvironment& environment) { Inspect(environment, inspection); });
            return database.Read([&](const CTransaction& transaction) {
                inspection.hives.clear();
                transaction.ForEach(RootKeyId, ERecord::SubKey, [&](std::string_view sName, std::string_view) {
                    inspection.hives.emplace_back(sName);
                    return true;
                });
                return long{ERROR_SUCCESS};
            });
        } catch (const CStorageError& error) {
            sReason = error.Reason();
            throw;
        }
    });
}

long ReadRegistryState(std::uint64_t& uState) noexcept
{
    return Run(true, [&](CDatabase& database) {
        return database.Read([&](const CTransaction& transaction) {
            uState = transaction.Id();
            return long{ERROR_SUCCESS};
        });
    });
}

} // namespace Registry
