// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "platform/ComEmulation.h"

#include <atomic>
#include <ctime>
#include <dlfcn.h>
#include <functional>
#include <string>
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

/// One call of one function fails: with std::bad_alloc ("operator new"), null, E_OUTOFMEMORY,
/// DISP_E_ARRAYISLOCKED (ovSafeArrayDestroy), EAGAIN (pthread_mutex_init), ERROR_DISK_FULL (pvRegSetValueEx)
/// or ERROR_ACCESS_DENIED.
class CFault : public CForThread<CFault>
{
public:
    /// @param nCall the call that fails, counted from 1
    CFault(std::string sFunction, int nCall = 1) : m_sFunction(std::move(sFunction)), m_nCallsLeft(nCall) {}

    /// Destroys an array whose destruction failed and was not tried again.
    ~CFault() { ovSafeArrayDestroy(m_psaKept, 0); }

    /// Whether this call of the function is the one that fails.
    static bool Fails(const char* pszFunction) { return s_pNow != nullptr && s_pNow->Takes(pszFunction); }
    bool Fired() const { return m_nCallsLeft == 0; }
    void Keep(SAFEARRAY* psa, bool bFailed) { m_psaKept = bFailed ? psa : psa == m_psaKept ? nullptr : m_psaKept; }

private:
    bool Takes(const char* pszFunction) { return m_nCallsLeft > 0 && m_sFunction == pszFunction && --m_nCallsLeft == 0; }

    std::string m_sFunction;
    int m_nCallsLeft;
    SAFEARRAY* m_psaKept = nullptr;
};

/// Fails when it is told to, else calls the platform's function of that name.
template <class Result, class... Args>
Result Serve(const char* pszName, std::type_identity_t<Result> failure, Result (*)(Args...), std::type_identity_t<Args>... args)
{
    return CFault::Fails(pszName) ? failure : reinterpret_cast<Result (*)(Args...)>(dlsym(RTLD_NEXT, pszName))(args...);
}

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
