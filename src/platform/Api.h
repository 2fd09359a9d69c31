// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

/// Marks a class or function that other modules may call. Everything without this mark stays inside
/// its shared library. The visibility is "default", never "protected": a definition of the same
/// symbol in the executable takes precedence over the library's (ELF symbol order).
#define SHAREDSTORE_API __attribute__((visibility("default")))
