// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "Fakes.h"
#include "Store.h"

#include "client/StoreList.h"
#include "util/RegistryPaths.h"

using namespace std::string_view_literals;

namespace
{

const std::string ListKey = std::string(StoreListKey) + "\\";

/// The list, one "<id> <type><encrypted><shared> <product>" for each record.
Strings Read(HRESULT hr)
{
    std::list<_regInfos> infos;
    EXPECT_EQ(GetRegInfos(infos), hr);
    Strings lines;
    for (const _regInfos& info : infos) {
        lines.push_back(std::string(info.bstrDataStoreId) + " " + std::to_string(info.type) + std::to_string(info.bEncrypted) +
                        std::to_string(info.bSharedBetweenUserSessions) + " " + info.bstrProduct);
    }
    ClearRegInfos(infos);
    return lines;
}

} // namespace

TEST(StoreListTest, OnlyOneCountsAsANumberAndDefaultsFillTheRest)
{
    EXPECT_EQ(Read(E_FAIL), Strings{}); // there is no list
    for (const char* pszValue : {"Type", "Encrypted", "SharedBetweenUserSessions"}) {
        Configure(ListKey + "Ones", pszValue, REG_DWORD, "\1\0\0\0"sv);
        Configure(ListKey + "Twos", pszValue, REG_DWORD, "\2\0\0\0"sv);
    }
    Configure(ListKey + "Empty", "Product", REG_SZ, "");
    Configure(ListKey + "Ones", "Product", REG_SZ, "Mine");
    Configure(ListKey + "Bare\\Below", "Product", REG_SZ, "not a store");
    EXPECT_EQ(Read(S_OK), (Strings{"Bare 000 Pavendo", "Empty 000 ", "Ones 111 Mine", "Twos 000 Pavendo"}));
    Configure(ListKey + "Empty", "Type", REG_SZ, "1");
    EXPECT_EQ(Read(E_FAIL), (Strings{"Bare 000 Pavendo"}));
}

TEST(StoreListTest, ValuesThatCannotBeListed_EndTheListWithADefaultRecord)
{
    ovRegDeleteKey(RegistryHive, StoreListKey, true, 0);
    for (const char* pszStore : {"A", "B"}) {
        Configure(ListKey + pszStore, "Product", REG_SZ, "P");
    }
    const CFault fault("ovRegListValueNamesEx", 4);
    EXPECT_EQ(Read(E_FAIL), (Strings{"A 000 P", "B 000 Pavendo"}));
}
