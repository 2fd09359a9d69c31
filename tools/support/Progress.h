// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <chrono>
#include <cstddef>

namespace Tool
{

/// Shows on a terminal how far long work has come: one line on standard error, gone when the work ends. What is quick,
/// and what has no terminal, shows nothing.
class CProgress
{
public:
    /// @param pszWhat what is counted, for example "values read"
    /// @param uTotal 0 when nobody knows
    CProgress(const char* pszWhat, std::size_t uTotal);
    ~CProgress();
    CProgress(const CProgress&) = delete;
    CProgress& operator=(const CProgress&) = delete;

    void Step() { ShowAt(m_uDone + 1); }
    void ShowAt(std::size_t uDone);

private:
    using Clock = std::chrono::steady_clock;

    const char* const m_pszWhat;
    const std::size_t m_uTotal;
    const bool m_bTerminal;
    std::size_t m_uDone = 0;
    bool m_bShown = false;
    Clock::time_point m_Next;
};

} // namespace Tool
