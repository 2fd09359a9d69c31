// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "platform/ComEmulation.h"
#include "platform/SecAllocator.h"

#include <cstdlib>
#include <cstring>
#include <limits>

namespace
{

/// Stands in front of a string's first character. The padding lets a string hold any 8-byte value at its start.
struct StringHeader
{
    unsigned int uPadding;
    unsigned int uLength;
};
static_assert(sizeof(StringHeader) == 8);

StringHeader* HeaderOf(BSTR bstr)
{
    return reinterpret_cast<StringHeader*>(bstr) - 1;
}

/// The whole block of a string: header, characters and NUL.
std::size_t BlockSize(std::size_t uLength)
{
    return sizeof(StringHeader) + uLength + 1;
}

BSTR MakeString(const char* pBytes, std::size_t uLength)
{
    if (uLength > std::numeric_limits<unsigned int>::max() - BlockSize(0)) {
        return nullptr;
    }
    void* pMemory = std::malloc(BlockSize(uLength));
    if (pMemory == nullptr) {
        return nullptr;
    }
    auto* pHeader = new (pMemory) StringHeader{0, static_cast<unsigned int>(uLength)};
    BSTR bstr = reinterpret_cast<BSTR>(pHeader + 1);
    if (pBytes != nullptr) {
        std::memcpy(bstr, pBytes, uLength);
    } else {
        std::memset(bstr, 0, uLength);
    }
    bstr[uLength] = '\0';
    return bstr;
}

unsigned int LengthOf(BSTR bstr)
{
    return bstr == nullptr ? 0 : HeaderOf(bstr)->uLength;
}

void FreeString(BSTR bstr)
{
    if (bstr != nullptr) {
        StringHeader* pHeader = HeaderOf(bstr);
        OV::Framework::WipeMemory(pHeader, BlockSize(pHeader->uLength));
        std::free(pHeader);
    }
}

} // namespace

// The exported functions do not call each other: each can be replaced on its own by the executable.

BSTR SysAllocString(const char* psz)
{
    return psz == nullptr ? nullptr : MakeString(psz, std::strlen(psz));
}

BSTR SysAllocStringByteLen(const char* psz, unsigned int cb)
{
    return MakeString(psz, cb);
}

unsigned int SysStringLen(BSTR bstr)
{
    return LengthOf(bstr);
}

unsigned int SysStringByteLen(BSTR bstr)
{
    return LengthOf(bstr);
}

void SysFreeString(BSTR bstr)
{
    FreeString(bstr);
}

void ovSysFreeString(BSTR bstr, int /*nReserved*/)
{
    FreeString(bstr);
}
