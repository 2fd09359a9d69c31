// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "tree/RegistryTree.h"

#include "tree/HistoryAccess.h"
#include "tree/RegistryAccess.h"
#include "tree/RegistryValue.h"
#include "util/IdList.h"
#include "util/RegistryAnswer.h"
#include "util/RegistryPaths.h"

#include <algorithm>

using OV::Framework::SecureString;

namespace
{

constexpr unsigned int MaxDataName = 255;

HRESULT MakeDataName(const COperation& op, const SecureString& sDataId, CBstr& name)
{
    if (FAILED(MakeId(op, sDataId, name))) {
        return E_FAIL;
    }
    if (const unsigned int uLength = SysStringLen(name.Get()); uLength > MaxDataName) {
        pvlogLog(LogComponent, LogError, "%s length of pDataName = %d greater than %d", op.Name(), static_cast<int>(uLength),
                 static_cast<int>(MaxDataName));
        return E_INVALIDARG;
    }
    return S_OK;
}

/// Whether a value can have that name. The registry compares names byte for byte.
bool IsDataName(const SecureString& sDataId)
{
    return !sDataId.empty() && sDataId.size() <= MaxDataName && sDataId.find('\0') == SecureString::npos;
}

/// Opens a key, and makes it and its missing parents when it does not exist.
long MakeKey(const char* pszRoot, const CBstr& path, CRegistryKey& key)
{
    constexpr unsigned long ReadAndWrite = 3;
    unsigned long ulDisposition = 0;
    return pvRegCreateKeyEx(pszRoot, path.Get(), 0, nullptr, 0, ReadAndWrite, nullptr, key.Out(), &ulDisposition);
}

/// Who asks for something that does not exist has made no error.
void LogNotListed(const COperation& op, long lCode, const char* pszText)
{
    lCode == ERROR_FILE_NOT_FOUND ? op.Detail(pszText) : op.Error(pszText);
}

HRESULT FailWithCode(const COperation& op, const char* pszText, long lRet)
{
    pvlogLog(LogComponent, LogError, "%s %s lRet = %ld", op.Name(), pszText, lRet);
    return E_FAIL;
}

template <class Entry> HRESULT MakeNameList(const COperation& op, const CRegistryAnswer<Entry>& answer, SAFEARRAY** ppsaNames)
{
    std::vector<SecureString> names;
    for (const Entry& entry : answer.Entries()) {
        names.emplace_back(entry.szName);
    }
    return MakeIdList(op, names, ppsaNames);
}

HRESULT WriteItem(const COperation& op, PVHKEY hKey, const SecureString& sDataId, SAFEARRAY* psaValue)
{
    CBstr name;
    RETURN_IF_FAILED(MakeDataName(op, sDataId, name));
    SRegistryValue value;
    RETURN_IF_FAILED(EncodeRegistryValue(op, psaValue, value));
    const long lRet = pvRegSetValueEx(hKey, name.Get(), 0, value.ulType, value.bytes.data(), value.bytes.size());
    return lRet == ERROR_SUCCESS ? S_OK : op.Fail(E_FAIL, "RegSetValueEx failed");
}

/// An item as the registry keeps it.
struct SStoredItem
{
    SStoredItem(const char* pszRoot, const CBstr& path, const char* pszName)
        : bytes([&](unsigned char* pBuffer, unsigned long* pulSize) {
              return ovRegReadValueEx(pszRoot, path.Get(), pszName, &ulType, pBuffer, pulSize, 0);
          })
    {}

    unsigned long ulType = REG_NONE;
    const CRegistryAnswer<unsigned char> bytes;
};

HRESULT Decode(const COperation& op, const SStoredItem& item, SAFEARRAY*& psaValue)
{
    if (item.bytes.State() == item.bytes.MemoryFailed) {
        return op.Fail(E_FAIL, "pBuffer allocation failed");
    }
    if (item.bytes.State() != item.bytes.Complete) {
        return op.Fail(E_INVALIDARG, "ovRegReadValueEx failed");
    }
    CSafeArray array;
    RETURN_IF_FAILED(DecodeRegistryValue(op, item.ulType, item.bytes.Entries(), array));
    psaValue = array.Release();
    return S_OK;
}

} // namespace

CRegistryTree::CRegistryTree(const SecureString& sTreeId, int nMode)
    : m_pszRootKey(RegistryHive), m_sBaseKey(RemanentStoreKey), m_sTreeId(sTreeId), m_nMode(nMode)
{
    COperation("CRegistryTree::CRegistryTree").Check(UpdateRegistryKey(0), "UpdateRegistryKey failed");
}

