// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "support/Progress.h"

#include <cstdio>
#include <unistd.h>

namespace Tool
{

namespace
{

constexpr std::chrono::milliseconds QuickWork(500);
constexpr std::chrono::milliseconds Refresh(100);

} // namespace

CProgress::CProgress(const char* pszWhat, std::size_t uTotal)
    : m_pszWhat(pszWhat), m_uTotal(uTotal), m_bTerminal(isatty(STDERR_FILENO) == 1), m_Next(Clock::now() + QuickWork)
{}

CProgress::~CProgress()
{
    if (m_bShown) {
        (void)std::fputs("\r\x1b[K", stderr);
    }
}

void CProgress::ShowAt(std::size_t uDone)
{
    m_uDone = uDone;
    if (!m_bTerminal || Clock::now() < m_Next) {
        return;
    }
    m_Next = Clock::now() + Refresh;
    m_bShown = true;
    if (m_uTotal == 0) {
        (void)std::fprintf(stderr, "\r%zu %s\x1b[K", m_uDone, m_pszWhat);
    } else {
        (void)std::fprintf(stderr, "\r%zu of %zu %s\x1b[K", m_uDone, m_uTotal, m_pszWhat);
    }
}

} // namespace Tool
