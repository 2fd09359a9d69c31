// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "commands/Commands.h"

#include "support/CodeNames.h"
#include "support/Failure.h"
#include "support/File.h"
#include "support/Output.h"
#include "support/Registry.h"
#include "support/Sources.h"
#include "support/Text.h"

#include <nlohmann/json.hpp>

#include <cstdint>
#include <limits>

namespace Tool
{

namespace
{

/// The data of a value as JSON: a number, a text, a list of texts, or hexadecimal digits. Where the
/// type promises text, an object around the digits keeps them apart from a text of digits.
nlohmann::json DataJson(const RegistryValue& value)
{
    unsigned long long uNumber = 0;
    std::vector<std::string_view> texts;
    if (NumberOf(value, uNumber)) {
        return uNumber;
    }
    if (!TextsOf(value, texts)) {
        const bool bText = value.ulType == REG_SZ || value.ulType == REG_EXPAND_SZ || value.ulType == REG_MULTI_SZ;
        return bText ? nlohmann::json{{"hex", Hex(View(value.data))}} : nlohmann::json(Hex(View(value.data)));
    }
    nlohmann::json json = nlohmann::json::array();
    for (const std::string_view sText : texts) {
        json.push_back(JsonText(sText));
    }
    return value.ulType == REG_MULTI_SZ ? json : json[0];
}

nlohmann::json ValueJson(const RegistryValue& value)
{
    return {{"name", JsonText(value.sName)},
            {"type", NameOfRegistryType(value.ulType)},
            {"size", value.data.size()},
            {"data", DataJson(value)}};
}

/// The first bytes of a value, and how many more there are.
std::string Preview(const Bytes& data)
{
    constexpr std::size_t MaxBytes = 24;
    const std::string sHex = Hex(View(data).substr(0, MaxBytes));
    return data.size() <= MaxBytes ? sHex : sHex + "... +" + std::to_string(data.size() - MaxBytes);
}

void List(const CArguments& arguments, Session&)
{
    const KeyPath key = ParseKeyPath(arguments.Text("KEY"));
    const std::vector<std::string> keys = ListKeys(key);
    nlohmann::json json{{"key", JsonText(key.Text())}, {"keys", JsonTexts(keys)}, {"values", nlohmann::json::array()}};
    std::vector<std::vector<std::string>> rows;
    rows.reserve(keys.size());
    for (const std::string& sName : keys) {
        rows.push_back({Display(sName) + '\\'});
    }
    for (const RegistryValue& value : ReadValues(key)) {
        rows.push_back(
            {value.sName.empty() ? "@" : Display(value.sName), NameOfRegistryType(value.ulType), std::to_string(value.data.size())});
        if (!value.data.empty()) {
            rows.back().push_back(Preview(value.data));
        }
        json["values"].push_back(ValueJson(value));
    }
    arguments.Has("--json") ? PrintJson(json) : Print(Columns(rows));
}

/// What a value looks like: numbers and texts one a line, everything else byte by byte.
Bytes Content(const RegistryValue& value, bool bForPerson)
{
    unsigned long long uNumber = 0;
    std::vector<std::string_view> texts;
    if (NumberOf(value, uNumber)) {
        return ToBytes(std::to_string(uNumber) + '\n');
    }
    if (!TextsOf(value, texts)) {
        return bForPerson ? ToBytes(HexDump(View(value.data))) : value.data;
    }
    Bytes lines;
    for (const std::string_view sText : texts) {
        AppendLine(lines, bForPerson ? Display(sText) : sText);
    }
    return lines;
}

void Get(const CArguments& arguments, Session&)
{
    const RegistryValue value = ReadValue(ParseKeyPath(arguments.Text("KEY")), CheckedValueName(arguments.Text("NAME")));
    if (arguments.Has("--json")) {
        return PrintJson(ValueJson(value));
    }
    if (arguments.Has("--output")) {
        return WriteFile(arguments.Text("--output"), View(Content(value, false)), arguments.Has("--force"));
    }
    Print(View(Content(value, IsTerminalOutput())));
}

RegistryValue ValueFrom(const CArguments& arguments, const Session& session)
{
    const std::string& sName = CheckedValueName(arguments.Text("NAME"));
    const std::string sSource = GivenSource(arguments, {"--dword", "--qword", "--string", "--multi-string", "--binary", "--file"}, nullptr);
    if (sSource == "--dword") {
        return DwordValue(sName,
                          static_cast<unsigned int>(NumberArgument(arguments.Text("--dword"), std::numeric_limits<std::uint32_t>::max())));
    }
    if (sSource == "--qword") {
        return QwordValue(sName, NumberArgument(arguments.Text("--qword"), std::numeric_limits<std::uint64_t>::max()));
    }
    if (sSource == "--string") {
        return TextValue(sName, arguments.Text("--string"));
    }
    if (sSource == "--multi-string") {
        return MultiTextValue(sName, arguments.All("--multi-string"));
    }
    return {sName, REG_BINARY,
            sSource == "--file" ? ReadData(arguments.Text("--file"), session, MaxValueData)
                                : ToBytes(HexArgument(arguments.Text("--binary")))};
}

void Set(const CArguments& arguments, Session& session)
{
    const KeyPath key = ParseKeyPath(arguments.Text("KEY"));
    const RegistryValue value = ValueFrom(arguments, session);
    CKey(key).Set(value);
}

void Remove(const CArguments& arguments, Session&)
{
    const KeyPath key = ParseKeyPath(arguments.Text("KEY"));
    const char* pszHive = key.sHive.c_str();
    const char* pszSubKey = key.sSubKey.c_str();
    const bool bValue = arguments.Has("NAME");
    if (bValue && arguments.Has("--recursive")) {
        throw CFailure(ExitCode::Usage, "--recursive is for keys, not for values");
    }
    if (!bValue && key.sSubKey.empty()) {
        throw CFailure(ExitCode::Usage, key.sHive + " is a hive, and a hive can't be removed; name a key below it");
    }
    const long lCode = bValue ? ovRegDeleteValue(pszHive, pszSubKey, CheckedValueName(arguments.Text("NAME")).c_str(), 0)
                              : ovRegDeleteKey(pszHive, pszSubKey, arguments.Has("--recursive"), 0);
    if (lCode != ERROR_SUCCESS) {
        throw RegistryFailure(lCode, (bValue ? "value '" + Display(arguments.Text("NAME")) + "' of key " : "key ") + Display(key.Text()));
    }
}

constexpr Argument NameArgument = {"NAME", Takes::Positional, "the value's name, maybe empty"};
constexpr Argument ListArguments[] = {KeyArgument, JsonFlag};
constexpr Argument GetArguments[] = {KeyArgument, NameArgument, OutputOption, ForceFlag, JsonFlag};
constexpr Argument SetArguments[] = {
    KeyArgument,
    NameArgument,
    {"-d,--dword", Takes::Value, "REG_DWORD, decimal or 0x hexadecimal", "NUMBER"},
    {"-q,--qword", Takes::Value, "REG_QWORD, decimal or 0x hexadecimal", "NUMBER"},
    {"-s,--string", Takes::Value, "REG_SZ", "TEXT"},
    {"-m,--multi-string", Takes::Values, "REG_MULTI_SZ, given once for each string", "TEXT"},
    {"-b,--binary", Takes::Value, "REG_BINARY from hexadecimal digits", "DIGITS"},
    {"-f,--file", Takes::Value, "REG_BINARY from a file; '-' is standard input", "FILE"},
};
constexpr Argument RemoveArguments[] = {KeyArgument,
                                        {"NAME", Takes::OptionalPositional, "a value's name; without it the key is removed"},
                                        {"-r,--recursive", Takes::Flag, "remove the key's sub-keys too"}};

const Command Table[] = {
    {"registry", "list", "list the sub-keys of a key, and its values with type, size and their first bytes in hexadecimal", ListArguments,
     "  sharedstore registry list 'HKLM\\Software\\Orvane'\n"
     "  sharedstore registry list 'HKLM\\Software\\Orvane\\SharedStore\\RemanentDataStore\\Wallet\\Card1' --json\n",
     List},
    {"registry", "get", "write a value: numbers and texts one a line, everything else byte by byte", GetArguments,
     "  sharedstore registry get 'HKLM\\Software\\Orvane\\SharedStore\\StoreList\\Cards' Product\n", Get},
    {"registry", "set", "write a value, and make its key when it is missing", SetArguments,
     "  sharedstore registry set 'HKLM\\Software\\Example' Count --dword 42\n"
     "  sharedstore registry set 'HKLM\\Software\\Example' Names --multi-string one --multi-string two\n",
     Set},
    {"registry", "remove", "remove a value or a key", RemoveArguments,
     "  sharedstore registry remove 'HKLM\\Software\\Example' Count\n"
     "  sharedstore registry remove 'HKLM\\Software\\Example' --recursive\n",
     Remove},
};

} // namespace

std::span<const Command> RegistryCommands()
{
    return Table;
}

} // namespace Tool
