// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "commands/Commands.h"

#include "support/Failure.h"
#include "support/Store.h"
#include "support/Text.h"

#include <algorithm>

namespace Tool
{

namespace
{

void Flush(const CArguments& arguments, Session& session)
{
    if (arguments.Has("STORE") == arguments.Has("--product")) {
        throw CFailure(ExitCode::Usage, "give either a store or --product");
    }
    if (arguments.Has("STORE")) {
        return CStore(session, arguments.Text("STORE")).Flush();
    }
    const std::string& sProduct = arguments.Text("--product");
    if (sProduct.empty()) {
        throw CFailure(ExitCode::Usage, "--product needs a name");
    }
    const std::vector<std::string> stores = RegisteredStores(session);
    const auto hasProduct = [&](const std::string& sStore) {
        const std::optional<StoreSettings> settings = FindStore(session, sStore);
        return settings.has_value() && settings->sProduct == sProduct;
    };
    if (std::none_of(stores.begin(), stores.end(), hasProduct)) {
        throw CFailure(ExitCode::NotFound, "no store has the product '" + Display(sProduct) + "'; 'sharedstore store list' shows them all");
    }
    const HRESULT hr = session.client.FlushDataStores(MakeBstr(sProduct).get());
    if (FAILED(hr)) {
        throw StoreFailure(hr, ExitCode::Failed);
    }
}

constexpr Argument Arguments[] = {
    {"STORE", Takes::OptionalPositional, "the store to flush"},
    {"-p,--product", Takes::Value, "flush every store of this product", "PRODUCT"},
};

const Command Table[] = {
    {"flush", "", "remove every compartment of a store, or of all stores of a product, and their versions", Arguments,
     "  sharedstore flush Cards\n"
     "  sharedstore flush --product Pavendo\n",
     Flush},
};

} // namespace

std::span<const Command> FlushCommands()
{
    return Table;
}

} // namespace Tool
