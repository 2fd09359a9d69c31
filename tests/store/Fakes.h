// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "platform/ComEmulation.h"

#include <atomic>
#include <ctime>
#include <dlfcn.h>
#include <functional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

/// @file
/// What a program replaces of the platform: functions that fail on request, a log that can be read, a
/// clock that stands still. All of it works per thread and forwards to the platform unless an object
/// below lives. The library's static constructors and destructors run outside those of the program, so
/// nothing here needs either.

/// The newest object of its kind is the one that works on this thread while it lives.
template <class T> class CForThread
{
public:
    CForThread() : m_pBefore(std::exchange(s_pNow, static_cast<T*>(this))) {}
    ~CForThread() { s_pNow = m_pBefore; }
    CForThread(const CForThread&) = delete;
    CForThread& operator=(const CForThread&) = delete;

    static inline constinit thread_local T* s_pNow = nullptr;

private:
    T* const m_pBefore;
};

/// Calls of the platform that fail, as Fakes.cpp tells.
class CFault : public CForThread<CFault>
{
public:
    /// Stands for every function, whose calls are then counted together.
    static constexpr const char* AnyFunction = "";

    /// @param nCall the call that fails, counted from 1
    /// @param bLaterToo all later calls fail too, but those that destroy arrays: somebody always tries these again
    CFault(std::string sFunction, int nCall = 1, bool bLaterToo = false)
        : m_sFunction(std::move(sFunction)), m_nCallsLeft(nCall), m_bLaterToo(bLaterToo)
    {}

    /// Destroys an array whose destruction failed and was not tried again.
    ~CFault() { ovSafeArrayDestroy(m_psaKept, 0); }

    /// Runs a call while this fault works, and not otherwise.
    template <class Call> auto During(Call call)
    {
        s_pNow = this;
        const auto result = call();
        s_pNow = nullptr;
        return result;
    }

    /// Whether this call of the function is one that fails.
    static bool Fails(const char* pszFunction) { return s_pNow != nullptr && s_pNow->Takes(pszFunction); }

    /// The function that failed first; empty when none did.
    const char* Failed() const { return m_pszFailed; }
    bool Fired() const { return *m_pszFailed != '\0'; }
    void Keep(SAFEARRAY* psa, bool bFailed) { m_psaKept = bFailed ? psa : psa == m_psaKept ? nullptr : m_psaKept; }

private:
    bool Takes(std::string_view sFunction)
    {
        const bool bSpared = m_bLaterToo && sFunction == "ovSafeArrayDestroy";
        if (bSpared || (!m_sFunction.empty() && m_sFunction != sFunction) || --m_nCallsLeft > 0 || (m_nCallsLeft < 0 && !m_bLaterToo)) {
            return false;
        }
        m_pszFailed = Fired() ? m_pszFailed : sFunction.data();
        return true;
    }

    std::string m_sFunction;
    int m_nCallsLeft;
    bool m_bLaterToo;
    const char* m_pszFailed = "";
    SAFEARRAY* m_psaKept = nullptr;
};

/// The platform's function of a name.
template <class Result, class... Args> auto Real(const char* pszName, Result (*)(Args...))
{
    return reinterpret_cast<Result (*)(Args...)>(dlsym(RTLD_NEXT, pszName));
}

/// Fails when it is told to, else calls the platform's function of that name.
template <class Result, class... Args>
Result Serve(const char* pszName, std::type_identity_t<Result> failure, Result (*pfn)(Args...), std::type_identity_t<Args>... args)
{
    return CFault::Fails(pszName) ? failure : Real(pszName, pfn)(args...);
}

/// Keys of the registry that the program has opened and not closed.
inline constinit std::atomic<int> g_nOpenKeys = 0;

/// Collects the lines that are logged, each as a newline and "<level> <text>", but for trace lines.
struct CTranscript : CForThread<CTranscript>
{
    std::string sLines;
};

/// Runs a function on whatever thread logs a line, each time. Works on all threads, unlike the others.
class CLineHook
{
public:
    CLineHook(std::string sLine, std::function<void()> function) : m_sLine(std::move(sLine)), m_Function(std::move(function))
    {
        s_pNow = this;
    }
    ~CLineHook() { s_pNow = nullptr; }
    CLineHook(const CLineHook&) = delete;
    CLineHook& operator=(const CLineHook&) = delete;

    static void See(std::string_view sLine)
    {
        if (const CLineHook* pHook = s_pNow; pHook != nullptr && sLine == pHook->m_sLine) {
            pHook->m_Function();
        }
    }

private:
    static inline constinit std::atomic<CLineHook*> s_pNow = nullptr;

    const std::string m_sLine;
    const std::function<void()> m_Function;
};

/// getsid(2) tells what Find does: ten processes to a session.
struct CSessions : CForThread<CSessions>
{
    std::function<int(int)> Find = [](int nProcess) { return nProcess / 10; };
};

/// time(2) tells tNow.
struct CClock : CForThread<CClock>
{
    std::time_t tNow = 1'700'000'000;
};
