// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <cstddef>
#include <openssl/err.h>
#include <openssl/evp.h>

constexpr std::size_t AesBlockBytes = 16;

bool IsAesKeySize(std::size_t uBytes);

/// AES-CBC with keys of that size, fetched from OpenSSL once per process. It is not the caller's to
/// free. Null when no provider has it, and when the library is being unloaded.
const EVP_CIPHER* FindAesCbc(std::size_t uKeyBytes);

/// Whether OpenSSL may still be called: not when the process has cleaned it up.
bool IsOpenSslAlive();

/// Takes the errors that OpenSSL queues in its lifetime off the thread's queue again, and leaves
/// those of the application there.
class CErrorQueueMark
{
public:
    CErrorQueueMark() noexcept { ERR_set_mark(); }
    ~CErrorQueueMark() { ERR_pop_to_mark(); }
    CErrorQueueMark(const CErrorQueueMark&) = delete;
    CErrorQueueMark& operator=(const CErrorQueueMark&) = delete;
};
