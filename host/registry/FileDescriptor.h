// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <unistd.h>
#include <utility>

namespace Registry
{

/// Owns a file descriptor; below 0 when opening it failed.
class CFileDescriptor
{
public:
    explicit CFileDescriptor(int nFile) : m_nFile(nFile) {}
    CFileDescriptor(CFileDescriptor&& other) noexcept : m_nFile(std::exchange(other.m_nFile, -1)) {}
    CFileDescriptor& operator=(CFileDescriptor&&) = delete;
    ~CFileDescriptor()
    {
        if (m_nFile >= 0) {
            close(m_nFile);
        }
    }

    bool IsOpen() const { return m_nFile >= 0; }
    int Get() const { return m_nFile; }

private:
    int m_nFile;
};

} // namespace Registry
