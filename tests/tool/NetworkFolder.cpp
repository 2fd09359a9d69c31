// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

// A folder "network" is on a file system that refuses to rename with flags, as some of the network do. In a folder "busy"
// somebody else makes a file of the same name at that moment.

#include "platform/Api.h"

#include <cerrno>
#include <cstdio>
#include <dlfcn.h>
#include <string_view>

extern "C" SHAREDSTORE_API int renameat2(int nFrom, const char* pszFrom, int nTo, const char* pszTo, unsigned int uFlags) noexcept
{
    const std::string_view sTo = pszTo;
    if (sTo.find("busy/") != sTo.npos) {
        std::fclose(std::fopen(pszTo, "w"));
    }
    if (uFlags != 0 && sTo.find("network/") != sTo.npos) {
        errno = EINVAL;
        return -1;
    }
    return reinterpret_cast<decltype(&renameat2)>(dlsym(RTLD_NEXT, "renameat2"))(nFrom, pszFrom, nTo, pszTo, uFlags);
}
