// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "log/LogText.h"

#include <algorithm>
#include <cstdio>
#include <iterator>

namespace
{

struct CodeRange
{
    char32_t uFirst;
    char32_t uLast;
};

/// Well-formed UTF-8 that is escaped nevertheless.
constexpr CodeRange Escaped[] = {
    {0x80, 0x9F},         // C1 control characters
    {0x200E, 0x200F},     // direction marks
    {0x2028, 0x202E},     // line and paragraph separators, direction overrides
    {0x2066, 0x2069},     // direction isolates
    {0xD800, 0xDFFF},     // surrogates: not characters
    {0x110000, 0x1FFFFF}, // past the last character
};

/// The least character that needs this many bytes: a longer form of a lower one is not UTF-8.
constexpr char32_t LeastOfLength[] = {0, 0, 0x80, 0x800, 0x10000};

/// How many bytes the printable character at the start of sText has; 0 when its first byte is to be escaped.
std::size_t PrintableLength(std::string_view sText)
{
    const auto uFirst = static_cast<unsigned char>(sText.front());
    if (uFirst < 0x80) {
        return uFirst >= 0x20 && uFirst != 0x7F ? 1 : 0;
    }
    const std::size_t uLength = uFirst >= 0xF0 ? 4 : uFirst >= 0xE0 ? 3 : 2;
    if (uFirst < 0xC0 || uFirst >= 0xF8 || sText.size() < uLength) {
        return 0;
    }
    char32_t uCode = uFirst & (0x7FU >> uLength);
    for (const char cNext : sText.substr(1, uLength - 1)) {
        const auto uNext = static_cast<unsigned char>(cNext);
        if ((uNext & 0xC0U) != 0x80U) {
            return 0;
        }
        uCode = (uCode << 6U) | (uNext & 0x3FU);
    }
    const bool bEscaped = uCode < LeastOfLength[uLength] ||
                          std::any_of(std::begin(Escaped), std::end(Escaped),
                                      [uCode](const CodeRange& range) { return range.uFirst <= uCode && uCode <= range.uLast; });
    return bEscaped ? 0 : uLength;
}

void AppendEscape(LogText& text, unsigned char uByte)
{
    constexpr std::string_view Digits = "0123456789abcdef";
    text.insert(text.end(), {'\\', 'x', Digits[uByte >> 4U], Digits[uByte & 0x0FU]});
}

} // namespace

LogText FormatMessage(const char* pszFormat, va_list args)
{
    va_list measured;
    va_copy(measured, args);
    const int nLength = std::vsnprintf(nullptr, 0, pszFormat, measured);
    va_end(measured);
    if (nLength < 0) {
        const std::string_view sFormat = pszFormat;
        return LogText(sFormat.begin(), sFormat.end());
    }

    const std::size_t uLength = std::min(static_cast<std::size_t>(nLength), MaxLogMessage);
    LogText text(uLength + 1);
    (void)std::vsnprintf(text.data(), text.size(), pszFormat, args);
    text.pop_back();
    if (uLength < static_cast<std::size_t>(nLength)) {
        std::copy(LogCutMark.begin(), LogCutMark.end(), text.end() - std::ssize(LogCutMark));
    }
    return text;
}

void AppendPrintable(LogText& text, std::string_view sText)
{
    while (!sText.empty()) {
        const std::size_t uLength = PrintableLength(sText);
        if (uLength == 0) {
            AppendEscape(text, static_cast<unsigned char>(sText.front()));
            sText.remove_prefix(1);
        } else {
            text.insert(text.end(), sText.begin(), sText.begin() + static_cast<std::ptrdiff_t>(uLength));
            sText.remove_prefix(uLength);
        }
    }
}
