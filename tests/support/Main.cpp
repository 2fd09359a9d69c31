// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

// The main function of every test program, which runs in a folder of its own and removes it when it ends.

#include "OwnFolder.h"

#include <gtest/gtest.h>

int main(int argc, char** argv)
{
    const char* pszFolder = std::getenv(FolderVariable);
    if (pszFolder == nullptr) {
        return RestartInOwnFolder(argv);
    }
    const std::filesystem::path folder = pszFolder;
    const pid_t nOwner = getpid();
    testing::InitGoogleTest(&argc, argv);
    const int nResult = RUN_ALL_TESTS();
    if (getpid() == nOwner) {
        std::error_code ignored;
        std::filesystem::remove_all(folder, ignored);
    }
    return nResult;
}
