// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

// usage: instructions NAME COUNT. Runs one operation COUNT times; what the runs with n and 2n times differ by is
// the cost of the operation alone (scripts/instructions.sh counts it).

#include "Caller.h"

#include <iterator>

namespace
{

struct SCallers
{
    CPINCaller Pin;
    CDataCaller Memory{"Memory", OV::DataStore::MemoryStore, 0, 100};
    CDataCaller Encrypted{"Encrypted", OV::DataStore::MemoryStore, 1, 100};
    CDataCaller Registry{"Registry", OV::DataStore::RegistryStore, 0, 100};
};

struct SNamed
{
    std::string_view sName;
    void (*Run)(SCallers& callers);
};

constexpr SNamed Operations[] = {
    {"GetPIN", [](SCallers& callers) { callers.Pin.Get(); }},
    {"IsPINCached", [](SCallers& callers) { callers.Pin.Ask(); }},
    {"SetPIN", [](SCallers& callers) { callers.Pin.Set(); }},
    {"GetData", [](SCallers& callers) { callers.Memory.Get(); }},
    {"SetData", [](SCallers& callers) { callers.Memory.Set(); }},
    {"EncryptedGetData", [](SCallers& callers) { callers.Encrypted.Get(); }},
    {"EncryptedSetData", [](SCallers& callers) { callers.Encrypted.Set(); }},
    {"RegistryGetData", [](SCallers& callers) { callers.Registry.Get(); }},
    {"IsCompartmentCached", [](SCallers& callers) { callers.Memory.Ask(); }},
    {"ListDataIds", [](SCallers& callers) { callers.Memory.ListItems(); }},
    {"ListCompartmentIds", [](SCallers& callers) { callers.Memory.ListChildren(); }},
};

} // namespace

int main(int argc, char** argv)
{
    const auto* pOperation = std::begin(Operations);
    while (argc == 3 && pOperation != std::end(Operations) && pOperation->sName != argv[1]) {
        ++pOperation;
    }
    if (argc != 3 || pOperation == std::end(Operations)) {
        for (const SNamed& operation : Operations) {
            std::puts(operation.sName.data());
        }
        return argc == 1 ? EXIT_SUCCESS : EXIT_FAILURE;
    }

    SCallers callers;
    for (int i = 0; i < 9; ++i) { // ten items, and ten children of the compartment
        callers.Memory.SelectItem("Other" + std::to_string(i));
        callers.Memory.Set();
    }
    callers.Memory.SelectItem("Item1");
    for (int i = 0; i < 10; ++i) {
        callers.Memory.Select("Card1/Certs/" + std::to_string(i));
        callers.Memory.Create();
    }
    callers.Memory.Select("Card1/Certs");
    for (int i = 0; i < std::atoi(argv[2]); ++i) {
        pOperation->Run(callers);
    }
}
