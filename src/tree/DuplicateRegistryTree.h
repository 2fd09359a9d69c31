// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "tree/AbstractTree.h"

#include <memory>

/// A tree in the registry with a mirror there, from which everything is removed that is removed from the
/// tree. Writing and reading leave the mirror alone.
///
/// A removal goes to the tree and, when that succeeds, to the mirror, which decides the result, except that
/// it need not hold what is removed. In this version the mirror has the tree's own key: it never holds what
/// the tree has just removed, so that RemoveData and RemoveCompartment answer with the tree's result and
/// FlushTree, which did its work, with E_FAIL.
///
/// Owns both trees. Thread safety: none; the owner serialises all calls.
class SHAREDSTORE_API CDuplicateRegistryTree : public CAbstractTree
{
public:
    /// @param sTreeId the store's identifier, of both inner trees too
    explicit CDuplicateRegistryTree(const SecureString& sTreeId);
    ~CDuplicateRegistryTree() override;
    CDuplicateRegistryTree(const CDuplicateRegistryTree&) = delete;
    CDuplicateRegistryTree& operator=(const CDuplicateRegistryTree&) = delete;

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
    template <class Call> HRESULT First(const char* pszName, Call call);
    template <class Call> HRESULT RemoveFromBoth(const char* pszName, unsigned long dwClientProcessId, Call call);

    std::unique_ptr<CAbstractTree> m_pFirstTree;  ///< the tree
    std::unique_ptr<CAbstractTree> m_pSecondTree; ///< the mirror
    SecureString m_sTreeId;
};
