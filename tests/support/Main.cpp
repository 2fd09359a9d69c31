// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

// The main function of every test program. A library under test may read the registry while it is
// loaded, so the program restarts itself once with a registry folder of its own, and removes that
// folder when it ends.

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <unistd.h>

namespace
{

constexpr const char* RegistryVariable = "SHAREDSTORE_REGISTRY";
constexpr const char* FolderVariable = "SHAREDSTORE_TEST_FOLDER";

int RestartInOwnFolder(char** argv)
{
    std::string sFolder = (std::filesystem::temp_directory_path() / "sharedstore-test-XXXXXX").string();
    if (mkdtemp(sFolder.data()) == nullptr) {
        std::perror("mkdtemp");
        return EXIT_FAILURE;
    }
    setenv(FolderVariable, sFolder.c_str(), 1);
    setenv(RegistryVariable, (sFolder + "/registry").c_str(), 1);
    execv("/proc/self/exe", argv);
    std::perror("execv");
    return EXIT_FAILURE;
}

} // namespace

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
