// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "framework/FrameworkException.h"

void ThrowFrameworkError(FrameworkError error)
{
    throw static_cast<OV::Framework::IException*>(new CFrameworkException(error));
}
