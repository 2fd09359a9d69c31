// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "platform/ComEmulation.h"

#include <ctime>
#include <string>

/// @file
/// What a program replaces of the platform: functions that fail on request, a log that can be read, a
/// clock that stands still. All of it works per thread and forwards to the platform unless an object
/// below lives. The library's static constructors and destructors run outside those of the program, so
/// nothing here needs either.

/// The one object of its kind that works on this thread while it lives.
template <class T> class CForThread
{
public:
    CForThread() { s_pNow = static_cast<T*>(this); }
    ~CForThread() { s_pNow = nullptr; }
    CForThread(const CForThread&) = delete;
    CForThread& operator=(const CForThread&) = delete;

    static inline constinit thread_local T* s_pNow = nullptr;
};

/// One call of one function fails: with std::bad_alloc ("operator new"), null, E_OUTOFMEMORY,
/// DISP_E_ARRAYISLOCKED (ovSafeArrayDestroy), EAGAIN (pthread_mutex_init) or ERROR_ACCESS_DENIED.
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

/// Collects the lines that are logged, each as a newline and "<level> <text>", but for trace lines.
struct CTranscript : CForThread<CTranscript>
{
    std::string sLines;
};

/// time(2) tells tNow.
struct CClock : CForThread<CClock>
{
    std::time_t tNow = 1'700'000'000;
};
