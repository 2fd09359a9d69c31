// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "tree/AbstractTree.h"
#include "tree/Node.h"

#include <map>
#include <vector>

/// A tree in the memory of the process.
///
/// Whenever it holds a/b/c it holds a and a/b too. Paths are kept in byte order, so that one
/// compartment and what lies below it is found by seeking, never by walking the tree.
///
/// The tree owns its nodes. A compartment that is removed leaves the list of paths at once and its
/// items are destroyed; its empty node is kept and taken back when the path is made again, so memory
/// is bounded by the paths ever used.
///
/// Thread safety: none; the owner serialises all calls.
class SHAREDSTORE_API CMemoryTree : public CAbstractTree
{
public:
    /// @param sTreeId the store's identifier; versions of the tree's compartments are counted below it
    explicit CMemoryTree(const SecureString& sTreeId);
    ~CMemoryTree() override;
    CMemoryTree(const CMemoryTree&) = delete;
    CMemoryTree& operator=(const CMemoryTree&) = delete;

    HRESULT GetTreeId(SecureString& sTreeId) override;
    HRESULT SetData(const SecureString& sCompartmentId, const SecureString& sDataId, SAFEARRAY* psaValue, unsigned long dwClientProcessId,
                    int nFlag) override;
    HRESULT GetData(const SecureString& sCompartmentId, const SecureString& sDataId, SAFEARRAY*& psaValue,
                    unsigned long dwClientProcessId) override;
    HRESULT RemoveData(const SecureString& sCompartmentId, const SecureString& sDataId, unsigned long dwClientProcessId) override;
    HRESULT CreateCompartment(const SecureString& sCompartmentId, unsigned long dwClientProcessId) override;

    /// @param sCompartmentId "/" is the whole tree, but in the history tree a compartment like any other
    /// @return S_OK, also when other compartments exist but not this one; E_INVALIDARG for an empty tree;
    ///         the code of the last descendant's version update
    HRESULT RemoveCompartment(const SecureString& sCompartmentId, int nFlag, unsigned long dwClientProcessId) override;

    HRESULT FlushTree(unsigned long dwClientProcessId) override;
    HRESULT IsDataCached(const SecureString& sCompartmentId, const SecureString& sDataId, int* pbCached,
                         unsigned long dwClientProcessId) override;
    HRESULT ListDataIds(const SecureString& sCompartmentId, SAFEARRAY** ppsaDataIdList, unsigned long dwClientProcessId) override;

    /// @param ppsCompartmentIdList untouched when there is nothing to list
    HRESULT ListCompartmentIds(const SecureString& sCompartmentId, SAFEARRAY** ppsCompartmentIdList,
                               unsigned long dwClientProcessId) override;

    HRESULT IsCompartmentCached(const SecureString& sCompartmentId, unsigned long* pulCompartmentVersion, unsigned long* pulContentVersion,
                                int* pbCached, unsigned long dwClientProcessId) override;
    HRESULT ListAllCompartmentIds(SAFEARRAY** ppsAllCompartmentIdList) override;

    /// Appends every path in byte order to the one vector and its node, which stays the tree's, to the
    /// other.
    HRESULT ListNodes(std::vector<SecureString>& paths, std::vector<CNode*>& nodes) const;

private:
    using NodeMap = std::map<SecureString, CNode>;

    CNode* FindNode(const SecureString& sCompartmentId) const;
    CNode* AddNode(const SecureString& sPath);
    CNode* MakeNode(const SecureString& sCompartmentId);
    HRESULT ReadVersions(const SecureString& sCompartmentId, unsigned long& ulCompartmentVersion, unsigned long& ulContentVersion) const;
    std::vector<SecureString> ChildNames(const SecureString& sParent) const;
    void Forget(NodeMap::iterator first, NodeMap::iterator last);

    mutable NodeMap m_cFullPathNodeList; ///< by full path; constant functions hand out nodes, and change none
    NodeMap m_cForgottenNodes;           ///< empty nodes of removed compartments, by full path
    SecureString m_sTreeId;
};
