// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

// Every line that a few whole operations log, in order, but for trace lines: "<level> <text>".

#include "Fakes.h"
#include "Store.h"

TEST(TranscriptTest, RemovingAnItemAndReadingAMissingOne)
{
    CTestStore store("Cards");
    EXPECT_EQ(store.Set("Card1", "Item", "v"), S_OK);
    const CTranscript transcript;
    EXPECT_EQ(store.RemoveItem("Card1", "Item"), S_OK);
    EXPECT_EQ(store.Get("Card2", "Item"), "no array");
    EXPECT_EQ(transcript.sLines, R"(
8 CStaticDataCacheClient::RemoveData
8 CInternalDataStore::RemoveData
2 CInternalDataStore::RemoveData dwClientProcessId = 0
2 CInternalDataStore::RemoveData sBSTRCompartmentId = Card1
2 CInternalDataStore::RemoveData sBSTRDataId = Item
8 CMemoryTree::RemoveData
2 CMemoryTree::RemoveData sCompartmentId = Card1 sDataId = Item
16 CMemoryTree::RemoveData hr = 0x0
8 UpdateHistoryTree
2 UpdateHistoryTree sCompartmentIdGlobal = Cards/Card1 mode = 1
8 UpdateVersion
2 UpdateVersion sPath = Cards
8 CMemoryTree::GetData
2 CMemoryTree::GetData sCompartmentId = Cards sDataId = ContentVersion
16 CMemoryTree::GetData hr = 0x0
8 CMemoryTree::SetData
2 CMemoryTree::SetData sCompartmentId = Cards sDataId = ContentVersion
2 CNode::AddDataItem RemoveDataItem hr = 0x0
16 CMemoryTree::SetData hr = 0x0
16 UpdateVersion hr = 0x0
8 UpdateVersion
2 UpdateVersion sPath = Cards/Card1
8 CMemoryTree::GetData
2 CMemoryTree::GetData sCompartmentId = Cards/Card1 sDataId = ContentVersion
16 CMemoryTree::GetData hr = 0x0
8 CMemoryTree::SetData
2 CMemoryTree::SetData sCompartmentId = Cards/Card1 sDataId = ContentVersion
2 CNode::AddDataItem RemoveDataItem hr = 0x0
16 CMemoryTree::SetData hr = 0x0
16 UpdateVersion hr = 0x0
16 UpdateHistoryTree hr = 0x0
16 CInternalDataStore::RemoveData hr = 0x0
16 CStaticDataCacheClient::RemoveData hr = 0x0
8 CStaticDataCacheClient::GetData
8 CInternalDataStore::GetData
2 CInternalDataStore::GetData dwClientProcessId = 0 sBSTRCompartmentId = Card2 sBSTRDataId = Item
8 CMemoryTree::GetData
2 CMemoryTree::GetData sCompartmentId = Card2 sDataId = Item
16 CMemoryTree::GetData sCompartmentId not found
16 CMemoryTree::GetData hr = 0x80070057
2 CInternalDataStore::GetData GetData : data not found
16 CInternalDataStore::GetData hr = 0x80070057
1 CStaticDataCacheClient::GetData: GetData failed hr = 80070057
16 CStaticDataCacheClient::GetData hr = 0x80070057)");
}

TEST(TranscriptTest, StoringInAStoreThatIsNotShared)
{
    CTestStore store("Refused", 0);
    const CTranscript transcript;
    EXPECT_EQ(store.Set("a", "d", "v"), E_FAIL);
    EXPECT_EQ(transcript.sLines, R"(
8 CStaticDataCacheClient::SetData
8 CInternalDataStore::SetData
2 CInternalDataStore::SetData dwClientProcessId = 0 sBSTRCompartmentId = a sBSTRDataId = d
1 CInternalDataStore::SetData Shared between user sessions is not supported on this product. Please change the store configuration.
16 CInternalDataStore::SetData hr = 0x80004005
1 CStaticDataCacheClient::SetData: SetData failed hr = 80004005
16 CStaticDataCacheClient::SetData hr = 0x80004005)");
}
