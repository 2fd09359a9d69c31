// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "support/Text.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <langinfo.h>

namespace Tool
{

namespace
{

constexpr std::size_t BytesPerDumpLine = 16;
constexpr std::string_view HexSeparators = " \t,:";

unsigned int ByteAt(std::string_view sBytes, std::size_t uIndex)
{
    return static_cast<unsigned char>(sBytes[uIndex]);
}

/// The code point of a valid character.
unsigned int CodePoint(std::string_view sCharacter)
{
    if (sCharacter.size() == 1) {
        return ByteAt(sCharacter, 0);
    }
    unsigned int uPoint = ByteAt(sCharacter, 0) & (0x7FU >> sCharacter.size());
    for (std::size_t u = 1; u < sCharacter.size(); ++u) {
        uPoint = uPoint << 6 | (ByteAt(sCharacter, u) & 0x3FU);
    }
    return uPoint;
}

bool IsPrintable(unsigned int uPoint)
{
    const bool bControl = uPoint < 0x20 || (uPoint >= 0x7F && uPoint < 0xA0) || uPoint == 0x2028 || uPoint == 0x2029;
    const bool bTurnsDirection = uPoint == 0x61C || uPoint == 0x200E || uPoint == 0x200F || (uPoint >= 0x202A && uPoint <= 0x202E) ||
                                 (uPoint >= 0x2066 && uPoint <= 0x2069);
    return !bControl && !bTurnsDirection && (uPoint < 0x80 || IsUtf8Locale());
}

std::size_t Width(std::string_view sText)
{
    return static_cast<std::size_t>(
        std::count_if(sText.begin(), sText.end(), [](char c) { return (static_cast<unsigned char>(c) & 0xC0U) != 0x80U; }));
}

} // namespace

bool IsUtf8Locale()
{
    return std::strcmp(nl_langinfo(CODESET), "UTF-8") == 0;
}

std::size_t Utf8Length(std::string_view sBytes)
{
    if (sBytes.empty()) {
        return 0;
    }
    const unsigned int uFirst = ByteAt(sBytes, 0);
    const std::size_t uLength = uFirst < 0x80                     ? 1
                                : uFirst >= 0xC2 && uFirst < 0xE0 ? 2
                                : uFirst >= 0xE0 && uFirst < 0xF0 ? 3
                                : uFirst >= 0xF0 && uFirst < 0xF5 ? 4
                                                                  : 0;
    if (uLength == 0 || sBytes.size() < uLength) {
        return 0;
    }
    for (std::size_t u = 1; u < uLength; ++u) {
        if ((ByteAt(sBytes, u) & 0xC0U) != 0x80U) {
            return 0;
        }
    }
    const unsigned int uPoint = CodePoint(sBytes.substr(0, uLength));
    const bool bTooLong = (uLength == 3 && uPoint < 0x800) || (uLength == 4 && uPoint < 0x10000);
    const bool bNoCharacter = (uPoint >= 0xD800 && uPoint < 0xE000) || uPoint > 0x10FFFF;
    return bTooLong || bNoCharacter ? 0 : uLength;
}

bool IsUtf8(std::string_view sBytes)
{
    while (!sBytes.empty()) {
        const std::size_t uLength = Utf8Length(sBytes);
        if (uLength == 0) {
            return false;
        }
        sBytes.remove_prefix(uLength);
    }
    return true;
}

std::string Display(std::string_view sBytes)
{
    std::string sText;
    while (!sBytes.empty()) {
        const std::size_t uLength = Utf8Length(sBytes);
        const std::string_view sCharacter = sBytes.substr(0, std::max<std::size_t>(uLength, 1));
        if (uLength != 0 && IsPrintable(CodePoint(sCharacter))) {
            sText += sCharacter;
        } else {
            for (const char cByte : sCharacter) {
                sText += "\\x" + HexByte(cByte);
            }
        }
        sBytes.remove_prefix(sCharacter.size());
    }
    return sText;
}

std::string DisplayLines(const std::vector<std::string>& texts)
{
    std::string sLines;
    for (const std::string& sText : texts) {
        sLines += Display(sText) + '\n';
    }
    return sLines;
}

std::string Quoted(std::string_view sBytes)
{
    constexpr std::string_view Plain = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_-./:+,@%=";
    std::string sText = Display(sBytes);
    if (!sText.empty() && sText.find_first_not_of(Plain) == std::string::npos) {
        return sText;
    }
    if (sText == sBytes && sText.find('\'') == std::string::npos) {
        return '\'' + sText + '\'';
    }
    std::string sEscaped;
    for (const char cByte : sBytes) {
        (sEscaped += cByte == '\\' || cByte == '\'' ? "\\" : "") += cByte;
    }
    return "$'" + Display(sEscaped) + '\'';
}

std::string HexNumber(std::uint64_t uNumber, std::size_t uDigits)
{
    char szDigits[16];
    char* const pEnd = std::to_chars(std::begin(szDigits), std::end(szDigits), uNumber, 16).ptr;
    const std::string sDigits(szDigits, pEnd);
    return std::string(uDigits - std::min(uDigits, sDigits.size()), '0') + sDigits;
}

std::string HexByte(char cByte)
{
    return HexNumber(static_cast<unsigned char>(cByte), 2);
}

std::string Hex(std::string_view sBytes)
{
    std::string sHex;
    sHex.reserve(2 * sBytes.size());
    for (const char cByte : sBytes) {
        sHex += HexByte(cByte);
    }
    return sHex;
}

std::optional<std::string> BytesOfHex(std::string_view sHex)
{
    std::string sBytes;
    while (!sHex.empty()) {
        if (HexSeparators.find(sHex.front()) != HexSeparators.npos) {
            sHex.remove_prefix(1);
            continue;
        }
        unsigned char uByte = 0;
        const std::string_view sDigits = sHex.substr(0, 2);
        const auto [pEnd, error] = std::from_chars(sDigits.data(), sDigits.data() + sDigits.size(), uByte, 16);
        if (error != std::errc() || pEnd != sDigits.data() + 2) {
            return std::nullopt;
        }
        sBytes += static_cast<char>(uByte);
        sHex.remove_prefix(2);
    }
    return sBytes;
}

std::optional<std::uint64_t> Number(std::string_view sText, std::uint64_t uMaximum)
{
    const bool bHex = sText.starts_with("0x") || sText.starts_with("0X");
    sText.remove_prefix(bHex ? 2 : 0);
    std::uint64_t uNumber = 0;
    const auto [pEnd, error] = std::from_chars(sText.data(), sText.data() + sText.size(), uNumber, bHex ? 16 : 10);
    if (error != std::errc() || pEnd != sText.data() + sText.size() || uNumber > uMaximum) {
        return std::nullopt;
    }
    return uNumber;
}

std::string Columns(const std::vector<std::vector<std::string>>& rows)
{
    std::vector<std::size_t> widths;
    for (const auto& row : rows) {
        widths.resize(std::max(widths.size(), row.size()));
        for (std::size_t u = 0; u < row.size(); ++u) {
            widths[u] = std::max(widths[u], Width(row[u]));
        }
    }
    std::string sText;
    for (const auto& row : rows) {
        for (std::size_t u = 0; u < row.size(); ++u) {
            sText += row[u];
            sText += u + 1 == row.size() ? "\n" : std::string(widths[u] - Width(row[u]) + 2, ' ');
        }
    }
    return sText;
}

std::string HexDump(std::string_view sBytes)
{
    std::string sDump;
    for (std::size_t uOffset = 0; uOffset < sBytes.size(); uOffset += BytesPerDumpLine) {
        const std::string_view sLine = sBytes.substr(uOffset, BytesPerDumpLine);
        std::string sHex;
        std::string sCharacters;
        for (const char cByte : sLine) {
            sHex += HexByte(cByte) + ' ';
            sCharacters += cByte >= ' ' && cByte <= '~' ? cByte : '.';
        }
        sHex.resize(3 * BytesPerDumpLine, ' ');
        sDump += HexNumber(uOffset, 8).append("  ").append(sHex).append(" |").append(sCharacters).append("|\n");
    }
    return sDump;
}

} // namespace Tool
