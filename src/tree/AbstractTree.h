// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "platform/Api.h"
#include "platform/ComEmulation.h"
#include "platform/SecAllocator.h"

#include <list>
#include <vector>

/// Joins the components of a compartment's path.
inline constexpr char PathSeparator = '/';

/// The name of a tree's root in listing, removing and version operations.
inline constexpr const char* RootCompartment = "/";

/// The path of a compartment below another one.
inline OV::Framework::SecureString ChildPath(const OV::Framework::SecureString& sParent, const OV::Framework::SecureString& sName)
{
    return sParent + PathSeparator + sName;
}

/// Cuts a text at every occurrence of the low byte of sep. Empty pieces are kept, and there is always
/// a piece after the last separator: "a/" has the pieces "a" and "", "" has the piece "".
/// Throws std::bad_alloc.
SHAREDSTORE_API std::vector<OV::Framework::SecureString> split(const OV::Framework::SecureString& s, wchar_t sep);

/// What every store keeps its compartments in: a named hierarchy of compartments, each holding data
/// items, each of them an array.
///
/// A compartment is named by a path of components joined by "/", without any escaping; a component
/// may be empty. "/" alone is the root in listing, removing and version operations. A data item is
/// named by a plain string inside its compartment. Names are compared byte for byte.
///
/// Every operation answers with an HRESULT and takes the process id of the client that it works for,
/// which lets a tree keep clients apart; those of this library don't. Arrays given in stay the caller's; arrays handed out are
/// new and freed by the caller with ovSafeArrayDestroy. Identifier lists are VT_BSTR vectors with
/// lower bound 0. A null out-pointer gives E_FAIL. No operation throws (E_OUTOFMEMORY instead).
///
/// Owner: the store engine or composite tree that made it. Thread safety: none; the owner serialises
/// all calls.
class SHAREDSTORE_API CAbstractTree
{
public:
    using SecureString = OV::Framework::SecureString; ///< an identifier or a path

    virtual ~CAbstractTree() = default;

    /// Copies the identifier given at construction.
    virtual HRESULT GetTreeId(SecureString& sTreeId) = 0;

    /// Stores a copy of a value; makes the compartment and its ancestors when they are missing.
    /// @param nFlag for composite trees
    /// @return S_OK; the code of the failed copy, the former value of the item may then be gone
    virtual HRESULT SetData(const SecureString& sCompartmentId, const SecureString& sDataId, SAFEARRAY* psaValue,
                            unsigned long dwClientProcessId, int nFlag) = 0;

    /// Hands out a copy of a value.
    /// @return S_OK; E_INVALIDARG for an unknown compartment or item
    virtual HRESULT GetData(const SecureString& sCompartmentId, const SecureString& sDataId, SAFEARRAY*& psaValue,
                            unsigned long dwClientProcessId) = 0;

    /// Removes one item.
    /// @return S_OK; E_INVALIDARG for an unknown compartment or item
    virtual HRESULT RemoveData(const SecureString& sCompartmentId, const SecureString& sDataId, unsigned long dwClientProcessId) = 0;

    /// Makes a compartment and its missing ancestors; one that exists stays as it is.
    virtual HRESULT CreateCompartment(const SecureString& sCompartmentId, unsigned long dwClientProcessId) = 0;

    /// Removes a compartment and everything below it, and advances the versions of everything below it.
    /// @param sCompartmentId "/" is every compartment of the tree
    /// @param nFlag non-zero: versions advance (a memory tree advances them always)
    virtual HRESULT RemoveCompartment(const SecureString& sCompartmentId, int nFlag, unsigned long dwClientProcessId) = 0;

    /// Removes every compartment; no version changes.
    virtual HRESULT FlushTree(unsigned long dwClientProcessId) = 0;

    /// Tells whether an item exists (1) or not (0, also for an unknown compartment).
    virtual HRESULT IsDataCached(const SecureString& sCompartmentId, const SecureString& sDataId, int* pbCached,
                                 unsigned long dwClientProcessId) = 0;

    /// Lists the items of one compartment.
    /// @return S_OK; E_FAIL for an unknown compartment
    virtual HRESULT ListDataIds(const SecureString& sCompartmentId, SAFEARRAY** ppsaDataIdList, unsigned long dwClientProcessId) = 0;

    /// Lists the last path components of the compartments directly below one.
    /// @param sCompartmentId the parent, "/" for the top level
    virtual HRESULT ListCompartmentIds(const SecureString& sCompartmentId, SAFEARRAY** ppsCompartmentIdList,
                                       unsigned long dwClientProcessId) = 0;

    /// Tells whether a compartment exists, and its versions, which it can have even when it does not.
    /// No out-argument is written on failure.
    virtual HRESULT IsCompartmentCached(const SecureString& sCompartmentId, unsigned long* pulCompartmentVersion,
                                        unsigned long* pulContentVersion, int* pbCached, unsigned long dwClientProcessId) = 0;

    /// Lists the full paths of all compartments.
    virtual HRESULT ListAllCompartmentIds(SAFEARRAY** ppsAllCompartmentIdList) = 0;

    /// The next operations read the first component of a path as a session identifier and the rest as
    /// a sub-compartment; a path of one component is a session's own compartment. Session "0" stands
    /// for no particular session.

    /// Finds the compartment of a session that holds a sub-compartment.
    /// @param sCompartmentIdFound receives its whole path when bFound is true, else it is untouched
    /// @return S_OK, also when nothing was found; the code of ListAllCompartmentIds; the code of the
    ///         last identifier looked at, when that one can't be read (such identifiers are passed over)
    HRESULT FindCompartmentId(const SecureString& sSessionId, const SecureString& sSubCompartmentId, SecureString& sCompartmentIdFound,
                              bool& bFound);

    /// Finds the session that holds a sub-compartment.
    /// @param sSessionId taken as the answer, unless it is "0": then all sessions are searched
    /// @param sSessionIdFound receives the session, "0" when there is none; untouched on failure
    /// @return S_OK; the code of GetSessionIdList or FindCompartmentId
    HRESULT FindSessionId(const SecureString& sSessionId, const SecureString& sSubCompartmentId, SecureString& sSessionIdFound);

    /// Lists the sessions of the tree, each once, in the order of the top-level compartments.
    /// @return S_OK, also for a tree without compartments and one that can't be listed; the code of the
    ///         first identifier that can't be read, which ends the list
    HRESULT GetSessionIdList(std::list<SecureString>& lSessionIds);

    /// Copies the items of a compartment and of everything below it to the same places below another
    /// one. Best effort: an item that fails is logged and left out.
    /// @param bRemoveSource remove the source afterwards
    /// @return the result of the last step: E_FAIL for a source without sub-compartments that is not removed;
    ///         E_INVALIDARG, and nothing was done, for a destination inside the source
    HRESULT MoveCompartmentIds(const SecureString& sCompartmentId0, const SecureString& sCompartmentId1, bool bRemoveSource);
};
