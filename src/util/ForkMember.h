// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "platform/Api.h"

/// The part of an object that takes the object's locks for a fork, so that the child finds it between two
/// operations, and gives them back in both processes. Every store that has begun has one, whether or not a
/// directory knows it.
///
/// Thread safety: different members, any thread. The lock of the list of all members comes after those of the
/// directories and before those of the members' objects.
class SHAREDSTORE_API CForkMember
{
public:
    using Function = void (*)(void* pOwner); ///< takes or gives back the owner's locks

    CForkMember() = default;
    ~CForkMember();
    CForkMember(const CForkMember&) = delete;
    CForkMember& operator=(const CForkMember&) = delete;

    /// From now on forks hold the owner. Joining a second time changes nothing.
    void Join(void* pOwner, Function hold, Function release);

    static void HoldAll();    ///< before a fork
    static void ReleaseAll(); ///< after it, in both processes

private:
    void* m_pOwner = nullptr; ///< null until it has joined
    Function m_Hold = nullptr;
    Function m_Release = nullptr;
    CForkMember* m_pNext = nullptr;
    CForkMember* m_pPrevious = nullptr;
};
