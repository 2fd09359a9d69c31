// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "tree/AbstractTree.h"

#include <memory>

/// A tree in memory whose changes are written to the registry too.
///
/// Every operation goes to the memory tree and, when that succeeds, to the registry tree. The memory tree
/// decides the result; what an operation puts out is the registry tree's, unless that failed. A removed
/// compartment's descendants advance their versions once in each tree.
///
/// Owns both trees. Thread safety: none; the owner serialises all calls.
class SHAREDSTORE_API CDumpTree : public CAbstractTree
{
public:
    /// @param sTreeId the store's identifier, of both inner trees too
    explicit CDumpTree(const SecureString& sTreeId);
    ~CDumpTree() override;
    CDumpTree(const CDumpTree&) = delete;
    CDumpTree& operator=(const CDumpTree&) = delete;

    HRESULT GetTreeId(SecureString& sTreeId) override;
    HRESULT SetData(const SecureString& sCompartmentId, const SecureString& sDataId, SAFEARRAY* psaValue, unsigned long dwClientProcessId,
                    int nFlag) override;
    HRESULT GetData(const SecureString& sCompartmentId, const SecureString& sDataId, SAFEARRAY*& psaValue,
                    unsigned long dwClientProcessId) override;
    HRESULT RemoveData(const SecureString& sCompartmentId, const SecureString& sDataId, unsigned long dwClientProcessId) override;
    HRESULT CreateCompartment(const SecureString& sCompartmentId, unsigned long dwClientProcessId) override;
    HRESULT RemoveCompartment(const SecureString& sCompartmentId, int nFlag, unsigned long dwClientProcessId) override;
    HRESULT FlushTree(unsigned long dwClientProcessId) override;
    HRESULT IsDataCached(const SecureString& sCompartmentId, const SecureString& sDataId, int* pbCached,
                         unsigned long dwClientProcessId) override;
    HRESULT ListDataIds(const SecureString& sCompartmentId, SAFEARRAY** ppsaDataIdList, unsigned long dwClientProcessId) override;
    HRESULT ListCompartmentIds(const SecureString& sCompartmentId, SAFEARRAY** ppsCompartmentIdList,
                               unsigned long dwClientProcessId) override;
    HRESULT IsCompartmentCached(const SecureString& sCompartmentId, unsigned long* pulCompartmentVersion, unsigned long* pulContentVersion,
                                int* pbCached, unsigned long dwClientProcessId) override;
    HRESULT ListAllCompartmentIds(SAFEARRAY** ppsAllCompartmentIdList) override;

private:
    template <class Call> HRESULT Both(const char* pszName, Call call);
    template <class Call> HRESULT BothArrays(const char* pszName, SAFEARRAY** ppsa, Call call);

    std::unique_ptr<CAbstractTree> m_pFirstTree;  ///< in memory
    std::unique_ptr<CAbstractTree> m_pSecondTree; ///< in the registry
    SecureString m_sTreeId;
};
