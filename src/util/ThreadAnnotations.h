// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

/// @file
/// Attributes for clang's thread-safety analysis (clang.llvm.org/docs/ThreadSafetyAnalysis.html).
/// Other compilers see nothing.

#if defined(__clang__)
#define SHAREDSTORE_THREAD_ATTRIBUTE(x) __attribute__((x))
#else
#define SHAREDSTORE_THREAD_ATTRIBUTE(x)
#endif

#define SHAREDSTORE_CAPABILITY(name) SHAREDSTORE_THREAD_ATTRIBUTE(capability(name))
#define SHAREDSTORE_SCOPED_CAPABILITY SHAREDSTORE_THREAD_ATTRIBUTE(scoped_lockable)
#define SHAREDSTORE_GUARDED_BY(lock) SHAREDSTORE_THREAD_ATTRIBUTE(guarded_by(lock))
#define SHAREDSTORE_PT_GUARDED_BY(lock) SHAREDSTORE_THREAD_ATTRIBUTE(pt_guarded_by(lock))
#define SHAREDSTORE_REQUIRES(lock) SHAREDSTORE_THREAD_ATTRIBUTE(requires_capability(lock))
#define SHAREDSTORE_ACQUIRE(...) SHAREDSTORE_THREAD_ATTRIBUTE(acquire_capability(__VA_ARGS__))
#define SHAREDSTORE_ACQUIRE_SHARED(...) SHAREDSTORE_THREAD_ATTRIBUTE(acquire_shared_capability(__VA_ARGS__))
#define SHAREDSTORE_RELEASE_SHARED(...) SHAREDSTORE_THREAD_ATTRIBUTE(release_shared_capability(__VA_ARGS__))
#define SHAREDSTORE_RELEASE(...) SHAREDSTORE_THREAD_ATTRIBUTE(release_capability(__VA_ARGS__))
#define SHAREDSTORE_ASSERT_CAPABILITY() SHAREDSTORE_THREAD_ATTRIBUTE(assert_capability())
#define SHAREDSTORE_NO_THREAD_SAFETY_ANALYSIS SHAREDSTORE_THREAD_ATTRIBUTE(no_thread_safety_analysis)
