// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "framework/KeyMemory.h"
#include "platform/Framework.h"

#include <cstdint>
#include <string>

/// An AES key. Constant once its maker has filled it.
class CKey final : public OV::Framework::IKey
{
public:
    /// A key of zeros. Throws for a length that AES does not have.
    /// @param sLabel tells keys apart in a debugger
    CKey(std::size_t uBytes, std::string sLabel);

    /// Another one for every key that this process ever makes.
    std::uint64_t GetNumber() const { return m_uNumber; }
    unsigned char* GetBytes() { return m_pBytes.get(); }
    const unsigned char* GetBytes() const { return m_pBytes.get(); }
    std::size_t GetSize() const { return m_uSize; }

private:
    const std::uint64_t m_uNumber;
    const std::size_t m_uSize;
    const std::string m_sLabel;
    const KeySlot m_pBytes;
};
