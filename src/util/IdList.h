// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "platform/SecAllocator.h"
#include "util/ComHandles.h"
#include "util/Operation.h"

#include <vector>

/// @file
/// Identifiers as VT_BSTR vectors with lower bound 0: the form in which lists cross every interface.

/// Makes a string of one identifier. A failure is logged under the operation's name ("wstring2BSTR failed").
/// @return E_OUTOFMEMORY too when the string is null, which wstring2BSTR itself does not report
HRESULT MakeId(const COperation& op, const OV::Framework::SecureString& sId, CBstr& bstrId);

/// Makes a vector of identifiers. A failure is logged under the operation's name ("SafeArrayCreateVector
/// failed", "wstring2BSTR failed" or "SafeArrayPutElement failed") and ends the filling.
/// @param ppsaIds receives the new vector for the caller, partly filled after a failure
HRESULT MakeIdList(const COperation& op, const std::vector<OV::Framework::SecureString>& ids, SAFEARRAY** ppsaIds);

/// @return number of identifiers; 0 for a null array
inline int CountIds(const SAFEARRAY* psaIds)
{
    return psaIds == nullptr ? 0 : static_cast<int>(psaIds->rgsabound[0].cElements);
}

/// Reads one identifier. A failure is logged under the operation's name ("SafeArrayGetElement failed" or
/// "BSTR2wstring failed").
HRESULT GetId(const COperation& op, SAFEARRAY* psaIds, int nIndex, OV::Framework::SecureString& sId);
