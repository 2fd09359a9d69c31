// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "authstore/PINTimer.h"
#include "util/ComHandles.h"

class CInternalAuthStore;

/// What a timer's callback needs to know of its record.
struct SPINTimerRecord
{
    CInternalAuthStore* pStore;
    unsigned long dwClientProcessId;
    CBstr CompartmentId;
    CBstr PINId;
    CBstr PINSessionId;
    OV::Framework::SecureString sCompartmentIdGlobal; ///< the path for which the timer was made
    std::shared_ptr<PINUseCount> pUses;
};
