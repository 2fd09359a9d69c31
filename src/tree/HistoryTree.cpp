// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "tree/HistoryTree.h"

#include "tree/HistoryAccess.h"
#include "tree/MemoryTree.h"
#include "util/ComHandles.h"
#include "util/Operation.h"

#include <memory>

using OV::Framework::SecureString;

CMutex gHistoryMutex;
CAbstractTree* gHistoryTree = nullptr;

namespace
{

constexpr const char* CompartmentVersionItem = "CompartmentVersion";
constexpr const char* ContentVersionItem = "ContentVersion";

/// Reads the number in a version item. The tree can be written by anybody: its arrays are not trusted.
HRESULT ReadVersion(const COperation& op, SAFEARRAY* psaVersion, unsigned int& uVersion)
{
    if (SafeArrayGetDim(psaVersion) != 1 || SafeArrayGetElemsize(psaVersion) != sizeof(uVersion)) {
        return op.Fail(E_FAIL, "SafeArrayGetElement failed");
    }
    int nIndex = 0;
    return op.Check(SafeArrayGetElement(psaVersion, &nIndex, &uVersion), "SafeArrayGetElement failed");
}

/// Destroys an array, trying until it is gone.
void DestroyAtLast(const COperation& op, CSafeArray& array)
{
    while (FAILED(op.Check(array.Destroy(), "ovSafeArrayDestroy failed"))) {
    }
}

/// Reads both versions; what there is none of stays as it is.
HRESULT ReadVersionsLocked(const COperation& op, const SecureString& sPath, unsigned int& uiCompartmentVersion,
                           unsigned int& uiContentVersion) SHAREDSTORE_REQUIRES(gHistoryMutex)
{
    CSafeArray compartment;
    CSafeArray content;
    HRESULT hr = S_OK;
    if (SUCCEEDED(gHistoryTree->GetData(sPath, CompartmentVersionItem, compartment.Out(), 0))) {
        hr = ReadVersion(op, compartment.Get(), uiCompartmentVersion);
    }
    if (SUCCEEDED(hr)) {
        hr = gHistoryTree->GetData(sPath, ContentVersionItem, content.Out(), 0);
        if (SUCCEEDED(hr)) {
            hr = ReadVersion(op, content.Get(), uiContentVersion);
        } else if (hr == E_INVALIDARG) {
            hr = S_OK; // never counted
        }
    }
    DestroyAtLast(op, compartment);
    DestroyAtLast(op, content);
    return hr;
}

HRESULT UpdateVersionLocked(const SecureString& sPath, int bContent) SHAREDSTORE_REQUIRES(gHistoryMutex)
{
    return RunOperation("UpdateVersion", [&](const COperation& op) -> HRESULT {
        op.Detail("sPath", sPath.c_str());
        gHistoryMutex.AssertHeld();
        if (gHistoryTree == nullptr) {
            return op.Fail(E_FAIL, "NULL == gHistoryTree");
        }
        const SecureString sItem = bContent != 0 ? ContentVersionItem : CompartmentVersionItem;
        unsigned int uVersion = 1;
        CSafeArray array;
        HRESULT hr = gHistoryTree->GetData(sPath, sItem, array.Out(), 0);
        if (SUCCEEDED(hr)) {
            RETURN_IF_FAILED(ReadVersion(op, array.Get(), uVersion));
            ++uVersion;
            hr = op.Check(array.Destroy(), "ovSafeArrayDestroy failed");
            RETURN_IF_FAILED(hr);
        }
        array = CSafeArray(SafeArrayCreateVector(VT_UINT, 0, 1));
        if (array.Get() == nullptr) {
            return op.Fail(hr, "SafeArrayCreateVector failed");
        }
        int nIndex = 0;
        SafeArrayPutElement(array.Get(), &nIndex, &uVersion);
        RETURN_IF_FAILED(op.Check(gHistoryTree->SetData(sPath, sItem, array.Get(), 0, 0), "SetData failed"));
        return array.Destroy();
    });
}

/// Owns the history tree.
class CHistoryOwner
{
public:
    CHistoryOwner() : m_Tree(std::make_unique<CMemoryTree>("History")) { gHistoryTree = m_Tree.get(); }
    ~CHistoryOwner() { gHistoryTree = nullptr; }

private:
    std::unique_ptr<CMemoryTree> m_Tree;
};

} // namespace

void CreateHistoryTree()
{
    if (gHistoryTree == nullptr) {
        static const CHistoryOwner owner;
    }
}

HRESULT UpdateVersion(const SecureString& sPath, int bContent)
{
    const CMutexLock lock(gHistoryMutex);
    return UpdateVersionLocked(sPath, bContent);
}

HRESULT UpdateHistoryTree(const SecureString& sCompartmentIdGlobal, int mode)
{
    return RunOperation("UpdateHistoryTree", [&](const COperation& op) -> HRESULT {
        pvlogLog(LogComponent, LogDetail, "%s sCompartmentIdGlobal = %s mode = %d", op.Name(), sCompartmentIdGlobal.c_str(), mode);
        const bool bCompartment = mode == HistoryCompartment || mode == HistoryBoth;
        const bool bContent = mode == HistoryContent || mode == HistoryBoth;
        const CMutexLock lock(gHistoryMutex);
        std::size_t uEnd = 0;
        for (bool bFirst = true; uEnd != SecureString::npos; bFirst = false) {
            uEnd = sCompartmentIdGlobal.find(PathSeparator, bFirst ? 0 : uEnd + 1);
            const SecureString sPath = sCompartmentIdGlobal.substr(0, uEnd);
            if (bCompartment) {
                RETURN_IF_FAILED(op.Check(UpdateVersionLocked(sPath, 0), "UpdateVersion failed"));
            }
            if (bContent) {
                RETURN_IF_FAILED(op.Check(UpdateVersionLocked(sPath, 1), "UpdateVersion failed"));
            }
        }
        return S_OK;
    });
}

HRESULT GetVersion(const SecureString& sCompartmentIdGlobal, unsigned long* pulCompartmentVersion, unsigned long* pulContentVersion)
{
    const CMutexLock lock(gHistoryMutex);
    return GetVersionLocked(sCompartmentIdGlobal, pulCompartmentVersion, pulContentVersion);
}

HRESULT GetVersionLocked(const SecureString& sCompartmentIdGlobal, unsigned long* pulCompartmentVersion, unsigned long* pulContentVersion)
{
    return RunOperation("GetVersion", [&](const COperation& op) -> HRESULT {
        op.Detail("sCompartmentIdGlobal", sCompartmentIdGlobal.c_str());
        unsigned int uiCompartmentVersion = 0;
        unsigned int uiContentVersion = 0;
        // Guarded on its own, because the out-arguments are written whatever comes of it.
        const HRESULT hr = Guarded(op, [&](const COperation&) -> HRESULT {
            gHistoryMutex.AssertHeld();
            if (gHistoryTree == nullptr) {
                return op.Fail(E_FAIL, "NULL == gHistoryTree");
            }
            if (pulCompartmentVersion == nullptr) {
                return op.Fail(E_FAIL, "NULL == pulCompartmentVersion");
            }
            return ReadVersionsLocked(op, sCompartmentIdGlobal, uiCompartmentVersion, uiContentVersion);
        });
        if (pulCompartmentVersion != nullptr) {
            *pulCompartmentVersion = uiCompartmentVersion;
        }
        if (pulContentVersion != nullptr) {
            *pulContentVersion = uiContentVersion;
        }
        op.Detail("uiCompartmentVersion", uiCompartmentVersion);
        op.Detail("uiContentVersion", uiContentVersion);
        return hr;
    });
}
