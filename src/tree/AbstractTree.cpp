// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "tree/AbstractTree.h"

#include "util/ComHandles.h"
#include "util/IdList.h"
#include "util/Operation.h"

#include <algorithm>

using OV::Framework::SecureString;

namespace
{

constexpr const char* AnySession = "0";

/// A list that can't be had is an error; one that does not exist, because there is nothing to list, is not.
void LogNoList(const COperation& op, HRESULT hr, const char* pszText)
{
    FAILED(hr) ? op.Error(pszText) : op.Detail(pszText);
}

} // namespace

std::vector<SecureString> split(const SecureString& s, wchar_t sep)
{
    const char cSeparator = static_cast<char>(sep);
    std::vector<SecureString> pieces;
    std::size_t uBegin = 0;
    for (std::size_t uEnd = s.find(cSeparator); uEnd != SecureString::npos; uEnd = s.find(cSeparator, uBegin)) {
        pieces.push_back(s.substr(uBegin, uEnd - uBegin));
        uBegin = uEnd + 1;
    }
    pieces.push_back(s.substr(uBegin));
    return pieces;
}

HRESULT CAbstractTree::FindCompartmentId(const SecureString& sSessionId, const SecureString& sSubCompartmentId,
                                         SecureString& sCompartmentIdFound, bool& bFound)
{
    return RunOperation("CAbstractTree::FindCompartmentId", [&](const COperation& op) -> HRESULT {
        bFound = false;
        CSafeArray ids;
        HRESULT hr = ListAllCompartmentIds(&ids.Out());
        if (FAILED(hr) || ids.Get() == nullptr) {
            LogNoList(op, hr, "ListAllCompartmentIds failed");
            return hr;
        }
        // Without a session of its own inside, a session identifier matches a path's first component.
        const bool bSearchable = sSessionId.find(PathSeparator) == SecureString::npos;
        const SecureString sWanted = ChildPath(sSessionId, sSubCompartmentId);
        for (int i = 0; i < CountIds(ids.Get()) && !bFound; ++i) {
            SecureString sId;
            hr = GetId(op, ids.Get(), i, sId);
            if (SUCCEEDED(hr) && bSearchable && sId == sWanted) {
                sCompartmentIdFound = sId;
                bFound = true;
                op.Detail("sCompartmentIdFound", sId.c_str());
            }
        }
        return hr;
    });
}

HRESULT CAbstractTree::GetSessionIdList(std::list<SecureString>& lSessionIds)
{
    return RunOperation("CAbstractTree::GetSessionIdList", [&](const COperation& op) -> HRESULT {
        lSessionIds.clear();
        CSafeArray ids;
        const HRESULT hr = ListCompartmentIds(RootCompartment, &ids.Out(), 0);
        if (FAILED(hr) || ids.Get() == nullptr) {
            LogNoList(op, hr, "ListCompartmentIds failed");
            return S_OK;
        }
        for (int i = 0; i < CountIds(ids.Get()); ++i) {
            SecureString sId;
            RETURN_IF_FAILED(GetId(op, ids.Get(), i, sId));
            sId.resize(std::min(sId.find(PathSeparator), sId.size()));
            if (std::find(lSessionIds.begin(), lSessionIds.end(), sId) == lSessionIds.end()) {
                lSessionIds.push_back(std::move(sId));
            }
        }
        return S_OK;
    });
}

HRESULT CAbstractTree::FindSessionId(const SecureString& sSessionId, const SecureString& sSubCompartmentId, SecureString& sSessionIdFound)
{
    return RunOperation("CAbstractTree::FindSessionId", [&](const COperation& op) -> HRESULT {
        if (sSessionId != AnySession) {
            sSessionIdFound = sSessionId;
            return S_OK;
        }
        std::list<SecureString> sessionIds;
        RETURN_IF_FAILED(op.Check(GetSessionIdList(sessionIds), "GetSessionIdList failed"));
        sessionIds.remove(AnySession);
        for (const SecureString& sId : sessionIds) {
            SecureString sCompartmentId;
            bool bFound = false;
            RETURN_IF_FAILED(op.Check(FindCompartmentId(sId, sSubCompartmentId, sCompartmentId, bFound), "FindCompartmentId failed"));
            if (bFound) {
                op.Detail("bFound = true");
                sSessionIdFound = sId;
                return S_OK;
            }
        }
        sSessionIdFound = SecureString(AnySession);
        return S_OK;
    });
}

HRESULT CAbstractTree::MoveCompartmentIds(const SecureString& sCompartmentId0, const SecureString& sCompartmentId1, bool bRemoveSource)
{
    return RunOperation("CAbstractTree::MoveCompartmentIds", [&](const COperation& op) -> HRESULT {
        if (sCompartmentId1.compare(0, sCompartmentId0.size() + 1, sCompartmentId0 + PathSeparator) == 0) {
            return op.Fail(E_INVALIDARG, "the destination lies inside the source"); // the copies would be copied again, without end
        }
        CSafeArray dataIds;
        const bool bListed = SUCCEEDED(op.Check(ListDataIds(sCompartmentId0, &dataIds.Out(), 0), "ListDataIds failed"));
        for (int i = 0; bListed && i < CountIds(dataIds.Get()); ++i) {
            SecureString sDataId;
            CSafeArray value;
            if (SUCCEEDED(GetId(op, dataIds.Get(), i, sDataId)) && SUCCEEDED(GetData(sCompartmentId0, sDataId, value.Out(), 0))) {
                op.Check(SetData(sCompartmentId1, sDataId, value.Get(), 0, 0), "SetData failed");
                op.Check(value.Destroy(), "ovSafeArrayDestroy failed");
            }
        }

        CSafeArray children;
        HRESULT hr = ListCompartmentIds(sCompartmentId0, &children.Out(), 0);
        const bool bHasChildren = SUCCEEDED(hr) && children.Get() != nullptr;
        if (!bHasChildren) {
            hr = op.Fail(E_FAIL, "ListCompartmentIds failed");
        }
        for (int i = 0; bHasChildren && i < CountIds(children.Get()); ++i) {
            SecureString sChild;
            hr = GetId(op, children.Get(), i, sChild);
            if (SUCCEEDED(hr)) {
                hr = op.Check(MoveCompartmentIds(ChildPath(sCompartmentId0, sChild), ChildPath(sCompartmentId1, sChild), false),
                              "MoveCompartmentIds failed");
            }
        }

        if (bRemoveSource) {
            hr = op.Check(RemoveCompartment(sCompartmentId0, 1, 0), "RemoveCompartment failed");
        }
        return hr;
    });
}
