// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "platform/ComEmulation.h"

#include <memory>
#include <string_view>

struct CFree
{
    void operator()(SAFEARRAY* psa) const { ovSafeArrayDestroy(psa, 0); }
    void operator()(BSTR bstr) const { SysFreeString(bstr); }
};
using ArrayPointer = std::unique_ptr<SAFEARRAY, CFree>;
using StringPointer = std::unique_ptr<char, CFree>;

inline StringPointer MakeString(std::string_view sText)
{
    return StringPointer(SysAllocStringByteLen(sText.data(), static_cast<unsigned int>(sText.size())));
}

/// The bytes of a string, NULs among them.
inline std::string_view TextOf(BSTR bstr)
{
    return {bstr, SysStringByteLen(bstr)};
}

/// A string inside a vector of strings.
inline BSTR StringAt(const ArrayPointer& pArray, int nPosition)
{
    return static_cast<BSTR*>(pArray->pvData)[nPosition];
}
