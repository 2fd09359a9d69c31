// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "registry/StorageError.h"

#include "platform/Registry.h"

#include <algorithm>
#include <cerrno>
#include <iterator>
#include <lmdb.h>

namespace Registry
{

namespace
{

struct SMapping
{
    int nCode;
    long nRegistryCode;
};

constexpr SMapping Mappings[] = {
    {MDB_NOTFOUND, ERROR_FILE_NOT_FOUND},
    {EACCES, ERROR_ACCESS_DENIED},
    {EPERM, ERROR_ACCESS_DENIED},
    {EROFS, ERROR_ACCESS_DENIED},
    {ENOTDIR, ERROR_DIRECTORY},
    {ELOOP, ERROR_DIRECTORY},
    {ENAMETOOLONG, ERROR_DIRECTORY},
    {ENOMEM, ERROR_NOT_ENOUGH_MEMORY},
    {EMFILE, ERROR_NOT_ENOUGH_MEMORY},
    {ENFILE, ERROR_NOT_ENOUGH_MEMORY},
    {MDB_READERS_FULL, ERROR_NOT_ENOUGH_MEMORY},
    {MDB_TXN_FULL, ERROR_NOT_ENOUGH_MEMORY},
    {MDB_MAP_FULL, ERROR_NOT_ENOUGH_MEMORY}, // the address space ended before the disk did
    {ENOSPC, ERROR_DISK_FULL},
    {EDQUOT, ERROR_DISK_FULL},
    {EFBIG, ERROR_DISK_FULL},
    {MDB_INVALID, ERROR_BADDB},
    {MDB_VERSION_MISMATCH, ERROR_BADDB},
    {MDB_CORRUPTED, ERROR_REGISTRY_CORRUPT},
    {MDB_PAGE_NOTFOUND, ERROR_REGISTRY_CORRUPT},
    {MDB_CURSOR_FULL, ERROR_REGISTRY_CORRUPT},
    {MDB_PAGE_FULL, ERROR_REGISTRY_CORRUPT},
};

} // namespace

const char* CStorageError::Reason() const
{
    return m_pszReason != nullptr ? m_pszReason : mdb_strerror(m_nCode);
}

long CStorageError::RegistryCode() const
{
    const SMapping* pMapping = std::ranges::find(Mappings, m_nCode, &SMapping::nCode);
    return pMapping != std::end(Mappings) ? pMapping->nRegistryCode : static_cast<long>(ERROR_IO_DEVICE);
}

} // namespace Registry
