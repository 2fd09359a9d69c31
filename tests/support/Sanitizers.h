// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#ifndef __has_feature // clang++ has features where g++ has macros
#define __has_feature(feature) 0
#endif

#if defined(__SANITIZE_ADDRESS__) || __has_feature(address_sanitizer)
inline constexpr bool UnderAddressSanitizer = true;
#else
inline constexpr bool UnderAddressSanitizer = false;
#endif

/// It cannot follow a forked child that starts a thread.
#if defined(__SANITIZE_THREAD__) || __has_feature(thread_sanitizer)
inline constexpr bool UnderThreadSanitizer = true;
#else
inline constexpr bool UnderThreadSanitizer = false;
#endif

/// Their heaps keep what is freed, their allocators need not survive a fork, and mlock does nothing.
inline constexpr bool UnderSanitizer = UnderAddressSanitizer || UnderThreadSanitizer;