CRegistryTree::~CRegistryTree() = default;

HRESULT CRegistryTree::UpdateRegistryKey(unsigned long)
{
    return S_OK;
}

HRESULT CRegistryTree::ConvertString2RegistryFormat(const SecureString& sCompartmentId, SecureString& sKey) const
{
    return Guarded("CRegistryTree::ConvertString2RegistryFormat", [&](const COperation&) -> HRESULT {
        sKey.clear();
        sKey.reserve(m_sBaseKey.size() + m_sTreeId.size() + 1 + sCompartmentId.size());
        sKey.append(m_sBaseKey).append(m_sTreeId);
        if (sCompartmentId != RootCompartment) {
            const std::size_t uEnd = sKey.size();
            sKey.append(1, KeySeparator).append(sCompartmentId);
            std::replace(sKey.begin() + static_cast<std::ptrdiff_t>(uEnd), sKey.end(), PathSeparator, KeySeparator);
        }
        return S_OK;
    });
}

/// What every operation begins with: the path of the compartment's key.
/// @param pszArgument what the path is called when it is too long
HRESULT CRegistryTree::MakeKeyPath(const COperation& op, const SecureString& sCompartmentId, unsigned long dwClientProcessId, CBstr& path,
                                   const char* pszArgument)
{
    RETURN_IF_FAILED(op.Check(UpdateRegistryKey(dwClientProcessId), "UpdateRegistryKey failed"));
    SecureString sKey;
    RETURN_IF_FAILED(op.Check(ConvertString2RegistryFormat(sCompartmentId, sKey), "ConvertString2RegistryFormat failed"));
    op.Detail("sKey", sKey.c_str());
    return FAILED(MakeId(op, sKey, path)) ? E_FAIL : CheckKeyPath(op, path.Get(), pszArgument);
}

HRESULT CRegistryTree::GetTreeId(SecureString& sTreeId)
{
    return RunOperation("CRegistryTree::GetTreeId", [&](const COperation&) -> HRESULT {
        sTreeId = m_sTreeId;
        return S_OK;
    });
}

HRESULT CRegistryTree::SetData(const SecureString& sCompartmentId, const SecureString& sDataId, SAFEARRAY* psaValue,
                               unsigned long dwClientProcessId, int)
{
    return RunOperation("CRegistryTree::SetData", [&](const COperation& op) -> HRESULT {
        op.Detail("sDataId", sDataId.c_str());
        CBstr path;
        RETURN_IF_FAILED(MakeKeyPath(op, sCompartmentId, dwClientProcessId, path));
        CRegistryKey key;
        if (const long lRet = MakeKey(m_pszRootKey, path, key); lRet != ERROR_SUCCESS) {
            return FailWithCode(op, "RegCreateKeyEx failed", lRet);
        }
        const HRESULT hr = WriteItem(op, key.Get(), sDataId, psaValue);
        const long lRet = key.Close();
        return lRet == ERROR_SUCCESS ? hr : FailWithCode(op, "RegCloseKey failed", lRet);
    });
}

HRESULT CRegistryTree::GetData(const SecureString& sCompartmentId, const SecureString& sDataId, SAFEARRAY*& psaValue,
                               unsigned long dwClientProcessId)
{
    return RunOperation("CRegistryTree::GetData", [&](const COperation& op) -> HRESULT {
        op.Detail("sDataId", sDataId.c_str());
        CBstr path;
        RETURN_IF_FAILED(MakeKeyPath(op, sCompartmentId, dwClientProcessId, path, "lpSubKey"));
        if (IsDataName(sDataId)) {
            // What is there is read straight away; why something is not shows when the names are looked through.
            if (const SStoredItem item(m_pszRootKey, path, sDataId.c_str()); item.bytes.State() == item.bytes.Complete) {
                return Decode(op, item, psaValue);
            }
        }
        const auto values = ListRegistryValues(m_pszRootKey, path.Get());
        if (values.State() == values.MemoryFailed) {
            return op.Fail(E_FAIL, "pRegValues allocation failed");
        }
        if (values.State() != values.Complete) {
            LogNotListed(op, values.Code(), "ovRegListValueNamesEx failed");
            return E_INVALIDARG;
        }
        for (const ovRegValue& value : values.Entries()) {
            if (sDataId == value.szName) {
                return Decode(op, SStoredItem(m_pszRootKey, path, value.szName), psaValue);
            }
            op.Detail("datas are different");
        }
        op.Detail("data was not found");
        return E_INVALIDARG;
    });
}

