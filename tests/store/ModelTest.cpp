// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

// Random operations on every kind of tree and store, which must answer as a plain model does.

#include "Model.h"
#include "TreeOperations.h"
#include "support/KeyFile.h"
#include "support/Random.h"
#include "support/Values.h"

#include "tree/MemoryTree.h"
#include "tree/RegistryTree.h"

#include <algorithm>

namespace
{

struct SSubject
{
    std::string sId;
    int bRegistry;
    int nSteps;
    bool bStore = false; ///< a whole store, which counts versions; else the bare tree
    int bEncrypted = 0;
};

const SSubject Subjects[] = {
    {"Memory tree", 0, 1500},         {"Registry tree", 1, 250},
    {"Memory store", 0, 1000, true},  {"Encrypted memory store", 0, 500, true, 1},
    {"Registry store", 1, 250, true}, {"Encrypted registry store", 1, 250, true, 1},
};

const Strings Paths = {"a", "A", "a-", "a-b", "a b", "a.", "a0", "ab", "b", "/", "a/b", "a/b/c", "a/b-c", "a/b0", "a/-b", "a/\xff", "ab/c",
                       "\xff/a",
                       // only memory takes empty components
                       "//", "a/", "a//", "a/b/", "a0/", "/a", "/a/b", "/a-b"};
constexpr unsigned int RegistryPaths = 18;
const Strings Items = {"d", "D", "d/", "\xff"};
constexpr VARTYPE Types[] = {VT_BSTR, VT_UNKNOWN, VT_I1, VT_UI1, VT_I8, VT_UI8, VT_INT, VT_UINT};
const Strings Names = {"SetData",           "SetData",           "SetData",    "SetData",    "CreateCompartment",
                       "RemoveCompartment", "RemoveCompartment", "RemoveData", "RemoveData", "TouchCompartment"};

/// A subject and the model that it must agree with.
class CPair
{
public:
    explicit CPair(const SSubject& subject) : m_Subject(subject), m_Model{subject.bRegistry != 0}
    {
        if (subject.bStore) {
            const CTestStore registered(subject.sId, 1, "Product", static_cast<OV::DataStore::Type>(subject.bRegistry), subject.bEncrypted);
        } else if (subject.bRegistry != 0) {
            m_pTree = std::make_unique<CRegistryTree>(subject.sId.c_str(), 0);
        } else {
            m_pTree = std::make_unique<CMemoryTree>(subject.sId.c_str());
        }
    }

    /// Runs one operation on both and compares what they answer, and what they tell of its compartment and of another one.
    void Step(CRandom& random, int nStep)
    {
        const auto path = [&] { return m_Subject.bRegistry != 0 ? Paths[random.Below(RegistryPaths)] : random.Of(Paths); };
        const std::string sPath = path();
        const std::string sOther = path();
        const std::string sItem = random.Of(Items);
        const std::string sName = random.Below(50) == 0 ? "Flush" : random.Of(Names);
        const VARTYPE vt = random.Of(Types);
        const unsigned int uCount = random.Below(4);
        SArguments args{MakeValue(vt, {{uCount, 0}}), static_cast<int>(random.Below(2))};
        SCOPED_TRACE(m_Subject.sId + " step " + std::to_string(nStep) + " " + sName + " " + sPath + " " + sItem + " " + sOther);
        if (m_pTree == nullptr || sName != "TouchCompartment") {
            const bool bSigned = (vt == VT_I8 || vt == VT_INT) && m_Subject.bRegistry != 0 && m_Subject.bEncrypted == 0; // becomes unsigned
            const ArrayPointer pKept = MakeValue(static_cast<VARTYPE>(bSigned ? vt + 1 : vt), {{uCount, 0}});
            EXPECT_EQ(Expected(sName, sPath, sItem, Describe(pKept), args.nFlag), Run(sName, sPath, sItem, args));
        } else if (sPath[0] != '/' && sOther[0] != '/' && !SModelTree::IsBelow(sPath + "/", sOther) &&
                   !SModelTree::IsBelow(sOther, sPath)) {
            EXPECT_EQ(m_Model.Found(sPath), m_pTree->MoveCompartmentIds(sPath.c_str(), sOther.c_str(), true));
            Count(m_Model.Move(sPath, sOther));
        }
        Compare(sPath);
        Compare(sOther);
    }

private:
    HRESULT Run(const std::string& sName, const std::string& sPath, const std::string& sItem, SArguments& args)
    {
        const auto named = [&](const auto& operation) { return std::string_view(operation.pszName).starts_with(sName); };
        if (m_pTree != nullptr) {
            return std::ranges::find_if(TreeOperations, named)->Run(*m_pTree, sPath.c_str(), sItem.c_str(), args);
        }
        return std::ranges::find_if(Operations, named)->Run(m_Client, CText(m_Subject.sId), CText(sPath), CText(sItem), args);
    }

