// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "client/StoreList.h"

#include "platform/Registry.h"
#include "util/IdList.h"
#include "util/Operation.h"
#include "util/RegistryPaths.h"

#include <cstring>
#include <memory>
#include <new>

using OV::Framework::SecureString;

namespace
{

constexpr const char* DefaultProduct = "Pavendo";
constexpr int AllTypes = -1;

HRESULT FailWithCode(const COperation& op, const char* pszText, long lRet)
{
    pvlogLog(LogComponent, LogError, "%s %s rc = %x", op.Name(), pszText, static_cast<unsigned int>(lRet));
    return E_FAIL;
}

/// A record that is being read, at its defaults. Owns its product until it is handed over.
struct CRecord
{
    int nType = OV::DataStore::MemoryStore;
    int bEncrypted = 0;
    int bSharedBetweenUserSessions = 0;
    CBstr product{SysAllocString(DefaultProduct)};
};

/// The values that are numbers, of which only 1 counts.
constexpr struct
{
    const char* pszName;
    int CRecord::*pnSetting;
} Switches[] = {
    {"Type", &CRecord::nType},
    {"Encrypted", &CRecord::bEncrypted},
    {"SharedBetweenUserSessions", &CRecord::bSharedBetweenUserSessions},
};

constexpr const char* ProductValue = "Product";

HRESULT ReadSwitch(const COperation& op, BSTR bstrKey, const char* pszValue, int& nSetting)
{
    unsigned long dwValue = 0;
    const long lRet = ovRegReadDWORDValueEx(RegistryHive, bstrKey, pszValue, &dwValue, 0);
    nSetting = dwValue == 1 ? 1 : 0;
    return lRet == ERROR_SUCCESS ? S_OK : FailWithCode(op, "ovRegRead failed", lRet);
}

HRESULT ReadProduct(const COperation& op, BSTR bstrKey, CBstr& product)
{
    unsigned long ulSize = 0;
    long lRet = ovRegReadStringValueEx(RegistryHive, bstrKey, ProductValue, nullptr, &ulSize, 0);
    if (lRet != ERROR_SUCCESS) {
        return FailWithCode(op, "ovRegRead failed", lRet);
    }
    const std::unique_ptr<char[]> value(new (std::nothrow) char[ulSize + 1]());
    if (value == nullptr) {
        return op.Fail(E_FAIL, "pszValue allocation failed");
    }
    lRet = ovRegReadStringValueEx(RegistryHive, bstrKey, ProductValue, value.get(), &ulSize, 0);
    if (lRet != ERROR_SUCCESS) {
        return FailWithCode(op, "ovRegRead failed", lRet);
    }
    product = CBstr(SysAllocString(value.get()));
    return S_OK;
}

HRESULT ReadValue(const COperation& op, BSTR bstrKey, const char* pszValue, CRecord& record)
{
    for (const auto& setting : Switches) {
        if (std::strcmp(pszValue, setting.pszName) == 0) {
            return ReadSwitch(op, bstrKey, pszValue, record.*setting.pnSetting);
        }
    }
    return std::strcmp(pszValue, ProductValue) == 0 ? ReadProduct(op, bstrKey, record.product) : S_OK;
}

/// Reads one store's key and appends its record. A store whose values can't even be counted gets no
/// record; one whose values can't be listed keeps the defaults, but ends the walk.
HRESULT ReadStore(const COperation& op, const char* pszStoreId, std::list<_regInfos>& regInfos)
{
    CBstr key;
    RETURN_IF_FAILED(MakeId(op, SecureString(StoreListKey) + "\\" + pszStoreId, key));
    CRecord record;
    unsigned long ulValues = 0;
    if (const long lRet = ovRegListValueNamesEx(RegistryHive, key.Get(), nullptr, &ulValues, AllTypes, 0); lRet != ERROR_SUCCESS) {
        return FailWithCode(op, "ovRegListValueNames failed", lRet);
    }
    const std::unique_ptr<ovRegValue[]> values(new (std::nothrow) ovRegValue[ulValues]());
    if (values == nullptr) {
        return S_OK;
    }
    const long lListed = ovRegListValueNamesEx(RegistryHive, key.Get(), values.get(), &ulValues, AllTypes, 0);
    for (unsigned long i = 0; lListed == ERROR_SUCCESS && i < ulValues; ++i) {
        RETURN_IF_FAILED(ReadValue(op, key.Get(), values[i].szName, record));
    }
    regInfos.push_back(
        {nullptr, static_cast<OV::DataStore::Type>(record.nType), record.bEncrypted, record.bSharedBetweenUserSessions, nullptr});
    regInfos.back().bstrDataStoreId = SysAllocString(pszStoreId);
    regInfos.back().bstrProduct = record.product.Release();
    return lListed == ERROR_SUCCESS ? S_OK : FailWithCode(op, "ovRegListValueNames failed", lListed);
}

} // namespace

HRESULT GetRegInfos(std::list<_regInfos>& regInfos)
{
    return RunOperation("GetRegInfos", [&](const COperation& op) -> HRESULT {
        CBstr key;
        RETURN_IF_FAILED(MakeId(op, StoreListKey, key));
        ClearRegInfos(regInfos);
        unsigned long ulStores = 0;
        long lRet = ovRegListKeysEx(RegistryHive, key.Get(), nullptr, &ulStores, 0);
        if (lRet != ERROR_SUCCESS) {
            return FailWithCode(op, "ovRegListKeys failed", lRet);
        }
        const std::unique_ptr<ovRegKey[]> stores(new (std::nothrow) ovRegKey[ulStores]());
        if (stores == nullptr) {
            return op.Fail(E_FAIL, "pRegSubKeys allocation failed");
        }
        lRet = ovRegListKeysEx(RegistryHive, key.Get(), stores.get(), &ulStores, 0);
        if (lRet != ERROR_SUCCESS) {
            return FailWithCode(op, "ovRegListKeys failed", lRet);
        }
        for (unsigned long i = 0; i < ulStores; ++i) {
            RETURN_IF_FAILED(ReadStore(op, stores[i].szName, regInfos));
        }
        return S_OK;
    });
}

void ClearRegInfos(std::list<_regInfos>& regInfos)
{
    for (const _regInfos& info : regInfos) {
        ovSysFreeString(info.bstrDataStoreId, 0);
        ovSysFreeString(info.bstrProduct, 0);
    }
    regInfos.clear();
}
