// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "Fakes.h"

#include "platform/Log.h"
#include "platform/Registry.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdarg>
#include <cstdlib>
#include <pthread.h>
#include <sys/syscall.h>
#include <unistd.h>

extern "C" {

/// Reads all its arguments, also when nobody collects the line.
void pvlogLog(const char* pszComponent, unsigned int uLevel, const char* pszFormat, ...)
{
    std::va_list args;
    va_start(args, pszFormat);
    char* pszText = nullptr;
    ASSERT_GE(vasprintf(&pszText, pszFormat, args), 0);
    va_end(args);
    if (CTranscript::s_pNow != nullptr && uLevel != 0) {
        CTranscript::s_pNow->sLines += "\n" + std::to_string(uLevel) + " " + pszText;
        EXPECT_STREQ(pszComponent, "SRVSHAREDSTORE");
    }
    CLineHook::See(pszText);
    std::free(pszText);
}

SHAREDSTORE_API std::time_t time(std::time_t*) noexcept
{
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    return CClock::s_pNow != nullptr ? CClock::s_pNow->tNow : now.tv_sec;
}

SHAREDSTORE_API pid_t getsid(pid_t nProcess) noexcept
{
    return CSessions::s_pNow != nullptr ? CSessions::s_pNow->Find(nProcess) : static_cast<pid_t>(syscall(SYS_getsid, nProcess));
}

SHAREDSTORE_API int pthread_mutex_init(pthread_mutex_t* pMutex, const pthread_mutexattr_t* pAttributes) noexcept
{
    return Serve("pthread_mutex_init", EAGAIN, &pthread_mutex_init, pMutex, pAttributes);
}

BSTR SysAllocString(const char* psz)
{
    return Serve("SysAllocString", nullptr, &SysAllocString, psz);
}

SAFEARRAY* SafeArrayCreateVector(VARTYPE vt, int lLbound, unsigned int cElements)
{
    return Serve("SafeArrayCreateVector", nullptr, &SafeArrayCreateVector, vt, lLbound, cElements);
}

HRESULT SafeArrayCopy(SAFEARRAY* psa, SAFEARRAY** ppsaOut)
{
    return Serve("SafeArrayCopy", E_OUTOFMEMORY, &SafeArrayCopy, psa, ppsaOut);
}

HRESULT SafeArrayGetElement(SAFEARRAY* psa, int* rgIndices, void* pv)
{
    return Serve("SafeArrayGetElement", E_OUTOFMEMORY, &SafeArrayGetElement, psa, rgIndices, pv);
}

HRESULT ovSafeArrayDestroy(SAFEARRAY* psa, int nReserved)
{
    const HRESULT hr = Serve("ovSafeArrayDestroy", DISP_E_ARRAYISLOCKED, &ovSafeArrayDestroy, psa, nReserved);
    if (CFault::s_pNow != nullptr) {
        CFault::s_pNow->Keep(psa, FAILED(hr));
    }
    return hr;
}

long ovRegListKeysEx(const char* pszRoot, const char* pszSubKey, ovRegKey* pKeys, unsigned long* pulCount, int nFlags)
{
    return Serve("ovRegListKeysEx", ERROR_ACCESS_DENIED, &ovRegListKeysEx, pszRoot, pszSubKey, pKeys, pulCount, nFlags);
}

long ovRegListValueNamesEx(const char* pszRoot, const char* pszKey, ovRegValue* pValues, unsigned long* pulCount, int nType, int nFlags)
{
    return Serve("ovRegListValueNamesEx", ERROR_ACCESS_DENIED, &ovRegListValueNamesEx, pszRoot, pszKey, pValues, pulCount, nType, nFlags);
}

long pvRegSetValueEx(PVHKEY hKey, const char* pszName, unsigned long ulReserved, unsigned long ulType, const unsigned char* pData,
                     unsigned long ulSize)
{
    return Serve("pvRegSetValueEx", ERROR_DISK_FULL, &pvRegSetValueEx, hKey, pszName, ulReserved, ulType, pData, ulSize);
}

long ovRegReadStringValueEx(const char* pszRoot, const char* pszKey, const char* pszName, char* pText, unsigned long* pulSize, int nFlags)
{
    return Serve("ovRegReadStringValueEx", ERROR_ACCESS_DENIED, &ovRegReadStringValueEx, pszRoot, pszKey, pszName, pText, pulSize, nFlags);
}

} // extern "C"