    /// Runs an operation on the model.
    HRESULT Expected(const std::string& sName, const std::string& sPath, const std::string& sItem, const std::string& sValue, int nFlag)
    {
        const bool bCached = m_Model.Compartments.contains(sPath);
        if (sName == "SetData") {
            m_Model.Create(sPath)[sItem] = sValue;
            return Advance(sPath, !bCached);
        }
        if (sName == "CreateCompartment" || sName == "TouchCompartment") {
            m_Model.Create(sPath);
            return bCached && sName[0] == 'C' ? S_OK : Advance(sPath, true);
        }
        if (sName == "RemoveData") {
            return bCached && m_Model.Compartments[sPath].erase(sItem) != 0 ? Advance(sPath, false) : E_INVALIDARG;
        }
        const HRESULT hr = m_Model.Found(sName == "Flush" ? "/" : sPath);
        const Strings below = m_Model.Remove(sName == "Flush" ? "/" : sPath);
        if (sName == "Flush") {
            m_Versions = m_Subject.bStore ? decltype(m_Versions)() : m_Versions;
            return m_Subject.bRegistry == 0 || m_Subject.bStore || hr == S_OK ? S_OK : E_FAIL;
        }
        Count(m_Subject.bRegistry == 0 || m_Subject.bStore || nFlag != 0 ? below : Strings());
        if (hr == S_OK && m_Subject.bStore && nFlag != 0) {
            std::erase_if(m_Versions, [&](const auto& v) { return v.first == Key(sPath) || SModelTree::IsBelow(v.first, Key(sPath)); });
        }
        return hr != S_OK || nFlag != 0 ? hr : Advance(sPath, true);
    }

    std::string Key(const std::string& sPath) const { return m_Subject.sId + "/" + sPath; }

    /// What a tree does for all that it removed below a compartment.
    void Count(const Strings& below)
    {
        for (const std::string& sPath : below) {
            ++m_Versions[Key(sPath)].ulCompartmentVersion;
            ++m_Versions[Key(sPath)].ulContentVersion;
        }
    }

    /// What a store does after a change: a bare tree leaves that to its owner.
    HRESULT Advance(const std::string& sPath, bool bBoth)
    {
        const std::string sEnd = Key(sPath) + "/";
        for (std::size_t u = sEnd.find('/'); m_Subject.bStore && u != std::string::npos; u = sEnd.find('/', u + 1)) {
            m_Versions[sEnd.substr(0, u)].ulCompartmentVersion += bBoth ? 1 : 0;
            ++m_Versions[sEnd.substr(0, u)].ulContentVersion;
        }
        return S_OK;
    }

    void CompareList(const char* pszName, const std::string& sPath, HRESULT hr, const Strings& expected)
    {
        SArguments args;
        const auto list = [&](SAFEARRAY** ppsa) {
            const HRESULT hrRun = Run(pszName, sPath, "d", args);
            return *ppsa = args.psaOut, hrRun;
        };
        EXPECT_EQ(Listed(list, hr), expected) << pszName;
    }

    void Compare(const std::string& sPath)
    {
        Strings all;
        Strings children;
        for (const auto& entry : m_Model.Compartments) {
            const std::size_t uSlash = entry.first.rfind('/');
            all.push_back(entry.first);
            if (sPath == "/" ? uSlash == std::string::npos : uSlash == sPath.size() && entry.first.starts_with(sPath)) {
                children.push_back(entry.first.substr(uSlash + 1));
            }
        }
        const bool bCached = m_Model.Compartments.contains(sPath);
        const SModelTree::Items items = bCached ? m_Model.Compartments[sPath] : SModelTree::Items();
        Strings names(bCached ? 0 : 1, "no array");
        std::ranges::transform(items, std::back_inserter(names), [](const auto& item) { return item.first; });
        SArguments args;
        for (const std::string& sItem : Items) {
            const bool bItem = items.contains(sItem);
            EXPECT_EQ(Run("GetData", sPath, sItem, args), bItem ? S_OK : E_INVALIDARG);
            EXPECT_EQ(Describe(ArrayPointer(std::exchange(args.psaOut, nullptr))), bItem ? items.at(sItem) : "no array");
            EXPECT_EQ(Run("IsDataCached", sPath, sItem, args), S_OK);
            EXPECT_EQ(args.State.bCached, bItem);
        }
        SState state = m_Versions[sPath == "/" ? m_Subject.sId : Key(sPath)];
        state.bCached = bCached;
        EXPECT_EQ(Run("IsCompartmentCached", sPath, "d", args), S_OK);
        EXPECT_EQ(args.State, state);
        const bool bNoKey = m_Subject.bRegistry != 0 && !bCached;
        children.resize(std::max<std::size_t>(children.size(), m_Subject.bRegistry == 0 || bNoKey ? 1 : 0), "no array");
        CompareList("ListDataIds", sPath, bCached ? S_OK : E_FAIL, names);
        CompareList("ListCompartmentIds", sPath, bNoKey ? E_FAIL : S_OK, children);
        if (m_pTree != nullptr && m_Subject.bRegistry == 0) { // a registry lists only some
            CompareList("ListAll", sPath, S_OK, all);
        }
    }

    const SSubject& m_Subject;
    SModelTree m_Model;
    std::map<std::string, SState> m_Versions; ///< by the store's identifier and the path
    std::unique_ptr<CAbstractTree> m_pTree;
    CStaticDataCacheClient m_Client;
};

} // namespace

TEST(ModelTest, EveryKindOfTreeAndStore_AnswersAsAPlainModel)
{
    setenv("SHAREDSTORE_REGISTRY_SYNC", "relaxed", 1); // before anything opens the registry
    const CKeyFile keyFile;
    CRandom random;
    for (const SSubject& subject : Subjects) {
        CPair pair(subject);
        for (int nStep = 0; nStep < subject.nSteps && !HasFailure(); ++nStep) {
            pair.Step(random, nStep);
        }
    }
}