HRESULT CRegistryTree::RemoveData(const SecureString& sCompartmentId, const SecureString& sDataId, unsigned long dwClientProcessId)
{
    return RunOperation("CRegistryTree::RemoveData", [&](const COperation& op) -> HRESULT {
        op.Detail("sDataId", sDataId.c_str());
        CBstr path;
        RETURN_IF_FAILED(MakeKeyPath(op, sCompartmentId, dwClientProcessId, path));
        CBstr name;
        RETURN_IF_FAILED(MakeDataName(op, sDataId, name));
        const long lRet = ovRegDeleteValue(m_pszRootKey, path.Get(), name.Get(), 0);
        return lRet == ERROR_SUCCESS ? S_OK : op.Fail(E_INVALIDARG, "ovRegDeleteValue failed");
    });
}

HRESULT CRegistryTree::CreateCompartment(const SecureString& sCompartmentId, unsigned long dwClientProcessId)
{
    return RunOperation("CRegistryTree::CreateCompartment", [&](const COperation& op) -> HRESULT {
        CBstr path;
        RETURN_IF_FAILED(MakeKeyPath(op, sCompartmentId, dwClientProcessId, path));
        CRegistryKey key;
        if (MakeKey(m_pszRootKey, path, key) != ERROR_SUCCESS) {
            return op.Fail(E_FAIL, "RegCreateKeyEx failed");
        }
        return key.Close() == ERROR_SUCCESS ? S_OK : op.Fail(E_FAIL, "RegCloseKey failed");
    });
}

HRESULT CRegistryTree::RemoveCompartment(const SecureString& sCompartmentId, int bUpdateVersions, unsigned long dwClientProcessId)
{
    return RunOperation("CRegistryTree::RemoveCompartment", [&](const COperation& op) -> HRESULT {
        CBstr path;
        RETURN_IF_FAILED(MakeKeyPath(op, sCompartmentId, dwClientProcessId, path));
        CRegistryKey key;
        if (OpenKey(op, m_pszRootKey, path.Get(), key) != ERROR_SUCCESS) {
            return E_INVALIDARG;
        }
        key.Close();
        if (!RegDelTree(m_pszRootKey, path.Get(), bUpdateVersions)) {
            op.Error("RegDelTree return FALSE");
        }
        return S_OK;
    });
}

HRESULT CRegistryTree::FlushTree(unsigned long dwClientProcessId)
{
    return RunOperation("CRegistryTree::FlushTree", [&](const COperation& op) -> HRESULT {
        CBstr path;
        RETURN_IF_FAILED(MakeKeyPath(op, RootCompartment, dwClientProcessId, path));
        const long lRet = ovRegDeleteSubKey(m_pszRootKey, path.Get(), 0, false);
        return lRet == ERROR_SUCCESS ? S_OK : op.Fail(E_FAIL, "ovRegDeleteSubKey failed");
    });
}

HRESULT CRegistryTree::IsDataCached(const SecureString& sCompartmentId, const SecureString& sDataId, int* pbCached,
                                    unsigned long dwClientProcessId)
{
    return RunOperation("CRegistryTree::IsDataCached", [&](const COperation& op) -> HRESULT {
        op.Detail("sDataId", sDataId.c_str());
        CBstr path;
        RETURN_IF_FAILED(MakeKeyPath(op, sCompartmentId, dwClientProcessId, path));
        if (pbCached == nullptr) {
            return op.Fail(E_FAIL, "pbCached == NULL");
        }
        const auto values = ListRegistryValues(m_pszRootKey, path.Get());
        if (values.State() != values.Complete && values.Code() != ERROR_FILE_NOT_FOUND) {
            return op.Fail(E_FAIL, "ovRegListValueNamesEx failed");
        }
        const auto isItem = [&](const ovRegValue& value) { return sDataId == value.szName; };
        *pbCached = std::ranges::any_of(values.Entries(), isItem) ? 1 : 0;
        return S_OK;
    });
}

