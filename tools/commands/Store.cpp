// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "commands/Commands.h"

#include "support/Failure.h"
#include "support/KeyFile.h"
#include "support/Output.h"
#include "support/Store.h"
#include "support/StoreConfig.h"
#include "support/Text.h"

#include <nlohmann/json.hpp>

#include <optional>
#include <set>

namespace Tool
{

namespace
{

/// What is known of a store: its configuration, and what this process registered.
struct KnownStore
{
    std::string sStore;
    std::optional<StoreConfig> config;
    std::optional<StoreSettings> registered;
};

KnownStore Know(Session& session, const std::string& sStore)
{
    return {sStore, IsConfigured(sStore) ? std::optional(ReadStoreConfig(sStore)) : std::nullopt, FindStore(session, sStore)};
}

const char* YesNo(bool bYes)
{
    return bYes ? "yes" : "no";
}

nlohmann::json Json(const StoreSettings& settings)
{
    return {{"type", NameOfStoreType(settings.type)},
            {"encrypted", settings.bEncrypted},
            {"shared", settings.bShared},
            {"product", JsonText(settings.sProduct)}};
}

nlohmann::json Json(const KnownStore& known)
{
    nlohmann::json json{{"store", JsonText(known.sStore)}, {"configured", nullptr}, {"registered", nullptr}};
    if (known.config.has_value()) {
        json["configured"] = Json(known.config->settings);
        if (!known.config->sProblem.empty()) {
            json["configured"]["problem"] = known.config->sProblem;
        }
    }
    if (known.registered.has_value()) {
        json["registered"] = Json(*known.registered);
    }
    return json;
}

std::vector<std::string> Cells(const StoreSettings& settings)
{
    return {NameOfStoreType(settings.type), YesNo(settings.bEncrypted), YesNo(settings.bShared), Display(settings.sProduct)};
}

std::string State(const KnownStore& known)
{
    const std::string sConfig = !known.config.has_value()        ? "not configured"
                                : known.config->sProblem.empty() ? "configured"
                                                                 : known.config->sProblem;
    return sConfig + (known.registered.has_value() ? ", registered" : ", not registered");
}

void List(const CArguments& arguments, Session& session)
{
    std::set<std::string> names;
    for (const StoreConfig& config : ReadStoreConfigs()) {
        names.insert(config.sStore);
    }
    for (const std::string& sStore : RegisteredStores(session)) {
        names.insert(sStore);
    }
    nlohmann::json json = nlohmann::json::array();
    std::vector<std::vector<std::string>> rows = {{"STORE", "TYPE", "ENCRYPTED", "SHARED", "PRODUCT", "STATE"}};
    for (const std::string& sStore : names) {
        const KnownStore known = Know(session, sStore);
        std::vector<std::string> row = known.registered.has_value() ? Cells(*known.registered) : Cells(known.config->settings);
        row.insert(row.begin(), Display(sStore));
        row.push_back(State(known));
        rows.push_back(row);
        json.push_back(Json(known));
    }
    if (arguments.Has("--json")) {
        PrintJson(json);
    } else if (rows.size() > 1) {
        Print(Columns(rows));
    }
}

std::vector<std::string> TypeNames()
{
    return {NameOfStoreType(OV::DataStore::MemoryStore), NameOfStoreType(OV::DataStore::RegistryStore)};
}

/// Changes a setting when one of its two flags is given.
void Decide(const CArguments& arguments, const char* pszYes, const char* pszNo, bool& bSetting)
{
    if (arguments.Has(pszYes) && arguments.Has(pszNo)) {
        throw CFailure(ExitCode::Usage, std::string(pszYes) + " and " + pszNo + " exclude each other");
    }
    bSetting = arguments.Has(pszYes) || (bSetting && !arguments.Has(pszNo));
}

/// @param settings what holds where no option says otherwise
StoreSettings SettingsOf(const CArguments& arguments, StoreSettings settings)
{
    Decide(arguments, "--encrypted", "--not-encrypted", settings.bEncrypted);
    Decide(arguments, "--shared", "--not-shared", settings.bShared);
    if (arguments.Has("--type")) {
        const bool bRegistry = arguments.Text("--type") == NameOfStoreType(OV::DataStore::RegistryStore);
        settings.type = bRegistry ? OV::DataStore::RegistryStore : OV::DataStore::MemoryStore;
    }
    settings.sProduct = arguments.TextOr("--product", settings.sProduct);
    return settings.sProduct.empty()
               ? throw CFailure(ExitCode::Usage, "a store without a product can't be registered; give --product a name")
               : settings;
}

/// What a store is configured with so far; what can't be read of it is the default.
StoreSettings SettingsToChange(const std::string& sStore)
{
    const StoreConfig config = ReadStoreConfig(sStore);
    if (!config.sProblem.empty()) {
        Complain("sharedstore: warning: '" + Display(sStore) + "' had settings that can't be read (" + config.sProblem +
                 "): their defaults are taken where no option says otherwise");
    }
    return config.settings;
}

/// Makes a store that was just configured usable in this process.
void Register(Session& session, const std::string& sStore, const StoreSettings& settings)
{
    if (FindStore(session, sStore).has_value()) {
        Complain("sharedstore: warning: '" + Display(sStore) +
                 "' is configured; this process registered it earlier and keeps those settings until it ends");
        return;
    }
    const HRESULT hr = OV::DataStore::CStaticDataCacheClient::RegisterDataStore(
        MakeBstr(sStore).get(), settings.type, settings.bEncrypted ? 1 : 0, settings.bShared ? 1 : 0, MakeBstr(settings.sProduct).get());
    if (FAILED(hr)) {
        throw StoreFailure(
            hr, ExitCode::Failed,
            "the store could not begin in this process, and SHAREDSTORE_LOG=stderr shows the reason; it stays configured until "
            "'sharedstore store remove " +
                Quoted(sStore) + "'");
    }
}

/// An encrypted registry store begins only where its key can be read.
void WarnWithoutKey(const std::string& sStore)
{
    try {
        CheckKeyFile(DefaultKeyFile);
    } catch (const CFailure& failure) {
        Complain("sharedstore: warning: '" + Display(sStore) +
                 "' is configured, but can't be used until its key can be read: " + failure.what());
    }
}

void Add(const CArguments& arguments, Session& session)
{
    const std::string& sStore = arguments.Text("STORE");
    const bool bChange = IsConfigured(sStore);
    if (bChange && !arguments.Has("--force")) {
        throw CFailure(ExitCode::Exists, "there is such a store already; --force changes the settings that are given");
    }
    const StoreSettings settings = SettingsOf(arguments, bChange ? SettingsToChange(sStore) : StoreSettings{.bShared = true});
    WriteStoreConfig(sStore, settings);
    if (settings.bEncrypted && settings.type == OV::DataStore::RegistryStore) {
        WarnWithoutKey(sStore);
    }
    if (session.bManyCommands) {
        Register(session, sStore, settings);
    }
}

void Remove(const CArguments& arguments, Session& session)
{
    const std::string& sStore = arguments.Text("STORE");
    if (!IsConfigured(sStore)) {
        throw CFailure(ExitCode::NotFound, "no such store is configured; 'sharedstore store list' shows what there is");
    }
    DeleteStoreConfig(sStore);
    if (session.bManyCommands && FindStore(session, sStore).has_value()) {
        Complain("sharedstore: warning: '" + Display(sStore) + "' is no longer configured; this process keeps the store until it ends");
    }
}

void Show(const CArguments& arguments, Session& session)
{
    const KnownStore known = Know(session, arguments.Text("STORE"));
    if (!known.config.has_value() && !known.registered.has_value()) {
        throw CFailure(ExitCode::NotFound, "there is no such store; 'sharedstore store list' shows what there is");
    }
    if (arguments.Has("--json")) {
        return PrintJson(Json(known));
    }
    std::vector<std::vector<std::string>> columns = {{"", "type", "encrypted", "shared", "product"}};
    const auto add = [&columns](const std::string& sTitle, std::vector<std::string> cells) {
        cells.insert(cells.begin(), sTitle);
        columns.push_back(std::move(cells));
    };
    add("CONFIGURED", known.config.has_value() ? Cells(known.config->settings) : std::vector<std::string>(4, "-"));
    add("REGISTERED", known.registered.has_value() ? Cells(*known.registered) : std::vector<std::string>(4, "-"));
    std::vector<std::vector<std::string>> rows;
    for (std::size_t uRow = 0; uRow < columns[0].size(); ++uRow) {
        rows.push_back({columns[0][uRow], columns[1][uRow], columns[2][uRow]});
    }
    Print(Columns(rows) + (known.config.has_value() && !known.config->sProblem.empty() ? "problem: " + known.config->sProblem + '\n' : ""));
}

constexpr Argument ListArguments[] = {JsonFlag};
constexpr Argument ShowArguments[] = {StoreArgument, JsonFlag};
constexpr Argument RemoveArguments[] = {StoreArgument};
constexpr Argument AddArguments[] = {
    StoreArgument,
    {"-t,--type", Takes::Value, "memory (default): gone with the process; registry: kept, for all processes", "TYPE", TypeNames},
    {"-e,--encrypted", Takes::Flag,
     "encrypt values before they are stored; a registry store needs the key file that 'keyfile create' makes"},
    {"--not-encrypted", Takes::Flag, "store values as they are (default)"},
    {"--shared", Takes::Flag, "shared between user sessions (default): data operations need it"},
    {"--not-shared", Takes::Flag, "not shared: no data operation is served"},
    {"-p,--product", Takes::Value, "product that 'flush --product' knows the store by (default Pavendo)", "PRODUCT"},
    {"--force", Takes::Flag, "change a store that is configured; what no option says stays, or is the default where it can't be read"},
};

const Command Table[] = {
    {"store", "list", "list the configured stores and those of this process", ListArguments, "  sharedstore store list --json\n", List},
    {"store", "add", "configure a store; under run and shell it can be used at once", AddArguments,
     "  sharedstore store add Cards --product Kiosk\n"
     "  sharedstore store add Wallet --type registry --encrypted\n"
     "  sharedstore store add Cards --not-shared --force\n",
     Add},
    {"store", "remove", "remove a store's configuration; what a registry store holds stays", RemoveArguments,
     "  sharedstore store remove Cards\n", Remove},
    {"store", "show", "show a store's configuration, and whether this process registered it", ShowArguments,
     "  sharedstore store show Cards\n", Show},
};

} // namespace

std::span<const Command> StoreCommands()
{
    return Table;
}

} // namespace Tool
