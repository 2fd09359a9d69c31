// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "client/StoreList.h"

#include "platform/Registry.h"
#include "util/IdList.h"
#include "util/Operation.h"
#include "util/RegistryAnswer.h"
#include "util/RegistryPaths.h"

#include <cstring>

using OV::Framework::SecureString;

namespace
{

constexpr const char* DefaultProduct = "Pavendo";

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
    const CRegistryAnswer<char> value([&](char* pszText, unsigned long* pulSize) {
        return ovRegReadStringValueEx(RegistryHive, bstrKey, ProductValue, pszText, pulSize, 0);
    });
    if (value.State() == value.MemoryFailed) {
        return op.Fail(E_FAIL, "pszValue allocation failed");
    }
    if (value.State() != value.Complete) {
        return FailWithCode(op, "ovRegRead failed", value.Code());
    }
    product = CBstr(SysAllocString(value.Entries().data()));
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
    const auto values = ListRegistryValues(RegistryHive, key.Get());
    if (values.State() == values.SizeFailed) {
        return FailWithCode(op, "ovRegListValueNames failed", values.Code());
    }
    if (values.State() == values.MemoryFailed) {
        return S_OK;
    }
    for (const ovRegValue& value : values.Entries()) {
        RETURN_IF_FAILED(ReadValue(op, key.Get(), value.szName, record));
    }
    regInfos.push_back(
        {nullptr, static_cast<OV::DataStore::Type>(record.nType), record.bEncrypted, record.bSharedBetweenUserSessions, nullptr});
    regInfos.back().bstrDataStoreId = SysAllocString(pszStoreId);
    regInfos.back().bstrProduct = record.product.Release();
    return values.State() == values.Complete ? S_OK : FailWithCode(op, "ovRegListValueNames failed", values.Code());
}

} // namespace

HRESULT GetRegInfos(std::list<_regInfos>& regInfos)
{
    return RunOperation("GetRegInfos", [&](const COperation& op) -> HRESULT {
        CBstr key;
        RETURN_IF_FAILED(MakeId(op, StoreListKey, key));
        ClearRegInfos(regInfos);
        const CRegistryAnswer<ovRegKey> stores(
            [&](ovRegKey* pKeys, unsigned long* pulCount) { return ovRegListKeysEx(RegistryHive, key.Get(), pKeys, pulCount, 0); });
        if (stores.State() == stores.MemoryFailed) {
            return op.Fail(E_FAIL, "pRegSubKeys allocation failed");
        }
        if (stores.State() != stores.Complete) {
            return FailWithCode(op, "ovRegListKeys failed", stores.Code());
        }
        for (const ovRegKey& store : stores.Entries()) {
            RETURN_IF_FAILED(ReadStore(op, store.szName, regInfos));
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
