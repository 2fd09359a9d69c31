// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

/// A static object without a destructor.
///
/// Threads of the application run on while the process ends, and its own static objects may end
/// after those of the library. What they can still reach is kept in a CNeverDestroyed and shut down
/// by an explicit call; afterwards it is closed, but it exists.
template <class T> union CNeverDestroyed {
    constexpr CNeverDestroyed() noexcept : Value() {}
    ~CNeverDestroyed() {}
    CNeverDestroyed(const CNeverDestroyed&) = delete;
    CNeverDestroyed& operator=(const CNeverDestroyed&) = delete;

    T Value;
};
