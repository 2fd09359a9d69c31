// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace Registry
{

/// @file
/// The format of the database: one LMDB table of records.
///
/// A record's key is the id of a registry key (8 bytes, big endian), a kind (1 byte) and a name, so
/// that what belongs to one registry key lies together, in byte order of the names, and no path is
/// too long. Its data starts with a checksum over key and data:
///
///     0,  Header, ""    checksum, magic, format version, next free key id
///     id, SubKey, name  checksum, id of the sub-key
///     id, Value,  name  checksum, type, bytes
///
/// Numbers have 8 bytes, big endian. Key 0 is the parent of the hives. A key id is never used again:
/// whoever remembers the id of a key that was deleted can't mistake another key for it.

constexpr std::size_t MaxKeyNameSize = 254;
constexpr std::size_t MaxValueNameSize = 255;
constexpr std::size_t MaxValueSize = std::size_t{16} * 1024 * 1024;

constexpr std::size_t NumberSize = 8;
constexpr std::size_t MaxRecordSize = 2 * NumberSize + MaxValueSize; // checksum, type, bytes
constexpr std::uint64_t FormatVersion = 1;
constexpr std::uint64_t RootKeyId = 0;

enum class ERecord : unsigned char { Header = 0, SubKey = 1, Value = 2 };

/// The LMDB key of a record, or with an empty name the common prefix of all records of a kind.
class CRecordKey
{
public:
    CRecordKey(std::uint64_t uKeyId, ERecord eKind, std::string_view sName = {});

    std::string_view Bytes() const { return {m_aBytes, m_uSize}; }
    static constexpr std::size_t PrefixSize = NumberSize + 1;

private:
    char m_aBytes[PrefixSize + MaxValueNameSize]; // bytes past m_uSize are never read
    std::size_t m_uSize;
};

void StoreNumber(char* pBytes, std::uint64_t uNumber);
std::uint64_t LoadNumber(const char* pBytes);

/// Folds bytes into a hash. A change within any aligned 8 bytes always changes the result.
std::uint64_t Mix(std::uint64_t uHash, std::string_view sBytes);

/// Data of a header record, behind its checksum.
struct SHeader
{
    static constexpr std::size_t RecordSize = 4 * NumberSize;
    std::uint64_t uVersion;
    std::uint64_t uNextKeyId;
};
void StoreHeader(char* pRecord, const SHeader& header);
SHeader LoadHeader(std::string_view sRecord);

/// Writes the checksum in front of a record's data, which is complete.
void Seal(std::string_view sKey, char* pRecord, std::size_t uSize);

/// Throws MDB_INVALID unless the first record of a table is the header of a format that we know.
void RequireHeader(std::string_view sKey, std::string_view sRecord);

/// True when a record has a known kind, a size that goes with it, and its checksum.
bool IsSound(std::string_view sKey, std::string_view sRecord);

} // namespace Registry
