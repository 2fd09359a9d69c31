// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "support/CodeNames.h"

#include "platform/Registry.h"
#include "support/Text.h"

#include <algorithm>
#include <iterator>

namespace Tool
{

namespace
{

template <class Code> struct NamedCode
{
    Code code;
    const char* pszName;
    const char* pszAdvice = "";
};

constexpr NamedCode<HRESULT> Results[] = {
    {S_OK, "S_OK"},
    {S_FALSE, "S_FALSE"},
    {E_NOTIMPL, "E_NOTIMPL"},
    {E_POINTER, "E_POINTER"},
    {E_FAIL, "E_FAIL", "the store failed; SHAREDSTORE_LOG=stderr shows the reason"},
    {E_UNEXPECTED, "E_UNEXPECTED", "the store failed; SHAREDSTORE_LOG=stderr shows the reason"},
    {E_ACCESSDENIED, "E_ACCESSDENIED", "this user may not do that"},
    {E_OUTOFMEMORY, "E_OUTOFMEMORY", "memory is out"},
    {E_INVALIDARG, "E_INVALIDARG", "an identifier or a value is over its limit; SHAREDSTORE_LOG=stderr shows which"},
    {DISP_E_BADVARTYPE, "DISP_E_BADVARTYPE", "values of this type can't be stored here"},
    {DISP_E_BADINDEX, "DISP_E_BADINDEX"},
    {DISP_E_ARRAYISLOCKED, "DISP_E_ARRAYISLOCKED"},
};

constexpr NamedCode<long> RegistryCodes[] = {
    {ERROR_SUCCESS, "ERROR_SUCCESS"},
    {ERROR_FILE_NOT_FOUND, "ERROR_FILE_NOT_FOUND", "there is no such key or value; 'sharedstore registry list' shows what there is"},
    {ERROR_ACCESS_DENIED, "ERROR_ACCESS_DENIED", "this user may not read or write the registry's folder, or its file system is read-only"},
    {ERROR_INVALID_HANDLE, "ERROR_INVALID_HANDLE"},
    {ERROR_NOT_ENOUGH_MEMORY, "ERROR_NOT_ENOUGH_MEMORY", "memory is out"},
    {ERROR_INVALID_PARAMETER, "ERROR_INVALID_PARAMETER",
     "key names have 1 to 254 bytes and no backslash, value names at most 255, data at most 16777216"},
    {ERROR_DISK_FULL, "ERROR_DISK_FULL", "free some space on the registry's file system"},
    {ERROR_DIR_NOT_EMPTY, "ERROR_DIR_NOT_EMPTY", "the key has sub-keys; --recursive removes them too"},
    {ERROR_MORE_DATA, "ERROR_MORE_DATA"},
    {ERROR_NO_MORE_ITEMS, "ERROR_NO_MORE_ITEMS"},
    {ERROR_DIRECTORY, "ERROR_DIRECTORY", "SHAREDSTORE_REGISTRY must be the absolute path of a folder, and none of its parts a file"},
    {ERROR_BADDB, "ERROR_BADDB", "the registry's folder holds a data.mdb of something else, or of a newer version"},
    {ERROR_REGISTRY_CORRUPT, "ERROR_REGISTRY_CORRUPT", "the registry is damaged; restore it from a copy or an export"},
    {ERROR_KEY_DELETED, "ERROR_KEY_DELETED", "another process deleted the key meanwhile"},
    {ERROR_IO_DEVICE, "ERROR_IO_DEVICE", "the operating system failed to read or write the registry's files"},
    {ERROR_UNSUPPORTED_TYPE, "ERROR_UNSUPPORTED_TYPE", "the value has another type"},
};

constexpr NamedCode<VARTYPE> ElementTypes[] = {
    {VT_EMPTY, "VT_EMPTY"}, {VT_NULL, "VT_NULL"}, {VT_I2, "VT_I2"},     {VT_I4, "VT_I4"},     {VT_R4, "VT_R4"},
    {VT_R8, "VT_R8"},       {VT_CY, "VT_CY"},     {VT_DATE, "VT_DATE"}, {VT_BSTR, "VT_BSTR"}, {VT_ERROR, "VT_ERROR"},
    {VT_BOOL, "VT_BOOL"},   {VT_I1, "VT_I1"},     {VT_UI1, "VT_UI1"},   {VT_UI2, "VT_UI2"},   {VT_UNKNOWN, "VT_UNKNOWN"},
    {VT_UI4, "VT_UI4"},     {VT_I8, "VT_I8"},     {VT_UI8, "VT_UI8"},   {VT_INT, "VT_INT"},   {VT_UINT, "VT_UINT"},
};

constexpr NamedCode<unsigned long> RegistryTypes[] = {
    {REG_NONE, "REG_NONE"},     {REG_SZ, "REG_SZ"},       {REG_EXPAND_SZ, "REG_EXPAND_SZ"},
    {REG_BINARY, "REG_BINARY"}, {REG_DWORD, "REG_DWORD"}, {REG_MULTI_SZ, "REG_MULTI_SZ"},
    {REG_QWORD, "REG_QWORD"},
};

template <class Code, std::size_t uCount> const NamedCode<Code>* Find(const NamedCode<Code> (&table)[uCount], Code code)
{
    const auto it = std::find_if(std::begin(table), std::end(table), [code](const auto& row) { return row.code == code; });
    return it == std::end(table) ? nullptr : it;
}

template <class Code, std::size_t uCount> CodeText Describe(const NamedCode<Code> (&table)[uCount], Code code, const std::string& sNumber)
{
    const NamedCode<Code>* pRow = Find(table, code);
    return pRow == nullptr ? CodeText{"code " + sNumber, ""} : CodeText{std::string(pRow->pszName) + " (" + sNumber + ")", pRow->pszAdvice};
}

template <class Code, std::size_t uCount> std::string NameOfType(const NamedCode<Code> (&table)[uCount], Code code)
{
    const NamedCode<Code>* pRow = Find(table, code);
    return pRow == nullptr ? "type " + std::to_string(code) : pRow->pszName;
}

} // namespace

CodeText DescribeResult(HRESULT hr)
{
    return Describe(Results, hr, "0x" + HexNumber(static_cast<unsigned int>(hr), 8));
}

CodeText DescribeRegistryCode(long lCode)
{
    return Describe(RegistryCodes, lCode, std::to_string(lCode));
}

std::string NameOfElementType(VARTYPE vt)
{
    return NameOfType(ElementTypes, vt);
}

std::string NameOfRegistryType(unsigned long ulType)
{
    return NameOfType(RegistryTypes, ulType);
}

} // namespace Tool
