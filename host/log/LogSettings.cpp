// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "log/LogSettings.h"

#include <charconv>
#include <cstdlib>
#include <optional>
#include <string_view>

namespace
{

constexpr const char* TargetVariable = "SHAREDSTORE_LOG";
constexpr const char* LevelVariable = "SHAREDSTORE_LOG_LEVEL";
constexpr const char* TraceVariable = "SHAREDSTORE_LOG_TRACE";
constexpr unsigned int DefaultMask = 1;

std::string_view ReadVariable(const char* pszName)
{
    const char* pszValue = secure_getenv(pszName);
    return pszValue == nullptr ? std::string_view() : pszValue;
}

std::optional<unsigned int> ParseMask(std::string_view sText)
{
    const bool bHexadecimal = sText.starts_with("0x") || sText.starts_with("0X");
    if (bHexadecimal) {
        sText.remove_prefix(2);
    }
    const char* pszEnd = sText.data() + sText.size();
    unsigned int uMask = 0;
    const auto [pszRest, error] = std::from_chars(sText.data(), pszEnd, uMask, bHexadecimal ? 16 : 10);
    if (error != std::errc() || pszRest != pszEnd) {
        return std::nullopt;
    }
    return uMask;
}

} // namespace

LogSettings ReadLogSettings()
{
    const std::string_view sTarget = ReadVariable(TargetVariable);
    const std::string_view sLevel = ReadVariable(LevelVariable);
    const std::optional<unsigned int> mask = sLevel.empty() ? DefaultMask : ParseMask(sLevel);
    const unsigned int uTrace = ReadVariable(TraceVariable) == "1" ? LogTraceBit : 0;
    return {
        .sTarget = std::string(sTarget.empty() ? LogToSyslog : sTarget),
        .uMask = (mask.value_or(DefaultMask) & ~LogTraceBit) | uTrace,
        .bLevelInvalid = !mask.has_value(),
    };
}
