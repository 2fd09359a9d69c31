// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "registry/Record.h"

#include "registry/StorageError.h"

#include <algorithm>
#include <lmdb.h>

namespace Registry
{

namespace
{

constexpr std::string_view Magic = "SSTOREG\n";
static_assert(Magic.size() == NumberSize);

constexpr std::size_t VersionOffset = 2 * NumberSize;
constexpr std::size_t NextIdOffset = 3 * NumberSize;

/// The first 8 bytes, or what there is of them.
std::uint64_t LoadWord(std::string_view sBytes)
{
    std::uint64_t uWord = 0;
    sBytes.copy(reinterpret_cast<char*>(&uWord), sizeof(uWord));
    return uWord;
}

std::uint64_t Checksum(std::string_view sKey, std::string_view sData)
{
    return Mix(Mix(0, sKey), sData);
}

} // namespace

CRecordKey::CRecordKey(std::uint64_t uKeyId, ERecord eKind, std::string_view sName) : m_uSize(PrefixSize + sName.size())
{
    StoreNumber(m_aBytes, uKeyId);
    m_aBytes[NumberSize] = static_cast<char>(eKind);
    std::ranges::copy(sName, m_aBytes + PrefixSize);
}

void StoreNumber(char* pBytes, std::uint64_t uNumber)
{
    for (std::size_t uByte = NumberSize; uByte-- > 0; uNumber >>= 8) {
        pBytes[uByte] = static_cast<char>(uNumber & 0xFF);
    }
}

std::uint64_t LoadNumber(const char* pBytes)
{
    std::uint64_t uNumber = 0;
    for (std::size_t uByte = 0; uByte < NumberSize; ++uByte) {
        uNumber = uNumber << 8 | static_cast<unsigned char>(pBytes[uByte]);
    }
    return uNumber;
}

std::uint64_t Mix(std::uint64_t uHash, std::string_view sBytes)
{
    // Every step can be undone for a given word, so two inputs that differ in one word never meet.
    const auto fold = [&uHash](std::uint64_t uWord) {
        uHash = (uHash ^ uWord) * 0x9E3779B97F4A7C15;
        uHash ^= uHash >> 32;
    };
    while (sBytes.size() >= sizeof(std::uint64_t)) {
        fold(LoadWord(sBytes));
        sBytes.remove_prefix(sizeof(std::uint64_t));
    }
    fold(LoadWord(sBytes));
    fold(sBytes.size());
    return uHash;
}

void StoreHeader(char* pRecord, const SHeader& header)
{
    std::ranges::copy(Magic, pRecord + NumberSize);
    StoreNumber(pRecord + VersionOffset, header.uVersion);
    StoreNumber(pRecord + NextIdOffset, header.uNextKeyId);
}

SHeader LoadHeader(std::string_view sRecord)
{
    return {LoadNumber(sRecord.data() + VersionOffset), LoadNumber(sRecord.data() + NextIdOffset)};
}

void Seal(std::string_view sKey, char* pRecord, std::size_t uSize)
{
    StoreNumber(pRecord, Checksum(sKey, {pRecord + NumberSize, uSize - NumberSize}));
}

void RequireHeader(std::string_view sKey, std::string_view sRecord)
{
    // The checksum is not looked at: a newer format may well compute another one.
    if (sKey != CRecordKey(RootKeyId, ERecord::Header).Bytes() || sRecord.size() < SHeader::RecordSize ||
        sRecord.substr(NumberSize, NumberSize) != Magic) {
        throw CStorageError(MDB_INVALID, "not a registry database");
    }
    if (LoadHeader(sRecord).uVersion != FormatVersion) {
        throw CStorageError(MDB_INVALID, "a registry database of a format that this version does not know");
    }
}

bool IsSound(std::string_view sKey, std::string_view sRecord)
{
    if (sKey.size() < CRecordKey::PrefixSize || sRecord.size() < 2 * NumberSize || sRecord.size() > MaxRecordSize) {
        return false;
    }
    const std::size_t uNameSize = sKey.size() - CRecordKey::PrefixSize;
    bool bFits = false;
    switch (static_cast<ERecord>(sKey[NumberSize])) {
    case ERecord::Header:
        bFits = uNameSize == 0 && sRecord.size() == SHeader::RecordSize;
        break;
    case ERecord::SubKey:
        bFits = uNameSize >= 1 && uNameSize <= MaxKeyNameSize && sRecord.size() == 2 * NumberSize;
        break;
    case ERecord::Value:
        bFits = uNameSize <= MaxValueNameSize;
        break;
    }
    return bFits && LoadNumber(sRecord.data()) == Checksum(sKey, sRecord.substr(NumberSize));
}

} // namespace Registry
