// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "tree/RegistryTree.h"

#include "store/Fakes.h"
#include "store/TreeOperations.h"
#include "support/Values.h"
#include "tree/DumpTree.h"
#include "tree/DuplicateRegistryTree.h"

using namespace std::string_literals;

// clang-format off
namespace
{

const std::string Base = R"(Software\Orvane\SharedStore\RemanentDataStore\)";

HRESULT Set(CAbstractTree& tree, const SecureString& sPath, const ArrayPointer& p) { return tree.SetData(sPath, "d", p.get(), 0, 0); }

std::string Get(CAbstractTree& tree, const SecureString& sPath, HRESULT hr = S_OK)
{
    SAFEARRAY* psa = nullptr;
    EXPECT_EQ(tree.GetData(sPath, "d", psa, 0), hr);
    return Describe(ArrayPointer(psa));
}

SState StateOf(CAbstractTree& tree, const char* pszPath)
{
    SArguments args;
    EXPECT_EQ(TreeOperations[6].Run(tree, pszPath, "", args), S_OK);
    return args.State;
}

ArrayPointer Vector(VARTYPE vt, unsigned int uCount) { return MakeValue(vt, {{uCount, 0}}); }

ArrayPointer Table(unsigned int uWidth, unsigned int uRows, std::string_view sBytes)
{
    ArrayPointer pArray = MakeValue(VT_UI1, {{uWidth, 0}, {uRows, 0}});
    sBytes.copy(static_cast<char*>(pArray->pvData), sBytes.size());
    return pArray;
}

} // namespace

TEST(RegistryValueTest, Value_IsKeptInItsTypeAndComesBack)
{
    const std::tuple<ArrayPointer, unsigned long, std::string, ArrayPointer> cases[] = { // the last null when it comes back as it was
        {Vector(VT_BSTR, 0), REG_SZ, "", nullptr}, {TextArray({"a\0b"s}), REG_SZ, "a\0b"s, nullptr}, {TextArray({""}), REG_SZ, "", Vector(VT_BSTR, 0)},
        {TextArray({"ab", "c"}), REG_MULTI_SZ, "ab\0c\0\0"s, nullptr}, {TextArray({"", "c"}), REG_MULTI_SZ, "\0c\0\0"s, nullptr},
        {TextArray({"a", "", "c"}), REG_MULTI_SZ, "a\0\0c\0\0"s, TextArray({"a"})}, {TextArray({"", ""}), REG_MULTI_SZ, "\0\0\0"s, Vector(VT_BSTR, 0)},
        {Vector(VT_UNKNOWN, 2), REG_NONE, "abcdefgh", nullptr}, {Vector(VT_I1, 3), REG_BINARY, "\x0B\3" "abc", nullptr},
        {Vector(VT_UI1, 3), REG_BINARY, "\xBA\3" "abc", nullptr}, {Vector(VT_UI1, 0), REG_BINARY, "\xBA\0"s, nullptr},
        {Vector(VT_UI1, 300), REG_BINARY, "\xBA\x2C" + BytesOf(Vector(VT_UI1, 300)), nullptr}, {Vector(VT_UI8, 0), REG_QWORD, "", nullptr},
        {Table(3, 2, "\2ab\1c\0"s), REG_BINARY, "\xBB\2ab\xBB\1c", nullptr}, {Table(9, 0, ""), REG_BINARY, "", Vector(VT_UI1, 0)},
        {Table(9, 2, "\0--------\1c"s), REG_BINARY, "\xBB\0\xBB\1c"s, Table(2, 2, "\0\0\1c"s)},
        {Vector(VT_I8, 1), REG_QWORD, "abcdefgh", Vector(VT_UI8, 1)}, {Vector(VT_INT, 2), REG_DWORD, "abcdefgh", Vector(VT_UINT, 2)},
        {MakeValue(VT_UINT, {{3, 0}, {2, 0}}), REG_DWORD, "abcdefgh", Vector(VT_UINT, 2)}}; // the first dimension
    CRegistryTree tree("Kept", 0);
    for (const auto& [pValue, ulType, sBytes, pRead] : cases) {
        SCOPED_TRACE(Describe(pValue));
        EXPECT_EQ(Set(tree, "a/b", pValue), S_OK);
        unsigned char bytes[400];
        unsigned long ulRead = 0;
        unsigned long ulSize = sizeof(bytes);
        EXPECT_EQ(ovRegReadValueEx("HKEY_LOCAL_MACHINE", (Base + "Kept\\a\\b").c_str(), "d", &ulRead, bytes, &ulSize, 0), ERROR_SUCCESS);
        EXPECT_EQ(std::pair(ulRead, std::string(bytes, bytes + ulSize)), std::pair(ulType, sBytes));
        EXPECT_EQ(Get(tree, "a/b"), Describe(pRead == nullptr ? pValue : pRead));
    }
}

