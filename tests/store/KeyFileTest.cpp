// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

// What the key file has to do with encrypted stores.

#include "support/KeyFile.h"
#include "Store.h"
#include "datastore/InternalDataStore.h"

using namespace OV::DataStore;

TEST(KeyFileTest, ValueThatAnotherKeyProtects_IsKeptButNotReadAndCanBeReplaced)
{
    const CKeyFile keyFile;
    const CText id("Keyed"), name("a");
    CInternalDataStore writer, other; // as in two processes
    EXPECT_EQ(writer.Begin(id, RegistryStore, 1, 1, "Product"), S_OK);
    EXPECT_EQ(writer.SetData(0, name, name, Bytes("old").get()), S_OK);
    keyFile.Write("another key file");
    EXPECT_EQ(other.Begin(id, RegistryStore, 1, 1, "Product"), S_OK);
    EXPECT_EQ(other.GetData(0, name, name, nullptr), E_FAIL);
    EXPECT_EQ(writer.GetData(0, name, name, nullptr), S_OK);
    EXPECT_EQ(other.SetData(0, name, name, Bytes("new").get()), S_OK);
    EXPECT_EQ(other.GetData(0, name, name, nullptr), S_OK);
    EXPECT_EQ(writer.GetData(0, name, name, nullptr), E_FAIL);
}

TEST(KeyFileTest, StoreWithoutAUsableKeyFile_IsRegisteredOnlyInMemory)
{
    const CKeyFile keyFile("fifteen bytes..");
    const CText id("Keyless");
    const auto registerStore = [&](Type type) { return CStaticDataCacheClient::RegisterDataStore(id, type, 1, 1, id); };
    EXPECT_EQ(registerStore(RegistryStore), E_FAIL);
    keyFile.Remove();
    EXPECT_EQ(registerStore(RegistryStore), E_FAIL);
    std::filesystem::create_directory(keyFile.Path());
    EXPECT_EQ(registerStore(RegistryStore), E_FAIL);
    EXPECT_EQ(CStaticDataCacheClient().TouchCompartment(id, id), E_FAIL);
    EXPECT_EQ(registerStore(MemoryStore), S_OK);
    EXPECT_EQ(CStaticDataCacheClient().TouchCompartment(id, id), S_OK);
}
