// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

// Present under a sanitizer.
extern "C" __attribute__((weak)) void __asan_init();
extern "C" __attribute__((weak)) void __tsan_init();

inline const bool UnderAddressSanitizer = __asan_init != nullptr;
/// It cannot follow a forked child that starts a thread.
inline const bool UnderThreadSanitizer = __tsan_init != nullptr;
/// Their heaps keep what is freed, their allocators need not survive a fork, and mlock does nothing.
inline const bool UnderSanitizer = UnderAddressSanitizer || UnderThreadSanitizer;
