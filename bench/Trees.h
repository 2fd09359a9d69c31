// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "Caller.h"

/// The caller of a tree of so many compartments, which is made once. He is at a small compartment in its midst.
CDataCaller& TreeOf(int nCompartments);

struct STreeOperation
{
    const char* pszName;
    void (*Run)(CDataCaller& tree);
};

/// What is done to the small compartment, which is then as before.
constexpr STreeOperation TreeOperations[] = {
    {"ListCompartmentIds", [](CDataCaller& tree) { tree.ListChildren(); }},
    {"ListDataIds", [](CDataCaller& tree) { tree.ListItems(); }},
    {"RemoveCompartment and SetData",
     [](CDataCaller& tree) {
         tree.Remove();
         tree.Set();
     }},
};
