// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "support/Output.h"

#include "support/Failure.h"
#include "support/Text.h"

#include <nlohmann/json.hpp>

#include <cstdio>
#include <cstdlib>
#include <unistd.h>

namespace Tool
{

namespace
{

std::string_view Variable(const char* pszName)
{
    const char* pszValue = std::getenv(pszName);
    return pszValue == nullptr ? "" : pszValue;
}

} // namespace

void Print(std::string_view sText)
{
    if (!sText.empty() && std::fwrite(sText.data(), 1, sText.size(), stdout) != sText.size()) {
        throw SystemFailure("standard output");
    }
}

void FlushOutput()
{
    if (std::fflush(stdout) != 0) {
        throw SystemFailure("standard output");
    }
}

void Complain(std::string_view sText)
{
    const std::string sLine = std::string(sText) + '\n';
    (void)std::fwrite(sLine.data(), 1, sLine.size(), stderr);
}

bool IsTerminalOutput()
{
    return isatty(STDOUT_FILENO) == 1;
}

std::string InColour(const std::string& sText, Colour colour)
{
    constexpr const char* Codes[] = {"\x1b[31m", "\x1b[32m", "\x1b[33m"}; // by colour
    const bool bColour = IsTerminalOutput() && Variable("NO_COLOR").empty() && Variable("TERM") != "dumb";
    return bColour ? Codes[static_cast<std::size_t>(colour)] + sText + "\x1b[0m" : sText;
}

void PrintJson(const nlohmann::json& json)
{
    Print(json.dump(2) + '\n');
}

nlohmann::json JsonText(std::string_view sBytes)
{
    return IsUtf8(sBytes) ? nlohmann::json(sBytes) : nlohmann::json{{"hex", Hex(sBytes)}};
}

nlohmann::json JsonTexts(const std::vector<std::string>& texts)
{
    nlohmann::json json = nlohmann::json::array();
    for (const std::string& sText : texts) {
        json.push_back(JsonText(sText));
    }
    return json;
}

} // namespace Tool
