// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "framework/Algorithm.h"

#include "framework/FrameworkException.h"

#include <string_view>

namespace OV::Framework
{

IAlgorithmParameters* IAlgorithmParameters::Create()
{
    return new CAlgorithmParameters;
}

IAlgorithm* IAlgorithm::CreateFromFriendlyName(const char* pszName, IAlgorithmParameters* pParams)
{
    Require(pszName != nullptr && pParams != nullptr, FrameworkError::InvalidArgument);
    Require(std::string_view(pszName) == "AES", FrameworkError::UnknownName);
    return new CAlgorithm;
}

} // namespace OV::Framework
