// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>
#include <unistd.h>

/// @file
/// A program that KeyFile.cpp is linked into never opens the machine's key file: it opens the one that the
/// environment names, and without that name there is none.

inline constexpr const char* KeyFileVariable = "SHAREDSTORE_TEST_KEY_FILE";

/// Any 16 bytes are a key.
inline constexpr std::string_view SomeKey = "sixteen key byte";

/// The program's key file, and that of the programs it starts, for as long as this lives.
class CKeyFile
{
public:
    explicit CKeyFile(std::string_view sBytes = SomeKey)
        : m_path(std::filesystem::temp_directory_path() / ("sharedstore-test-key-" + std::to_string(getpid())))
    {
        Write(sBytes);
        setenv(KeyFileVariable, m_path.c_str(), 1);
    }
    ~CKeyFile()
    {
        unsetenv(KeyFileVariable);
        Remove();
    }
    CKeyFile(const CKeyFile&) = delete;
    CKeyFile& operator=(const CKeyFile&) = delete;

    const std::filesystem::path& Path() const { return m_path; }
    void Write(std::string_view sBytes) const { std::ofstream(m_path, std::ios::binary) << sBytes; }
    void Remove() const { std::filesystem::remove(m_path); }

private:
    std::filesystem::path m_path;
};