TEST(RegistryValueTest, ValueThatCannotBeKept_IsRefusedAndTheOldOneStays)
{
    constexpr unsigned int Max = 1024 * 1024;
    const std::pair<ArrayPointer, HRESULT> cases[] = {
        {Vector(VT_UI1, Max - 2), S_OK}, {Vector(VT_UINT, Max / 4), S_OK}, {TextArray({std::string(Max, 'x')}), S_OK}, {Bytes("old"), S_OK},
        {nullptr, E_FAIL}, {Vector(VT_I4, 1), E_FAIL}, {MakeValue(VT_UI1, {{1, 0}, {1, 0}, {1, 0}}), E_FAIL}, {Table(2, 1, "\2a"), E_INVALIDARG},
        {Table(0, 2, ""), E_INVALIDARG}, {Vector(VT_UI1, Max - 1), E_INVALIDARG}, {Vector(VT_UINT, Max / 4 + 1), E_INVALIDARG},
        {TextArray({std::string(Max + 1, 'x')}), E_INVALIDARG}, {TextArray({std::string(Max - 2, 'x'), ""}), E_INVALIDARG},
        {Table(256, 70000, "\xFF" + std::string(70000 * 256 - 1, '\0')), E_INVALIDARG}}; // few bytes that would come back as many
    CRegistryTree tree("Refused", 0);
    for (const auto& [pValue, hr] : cases) {
        EXPECT_EQ(Set(tree, "a", pValue), hr) << &pValue - &cases[0].first;
    }
    EXPECT_EQ(Get(tree, "a"), Describe(Bytes("old")));
}

TEST(RegistryValueTest, MalformedValue_GivesACodeAndNoArray)
{
    std::string sRows = "\xBB\xFF" + std::string(255, 'x');
    for (int i = 0; i < 70000; ++i) {
        sRows += "\xBB\0"s;
    }
    const std::pair<unsigned long, std::string> cases[] = {
        {REG_DWORD, "12345"}, {REG_QWORD, "1234"}, {REG_NONE, "123"}, {REG_MULTI_SZ, "a"}, {REG_MULTI_SZ, "a\0b\0"s}, {REG_MULTI_SZ, "\0"s},
        {REG_MULTI_SZ, std::string(1048577, '\0')}, // it would take many times its size
        {REG_BINARY, "\xBA"}, {REG_BINARY, "\xBC\1a"}, {REG_BINARY, "\xBB\2a"}, {REG_BINARY, "\xBB\1a\xBA\0"s},
        {REG_BINARY, "\xBB\1a\xBB"}, {REG_BINARY, sRows}, {REG_EXPAND_SZ, "a"}};
    CRegistryTree tree("Malformed", 0);
    for (const auto& [ulType, sBytes] : cases) {
        Configure(Base + "Malformed", "d", ulType, sBytes);
        EXPECT_EQ(Get(tree, "/", ulType == REG_EXPAND_SZ ? E_FAIL : E_INVALIDARG), "no array") << ulType << " " << sBytes.substr(0, 9);
    }
}
// clang-format on

