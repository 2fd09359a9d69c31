// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "Store.h"

#include "tree/AbstractTree.h"

/// One operation of a tree.
struct STreeOperation
{
    const char* pszName;
    HRESULT (*Run)(CAbstractTree& tree, const SecureString& sPath, const SecureString& sItem, SArguments& args);
};

/// Every operation, in an order in which all succeed one after the other.
// clang-format off
constexpr STreeOperation TreeOperations[] = {
    {"SetData", [](auto& tree, auto& s, auto& i, auto& args) { return tree.SetData(s, i, args.pIn.get(), 0, 0); }},
    {"GetData", [](auto& tree, auto& s, auto& i, auto& args) { return tree.GetData(s, i, args.psaOut, 0); }},
    {"IsDataCached", [](auto& tree, auto& s, auto& i, auto& args) { return tree.IsDataCached(s, i, &args.State.bCached, 0); }},
    {"ListDataIds", [](auto& tree, auto& s, auto&, auto& args) { return tree.ListDataIds(s, &args.psaOut, 0); }},
    {"ListCompartmentIds", [](auto& tree, auto& s, auto&, auto& args) { return tree.ListCompartmentIds(s, &args.psaOut, 0); }},
    {"ListAllCompartmentIds", [](auto& tree, auto&, auto&, auto& args) { return tree.ListAllCompartmentIds(&args.psaOut); }},
    {"IsCompartmentCached", [](auto& tree, auto& s, auto&, auto& args) {
        return tree.IsCompartmentCached(s, &args.State.ulCompartmentVersion, &args.State.ulContentVersion, &args.State.bCached, 0); }},
    {"RemoveData", [](auto& tree, auto& s, auto& i, auto&) { return tree.RemoveData(s, i, 0); }},
    {"RemoveCompartment", [](auto& tree, auto& s, auto&, auto& args) { return tree.RemoveCompartment(s, args.nFlag, 0); }},
    {"CreateCompartment", [](auto& tree, auto& s, auto&, auto&) { return tree.CreateCompartment(s, 0); }},
    {"FlushTree", [](auto& tree, auto&, auto&, auto&) { return tree.FlushTree(0); }},
};
// clang-format on
