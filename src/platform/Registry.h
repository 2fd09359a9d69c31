// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "platform/Api.h"

/// @file
/// The platform's registry emulation: hives of keys, each with sub-keys and typed values.
///
/// Shapes and code numbers follow the Windows registry functions ("winreg.h", "winerror.h",
/// Microsoft Windows SDK documentation). Rules that hold for every function:
/// - pszRoot names the hive, for example "HKEY_LOCAL_MACHINE"; a hive exists once something was
///   written to it. Its name holds no "\".
/// - pszSubKey is a path of key names joined by "\". An empty path is the hive itself. An empty
///   component, a null string or a name over its limit is refused with ERROR_INVALID_PARAMETER.
/// - ulReserved and nFlags other than 0 are refused with ERROR_INVALID_PARAMETER.
/// - Key and value names are compared byte for byte and listed in byte order. A value name may be
///   empty (the key's default value).
/// - A call without a buffer fills in the count or size that is needed and succeeds.
/// - Each call is one transaction: it sees and leaves a consistent registry, whatever other threads
///   and processes do. A write that returned 0 survives a crash of the process, and of the machine
///   unless SHAREDSTORE_REGISTRY_SYNC is "relaxed".
/// - Reading never creates anything on disk but the lock file beside a registry that lacks it; a
///   registry that does not exist reads as empty.
/// - Out-arguments are written only on success and, for sizes and counts, with ERROR_MORE_DATA.
///
/// Any function may also answer ERROR_ACCESS_DENIED (file permissions, read-only file system),
/// ERROR_DISK_FULL, ERROR_NOT_ENOUGH_MEMORY, ERROR_DIRECTORY (the path of the registry's folder is not
/// absolute, or leads through a file), ERROR_BADDB (the file is not a registry, or is of a newer
/// format), ERROR_REGISTRY_CORRUPT (it is damaged) or ERROR_IO_DEVICE; the file is then left as it was.
///
/// Thread safety: every function may be called from any thread; one key handle may be used by
/// several threads until it is closed.

