// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "support/Sanitizers.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <string>
#include <string_view>
#include <sys/mman.h>
#include <sys/random.h>
#include <unistd.h>

/// Random bytes, and behind them room for a copy of what is searched for them. The search looks at private memory; this
/// is shared.
class CSecret
{
public:
    explicit CSecret(std::size_t uSize) : m_sBytes(m_pShared, uSize)
    {
        EXPECT_EQ(getrandom(m_pShared, uSize, 0), static_cast<ssize_t>(uSize));
    }

    std::string_view Bytes() const { return m_sBytes; }

    /// Counts the copies in private writable memory that has a flag ("VmFlags" of proc(5)).
    int CountCopies(std::string_view sFlag = " wr ") const
    {
        int nCopies = 0;
        unsigned long uFirst = 0, uLast = 0, uFrom = 0, uTo = 0;
        const int nMemory = open("/proc/self/mem", O_RDONLY | O_CLOEXEC);
        std::ifstream maps("/proc/self/smaps");
        for (std::string sLine; std::getline(maps, sLine);) {
            const auto has = [&](std::string_view s) { return sLine.find(s) != std::string::npos; };
            if (sLine.starts_with("VmFlags:") && has(" wr ") && !has(" sh ") && has(sFlag) && uLast - uFirst <= RoomSize()) {
                nCopies += CountCopiesIn(nMemory, uFirst, uLast);
            }
            if (std::sscanf(sLine.c_str(), "%lx-%lx ", &uFrom, &uTo) == 2) {
                uFirst = uFrom;
                uLast = uTo;
            }
        }
        close(nMemory);
        return nCopies;
    }

private:
    /// Sanitizers have large mappings.
    static std::size_t RoomSize() { return UnderSanitizer ? 1UL << 20 : 1UL << 28; }

    int CountCopiesIn(int nMemory, unsigned long uFirst, unsigned long uLast) const
    {
        int nCopies = 0;
        char* p = m_pShared + m_sBytes.size();
        const char* const pEnd = p + std::max(pread(nMemory, p, uLast - uFirst, static_cast<off_t>(uFirst)), ssize_t{0});
        while ((p = static_cast<char*>(memmem(p, static_cast<std::size_t>(pEnd - p), m_pShared, m_sBytes.size()))) != nullptr) {
            ++p;
            ++nCopies;
        }
        return nCopies;
    }

    char* const m_pShared =
        static_cast<char*>(mmap(nullptr, RoomSize() + 4096, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0));
    const std::string_view m_sBytes;
};