TEST(RegistryTreeTest, NameOverItsLimit_IsRefused)
{
    for (const auto& [uOver, hr] : {std::pair(0U, S_OK), {1U, E_INVALIDARG}}) {
        CRegistryTree tree(SecureString(250 + uOver - Base.size(), 't'), 0);
        const SecureString sItem(255 + uOver, 'i');
        EXPECT_EQ(tree.SetData("/", sItem, Bytes("v").get(), 0, 0), hr);
        EXPECT_EQ(tree.RemoveData("/", sItem, 0), hr);
        for (const auto& operation : TreeOperations) {
            SArguments args;
            EXPECT_EQ(operation.Run(tree, "/", "d", args), hr) << operation.pszName;
            ovSafeArrayDestroy(args.psaOut, 0);
        }
    }
}

TEST(RegistryTreeTest, AllCompartments_AreListedAsAChain)
{
    CRegistryTree tree("Walk", 0);
    const auto list = [&](SAFEARRAY** ppsa) { return tree.ListAllCompartmentIds(ppsa); };
    EXPECT_EQ(tree.CreateCompartment("a/x/y", 0), S_OK);
    EXPECT_EQ(tree.CreateCompartment("b", 0), S_OK);
    EXPECT_EQ(Listed(list), (Strings{"Walk", "Walk/a", "Walk/a/x", "Walk/a/x/y"}));
    const CFault fault("pvRegOpenKeyEx", 2); // of the first sub-key
    EXPECT_EQ(Listed(list), Strings{"Walk"});
}

TEST(RegistryTreeTest, GetDataOfAMissingItem_LogsEveryOther)
{
    CRegistryTree tree("Log", 0);
    EXPECT_EQ(tree.SetData("a", "c", Bytes("v").get(), 0, 0), S_OK);
    EXPECT_EQ(tree.SetData("a", "e", Bytes("v").get(), 0, 0), S_OK);
    const CTranscript transcript;
    EXPECT_EQ(Get(tree, "a", E_INVALIDARG), "no array");
    EXPECT_EQ(transcript.sLines, R"(
8 CRegistryTree::GetData
2 CRegistryTree::GetData sDataId = d
2 CRegistryTree::GetData sKey = Software\Orvane\SharedStore\RemanentDataStore\Log\a
2 CRegistryTree::GetData datas are different
2 CRegistryTree::GetData datas are different
2 CRegistryTree::GetData data was not found
16 CRegistryTree::GetData hr = 0x80070057)");
}

TEST(DumpTreeTest, WritesToBothAndAnswersFromTheRegistryUnlessThatFailed)
{
    CDumpTree tree("Dump");
    CRegistryTree registry("Dump", 0);
    const SecureString sTooLong(250, 'c');
    EXPECT_EQ(Set(tree, "a/x", Bytes("both")), S_OK);
    EXPECT_EQ(Set(registry, "a/x", Bytes("registry")), S_OK);
    EXPECT_EQ(Get(tree, "a/x"), Describe(Bytes("registry")));
    EXPECT_EQ(Set(tree, sTooLong, Bytes("memory")), S_OK);
    EXPECT_EQ(Get(tree, sTooLong), Describe(Bytes("memory")));
    const CFault fault("SafeArrayCopy"); // of the memory tree
    EXPECT_EQ(Set(tree, "a/x", Bytes("none")), E_OUTOFMEMORY);
    EXPECT_EQ(Get(registry, "a/x"), Describe(Bytes("registry")));
    EXPECT_EQ(tree.RemoveCompartment("a", 0, 0), S_OK);
    EXPECT_EQ(StateOf(tree, "a/x"), (SState{0, 2, 2}));
}

TEST(DuplicateRegistryTreeTest, RemovesOnceAndForgivesAMirrorWithoutTheRemoved)
{
    CDuplicateRegistryTree tree("Twice");
    EXPECT_EQ(Set(tree, "a/x", Bytes("v")), S_OK);
    EXPECT_EQ(tree.RemoveData("a/x", "d", 0), S_OK);
    EXPECT_EQ(tree.RemoveData("a/x", "d", 0), E_INVALIDARG);
    EXPECT_EQ(tree.RemoveCompartment("a", 0, 0), S_OK);
    EXPECT_EQ(StateOf(tree, "a/x"), (SState{0, 1, 1}));
    EXPECT_EQ(tree.FlushTree(0), E_FAIL); // of the mirror
}
