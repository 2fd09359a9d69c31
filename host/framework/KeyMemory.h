// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <cstddef>
#include <memory>

/// Memory for the bytes of one key: locked, so that it does not reach swap space, left out of core
/// dumps, and wiped when it is freed. A forked child locks what it inherited again.
///
/// Where the process may not lock memory (RLIMIT_MEMLOCK) keys work all the same; the log says so
/// once per process. Keys share pages, because that limit is often as low as 16 of them. OpenSSL's
/// secure heap is left alone: there is one per process, and it is the application's.
///
/// Thread safety: any thread.
constexpr std::size_t KeySlotBytes = 32;
constexpr std::size_t KeyPageBytes = 4096; // also where pages are larger: a mapping starts at a multiple of it
constexpr std::size_t KeysPerPage = KeyPageBytes / KeySlotBytes - 1;

struct KeySlotDeleter
{
    void operator()(unsigned char* pSlot) const noexcept;
};
using KeySlot = std::unique_ptr<unsigned char, KeySlotDeleter>;

/// @return KeySlotBytes zero bytes; throws std::bad_alloc
KeySlot AllocateKeySlot();
