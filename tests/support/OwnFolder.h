// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <unistd.h>

/// @file
/// A library under test may read the registry while it is loaded, so a program restarts itself once with a folder of
/// its own, where the registry lies. Whoever uses the folder removes it.

/// The environment's name for the folder; it is missing before the restart.
inline constexpr const char* FolderVariable = "SHAREDSTORE_TEST_FOLDER";

/// Returns only when the program can't be restarted.
inline int RestartInOwnFolder(char** argv)
{
    std::string sFolder = (std::filesystem::temp_directory_path() / "sharedstore-test-XXXXXX").string();
    if (mkdtemp(sFolder.data()) == nullptr) {
        std::perror("mkdtemp");
        return EXIT_FAILURE;
    }
    setenv(FolderVariable, sFolder.c_str(), 1);
    setenv("SHAREDSTORE_REGISTRY", (sFolder + "/registry").c_str(), 1);
    execv("/proc/self/exe", argv);
    std::perror("execv");
    return EXIT_FAILURE;
}
