// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "Fakes.h"

#include "platform/Log.h"
#include "platform/Registry.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdarg>
#include <cstdio>
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
    if (CFault::Fails("getsid")) {
        return -1;
    }
    return CSessions::s_pNow != nullptr ? CSessions::s_pNow->Find(nProcess) : static_cast<pid_t>(syscall(SYS_getsid, nProcess));
}

SHAREDSTORE_API int pthread_mutex_init(pthread_mutex_t* pMutex, const pthread_mutexattr_t* pAttributes) noexcept
{
    return Serve("pthread_mutex_init", EAGAIN, &pthread_mutex_init, pMutex, pAttributes);
}

SHAREDSTORE_API std::size_t fread(void* p, std::size_t uSize, std::size_t uCount, std::FILE* pFile)
{
    return Serve("fread", 0, &fread, p, uSize, uCount, pFile);
}

HRESULT ovSafeArrayDestroy(SAFEARRAY* psa, int nReserved)
{
    const HRESULT hr = Serve("ovSafeArrayDestroy", DISP_E_ARRAYISLOCKED, &ovSafeArrayDestroy, psa, nReserved);
    if (CFault::s_pNow != nullptr) {
        CFault::s_pNow->Keep(psa, FAILED(hr));
    }
    return hr;
}

// These two do their work also when they fail: nobody tries them again.

HRESULT SafeArrayUnaccessData(SAFEARRAY* psa)
{
    const HRESULT hr = Real("SafeArrayUnaccessData", &SafeArrayUnaccessData)(psa);
    return CFault::Fails("SafeArrayUnaccessData") ? E_UNEXPECTED : hr;
}

long pvRegCloseKey(PVHKEY hKey)
{
    --g_nOpenKeys;
    const long lRet = Real("pvRegCloseKey", &pvRegCloseKey)(hKey);
    return CFault::Fails("pvRegCloseKey") ? ERROR_IO_DEVICE : lRet;
}

// clang-format off

// NOLINTBEGIN(bugprone-macro-parentheses,cppcoreguidelines-macro-usage): only a macro makes functions of a table
#define FAKE(Result, Name, failure, Parameters, ...) \
    Result Name Parameters { return Serve(#Name, failure, &Name, __VA_ARGS__); }
#define FAKE_OPEN(Name, Parameters, ...) \
    long Name Parameters { const long lRet = Serve(#Name, ERROR_IO_DEVICE, &Name, __VA_ARGS__); return g_nOpenKeys += lRet == 0 ? 1 : 0, lRet; }
// NOLINTEND(bugprone-macro-parentheses,cppcoreguidelines-macro-usage)

// What the others give when they fail.
FAKE(BSTR, SysAllocString, nullptr, (const char* psz), psz)
FAKE(BSTR, SysAllocStringByteLen, nullptr, (const char* psz, unsigned int cb), psz, cb)
FAKE(SAFEARRAY*, SafeArrayCreate, nullptr, (VARTYPE vt, unsigned int cDims, SAFEARRAYBOUND* rgsabound), vt, cDims, rgsabound)
FAKE(SAFEARRAY*, SafeArrayCreateVector, nullptr, (VARTYPE vt, int lLbound, unsigned int cElements), vt, lLbound, cElements)
FAKE(HRESULT, SafeArrayCopy, E_OUTOFMEMORY, (SAFEARRAY* psa, SAFEARRAY** ppsaOut), psa, ppsaOut)
FAKE(HRESULT, SafeArrayGetElement, E_OUTOFMEMORY, (SAFEARRAY* psa, int* rgIndices, void* pv), psa, rgIndices, pv)
FAKE(HRESULT, SafeArrayPutElement, E_OUTOFMEMORY, (SAFEARRAY* psa, int* rgIndices, void* pv), psa, rgIndices, pv)
FAKE(HRESULT, SafeArrayGetVartype, E_INVALIDARG, (SAFEARRAY* psa, VARTYPE* pvt), psa, pvt)
FAKE(HRESULT, SafeArrayAccessData, E_UNEXPECTED, (SAFEARRAY* psa, void** ppvData), psa, ppvData)

FAKE_OPEN(pvRegCreateKeyEx, (const char* pszRoot, const char* pszKey, unsigned long u, char* pszClass, unsigned long uOptions, unsigned long uAccess, void* p,
          PVHKEY* phKey, unsigned long* pul), pszRoot, pszKey, u, pszClass, uOptions, uAccess, p, phKey, pul)
FAKE_OPEN(pvRegOpenKeyEx, (const char* pszRoot, const char* pszKey, unsigned long uOptions, unsigned long uAccess, PVHKEY* phKey),
          pszRoot, pszKey, uOptions, uAccess, phKey)
FAKE(long, pvRegEnumKeyEx, ERROR_IO_DEVICE, (PVHKEY hKey, unsigned long uIndex, char* pszName, unsigned long* pulSize, unsigned long* pul, char* pszClass,
     unsigned long* pulClass, void* p), hKey, uIndex, pszName, pulSize, pul, pszClass, pulClass, p)
FAKE(long, pvRegSetValueEx, ERROR_DISK_FULL, (PVHKEY hKey, const char* pszName, unsigned long u, unsigned long uType, const unsigned char* pData,
     unsigned long uSize), hKey, pszName, u, uType, pData, uSize)
FAKE(long, ovRegReadValueEx, ERROR_ACCESS_DENIED, (const char* pszRoot, const char* pszKey, const char* pszName, unsigned long* pulType,
     unsigned char* pBuffer, unsigned long* pulSize, int nFlags), pszRoot, pszKey, pszName, pulType, pBuffer, pulSize, nFlags)
FAKE(long, ovRegReadDWORDValueEx, ERROR_ACCESS_DENIED, (const char* pszRoot, const char* pszKey, const char* pszName, unsigned long* pul, int nFlags),
     pszRoot, pszKey, pszName, pul, nFlags)
FAKE(long, ovRegReadStringValueEx, ERROR_ACCESS_DENIED, (const char* pszRoot, const char* pszKey, const char* pszName, char* pText, unsigned long* pulSize,
     int nFlags), pszRoot, pszKey, pszName, pText, pulSize, nFlags)
FAKE(long, ovRegListKeys, ERROR_ACCESS_DENIED, (const char* pszRoot, const char* pszKey, ovRegKey* pKeys, unsigned long* pulCount),
     pszRoot, pszKey, pKeys, pulCount)
FAKE(long, ovRegListKeysEx, ERROR_ACCESS_DENIED, (const char* pszRoot, const char* pszKey, ovRegKey* pKeys, unsigned long* pulCount, int nFlags),
     pszRoot, pszKey, pKeys, pulCount, nFlags)
FAKE(long, ovRegListValueNamesEx, ERROR_ACCESS_DENIED, (const char* pszRoot, const char* pszKey, ovRegValue* pValues, unsigned long* pulCount, int nType,
     int nFlags), pszRoot, pszKey, pValues, pulCount, nType, nFlags)
FAKE(long, ovRegDeleteValue, ERROR_ACCESS_DENIED, (const char* pszRoot, const char* pszKey, const char* pszName, int nFlags), pszRoot, pszKey, pszName, nFlags)
FAKE(long, ovRegDeleteKey, ERROR_ACCESS_DENIED, (const char* pszRoot, const char* pszKey, bool b, int nFlags), pszRoot, pszKey, b, nFlags)
FAKE(long, ovRegDeleteSubKey, ERROR_ACCESS_DENIED, (const char* pszRoot, const char* pszKey, int nFlags, bool b), pszRoot, pszKey, nFlags, b)

// clang-format on

} // extern "C"
