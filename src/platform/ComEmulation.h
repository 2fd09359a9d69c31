// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "platform/Api.h"

/// @file
/// The platform's COM emulation: result codes, length-prefixed strings and typed arrays.
///
/// Shapes and names follow OLE Automation ("oleauto.h", Microsoft Windows SDK documentation), with
/// narrow strings. Every function takes null pointers and bad indices without crashing and answers
/// with a code. No function locks anything: one array or string may be read by several threads
/// (SafeArrayAccessData, SafeArrayUnaccessData and SafeArrayCopy read), but whoever changes or frees
/// it must keep others out.

extern "C" {

/// A result: negative is failure. Values are those of Windows' winerror.h.
typedef int HRESULT;

/// A string with a byte-length prefix in front of its first character and a NUL behind its last.
/// Null is a valid, empty BSTR. Made by SysAllocString or SysAllocStringByteLen, freed by
/// SysFreeString or ovSysFreeString.
typedef char* BSTR;

/// The element type of an array, one of VT_*.
typedef unsigned short VARTYPE;

enum : HRESULT {
    S_OK = 0,
    S_FALSE = 1,
    E_NOTIMPL = static_cast<HRESULT>(0x80004001U),
    E_POINTER = static_cast<HRESULT>(0x80004003U),
    E_FAIL = static_cast<HRESULT>(0x80004005U),
    E_UNEXPECTED = static_cast<HRESULT>(0x8000FFFFU),
    E_ACCESSDENIED = static_cast<HRESULT>(0x80070005U),
    E_OUTOFMEMORY = static_cast<HRESULT>(0x8007000EU),
    E_INVALIDARG = static_cast<HRESULT>(0x80070057U),
    DISP_E_BADVARTYPE = static_cast<HRESULT>(0x80020008U),
    DISP_E_BADINDEX = static_cast<HRESULT>(0x8002000BU),
    DISP_E_ARRAYISLOCKED = static_cast<HRESULT>(0x8002000DU),
};

/// Element types that an array can have, with their OLE numbers. An element's size in bytes
/// follows the type; VT_UNKNOWN elements are opaque 32-bit data (there are no interfaces here).
enum : VARTYPE {
    VT_EMPTY = 0,    ///< no type; never an element type
    VT_NULL = 1,     ///< no type; never an element type
    VT_I2 = 2,       ///< 2 bytes
    VT_I4 = 3,       ///< 4 bytes
    VT_R4 = 4,       ///< 4 bytes
    VT_R8 = 5,       ///< 8 bytes
    VT_CY = 6,       ///< 8 bytes
    VT_DATE = 7,     ///< 8 bytes
    VT_BSTR = 8,     ///< a pointer; the array owns its strings
    VT_ERROR = 10,   ///< 4 bytes
    VT_BOOL = 11,    ///< 2 bytes
    VT_UNKNOWN = 13, ///< 4 bytes, opaque
    VT_I1 = 16,      ///< 1 byte
    VT_UI1 = 17,     ///< 1 byte
    VT_UI2 = 18,     ///< 2 bytes
    VT_UI4 = 19,     ///< 4 bytes
    VT_I8 = 20,      ///< 8 bytes
    VT_UI8 = 21,     ///< 8 bytes
    VT_INT = 22,     ///< 4 bytes
    VT_UINT = 23,    ///< 4 bytes
};

/// One dimension of an array.
struct SAFEARRAYBOUND
{
    unsigned int cElements; ///< number of elements, may be 0
    int lLbound;            ///< index of the first element
};

/// A typed array. Read its fields freely; make, change and free it only through the functions below.
struct SAFEARRAY
{
    unsigned short cDims;        ///< number of dimensions, at least 1
    unsigned short fFeatures;    ///< the emulation's own marks
    unsigned int cbElements;     ///< size of one element in bytes
    unsigned int cLocks;         ///< SafeArrayAccessData calls that were not taken back yet
    void* pvData;                ///< the elements; null when there are none
    SAFEARRAYBOUND rgsabound[1]; ///< cDims bounds, last dimension first, as in OLE
};

/// Makes an array whose elements are all zero (null strings).
/// @param vt the element type
/// @param cDims number of dimensions, 1 to 65535
/// @param rgsabound cDims bounds, first dimension first; they are stored in the array last dimension
///        first. In memory the last stored bound varies fastest.
/// @return a new array for the caller, freed with ovSafeArrayDestroy; null for an unknown type, for
///         no dimensions or bounds, when the byte count does not fit in 32 bits, or when memory is out.
SHAREDSTORE_API SAFEARRAY* SafeArrayCreate(VARTYPE vt, unsigned int cDims, SAFEARRAYBOUND* rgsabound);

/// Makes an array of one dimension; otherwise as SafeArrayCreate.
/// @param lLbound index of the first element
/// @param cElements number of elements, may be 0
SHAREDSTORE_API SAFEARRAY* SafeArrayCreateVector(VARTYPE vt, int lLbound, unsigned int cElements);

/// Copies an array with all its elements (strings are copied too). A locked array can be copied; the
/// copy is not locked.
/// @param ppsaOut receives a new array for the caller, freed with ovSafeArrayDestroy; null on failure
/// @return S_OK; E_INVALIDARG for a null argument; E_OUTOFMEMORY
SHAREDSTORE_API HRESULT SafeArrayCopy(SAFEARRAY* psa, SAFEARRAY** ppsaOut);

/// Reads one element.
/// @param rgIndices one index per dimension, first dimension first
/// @param pv receives the element; for VT_BSTR it is a BSTR* that receives a new string for the
///        caller, freed with SysFreeString. Untouched on failure.
/// @return S_OK; E_INVALIDARG for a null argument; DISP_E_BADINDEX for an index outside its bounds;
///         E_OUTOFMEMORY
SHAREDSTORE_API HRESULT SafeArrayGetElement(SAFEARRAY* psa, int* rgIndices, void* pv);

/// Writes one element; a string that was there is freed.
/// @param pv the element; for VT_BSTR it is the BSTR itself, which is copied (null stores a null string)
/// @return S_OK; E_INVALIDARG for a null argument (a null string is none); DISP_E_BADINDEX;
///         E_OUTOFMEMORY, the old element then stays
SHAREDSTORE_API HRESULT SafeArrayPutElement(SAFEARRAY* psa, int* rgIndices, void* pv);

/// @param pvt receives the element type
/// @return S_OK; E_INVALIDARG for a null argument
SHAREDSTORE_API HRESULT SafeArrayGetVartype(SAFEARRAY* psa, VARTYPE* pvt);

/// @return size of one element in bytes; 0 for a null array
SHAREDSTORE_API unsigned int SafeArrayGetElemsize(SAFEARRAY* psa);

/// @return number of dimensions; 0 for a null array
SHAREDSTORE_API unsigned int SafeArrayGetDim(SAFEARRAY* psa);

/// Locks the array and hands out its elements. An empty array can be accessed too.
/// @param ppvData receives the elements, valid until the array is destroyed; null when there are none
/// @return S_OK; E_INVALIDARG for a null argument; E_UNEXPECTED when the lock count is at its maximum
SHAREDSTORE_API HRESULT SafeArrayAccessData(SAFEARRAY* psa, void** ppvData);

/// Takes one SafeArrayAccessData back.
/// @return S_OK; E_INVALIDARG for a null array; E_UNEXPECTED for an array that is not locked
SHAREDSTORE_API HRESULT SafeArrayUnaccessData(SAFEARRAY* psa);

/// Wipes and frees an array and its strings.
/// @param nReserved 0
/// @return S_OK, also for a null array; DISP_E_ARRAYISLOCKED, the array then stays as it is
SHAREDSTORE_API HRESULT ovSafeArrayDestroy(SAFEARRAY* psa, int nReserved);

/// @param psz NUL-terminated text
/// @return a new string for the caller; null for a null pointer, when its length does not fit in the
///         prefix, or when memory is out
SHAREDSTORE_API BSTR SysAllocString(const char* psz);

/// @param psz cb bytes, which may hold NULs; null makes a string of cb zero bytes
/// @param cb length in bytes
/// @return a new string for the caller; null when length, prefix and NUL together do not fit in 32
///         bits, or when memory is out
SHAREDSTORE_API BSTR SysAllocStringByteLen(const char* psz, unsigned int cb);

/// @return length in characters, equal to the byte length here; 0 for null
SHAREDSTORE_API unsigned int SysStringLen(BSTR bstr);

/// @return length in bytes without the closing NUL; 0 for null
SHAREDSTORE_API unsigned int SysStringByteLen(BSTR bstr);

/// Wipes and frees a string; null is allowed.
SHAREDSTORE_API void SysFreeString(BSTR bstr);

/// As SysFreeString.
/// @param nReserved 0
SHAREDSTORE_API void ovSysFreeString(BSTR bstr, int nReserved);

} // extern "C"

/// @return whether a result is none of a failure
constexpr bool SUCCEEDED(HRESULT hr)
{
    return hr >= 0;
}
/// @return whether a result is one of a failure
constexpr bool FAILED(HRESULT hr)
{
    return hr < 0;
}
