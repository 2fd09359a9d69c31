// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "platform/Framework.h"

#include <string>

/// Settings as they were given. Whoever is made from them checks those that it needs; one that was
/// never set is empty, which is no known name.
class CParameterMap final : public OV::Framework::ICryptoParserParameterMap
{
public:
    void SetPadding(const char* pszPadding) override;
    void SetChainingMode(const char* pszChainingMode) override;
    void SetIV(const OV::Framework::SecureBytes& iv) override { m_IV = iv; }
    void SetKeyType(const char* pszKeyType) override;
    void SetKeyLabel(const char* pszKeyLabel) override;

    const std::string& GetPadding() const { return m_sPadding; }
    const std::string& GetChainingMode() const { return m_sChainingMode; }
    const OV::Framework::SecureBytes& GetIV() const { return m_IV; }
    const std::string& GetKeyType() const { return m_sKeyType; }
    const std::string& GetKeyLabel() const { return m_sKeyLabel; }

private:
    std::string m_sPadding;
    std::string m_sChainingMode;
    OV::Framework::SecureBytes m_IV;
    std::string m_sKeyType;
    std::string m_sKeyLabel;
};
