// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "util/ForkMember.h"

#include "util/Mutex.h"

namespace
{

// Neither needs a constructor or destructor: stores begin and go before and after those of this library run.
constinit CMutex s_ListMutex;
constinit CForkMember* s_pFirst = nullptr; // guarded by s_ListMutex

} // namespace

void CForkMember::Join(void* pOwner, Function hold, Function release)
{
    const CMutexLock lock(s_ListMutex);
    if (m_pOwner != nullptr) {
        return;
    }
    m_pOwner = pOwner;
    m_Hold = hold;
    m_Release = release;
    m_pNext = s_pFirst;
    if (m_pNext != nullptr) {
        m_pNext->m_pPrevious = this;
    }
    s_pFirst = this;
}

CForkMember::~CForkMember()
{
    const CMutexLock lock(s_ListMutex);
    if (m_pOwner == nullptr) {
        return;
    }
    if (m_pNext != nullptr) {
        m_pNext->m_pPrevious = m_pPrevious;
    }
    (m_pPrevious != nullptr ? m_pPrevious->m_pNext : s_pFirst) = m_pNext;
}

void CForkMember::HoldAll() SHAREDSTORE_NO_THREAD_SAFETY_ANALYSIS
{
    s_ListMutex.Lock();
    for (const CForkMember* pMember = s_pFirst; pMember != nullptr; pMember = pMember->m_pNext) {
        pMember->m_Hold(pMember->m_pOwner);
    }
}

void CForkMember::ReleaseAll() SHAREDSTORE_NO_THREAD_SAFETY_ANALYSIS
{
    for (const CForkMember* pMember = s_pFirst; pMember != nullptr; pMember = pMember->m_pNext) {
        pMember->m_Release(pMember->m_pOwner);
    }
    s_ListMutex.Unlock();
}
