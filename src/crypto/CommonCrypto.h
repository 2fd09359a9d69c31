// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "platform/Api.h"
#include "platform/ComEmulation.h"
#include "platform/SecAllocator.h"

#include <memory>

class COperation;

/// Protects the values of one encrypted store: AES-128 in CBC mode with PKCS#7 padding.
///
/// A store in memory has a volatile key, made anew whenever the store begins. A store in the registry
/// has the persistent key, which every process makes of the same key file. Encrypted together with a
/// value is its element type, so that decryption gives back an array of that type.
///
/// It hides values from whoever reads the registry's files, or memory without the key; an idle cipher for each
/// direction keeps an expanded copy of the key as long as the store lives. It does not protect them from change: nothing authenticates a
/// value, and all values of a store share one initialisation vector, so that equal ones look equal. Decryption takes any bytes without harm
/// and answers with an array or a code.
///
/// Owner: the engine of the store, which calls initialize once, before anything else.
/// Thread safety: any thread may encrypt and decrypt once initialize has returned.
class SHAREDSTORE_API CommonCrypto
{
public:
    using SecureString = OV::Framework::SecureString; ///< an identifier or a path
    using SecureBytes = OV::Framework::SecureBytes;   ///< key bytes and clear values

    /// The initialisation vector is made of these bytes.
    static const unsigned char m_const_EntropyData[16];

    CommonCrypto();
    ~CommonCrypto();
    CommonCrypto(const CommonCrypto&) = delete;
    CommonCrypto& operator=(const CommonCrypto&) = delete;

    /// Makes the key of a store.
    /// @param bPersistent of the key file (true), or at random (false)
    /// @return as CreateNewPersistentKey or CreateNewVolatileKey
    HRESULT initialize(const SecureString& storeName, bool bPersistent);

    /// Encrypts an array of type VT_BSTR, VT_UNKNOWN, VT_I1, VT_UI1, VT_I8, VT_UI8, VT_INT or VT_UINT.
    ///
    /// What decryption does not give back: lower bounds; the dimensions of an array that is not VT_UI1;
    /// null strings, and all strings from the first empty one on; a string's characters from its first NUL
    /// on. A VT_BSTR array is read from index 0 on, whatever its lower bound, and of several dimensions only
    /// its first row.
    /// @param psaOut receives a new VT_UI1 vector for the caller, freed with ovSafeArrayDestroy; untouched
    ///        on failure
    /// @param bPersistent with the persistent key (true) or the volatile one (false)
    /// @return S_OK; E_FAIL without any key, for another type and for VT_UI1 of more than two dimensions;
    ///         E_INVALIDARG for a null array and when the chosen key alone is missing; E_OUTOFMEMORY; the
    ///         code of the platform
    HRESULT encryptValue(SAFEARRAY* psaIn, SAFEARRAY*& psaOut, bool bPersistent) const;

    /// Decrypts what encryptValue made.
    /// @param psaOut receives a new array for the caller, freed with ovSafeArrayDestroy; on failure it is
    ///        untouched, but that a list of strings may be there half-filled or null
    /// @return S_OK; E_FAIL without any key and for a value that was changed, was cut or belongs to another key;
    ///         E_INVALIDARG for a null array and when the chosen key alone is missing; E_OUTOFMEMORY; the
    ///         code of the platform
    HRESULT DecryptValue(SAFEARRAY* psaIn, SAFEARRAY*& psaOut, bool bPersistent) const;

    /// Makes a random key, in place of an earlier one.
    /// @param keyLabel a name for the key
    /// @return S_OK; E_INVALIDARG or E_FAIL when the framework can't; E_OUTOFMEMORY
    HRESULT CreateNewVolatileKey(const SecureString& keyLabel);

    /// Makes the key of the key file, in place of an earlier one.
    /// @param keyLabel ignored
    /// @return S_OK; the code of GetKeyFromFile; E_INVALIDARG or E_FAIL when the framework can't
    HRESULT CreateNewPersistentKey(const SecureString& keyLabel);

    /// Reads the key of the key file.
    /// @param key receives 16 bytes; their content means nothing on failure
    /// @return S_OK; E_FAIL for a file that can't be opened or has fewer than 16 bytes; E_OUTOFMEMORY
    static HRESULT GetKeyFromFile(SecureBytes& key);

    /// @return the code for an error of the framework: E_INVALIDARG for 4000, else E_FAIL
    static HRESULT util_ConvertCryptoError(unsigned int code);

private:
    class CReadyKey;

    HRESULT CheckKeys(const COperation& op) const;
    HRESULT Process(const COperation& op, int nDirection, bool bPersistent, const SecureBytes& in, SecureBytes& out) const;

    // Constant after initialize.
    std::unique_ptr<CReadyKey> m_pPersistentKey;
    std::unique_ptr<CReadyKey> m_pVolatileKey;
};
