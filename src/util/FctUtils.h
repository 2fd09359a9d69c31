// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "platform/Api.h"
#include "platform/ComEmulation.h"
#include "platform/SecAllocator.h"

/// @file
/// Copies between BSTR, secure strings and byte arrays. None of these functions keeps an argument or
/// throws; E_OUTOFMEMORY stands for memory that ran out while a secure string grew.
///
/// Thread safety: any thread, as long as nobody changes an argument meanwhile.

/// Copies a string up to its first NUL.
/// @param s replaced on success, untouched on failure
/// @return S_OK; E_INVALIDARG for a null or empty string; E_OUTOFMEMORY
SHAREDSTORE_API HRESULT BSTR2wstring(BSTR bstr, OV::Framework::SecureString& s);

/// Makes a string of the text up to its first NUL.
/// @param bstr receives a new string that the caller frees with SysFreeString, null when memory is out
/// @return S_OK in every case
SHAREDSTORE_API HRESULT wstring2BSTR(const OV::Framework::SecureString& s, BSTR& bstr);

/// Copies the bytes of a string, without its closing NUL, into a new byte array.
/// @param psa receives a VT_UI1 vector that the caller frees with ovSafeArrayDestroy; when its data
///        can't be accessed it is left there unfilled
/// @return S_OK, also for an empty string; E_FAIL for a null string, and when there is no array
SHAREDSTORE_API HRESULT GetSafeArrayBytesFromBSTR(BSTR bstrValue, SAFEARRAY*& psa);

/// Makes a string of an array's elements, each taken as one byte whatever its type.
/// @param bstr receives a new string that the caller frees with SysFreeString; as long as the array
///        but all zero when its data can't be accessed; untouched for a null or empty array
/// @return S_OK; E_FAIL for a null or empty array, for data that can't be accessed, and when memory is out
SHAREDSTORE_API HRESULT GetBSTRFromSafeArrayBytes(SAFEARRAY* psaValue, BSTR& bstr);

/// Copies an array and encrypts nothing: the stores protect their values themselves.
/// @param psaOut receives a copy that the caller frees with ovSafeArrayDestroy; null when there is
///        nothing to copy or memory is out
/// @return S_OK in every case
SHAREDSTORE_API HRESULT EncryptValue(SAFEARRAY* psaIn, SAFEARRAY*& psaOut, int nReserved);

/// As EncryptValue.
SHAREDSTORE_API HRESULT DecryptValue(SAFEARRAY* psaIn, SAFEARRAY*& psaOut);

/// The same conversions as static members.
class SHAREDSTORE_API CFctUtils
{
public:
    /// As the free BSTR2wstring.
    static HRESULT BSTR2wstring(BSTR bstr, OV::Framework::SecureString& s);

    /// As the free wstring2BSTR.
    static HRESULT wstring2BSTR(const OV::Framework::SecureString& s, BSTR& bstr);
};
