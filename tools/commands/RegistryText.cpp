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

#include <limits>

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

std::size_t CountValues(const std::vector<RegistrySection>& sections)
{
    std::size_t uCount = 0;
    for (const RegistrySection& section : sections) {
        uCount += section.values.size();
    }
    return uCount;
}

/// Writes value by value: one transaction for all would keep other processes from writing until it ends.
void WriteSections(const std::vector<RegistrySection>& sections)
{
    const std::size_t uTotal = CountValues(sections);
    std::size_t uWritten = 0;
    CProgress progress("values written", uTotal);
    try {
        for (const RegistrySection& section : sections) {
            CKey key(section.key);
            for (const RegistryValue& value : section.values) {
                key.Set(value);
                ++uWritten;
                progress.Step();
            }
        }
    } catch (const CFailure& failure) {
        throw CFailure(failure.Code(), std::string(failure.what()) + "; the first " + std::to_string(uWritten) + " of " +
                                           std::to_string(uTotal) + " values are written: import again to complete them");
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
