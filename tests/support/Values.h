// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "com/Owners.h"

#include <string>
#include <vector>

inline std::size_t CountElements(const ArrayPointer& pArray)
{
    std::size_t uElements = 1;
    for (unsigned int i = 0; i < pArray->cDims; ++i) {
        uElements *= pArray->rgsabound[i].cElements;
    }
    return uElements;
}

/// An array whose bytes are the letters in turn, or whose strings tell their positions.
inline ArrayPointer MakeValue(VARTYPE vt, std::vector<SAFEARRAYBOUND> bounds)
{
    ArrayPointer pArray(SafeArrayCreate(vt, static_cast<unsigned int>(bounds.size()), bounds.data()));
    const std::size_t uSize = CountElements(pArray) * (vt == VT_BSTR ? 1 : pArray->cbElements);
    for (std::size_t i = 0; i < uSize; ++i) {
        if (vt == VT_BSTR) {
            static_cast<BSTR*>(pArray->pvData)[i] = MakeString("string " + std::to_string(i)).release();
        } else {
            static_cast<char*>(pArray->pvData)[i] = static_cast<char>('a' + i % 26);
        }
    }
    return pArray;
}

/// All that an array is: its type, its stored bounds and its elements.
inline std::string Describe(const ArrayPointer& pArray)
{
    if (pArray == nullptr) {
        return "no array";
    }
    VARTYPE vt = VT_EMPTY;
    SafeArrayGetVartype(pArray.get(), &vt);
    std::string sText = std::to_string(vt);
    for (unsigned int i = 0; i < pArray->cDims; ++i) {
        sText += " [" + std::to_string(pArray->rgsabound[i].lLbound) + "+" + std::to_string(pArray->rgsabound[i].cElements) + "]";
    }
    if (vt != VT_BSTR) {
        return sText + " " + std::string(static_cast<char*>(pArray->pvData), CountElements(pArray) * pArray->cbElements);
    }
    for (int i = 0; i < static_cast<int>(CountElements(pArray)); ++i) {
        sText += StringAt(pArray, i) == nullptr ? " null" : " '" + std::string(TextOf(StringAt(pArray, i))) + "'";
    }
    return sText;
}
