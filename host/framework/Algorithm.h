// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "platform/Framework.h"

class CAlgorithmParameters final : public OV::Framework::IAlgorithmParameters
{};

/// AES: the only algorithm there is, so an object of this class says all.
class CAlgorithm final : public OV::Framework::IAlgorithm
{};
