// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "crypto/KeyFile.h"

#include <cstdio>
#include <memory>

namespace
{

constexpr const char* KeyFilePath = "/opt/orvane/pv.sharedstore/remanentstore.key";

constexpr unsigned char KeyMask[KeyBytes] = {0xf8, 0xe1, 0xd1, 0x38, 0x56, 0x8a, 0x3b, 0x3f,
                                             0x92, 0x09, 0x62, 0x87, 0x25, 0x85, 0xa2, 0xf8};

struct SCloseFile
{
    void operator()(std::FILE* pFile) const { (void)std::fclose(pFile); }
};

} // namespace

HRESULT ReadKeyFile(const COperation& op, OV::Framework::SecureBytes& key)
{
    // "e": a program that another thread starts meanwhile does not inherit the open file.
    const std::unique_ptr<std::FILE, SCloseFile> file(std::fopen(KeyFilePath, "rbe"));
    if (file == nullptr || std::setvbuf(file.get(), nullptr, _IONBF, 0) != 0) { // a buffer would keep a copy of the key
        return op.Fail(E_FAIL, ": Unable to open the key file");
    }
    key.resize(KeyBytes);
    if (const std::size_t uRead = std::fread(key.data(), 1, KeyBytes, file.get()); uRead < KeyBytes) {
        pvlogLog(LogComponent, LogError, "%s : Unable to read the complete key from file (len = %d)", op.Name(), static_cast<int>(uRead));
        return E_FAIL;
    }
    for (std::size_t i = 0; i < KeyBytes; ++i) {
        key[i] = static_cast<unsigned char>(key[i] ^ KeyMask[i]);
    }
    return S_OK;
}
