// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <unistd.h>

/// Gives a file another name, unless something has that name: never replaces anything, whoever makes it meanwhile.
/// @return 0, or -1 with errno
inline int RenameToFreeName(const char* pszPath, const char* pszFreePath)
{
    if (renameat2(AT_FDCWD, pszPath, AT_FDCWD, pszFreePath, RENAME_NOREPLACE) == 0) {
        return 0;
    }
    if (errno != EINVAL && errno != ENOSYS) {
        return -1;
    }
    // A file system of the network may not know such a renaming, but then it knows links. FAT is the other way round.
    return link(pszPath, pszFreePath) == 0 ? unlink(pszPath) : -1;
}
