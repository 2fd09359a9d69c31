// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <cstdlib>

/// What the fuzzer reports as a finding.
inline void Require(bool bHolds)
{
    if (!bHolds) {
        std::abort();
    }
}
