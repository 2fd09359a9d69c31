// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

// Compartment paths against a plain model: the input is a script of operations on a memory tree, and
// after each of them the tree must list exactly what a set of paths holds.
//
// A script is a sequence of lines, each a letter and a path: c creates, r removes, anything else lists.

#include "Fuzz.h"
#include "platform/ComEmulation.h"
#include "tree/MemoryTree.h"

#include <cstdint>
#include <set>
#include <string>
#include <vector>

namespace
{

using SecureString = OV::Framework::SecureString;
using Paths = std::set<std::string>;

void Create(Paths& paths, const std::string& sPath)
{
    for (std::size_t uEnd = sPath.find('/'); uEnd != std::string::npos; uEnd = sPath.find('/', uEnd + 1)) {
        paths.insert(sPath.substr(0, uEnd));
    }
    paths.insert(sPath);
}

void Remove(Paths& paths, const std::string& sPath)
{
    for (auto it = paths.begin(); it != paths.end();) {
        const bool bGoes = sPath == "/" || *it == sPath || it->compare(0, sPath.size() + 1, sPath + "/") == 0;
        it = bGoes ? paths.erase(it) : std::next(it);
    }
}

std::vector<std::string> Children(const Paths& paths, const std::string& sParent)
{
    const std::string sPrefix = sParent == "/" ? "" : sParent + "/";
    std::vector<std::string> names;
    for (const std::string& sPath : paths) {
        if (sPath.compare(0, sPrefix.size(), sPrefix) == 0 && sPath.find('/', sPrefix.size()) == std::string::npos) {
            names.push_back(sPath.substr(sPrefix.size()));
        }
    }
    return names;
}

/// The strings of a list, which is freed.
std::vector<std::string> Strings(SAFEARRAY* psaList)
{
    std::vector<std::string> strings;
    for (int i = 0; psaList != nullptr && i < static_cast<int>(psaList->rgsabound[0].cElements); ++i) {
        BSTR bstr = nullptr;
        Require(SafeArrayGetElement(psaList, &i, &bstr) == S_OK);
        strings.emplace_back(bstr);
        SysFreeString(bstr);
    }
    ovSafeArrayDestroy(psaList, 0);
    return strings;
}

void Step(CMemoryTree& tree, Paths& paths, char cOperation, const std::string& sPath)
{
    const SecureString sId(sPath.begin(), sPath.end());
    if (cOperation == 'c') {
        Require(tree.CreateCompartment(sId, 0) == S_OK);
        Create(paths, sPath);
    } else if (cOperation == 'r') {
        const HRESULT hr = tree.RemoveCompartment(sId, 1, 0);
        Require(hr == (paths.empty() ? E_INVALIDARG : S_OK));
        Remove(paths, sPath);
    }
    SAFEARRAY* psaAll = nullptr;
    Require(tree.ListAllCompartmentIds(&psaAll) == S_OK);
    Require(Strings(psaAll) == std::vector<std::string>(paths.begin(), paths.end()));
    for (const std::string& sParent : {sPath, std::string("/")}) {
        SAFEARRAY* psaChildren = nullptr;
        Require(tree.ListCompartmentIds(SecureString(sParent.begin(), sParent.end()), &psaChildren, 0) == S_OK);
        Require(Strings(psaChildren) == Children(paths, sParent));
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pData, std::size_t uSize)
{
    constexpr std::size_t MaxPath = 64;
    CMemoryTree tree("Fuzz");
    Paths paths;
    const std::string sScript(reinterpret_cast<const char*>(pData), uSize);
    for (std::size_t uBegin = 0; uBegin < sScript.size();) {
        const std::size_t uEnd = std::min(sScript.find('\n', uBegin), sScript.size());
        const std::string sLine = sScript.substr(uBegin, std::min(uEnd - uBegin, MaxPath));
        uBegin = uEnd + 1;
        if (!sLine.empty() && sLine.find('\0') == std::string::npos) { // a NUL ends an identifier
            Step(tree, paths, sLine[0], sLine.substr(1));
        }
    }
    return 0;
}
