// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "commands/Commands.h"

#include "support/Failure.h"
#include "support/File.h"
#include "support/Output.h"
#include "support/Progress.h"
#include "support/Registry.h"
#include "support/RegistryFile.h"
#include "support/RegistryText.h"
#include "support/Sources.h"

#include <algorithm>
#include <limits>
#include <span>

namespace Tool
{

namespace
{

/// Where an export begins, last first.
std::vector<KeyPath> Roots(const CArguments& arguments)
{
    if (arguments.Has("KEY")) {
        return {ParseKeyPath(arguments.Text("KEY"))};
    }
    const std::vector<std::string> hives = InspectRegistry().hives;
    std::vector<KeyPath> roots;
    for (auto it = hives.rbegin(); it != hives.rend(); ++it) {
        roots.push_back({*it, ""});
    }
    return roots;
}

void Export(const CArguments& arguments, Session&)
{
    std::string sText(RegistryTextHeader);
    sText += '\n';
    CProgress progress("keys read", 0);
    std::vector<KeyPath> pending = Roots(arguments);
    while (!pending.empty()) {
        const KeyPath key = pending.back();
        pending.pop_back();
        sText += FormatSection({key, ReadValues(key)});
        const std::vector<std::string> children = ListKeys(key);
        for (auto it = children.rbegin(); it != children.rend(); ++it) {
            pending.push_back(key.Child(*it));
        }
        progress.Step();
    }
    arguments.Has("--output") ? WriteFile(arguments.Text("--output"), sText, arguments.Has("--force")) : Print(sText);
}

/// What sections say, in their order; it borrows their strings.
std::vector<Registry::SNewValue> Flatten(const std::vector<RegistrySection>& sections)
{
    std::vector<Registry::SNewValue> values;
    for (const auto& [key, valuesOfKey] : sections) {
        const Registry::SNewValue keyAlone = {key.sHive.c_str(), key.sSubKey.c_str(), nullptr, REG_NONE, {}};
        values.push_back(keyAlone);
        for (const RegistryValue& value : valuesOfKey) {
            values.push_back({keyAlone.pszHive, keyAlone.pszSubKey, value.sName.c_str(), value.ulType, View(value.data)});
        }
    }
    return values;
}

/// How many of them are written at once: each transaction waits for the disk, and keeps other processes from writing
/// until it ends.
std::size_t SizeOfBatch(std::span<const Registry::SNewValue> values)
{
    constexpr std::size_t MaxValues = 1000;
    constexpr std::size_t MaxBytes = 65536;
    std::size_t uBytes = 0;
    std::size_t uCount = 0;
    while (uCount < std::min(values.size(), MaxValues) && (uCount == 0 || uBytes + values[uCount].sData.size() <= MaxBytes)) {
        uBytes += values[uCount++].sData.size();
    }
    return uCount;
}

void WriteSections(const std::vector<RegistrySection>& sections)
{
    const std::vector<Registry::SNewValue> values = Flatten(sections);
    const std::size_t uTotal = values.size() - sections.size();
    std::size_t uWritten = 0;
    CProgress progress("values written", uTotal);
    std::span<const Registry::SNewValue> rest = values;
    while (!rest.empty()) {
        const auto batch = rest.first(SizeOfBatch(rest));
        if (const long lCode = Registry::WriteValues(batch); lCode != ERROR_SUCCESS) {
            const CFailure failure = RegistryFailure(lCode, "registry");
            throw CFailure(failure.Code(), std::string(failure.what()) + "; the first " + std::to_string(uWritten) + " of " +
                                               std::to_string(uTotal) + " values are written: import again to complete them");
        }
        const auto nKeys = std::count_if(batch.begin(), batch.end(), [](const auto& value) { return value.pszName == nullptr; });
        uWritten += batch.size() - static_cast<std::size_t>(nKeys);
        progress.ShowAt(uWritten);
        rest = rest.subspan(batch.size());
    }
}

void Import(const CArguments& arguments, Session& session)
{
    const std::string& sFile = arguments.Text("FILE");
    const Bytes text = ReadData(sFile, session, std::numeric_limits<std::size_t>::max());
    const std::vector<RegistrySection> sections = ParseRegistryText(View(text), sFile);
    if (!arguments.Has("--dry-run")) {
        WriteSections(sections);
    }
}

constexpr Argument ExportArguments[] = {
    {"KEY", Takes::OptionalPositional, "the key's path; without it, every hive is written"}, OutputOption, ForceFlag};
constexpr Argument ImportArguments[] = {{"FILE", Takes::Positional, "a file that export wrote; '-' is standard input"},
                                        {"-n,--dry-run", Takes::Flag, "check the file and write nothing"}};

const Command Table[] = {
    {"registry", "export", "write a key and everything below it as text; 'registry backup' copies all at one moment", ExportArguments,
     "  sharedstore registry export 'HKLM\\Software\\Orvane' --output orvane.reg\n"
     "  sharedstore registry export --output all.reg\n",
     Export},
    {"registry", "import", "write what an exported text holds; a faulty text changes nothing, and a write that fails tells how far it came",
     ImportArguments,
     "  sharedstore registry import orvane.reg\n"
     "  sharedstore registry import orvane.reg --dry-run\n",
     Import},
};

} // namespace

std::span<const Command> RegistryTextCommands()
{
    return Table;
}

} // namespace Tool
