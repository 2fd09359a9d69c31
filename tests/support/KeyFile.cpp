// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "KeyFile.h"

#include "../store/Fakes.h"
#include "platform/Api.h"

#include <cerrno>
#include <cstdio>
#include <dlfcn.h>

extern "C" SHAREDSTORE_API std::FILE* fopen(const char* pszPath, const char* pszMode)
{
    if (pszPath == std::string_view("/opt/orvane/pv.sharedstore/remanentstore.key")) {
        pszPath = std::getenv(KeyFileVariable);
    }
    if (pszPath == nullptr || CFault::Fails("fopen")) {
        errno = ENOENT;
        return nullptr;
    }
    return reinterpret_cast<decltype(&std::fopen)>(dlsym(RTLD_NEXT, "fopen"))(pszPath, pszMode);
}