extern "C" {

/// An open key.
typedef struct PvRegKey* PVHKEY;

/// Type of a value. The registry keeps type and bytes as given; it never checks one against the other.
enum : unsigned long {
    REG_NONE = 0,
    REG_SZ = 1,
    REG_EXPAND_SZ = 2,
    REG_BINARY = 3,
    REG_DWORD = 4,
    REG_MULTI_SZ = 7,
    REG_QWORD = 11,
};

/// Result codes (Win32 numbers).
enum : long {
    ERROR_SUCCESS = 0,
    ERROR_FILE_NOT_FOUND = 2, ///< no such key or value
    ERROR_ACCESS_DENIED = 5,  ///< file permissions, or a read-only file system
    ERROR_INVALID_HANDLE = 6, ///< not an open key
    ERROR_NOT_ENOUGH_MEMORY = 8,
    ERROR_INVALID_PARAMETER = 87, ///< null argument, empty path component, name or value over its limit
    ERROR_DISK_FULL = 112,
    ERROR_DIR_NOT_EMPTY = 145,     ///< the key has sub-keys
    ERROR_MORE_DATA = 234,         ///< the buffer is too small; the size or count needed was filled in
    ERROR_NO_MORE_ITEMS = 259,     ///< enumeration index past the end
    ERROR_DIRECTORY = 267,         ///< the path of the registry's folder is not absolute, or leads through a file
    ERROR_BADDB = 1009,            ///< not a registry database, or one of a newer format
    ERROR_REGISTRY_CORRUPT = 1015, ///< the database is damaged
    ERROR_KEY_DELETED = 1018,      ///< the open key was deleted meanwhile
    ERROR_IO_DEVICE = 1117,        ///< the operating system failed to read or write
    ERROR_UNSUPPORTED_TYPE = 1630, ///< a typed read of a value of another type
};

/// A key name in a listing, NUL-terminated: key names have 1 to 254 bytes.
struct ovRegKey
{
    char szName[255]; ///< of the key
};

/// A value in a listing: NUL-terminated name (0 to 255 bytes), type and size of the data in bytes.
struct ovRegValue
{
    char szName[256];     ///< of the value
    unsigned long ulType; ///< one of REG_*
    unsigned long ulSize; ///< of its data
};

/// Opens a key, and makes it and its missing parents when it does not exist.
/// @param ulReserved 0
/// @param pszClass ignored, may be null
/// @param ulOptions ignored
/// @param ulAccess ignored: file permissions decide
/// @param pSecurity ignored, may be null
/// @param phKey receives the open key, closed with pvRegCloseKey; may not be null
/// @param pulDisposition receives 1 when the key was made, 2 when it existed; may be null
/// @return 0 or a code of the file comment
SHAREDSTORE_API long pvRegCreateKeyEx(const char* pszRoot, const char* pszSubKey, unsigned long ulReserved, char* pszClass,
                                      unsigned long ulOptions, unsigned long ulAccess, void* pSecurity, PVHKEY* phKey,
                                      unsigned long* pulDisposition);

/// Opens an existing key.
/// @param ulOptions ignored
/// @param ulAccess ignored
/// @param phKey receives the open key, closed with pvRegCloseKey; may not be null
/// @return 0; ERROR_FILE_NOT_FOUND; or a code of the file comment
SHAREDSTORE_API long pvRegOpenKeyEx(const char* pszRoot, const char* pszSubKey, unsigned long ulOptions, unsigned long ulAccess,
                                    PVHKEY* phKey);

/// Closes a key that pvRegCreateKeyEx or pvRegOpenKeyEx opened.
/// @return 0; ERROR_INVALID_HANDLE for null
SHAREDSTORE_API long pvRegCloseKey(PVHKEY hKey);

/// Reads the name of one sub-key.
/// @param ulIndex position in byte order, from 0
/// @param pszName receives the name and a NUL; null to ask for the size
/// @param pulNameSize in: size of pszName in bytes; out: length of the name without the NUL, or, for a
///        null pszName and with ERROR_MORE_DATA, the size that is needed, NUL included
/// @param pulReserved, pszClass, pulClassSize, pLastWriteTime ignored, may be null
/// @return 0; ERROR_NO_MORE_ITEMS; ERROR_MORE_DATA when the name and its NUL do not fit;
///         ERROR_KEY_DELETED; ERROR_INVALID_HANDLE; or a code of the file comment
SHAREDSTORE_API long pvRegEnumKeyEx(PVHKEY hKey, unsigned long ulIndex, char* pszName, unsigned long* pulNameSize,
                                    unsigned long* pulReserved, char* pszClass, unsigned long* pulClassSize, void* pLastWriteTime);

/// Writes a value, replacing one of the same name whatever its type.
/// @param pszName 0 to 255 bytes
/// @param ulReserved 0
/// @param pData ulSize bytes; may be null when ulSize is 0
/// @param ulSize 0 to 16777216
/// @return 0; ERROR_KEY_DELETED; ERROR_INVALID_HANDLE; or a code of the file comment
SHAREDSTORE_API long pvRegSetValueEx(PVHKEY hKey, const char* pszName, unsigned long ulReserved, unsigned long ulType,
                                     const unsigned char* pData, unsigned long ulSize);

/// Reads a value of any type.
/// @param pulType receives the type; may be null
/// @param pBuffer receives the data; null to ask for the size
/// @param pulSize in: size of pBuffer; out: size of the data; may be null only when pBuffer is null
/// @param nFlags 0
/// @return 0; ERROR_FILE_NOT_FOUND; ERROR_MORE_DATA; or a code of the file comment
SHAREDSTORE_API long ovRegReadValueEx(const char* pszRoot, const char* pszSubKey, const char* pszName, unsigned long* pulType,
                                      unsigned char* pBuffer, unsigned long* pulSize, int nFlags);

/// Reads a REG_DWORD value of exactly 4 bytes.
/// @param pulValue receives the number; may not be null
/// @param nFlags 0
/// @return 0; ERROR_FILE_NOT_FOUND; ERROR_UNSUPPORTED_TYPE for a value of another type or size;
///         or a code of the file comment
SHAREDSTORE_API long ovRegReadDWORDValueEx(const char* pszRoot, const char* pszSubKey, const char* pszName, unsigned long* pulValue,
                                           int nFlags);

/// Reads a REG_SZ value as NUL-terminated text: the data up to its first NUL.
/// @param pszBuffer receives the text; null to ask for the size
/// @param pulSize in: size of pszBuffer; out: size of the text with its NUL; may not be null
/// @param nFlags 0
/// @return 0; ERROR_FILE_NOT_FOUND; ERROR_MORE_DATA; ERROR_UNSUPPORTED_TYPE for a value of another
///         type; or a code of the file comment
SHAREDSTORE_API long ovRegReadStringValueEx(const char* pszRoot, const char* pszSubKey, const char* pszName, char* pszBuffer,
                                            unsigned long* pulSize, int nFlags);

/// Lists the names of a key's sub-keys.
/// @param pKeys receives the names; null to ask for the count
/// @param pulCount in: entries in pKeys; out: number of sub-keys; may not be null
/// @return 0; ERROR_FILE_NOT_FOUND; ERROR_MORE_DATA; or a code of the file comment
SHAREDSTORE_API long ovRegListKeys(const char* pszRoot, const char* pszSubKey, ovRegKey* pKeys, unsigned long* pulCount);

/// As ovRegListKeys.
/// @param nFlags 0
SHAREDSTORE_API long ovRegListKeysEx(const char* pszRoot, const char* pszSubKey, ovRegKey* pKeys, unsigned long* pulCount, int nFlags);

/// Lists a key's values.
/// @param pValues receives names, types and sizes; null to ask for the count
/// @param pulCount in: entries in pValues; out: number of values; may not be null
/// @param nType only values of this type are listed and counted; -1 for all
/// @param nFlags 0
/// @return 0; ERROR_FILE_NOT_FOUND; ERROR_MORE_DATA; or a code of the file comment
SHAREDSTORE_API long ovRegListValueNamesEx(const char* pszRoot, const char* pszSubKey, ovRegValue* pValues, unsigned long* pulCount,
                                           int nType, int nFlags);

/// Deletes a value.
/// @param nFlags 0
/// @return 0; ERROR_FILE_NOT_FOUND; or a code of the file comment
SHAREDSTORE_API long ovRegDeleteValue(const char* pszRoot, const char* pszSubKey, const char* pszName, int nFlags);

/// Deletes a key and its values. The hive itself cannot be deleted: ERROR_INVALID_PARAMETER.
/// @param bRecursive also delete all sub-keys
/// @param nFlags 0
/// @return 0; ERROR_FILE_NOT_FOUND; ERROR_DIR_NOT_EMPTY for a key with sub-keys when not recursive,
///         nothing is then deleted; or a code of the file comment
SHAREDSTORE_API long ovRegDeleteKey(const char* pszRoot, const char* pszSubKey, bool bRecursive, int nFlags);

/// Deletes everything below a key, and the key itself. The hive itself can only be emptied:
/// ERROR_INVALID_PARAMETER without bKeepKey.
/// @param nFlags 0
/// @param bKeepKey keep the key, empty of values and sub-keys
/// @return 0; ERROR_FILE_NOT_FOUND; or a code of the file comment
SHAREDSTORE_API long ovRegDeleteSubKey(const char* pszRoot, const char* pszSubKey, int nFlags, bool bKeepKey);

} // extern "C"
