// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

// The registry in a process that loads and unloads the library.

#include "platform/Registry.h"

#include <gtest/gtest.h>

#include <dlfcn.h>
#include <filesystem>

namespace
{

template <class TFunction> TFunction* Find(void* pLibrary, const char* pszName)
{
    return reinterpret_cast<TFunction*>(dlsym(pLibrary, pszName));
}

std::ptrdiff_t CountDescriptors()
{
    return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), std::filesystem::directory_iterator());
}

void LoadUseAndUnload()
{
    void* pLibrary = dlopen(HOST_LIBRARY, RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(pLibrary, nullptr) << dlerror();
    auto* pCreate = Find<decltype(pvRegCreateKeyEx)>(pLibrary, "pvRegCreateKeyEx");
    auto* pClose = Find<decltype(pvRegCloseKey)>(pLibrary, "pvRegCloseKey");
    PVHKEY hKey = nullptr;
    EXPECT_EQ(pCreate("HKEY_LOCAL_MACHINE", "unload", 0, nullptr, 0, 0, nullptr, &hKey, nullptr), ERROR_SUCCESS);
    EXPECT_EQ(pClose(hKey), ERROR_SUCCESS);
    EXPECT_EQ(dlclose(pLibrary), 0);
    EXPECT_EQ(dlopen(HOST_LIBRARY, RTLD_NOW | RTLD_NOLOAD), nullptr) << "it is still loaded";
}

TEST(RegistryUnloadTest, Unload_ClosesTheDatabase)
{
    LoadUseAndUnload();
    const auto nDescriptors = CountDescriptors();
    for (int nRound = 0; nRound < 20; ++nRound) {
        LoadUseAndUnload();
    }
    EXPECT_EQ(CountDescriptors(), nDescriptors);
}

} // namespace
