// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "framework/ParameterMap.h"

#include "framework/FrameworkException.h"

namespace
{

void SetText(std::string& sSetting, const char* pszText)
{
    Require(pszText != nullptr, FrameworkError::InvalidArgument);
    sSetting = pszText;
}

} // namespace

void CParameterMap::SetPadding(const char* pszPadding)
{
    SetText(m_sPadding, pszPadding);
}

void CParameterMap::SetChainingMode(const char* pszChainingMode)
{
    SetText(m_sChainingMode, pszChainingMode);
}

void CParameterMap::SetKeyType(const char* pszKeyType)
{
    SetText(m_sKeyType, pszKeyType);
}

void CParameterMap::SetKeyLabel(const char* pszKeyLabel)
{
    SetText(m_sKeyLabel, pszKeyLabel);
}

namespace OV::Framework
{

ICryptoParserParameterMap* ICryptoParserParameterMap::Create()
{
    return new CParameterMap;
}

} // namespace OV::Framework
