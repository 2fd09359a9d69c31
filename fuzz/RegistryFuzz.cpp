// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

// Registry values that anybody may have written: the first byte of the input is the type, the rest are the
// bytes. Reading gives an array or a code; what the array is written as must read as the same array.

#include "platform/Registry.h"
#include "support/Values.h"
#include "tree/RegistryTree.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>

static unsigned long g_ulType;
static std::string g_sBytes; // of item "d", which is all that the registry holds

long pvRegCreateKeyEx(const char*, const char*, unsigned long, char*, unsigned long, unsigned long, void*, PVHKEY*, unsigned long*)
{
    return ERROR_SUCCESS;
}

long pvRegSetValueEx(PVHKEY, const char*, unsigned long, unsigned long ulType, const unsigned char* pData, unsigned long ulSize)
{
    g_ulType = ulType;
    g_sBytes.assign(pData, pData + ulSize);
    return ERROR_SUCCESS;
}

long ovRegListValueNamesEx(const char*, const char*, ovRegValue* pValues, unsigned long* pulCount, int, int)
{
    *pulCount = 1;
    if (pValues != nullptr) {
        std::strcpy(pValues->szName, "d");
    }
    return ERROR_SUCCESS;
}

long ovRegReadValueEx(const char*, const char*, const char*, unsigned long* pulType, unsigned char* pBuffer, unsigned long* pulSize, int)
{
    *pulType = g_ulType;
    *pulSize = g_sBytes.size();
    std::copy_n(g_sBytes.begin(), pBuffer == nullptr ? 0 : g_sBytes.size(), pBuffer);
    return ERROR_SUCCESS;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pData, std::size_t uSize)
{
    constexpr unsigned long Types = 16; // those that a tree writes and others
    CRegistryTree tree("Fuzz", 0);
    g_ulType = uSize == 0 ? 0 : pData[0] % Types;
    g_sBytes.assign(pData + std::min<std::size_t>(uSize, 1), pData + uSize);
    SAFEARRAY* psa = nullptr;
    SAFEARRAY* psaAgain = nullptr;
    const HRESULT hr = tree.GetData("/", "d", psa, 0);
    const ArrayPointer pArray(psa);
    const bool bCame = pArray != nullptr && tree.SetData("/", "d", psa, 0, 0) == S_OK && tree.GetData("/", "d", psaAgain, 0) == S_OK;
    if (pArray == nullptr ? SUCCEEDED(hr) : !bCame || Describe(pArray) != Describe(ArrayPointer(psaAgain))) {
        std::abort();
    }
    return 0;
}
