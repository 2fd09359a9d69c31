// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "platform/ComEmulation.h"
#include "platform/Log.h"

#include <concepts>
#include <utility>

/// @file
/// The shape that every operation of the library has: it logs its entry, does its work, lets no
/// exception out, and logs its exit with the result.
///
///     HRESULT CThing::Act(BSTR bstrId)
///     {
///         return RunOperation("CThing::Act", [&](const COperation& op) -> HRESULT {
///             const CMutexLock lock(m_Mutex);
///             SecureString sId;
///             RETURN_IF_FAILED(op.Check(BSTR2wstring(bstrId, sId), "BSTR2wstring failed"));
///             return op.Check(m_Tree->Act(sId), "Act failed");
///         });
///     }
///
/// The work takes its lock itself, so that the exit line is written after unlocking and clang's
/// analysis sees which members the lock guards.

/// The bit value of a line. Trace lines can carry clear values.
enum LogLevel : unsigned int {
    LogTrace = 0,
    LogError = 1,
    LogDetail = 2,
    LogEntry = 8,
    LogExit = 16,
};

inline constexpr const char* LogComponent = "SRVSHAREDSTORE";

/// An operation's name and the lines it writes, each of which begins with that name.
class COperation
{
public:
    constexpr COperation(const char* pszName) : COperation(pszName, LogEntry, LogExit) {}

    /// An operation so frequent or so close to values that its entry and exit are trace lines.
    static constexpr COperation Traced(const char* pszName) { return {pszName, LogTrace, LogTrace}; }

    const char* Name() const { return m_pszName; }

    /// The name without its class.
    const char* Method() const;

    void Enter() const { pvlogLog(LogComponent, m_EntryLevel, "%s", m_pszName); }
    void Leave(HRESULT hr) const { pvlogLog(LogComponent, m_ExitLevel, "%s hr = 0x%x", m_pszName, static_cast<unsigned int>(hr)); }

    void Detail(const char* pszText) const { pvlogLog(LogComponent, LogDetail, "%s %s", m_pszName, pszText); }
    void Detail(const char* pszWhat, std::integral auto nValue) const
    {
        pvlogLog(LogComponent, LogDetail, "%s %s = %d", m_pszName, pszWhat, static_cast<int>(nValue));
    }
    void Detail(const char* pszWhat, const char* pszValue) const
    {
        pvlogLog(LogComponent, LogDetail, "%s %s = %s", m_pszName, pszWhat, pszValue == nullptr ? "" : pszValue);
    }
    void Error(const char* pszText) const { pvlogLog(LogComponent, LogError, "%s %s", m_pszName, pszText); }

    /// Writes an error line and returns hr.
    HRESULT Fail(HRESULT hr, const char* pszText) const
    {
        Error(pszText);
        return hr;
    }

    /// Writes an error line when hr is a failure; returns hr.
    HRESULT Check(HRESULT hr, const char* pszFailure) const { return FAILED(hr) ? Fail(hr, pszFailure) : hr; }

    /// As Check, with the code in the line.
    HRESULT CheckWithCode(HRESULT hr, const char* pszFailure) const
    {
        if (FAILED(hr)) {
            pvlogLog(LogComponent, LogError, "%s %s hr = 0x%x", m_pszName, pszFailure, static_cast<unsigned int>(hr));
        }
        return hr;
    }

private:
    constexpr COperation(const char* pszName, LogLevel entry, LogLevel exit) : m_pszName(pszName), m_EntryLevel(entry), m_ExitLevel(exit) {}

    const char* m_pszName;
    LogLevel m_EntryLevel;
    LogLevel m_ExitLevel;
};

/// The code for the exception being handled, with an error line. Call only inside a catch clause.
HRESULT ResultOfException(const COperation& op) noexcept;

/// Runs the work and turns any exception into a code: the only place where exceptions end.
template <class Work> HRESULT Guarded(const COperation& op, Work&& work) noexcept
{
    try {
        return std::forward<Work>(work)(op);
    } catch (...) {
        return ResultOfException(op);
    }
}

/// Runs the work between the operation's entry and exit lines.
/// @param leave writes the exit line from the operation and its result
template <class Work, class Leave> HRESULT RunOperation(const COperation& op, Work&& work, Leave&& leave) noexcept
{
    op.Enter();
    const HRESULT hr = Guarded(op, std::forward<Work>(work));
    std::forward<Leave>(leave)(op, hr);
    return hr;
}

/// Runs the work between the operation's entry line and the usual exit line.
template <class Work> HRESULT RunOperation(const COperation& op, Work&& work) noexcept
{
    return RunOperation(op, std::forward<Work>(work), [](const COperation& left, HRESULT hr) { left.Leave(hr); });
}

/// Ends the enclosing function with the code of an expression that failed.
#define RETURN_IF_FAILED(expression)                                                                                                       \
    do {                                                                                                                                   \
        if (const HRESULT hrOfExpression = (expression); FAILED(hrOfExpression)) {                                                         \
            return hrOfExpression;                                                                                                         \
        }                                                                                                                                  \
    } while (false)
