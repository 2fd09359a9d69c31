// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "framework/KeyMemory.h"

#include "platform/Log.h"
#include "platform/SecAllocator.h"

#include <bitset>
#include <cstdint>
#include <mutex>
#include <new>
#include <pthread.h>
#include <sys/mman.h>
#include <type_traits>

namespace
{

/// A mapping of its own, with its bookkeeping in the place of the first slot.
struct KeyPage
{
    KeyPage* pNext;
    std::bitset<KeysPerPage> used;
    alignas(KeySlotBytes) unsigned char slots[KeysPerPage][KeySlotBytes];
};
static_assert(sizeof(KeyPage) == KeyPageBytes);

/// All pages that hold a key. Trivially destroyed, so a key may outlive every static destructor; the
/// last key of a page unmaps it.
class CKeyMemory
{
public:
    unsigned char* Allocate();
    void Free(unsigned char* pSlot) noexcept;

    void Lock() { m_Mutex.lock(); }
    void Unlock() { m_Mutex.unlock(); }

    /// Memory locks are not inherited.
    void RelockInChild() noexcept
    {
        for (KeyPage* pPage = m_pFirst; pPage != nullptr; pPage = pPage->pNext) {
            KeepInMemoryLocked(pPage);
        }
    }

private:
    KeyPage* FindRoomLocked();
    void KeepInMemoryLocked(KeyPage* pPage) noexcept { m_bRefused |= mlock(pPage, KeyPageBytes) != 0; }
    void ReportRefusal(std::unique_lock<std::mutex> lock);

    std::mutex m_Mutex; // guards what follows, and the bookkeeping of the pages
    KeyPage* m_pFirst = nullptr;
    bool m_bRefused = false;
    bool m_bReported = false;
};

static_assert(std::is_trivially_destructible_v<CKeyMemory>);
constinit CKeyMemory s_KeyMemory;

[[gnu::constructor]] void RegisterForkHandlers()
{
    const auto lock = [] { s_KeyMemory.Lock(); };
    const auto unlock = [] { s_KeyMemory.Unlock(); };
    const auto unlockInChild = [] {
        s_KeyMemory.RelockInChild();
        s_KeyMemory.Unlock();
    };
    pthread_atfork(lock, unlock, unlockInChild);
}

unsigned char* CKeyMemory::Allocate()
{
    std::unique_lock lock(m_Mutex);
    KeyPage* pPage = FindRoomLocked();
    std::size_t uSlot = 0;
    while (pPage->used[uSlot]) {
        ++uSlot;
    }
    pPage->used.set(uSlot);
    ReportRefusal(std::move(lock));
    return pPage->slots[uSlot];
}

KeyPage* CKeyMemory::FindRoomLocked()
{
    for (KeyPage* pPage = m_pFirst; pPage != nullptr; pPage = pPage->pNext) {
        if (!pPage->used.all()) {
            return pPage;
        }
    }
    void* pMemory = mmap(nullptr, KeyPageBytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (pMemory == MAP_FAILED) {
        throw std::bad_alloc();
    }
    madvise(pMemory, KeyPageBytes, MADV_DONTDUMP);
    m_pFirst = new (pMemory) KeyPage{.pNext = m_pFirst, .used = {}, .slots = {}};
    KeepInMemoryLocked(m_pFirst);
    return m_pFirst;
}

void CKeyMemory::Free(unsigned char* pSlot) noexcept
{
    OV::Framework::WipeMemory(pSlot, KeySlotBytes);
    const std::lock_guard lock(m_Mutex);
    KeyPage** ppPage = &m_pFirst;
    while (pSlot < (*ppPage)->slots[0] || pSlot > (*ppPage)->slots[KeysPerPage - 1]) {
        ppPage = &(*ppPage)->pNext;
    }
    KeyPage* pPage = *ppPage;
    pPage->used.reset(static_cast<std::size_t>(pSlot - pPage->slots[0]) / KeySlotBytes);
    if (pPage->used.none()) {
        *ppPage = pPage->pNext;
        munmap(pPage, KeyPageBytes);
    }
}

void CKeyMemory::ReportRefusal(std::unique_lock<std::mutex> lock)
{
    const bool bReport = m_bRefused && !m_bReported;
    m_bReported |= bReport;
    lock.unlock();
    if (bReport) {
        pvlogLog("SHAREDSTOREHOST", 1, "memory for keys cannot be locked (see RLIMIT_MEMLOCK): keys may reach swap space");
    }
}

} // namespace

KeySlot AllocateKeySlot()
{
    return KeySlot(s_KeyMemory.Allocate());
}

void KeySlotDeleter::operator()(unsigned char* pSlot) const noexcept
{
    s_KeyMemory.Free(pSlot);
}
