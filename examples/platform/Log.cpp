// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

// A platform's log: lines go to standard output. Called on any thread, also before main and after it.

#include "platform/Log.h"

#include <cstdarg>
#include <cstdio>

void pvlogLog(const char* pszComponent, unsigned int uLevel, const char* pszFormat, ...)
{
    if (uLevel != 1) { // errors alone; lines of level 0 can even carry clear values
        return;
    }
    char szLine[256];
    std::va_list args;
    va_start(args, pszFormat);
    std::vsnprintf(szLine, sizeof szLine, pszFormat, args);
    va_end(args);
    std::printf("[%s] %s\n", pszComponent, szLine);
}
