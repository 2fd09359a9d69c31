// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "support/Value.h"

#include "support/CodeNames.h"
#include "support/Output.h"
#include "support/Text.h"

#include <nlohmann/json.hpp>

#include <cstdint>
#include <cstring>
#include <optional>
#include <vector>

namespace Tool
{

namespace
{

template <class Number> nlohmann::json NumbersOf(std::string_view sRaw)
{
    std::vector<Number> numbers(sRaw.size() / sizeof(Number));
    if (!numbers.empty()) {
        std::memcpy(numbers.data(), sRaw.data(), sRaw.size());
    }
    return numbers;
}

/// The element types that are shown as numbers.
constexpr struct
{
    VARTYPE vt;
    nlohmann::json (*pNumbers)(std::string_view sRaw);
} NumberTypes[] = {
    {VT_I2, NumbersOf<std::int16_t>},   {VT_UI2, NumbersOf<std::uint16_t>}, {VT_I4, NumbersOf<std::int32_t>},
    {VT_UI4, NumbersOf<std::uint32_t>}, {VT_INT, NumbersOf<std::int32_t>},  {VT_UINT, NumbersOf<std::uint32_t>},
    {VT_I8, NumbersOf<std::int64_t>},   {VT_UI8, NumbersOf<std::uint64_t>},
};

/// @return null for a type whose elements are not numbers
nlohmann::json Numbers(SAFEARRAY* psa)
{
    for (const auto& type : NumberTypes) {
        if (type.vt == ElementType(psa)) {
            return type.pNumbers(RawElements(psa));
        }
    }
    return nullptr;
}

/// Strings or numbers, one a line; nothing for other types.
template <class Show> std::optional<Bytes> Lines(SAFEARRAY* psa, Show show)
{
    Bytes lines;
    if (ElementType(psa) == VT_BSTR) {
        for (const std::string_view sText : Strings(psa)) {
            AppendLine(lines, show(sText));
        }
        return lines;
    }
    const nlohmann::json numbers = Numbers(psa);
    for (const auto& number : numbers) {
        AppendLine(lines, number.dump());
    }
    return numbers.is_null() ? std::nullopt : std::optional(lines);
}

} // namespace

std::size_t ValueSize(SAFEARRAY* psa)
{
    if (ElementType(psa) != VT_BSTR) {
        return RawElements(psa).size();
    }
    std::size_t uSize = 0;
    for (const std::string_view sText : Strings(psa)) {
        uSize += sText.size();
    }
    return uSize;
}

Bytes ValueContent(SAFEARRAY* psa)
{
    const auto lines = Lines(psa, [](std::string_view sText) { return sText; });
    return lines.has_value() ? *lines : ToBytes(RawElements(psa));
}

std::string ValueDisplay(SAFEARRAY* psa)
{
    const auto lines = Lines(psa, Display);
    return lines.has_value() ? std::string(View(*lines)) : HexDump(RawElements(psa));
}

nlohmann::json ValueJson(SAFEARRAY* psa)
{
    nlohmann::json json{{"type", NameOfElementType(ElementType(psa))}, {"size", ValueSize(psa)}};
    if (ElementType(psa) == VT_BSTR) {
        json["elements"] = nlohmann::json::array();
        for (const std::string_view sText : Strings(psa)) {
            json["elements"].push_back(JsonText(sText));
        }
    } else {
        const nlohmann::json numbers = Numbers(psa);
        json["elements"] = numbers.is_null() ? nlohmann::json(Hex(RawElements(psa))) : numbers;
    }
    if (SafeArrayGetDim(psa) == 2) {
        json["rows"] = psa->rgsabound[1].cElements; // the last dimension is stored first
    }
    return json;
}

} // namespace Tool
