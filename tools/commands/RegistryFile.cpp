// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "commands/Commands.h"

#include "registry/Location.h"
#include "support/Failure.h"
#include "support/Output.h"
#include "support/RegistryFile.h"
#include "support/Text.h"

#include <nlohmann/json.hpp>

namespace Tool
{

namespace
{

void Check(const CArguments& arguments, Session&)
{
    const Registry::SInspection inspection = InspectRegistry();
    const std::string sFolder = Registry::RegistryFolder().string();
    const struct
    {
        const char* pszName;
        const char* pszText;
        std::uint64_t uNumber;
    } rows[] = {
        {"keys", "keys", inspection.counts.uKeys},
        {"values", "values", inspection.counts.uValues},
        {"pageSize", "bytes of a page", inspection.uPageSize},
        {"mapPages", "pages of the map", inspection.uMapPages},
        {"usedPages", "pages in use", inspection.uUsedPages},
        {"freePages", "free pages", inspection.counts.uFreePages},
        {"readerSlots", "slots for readers", inspection.uReaderSlots},
        {"readersTaken", "slots taken", inspection.uReadersTaken},
        {"readersFreed", "stale slots freed", inspection.uReadersFreed},
    };
    nlohmann::json json{{"folder", JsonText(sFolder)}};
    std::vector<std::vector<std::string>> lines;
    for (const auto& row : rows) {
        json[row.pszName] = row.uNumber;
        lines.push_back({row.pszText, std::to_string(row.uNumber)});
    }
    arguments.Has("--json") ? PrintJson(json) : Print(Display(sFolder) + ": every page and record is sound\n" + Columns(lines));
}

void BackUp(const CArguments& arguments, Session&)
{
    const std::string& sFolder = arguments.Text("FOLDER");
    if (sFolder.empty()) {
        throw CFailure(ExitCode::Usage, "the name of a folder is empty");
    }
    const Registry::SPageCounts counts = BackUpRegistry(sFolder);
    if (arguments.Has("--json")) {
        return PrintJson({{"folder", JsonText(sFolder)}, {"keys", counts.uKeys}, {"values", counts.uValues}});
    }
    Print(Display(sFolder) + ": " + std::to_string(counts.uKeys) + " keys, " + std::to_string(counts.uValues) + " values\n");
}

constexpr Argument CheckArguments[] = {JsonFlag};
constexpr Argument BackUpArguments[] = {
    {"FOLDER", Takes::Positional, "made when it is missing; must not hold a registry"},
    JsonFlag,
};

const Command Table[] = {
    {"registry", "check", "check every page and record of the registry, and tell what it holds", CheckArguments,
     "  sharedstore registry check\n"
     "  SHAREDSTORE_REGISTRY=/backup/monday sharedstore registry check\n",
     Check},
    {"registry", "backup", "copy the registry to a folder while it is in use; the copy is of one moment, without free pages",
     BackUpArguments,
     "  sharedstore registry backup /backup/monday\n"
     "  SHAREDSTORE_REGISTRY=/backup/monday sharedstore registry list HKLM\n",
     BackUp},
};

} // namespace

std::span<const Command> RegistryFileCommands()
{
    return Table;
}

} // namespace Tool
