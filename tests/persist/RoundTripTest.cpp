// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

// What comes back of a value from each kind of store, and what the key file has to do with it.

#include "datastore/InternalDataStore.h"
#include "store/Store.h"
#include "support/KeyFile.h"
#include "support/Values.h"

using OV::DataStore::MemoryStore;
using OV::DataStore::RegistryStore;

namespace
{

HRESULT Register(const char* pszStore, OV::DataStore::Type type, int bEncrypted)
{
    return CStaticDataCacheClient::RegisterDataStore(CText(pszStore), type, bEncrypted, 1, CText("Product"));
}

HRESULT Set(const char* pszStore, const ArrayPointer& pValue)
{
    return CStaticDataCacheClient().SetData(CText(pszStore), CText("compartment"), CText("item"), pValue.get());
}

std::string Get(const char* pszStore, HRESULT hr = S_OK)
{
    SAFEARRAY* psa = nullptr;
    EXPECT_EQ(CStaticDataCacheClient().GetData(CText(pszStore), CText("compartment"), CText("item"), &psa), hr);
    return Describe(ArrayPointer(psa));
}

/// The bytes that a registry store keeps for the item.
std::string Kept(const std::string& sStore)
{
    unsigned char data[256];
    unsigned long ulSize = sizeof data;
    const std::string sKey = "Software\\Orvane\\SharedStore\\RemanentDataStore\\" + sStore + "\\compartment";
    EXPECT_EQ(ovRegReadValueEx("HKEY_LOCAL_MACHINE", sKey.c_str(), "item", nullptr, data, &ulSize, 0), ERROR_SUCCESS);
    return {data, data + ulSize};
}

/// What becomes of a type: of a matrix of three rows of two elements in an encrypted store, of its type in
/// an open registry store, and there of the matrix, which null refuses.
constexpr struct
{
    VARTYPE vt;
    const char* pszEncryptedMatrix;
    VARTYPE vtKept;
    const char* pszKeptMatrix;
} Types[] = {
    {VT_BSTR, "8 [0+3] 'string 0' 'string 2' 'string 4'", VT_BSTR, "8 [0+3] 'string 0' 'string 1' 'string 2'"},
    {VT_UNKNOWN, "13 [0+6] abcdefghijklmnopqrstuvwx", VT_UNKNOWN, "13 [0+3] abcdefghijkl"},
    {VT_I1, "16 [0+6] abcdef", VT_I1, nullptr},
    {VT_UI1, "17 [0+3] [0+2] abcdef", VT_UI1, nullptr},
    {VT_I8, "20 [0+6] abcdefghijklmnopqrstuvwxyzabcdefghijklmnopqrstuv", VT_UI8, "21 [0+3] abcdefghijklmnopqrstuvwx"},
    {VT_UI8, "21 [0+6] abcdefghijklmnopqrstuvwxyzabcdefghijklmnopqrstuv", VT_UI8, "21 [0+3] abcdefghijklmnopqrstuvwx"},
    {VT_INT, "22 [0+6] abcdefghijklmnopqrstuvwx", VT_UINT, "23 [0+3] abcdefghijkl"},
    {VT_UINT, "23 [0+6] abcdefghijklmnopqrstuvwx", VT_UINT, "23 [0+3] abcdefghijkl"},
};

} // namespace

TEST(RoundTripTest, Value_ComesBackFromEveryKindOfStoreAsDocumented)
{
    const CKeyFile keyFile;
    for (const auto& [pszStore, type, bEncrypted] :
         {std::tuple("Open memory", MemoryStore, 0), std::tuple("Encrypted memory", MemoryStore, 1),
          std::tuple("Open registry", RegistryStore, 0), std::tuple("Encrypted registry", RegistryStore, 1)}) {
        ASSERT_EQ(Register(pszStore, type, bEncrypted), S_OK);
        const bool bOpenRegistry = type == RegistryStore && bEncrypted == 0;
        for (const auto& expected : Types) {
            SCOPED_TRACE(pszStore + std::string(" ") + std::to_string(expected.vt));
            for (const unsigned int uCount : {0U, 1U, 2U, 5000U}) {
                EXPECT_EQ(Set(pszStore, MakeValue(expected.vt, {{uCount, 0}})), S_OK);
                EXPECT_EQ(Get(pszStore), Describe(MakeValue(bOpenRegistry ? expected.vtKept : expected.vt, {{uCount, 0}})));
            }
            const ArrayPointer pMatrix = MakeValue(expected.vt, {{2, 0}, {3, 0}});
            const char* pszBack = bOpenRegistry ? expected.pszKeptMatrix : expected.pszEncryptedMatrix;
            EXPECT_EQ(Set(pszStore, pMatrix), pszBack == nullptr ? E_INVALIDARG : S_OK);
            if (pszBack != nullptr) {
                EXPECT_EQ(Get(pszStore), type == MemoryStore && bEncrypted == 0 ? Describe(pMatrix) : pszBack);
            }
        }
    }
}

TEST(RoundTripTest, Value_ThatAnotherKeyProtects_IsKeptButNotReadAndCanBeReplaced)
{
    const CKeyFile keyFile;
    CInternalDataStore writer; // as in another process
    ASSERT_EQ(writer.Begin(CText("Keyed"), RegistryStore, 1, 1, "Product"), S_OK);
    EXPECT_EQ(writer.SetData(0, CText("compartment"), CText("item"), Bytes("old").get()), S_OK);
    EXPECT_EQ(writer.GetData(0, CText("compartment"), CText("item"), nullptr), S_OK);
    keyFile.Write("another key file");
    ASSERT_EQ(Register("Keyed", RegistryStore, 1), S_OK);
    const std::string sKept = Kept("Keyed");
    EXPECT_EQ(Get("Keyed", E_FAIL), "no array");
    EXPECT_EQ(Kept("Keyed"), sKept);
    EXPECT_EQ(Set("Keyed", Bytes("new")), S_OK);
    EXPECT_EQ(Get("Keyed"), Describe(Bytes("new")));
    EXPECT_EQ(writer.GetData(0, CText("compartment"), CText("item"), nullptr), E_FAIL);
    EXPECT_NE(Kept("Keyed"), sKept);
}

TEST(RoundTripTest, RegisterDataStore_WithoutAUsableKeyFile_FailsAndRegistersNothing)
{
    const CKeyFile keyFile("fifteen bytes..");
    const auto isRefused = [](const char* pszFile) {
        EXPECT_EQ(Register("Keyless", RegistryStore, 1), E_FAIL) << pszFile;
        EXPECT_EQ(Set("Keyless", Bytes("a")), E_FAIL) << pszFile;
    };
    isRefused("short");
    keyFile.Remove();
    isRefused("missing");
    std::filesystem::create_directory(keyFile.Path());
    isRefused("a folder");
    keyFile.Remove();
    EXPECT_EQ(Register("Keyless", MemoryStore, 1), S_OK);
    EXPECT_EQ(Set("Keyless", Bytes("a")), S_OK);
}
