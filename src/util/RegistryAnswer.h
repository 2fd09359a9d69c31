// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "platform/Registry.h"
#include "platform/SecAllocator.h"

#include <algorithm>
#include <cstddef>
#include <memory>
#include <new>
#include <span>

/// What a registry function answers that is called twice: without a buffer for the size, then with a buffer
/// of that size for the content. Entries are names, values or bytes; they are wiped when the answer goes.
template <class Entry> class CRegistryAnswer
{
public:
    /// What the answer got to.
    enum EState {
        SizeFailed,
        MemoryFailed,
        ContentFailed,
        Complete,
    };

    /// @param call asks the registry as call(pEntries, pulSize). It is asked anew when another process has
    ///        made the content grow between the two calls, but not without end.
    template <class Call> explicit CRegistryAnswer(Call call)
    {
        constexpr int MaxTries = 4;
        for (int nTry = 0; nTry < MaxTries && m_lCode == ERROR_MORE_DATA; ++nTry) {
            Ask(call);
        }
    }
    ~CRegistryAnswer() { Free(); }
    CRegistryAnswer(const CRegistryAnswer&) = delete;
    CRegistryAnswer& operator=(const CRegistryAnswer&) = delete;

    EState State() const { return m_State; }

    /// @return the code of the last call
    long Code() const { return m_lCode; }

    /// @return the content of a complete answer; a zero entry follows it
    std::span<const Entry> Entries() const { return {m_pEntries.get(), m_State == Complete ? m_uFilled : 0}; }

private:
    template <class Call> void Ask(Call& call)
    {
        Free();
        unsigned long ulSize = 0;
        m_State = SizeFailed;
        m_lCode = call(nullptr, &ulSize);
        if (m_lCode != ERROR_SUCCESS) {
            return;
        }
        m_State = MemoryFailed;
        m_pEntries.reset(new (std::nothrow) Entry[ulSize + 1]());
        if (m_pEntries == nullptr) {
            return;
        }
        m_uSize = ulSize;
        m_lCode = call(m_pEntries.get(), &ulSize);
        m_uFilled = std::min<std::size_t>(ulSize, m_uSize);
        m_State = m_lCode == ERROR_SUCCESS ? Complete : ContentFailed;
    }

    void Free()
    {
        OV::Framework::WipeMemory(m_pEntries.get(), m_pEntries == nullptr ? 0 : m_uSize * sizeof(Entry));
        m_pEntries.reset();
    }

    std::unique_ptr<Entry[]> m_pEntries;
    std::size_t m_uSize = 0;   ///< of the buffer
    std::size_t m_uFilled = 0; ///< how much of it the registry used
    EState m_State = SizeFailed;
    long m_lCode = ERROR_MORE_DATA;
};

/// Lists all values of a key, whatever their types.
inline CRegistryAnswer<ovRegValue> ListRegistryValues(const char* pszRoot, const char* pszKey)
{
    constexpr int AllTypes = -1;
    return CRegistryAnswer<ovRegValue>([=](ovRegValue* pValues, unsigned long* pulCount) {
        return ovRegListValueNamesEx(pszRoot, pszKey, pValues, pulCount, AllTypes, 0);
    });
}
