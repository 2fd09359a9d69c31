// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "support/RegistryText.h"

#include "support/Failure.h"
#include "support/Text.h"

#include <charconv>
#include <limits>
#include <optional>

namespace Tool
{

namespace
{

constexpr std::string_view DwordMark = "dword:";
constexpr std::string_view HexMark = "hex";
constexpr std::size_t DwordDigits = 8;

bool NeedsEscape(std::string_view sCharacter)
{
    return sCharacter.size() == 1 && (sCharacter[0] < ' ' || sCharacter[0] == '\x7F');
}

/// @param pszMark what announces the two digits of a byte
/// @param sSpecial characters that get a backslash in front
std::string Escape(std::string_view sBytes, const char* pszMark, std::string_view sSpecial)
{
    std::string sText;
    while (!sBytes.empty()) {
        const std::size_t uLength = Utf8Length(sBytes);
        const std::string_view sCharacter = sBytes.substr(0, uLength == 0 ? 1 : uLength);
        if (uLength == 0 || NeedsEscape(sCharacter)) {
            sText += pszMark + HexByte(sCharacter[0]);
        } else {
            sText += sSpecial.find(sCharacter) == sSpecial.npos ? "" : "\\";
            sText += sCharacter;
        }
        sBytes.remove_prefix(sCharacter.size());
    }
    return sText;
}

std::string Quote(std::string_view sBytes)
{
    return '"' + Escape(sBytes, "\\x", "\\\"") + '"';
}

std::string FormatData(const RegistryValue& value)
{
    const std::string_view sData = View(value.data);
    unsigned long long uNumber = 0;
    if (value.ulType == REG_DWORD && NumberOf(value, uNumber)) {
        return std::string(DwordMark) + HexNumber(uNumber, DwordDigits);
    }
    if (value.ulType == REG_SZ && IsUtf8(sData) && sData.find('\0') == sData.npos) {
        return Quote(sData);
    }
    std::string sText(HexMark);
    if (value.ulType != REG_BINARY) {
        sText += '(' + HexNumber(value.ulType, 1) + ')';
    }
    char cSeparator = ':';
    for (const char cByte : sData) {
        (sText += cSeparator) += HexByte(cByte);
        cSeparator = ',';
    }
    return sData.empty() ? sText + ':' : sText;
}

/// Takes text off the front when it is there.
bool Skip(std::string_view& sRest, std::string_view sPrefix)
{
    const bool bFound = sRest.starts_with(sPrefix);
    sRest.remove_prefix(bFound ? sPrefix.size() : 0);
    return bFound;
}

/// Takes the two digits of a byte off the front.
std::optional<char> SkipByte(std::string_view& sRest)
{
    const std::optional<std::string> sByte = BytesOfHex(sRest.substr(0, 2));
    sRest.remove_prefix(std::min<std::size_t>(2, sRest.size()));
    return sByte.has_value() && sByte->size() == 1 ? std::optional((*sByte)[0]) : std::nullopt;
}

/// Takes a quoted text off the front.
std::optional<std::string> SkipQuoted(std::string_view& sRest)
{
    std::string sText;
    if (!Skip(sRest, "\"")) {
        return std::nullopt;
    }
    while (!sRest.empty() && sRest.front() != '"') {
        if (Skip(sRest, "\\x")) {
            const std::optional<char> cByte = SkipByte(sRest);
            if (!cByte.has_value()) {
                return std::nullopt;
            }
            sText += *cByte;
            continue;
        }
        if (Skip(sRest, "\\") && (sRest.empty() || (sRest.front() != '\\' && sRest.front() != '"'))) {
            return std::nullopt;
        }
        sText += sRest.front();
        sRest.remove_prefix(1);
    }
    return Skip(sRest, "\"") ? std::optional(sText) : std::nullopt;
}

/// The path between the brackets of a section line.
std::optional<std::string> SectionPath(std::string_view sLine)
{
    if (!sLine.starts_with('[') || !sLine.ends_with(']')) {
        return std::nullopt;
    }
    std::string_view sRest = sLine.substr(1, sLine.size() - 2);
    std::string sPath;
    while (!sRest.empty()) {
        if (Skip(sRest, "\\\\x")) {
            const std::optional<char> cByte = SkipByte(sRest);
            if (!cByte.has_value() || *cByte == '\\' || *cByte == '\0') {
                return std::nullopt;
            }
            sPath += *cByte;
        } else {
            sPath += sRest.front();
            sRest.remove_prefix(1);
        }
    }
    return sPath;
}

/// "dword:...", "text" or "hex(N):...", into type and data.
bool ParseData(std::string_view sRest, RegistryValue& value)
{
    if (sRest.starts_with('"')) {
        const std::optional<std::string> sText = SkipQuoted(sRest);
        value.ulType = REG_SZ;
        value.data = ToBytes(sText.value_or(""));
        return sText.has_value() && sRest.empty();
    }
    if (Skip(sRest, DwordMark)) {
        const std::optional<std::uint64_t> uNumber = Number("0x" + std::string(sRest), std::numeric_limits<std::uint32_t>::max());
        value = DwordValue(value.sName, static_cast<unsigned int>(uNumber.value_or(0)));
        return uNumber.has_value() && sRest.size() == DwordDigits;
    }
    if (!Skip(sRest, HexMark)) {
        return false;
    }
    value.ulType = REG_BINARY;
    if (Skip(sRest, "(")) {
        const auto [pEnd, error] = std::from_chars(sRest.data(), sRest.data() + sRest.size(), value.ulType, 16);
        sRest.remove_prefix(static_cast<std::size_t>(pEnd - sRest.data()));
        if (error != std::errc() || !Skip(sRest, ")")) {
            return false;
        }
    }
    const std::optional<std::string> sBytes = Skip(sRest, ":") ? BytesOfHex(sRest) : std::nullopt;
    value.data = ToBytes(sBytes.value_or(""));
    return sBytes.has_value();
}

/// A line below a section; throws CFailure without the line's number.
RegistryValue ParseValue(std::string_view sLine)
{
    const std::optional<std::string> sName = Skip(sLine, "@") ? std::optional<std::string>("") : SkipQuoted(sLine);
    if (!sName.has_value() || !Skip(sLine, "=")) {
        throw CFailure(ExitCode::Usage, "expected [KEY], \"NAME\"=DATA or @=DATA");
    }
    RegistryValue value{CheckedValueName(*sName), REG_NONE, {}};
    if (!ParseData(sLine, value)) {
        throw CFailure(ExitCode::Usage,
                       "expected \"TEXT\", dword: and 8 hexadecimal digits, or hex: or hex(TYPE): and bytes such as 0a,ff");
    }
    if (value.data.size() > MaxValueData) {
        throw CFailure(ExitCode::Usage, "a value has at most " + std::to_string(MaxValueData) + " bytes");
    }
    return value;
}

void ParseLine(std::string_view sLine, std::vector<RegistrySection>& sections)
{
    if (sLine.empty() || sLine.starts_with(';')) {
        return;
    }
    if (const std::optional<std::string> sPath = SectionPath(sLine)) {
        sections.push_back({ParseKeyPath(*sPath), {}});
        return;
    }
    RegistryValue value = ParseValue(sLine);
    if (sections.empty()) {
        throw CFailure(ExitCode::Usage, "a value stands before the first [KEY]");
    }
    sections.back().values.push_back(std::move(value));
}

} // namespace

std::string FormatSection(const RegistrySection& section)
{
    std::string sText = "\n[" + Escape(section.key.Text(), "\\\\x", "") + "]\n";
    for (const RegistryValue& value : section.values) {
        sText += (value.sName.empty() ? "@" : Quote(value.sName)) + '=' + FormatData(value) + '\n';
    }
    return sText;
}

std::vector<RegistrySection> ParseRegistryText(std::string_view sText, const std::string& sFileName)
{
    std::vector<RegistrySection> sections;
    for (std::size_t uLine = 1; uLine == 1 || !sText.empty(); ++uLine) {
        std::string_view sLine = sText.substr(0, sText.find('\n'));
        sText.remove_prefix(std::min(sText.size(), sLine.size() + 1));
        sLine.remove_suffix(sLine.ends_with('\r') ? 1 : 0);
        try {
            if (uLine > 1) {
                ParseLine(sLine, sections);
            } else if (sLine != RegistryTextHeader) {
                throw CFailure(ExitCode::Usage, "the first line must be '" + std::string(RegistryTextHeader) + "'");
            }
        } catch (const CFailure& failure) {
            throw CFailure(failure.Code(), Display(sFileName) + ':' + std::to_string(uLine) + ": " + failure.what());
        }
    }
    return sections;
}

} // namespace Tool