HRESULT CRegistryTree::ListDataIds(const SecureString& sCompartmentId, SAFEARRAY** ppsaDataIdList, unsigned long dwClientProcessId)
{
    return RunOperation("CRegistryTree::ListDataIds", [&](const COperation& op) -> HRESULT {
        CBstr path;
        RETURN_IF_FAILED(MakeKeyPath(op, sCompartmentId, dwClientProcessId, path));
        if (ppsaDataIdList == nullptr) {
            return op.Fail(E_FAIL, "ppsaDataIdList == NULL");
        }
        const auto values = ListRegistryValues(m_pszRootKey, path.Get());
        if (values.State() != values.Complete) {
            LogNotListed(op, values.Code(), "ovRegListValueNamesEx failed");
            return E_FAIL;
        }
        return MakeNameList(op, values, ppsaDataIdList);
    });
}

HRESULT CRegistryTree::ListCompartmentIds(const SecureString& sCompartmentId, SAFEARRAY** ppsCompartmentIdList,
                                          unsigned long dwClientProcessId)
{
    return RunOperation("CRegistryTree::ListCompartmentIds", [&](const COperation& op) -> HRESULT {
        CBstr path;
        RETURN_IF_FAILED(MakeKeyPath(op, sCompartmentId, dwClientProcessId, path));
        if (ppsCompartmentIdList == nullptr) {
            return op.Fail(E_FAIL, "ppsCompartmentIdList == NULL");
        }
        const CRegistryAnswer<ovRegKey> keys(
            [&](ovRegKey* pKeys, unsigned long* pulCount) { return ovRegListKeys(m_pszRootKey, path.Get(), pKeys, pulCount); });
        if (keys.State() == keys.MemoryFailed) {
            return op.Fail(E_FAIL, "pRegSubKeys allocation failed");
        }
        if (keys.State() != keys.Complete) {
            pvlogLog(LogComponent, LogError, "%s ovRegListKeys failed rc = %x", op.Name(), static_cast<unsigned int>(keys.Code()));
            return E_FAIL;
        }
        return MakeNameList(op, keys, ppsCompartmentIdList);
    });
}

HRESULT CRegistryTree::IsCompartmentCached(const SecureString& sCompartmentId, unsigned long* pulCompartmentVersion,
                                           unsigned long* pulContentVersion, int* pbCached, unsigned long dwClientProcessId)
{
    return RunOperation("CRegistryTree::IsCompartmentCached", [&](const COperation& op) -> HRESULT {
        CBstr path;
        RETURN_IF_FAILED(MakeKeyPath(op, sCompartmentId, dwClientProcessId, path));
        if (pulCompartmentVersion == nullptr) {
            return op.Fail(E_FAIL, "pulCompartmentVersion == NULL");
        }
        if (pulContentVersion == nullptr) {
            return op.Fail(E_FAIL, "pulContentVersion == NULL");
        }
        if (pbCached == nullptr) {
            return op.Fail(E_FAIL, "pbCached == NULL");
        }
        CRegistryKey key;
        const bool bExists = pvRegOpenKeyEx(m_pszRootKey, path.Get(), 0, 0, key.Out()) == ERROR_SUCCESS;
        unsigned long ulCompartmentVersion = 0;
        unsigned long ulContentVersion = 0;
        const HRESULT hr = GetVersion(VersionPath(m_sTreeId, sCompartmentId), &ulCompartmentVersion, &ulContentVersion);
        RETURN_IF_FAILED(CheckVersions(op, hr, "GetVersion failed"));
        *pbCached = bExists ? 1 : 0;
        *pulCompartmentVersion = ulCompartmentVersion;
        *pulContentVersion = ulContentVersion;
        return S_OK;
    });
}

HRESULT CRegistryTree::ListAllCompartmentIds(SAFEARRAY** ppsAllCompartmentIdList)
{
    return RunOperation("CRegistryTree::ListAllCompartmentIds", [&](const COperation& op) -> HRESULT {
        CBstr path;
        RETURN_IF_FAILED(MakeKeyPath(op, RootCompartment, 0, path));
        if (ppsAllCompartmentIdList == nullptr) {
            return op.Fail(E_FAIL, "ppsAllCompartmentIdList == NULL");
        }
        std::list<SecureString> ids;
        if (RegListTree(m_pszRootKey, path.Get(), ids) != ERROR_SUCCESS) {
            return op.Fail(E_FAIL, "RegListTree failed");
        }
        op.Detail("nbSubKeyCount", ids.size());
        return MakeIdList(op, {ids.begin(), ids.end()}, ppsAllCompartmentIdList);
    });
}
