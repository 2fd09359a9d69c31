// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "PinCache.h"

#include <cstring>
#include <p11-kit/p11-kit.h>

struct SKey
{
    const char* pszLabel;
    bool bEveryUse; // demands the PIN before each signature
};

// The first token of a PKCS#11 module, in a session of its own. Failures are thrown as std::runtime_error.
class CToken
{
public:
    explicit CToken(const std::string& sModule) : m_Module(p11_kit_module_load(sModule.c_str(), 0), p11_kit_module_release)
    {
        if (m_Module == nullptr) {
            throw std::runtime_error("the PKCS#11 module can't be loaded: " + std::string(p11_kit_message()));
        }
        Check(p11_kit_module_initialize(m_Module.get()), "C_Initialize");
        m_Initialized.reset(m_Module.get());
        CK_SLOT_ID slots[16] = {};
        CK_ULONG ulSlots = std::size(slots);
        Check(m_Module->C_GetSlotList(CK_TRUE, slots, &ulSlots), "C_GetSlotList");
        m_Slot = slots[0];
        Check(m_Module->C_OpenSession(m_Slot, CKF_SERIAL_SESSION | CKF_RW_SESSION, nullptr, nullptr, &m_Session),
              "opening the first token");
    }

    CK_TOKEN_INFO Info() const
    {
        CK_TOKEN_INFO info{};
        Check(m_Module->C_GetTokenInfo(m_Slot, &info), "C_GetTokenInfo");
        return info;
    }

    // Presents the PIN; false when it is the wrong one, which costs a try.
    bool Login(const Pin& pin)
    {
        const CK_RV rv = m_Module->C_Login(m_Session, CKU_USER, Data(pin), pin.size());
        Check(rv == CKR_PIN_INCORRECT ? CKR_OK : rv, "C_Login");
        return rv == CKR_OK;
    }

    void ChangePin(const Pin& oldPin, const Pin& newPin)
    {
        Check(m_Module->C_SetPIN(m_Session, Data(oldPin), oldPin.size(), Data(newPin), newPin.size()), "C_SetPIN");
    }

    // Makes a key pair unless there is one of this name.
    void MakeKeyPair(const SKey& key)
    {
        if (Find(key, CKO_PRIVATE_KEY) != 0) {
            return;
        }
        CK_BBOOL bTrue = CK_TRUE;
        CK_BBOOL bEveryUse = key.bEveryUse ? CK_TRUE : CK_FALSE;
        CK_ULONG ulBits = 2048;
        CK_ATTRIBUTE publicKey[] = {Label(key), Attribute(CKA_TOKEN, bTrue), Attribute(CKA_VERIFY, bTrue),
                                    Attribute(CKA_MODULUS_BITS, ulBits)};
        CK_ATTRIBUTE privateKey[] = {Label(key), Attribute(CKA_TOKEN, bTrue), Attribute(CKA_SIGN, bTrue), Attribute(CKA_PRIVATE, bTrue),
                                     Attribute(CKA_ALWAYS_AUTHENTICATE, bEveryUse)};
        CK_MECHANISM mechanism{CKM_RSA_PKCS_KEY_PAIR_GEN, nullptr, 0};
        CK_OBJECT_HANDLE handles[2];
        const CK_RV rv = m_Module->C_GenerateKeyPair(m_Session, &mechanism, publicKey, std::size(publicKey), privateKey,
                                                     std::size(privateKey), &handles[0], &handles[1]);
        Check(rv, "C_GenerateKeyPair");
    }

    // Signs something and verifies the signature. Presents the PIN once more for a key that demands it.
    void Sign(const SKey& key, const Pin& pin)
    {
        CK_MECHANISM mechanism{CKM_SHA256_RSA_PKCS, nullptr, 0};
        Bytes message(100, 'm');
        Bytes signature(256);
        CK_ULONG ulSize = signature.size();
        Check(m_Module->C_SignInit(m_Session, &mechanism, Find(key, CKO_PRIVATE_KEY)), "C_SignInit");
        if (key.bEveryUse) {
            Check(m_Module->C_Login(m_Session, CKU_CONTEXT_SPECIFIC, Data(pin), pin.size()), "C_Login for one signature");
        }
        Check(m_Module->C_Sign(m_Session, message.data(), message.size(), signature.data(), &ulSize), "C_Sign");
        Check(m_Module->C_VerifyInit(m_Session, &mechanism, Find(key, CKO_PUBLIC_KEY)), "C_VerifyInit");
        Check(m_Module->C_Verify(m_Session, message.data(), message.size(), signature.data(), ulSize), "C_Verify");
    }

private:
    static void Check(CK_RV rv, const char* pszCall)
    {
        if (rv != CKR_OK) {
            throw std::runtime_error(std::string(pszCall) + " failed: " + p11_kit_strerror(rv));
        }
    }

    // The interface takes as not const what it only reads.
    static CK_BYTE* Data(const Pin& pin) { return const_cast<CK_BYTE*>(pin.data()); }
    static CK_ATTRIBUTE Label(const SKey& key) { return {CKA_LABEL, const_cast<char*>(key.pszLabel), std::strlen(key.pszLabel)}; }
    template <class T> static CK_ATTRIBUTE Attribute(CK_ATTRIBUTE_TYPE type, T& value) { return {type, &value, sizeof value}; }

    CK_OBJECT_HANDLE Find(const SKey& key, CK_OBJECT_CLASS objectClass)
    {
        CK_ATTRIBUTE wanted[] = {Label(key), Attribute(CKA_CLASS, objectClass)};
        CK_OBJECT_HANDLE handle = 0; // no object has this one
        CK_ULONG ulFound = 0;
        Check(m_Module->C_FindObjectsInit(m_Session, wanted, std::size(wanted)), "C_FindObjectsInit");
        Check(m_Module->C_FindObjects(m_Session, &handle, 1, &ulFound), "C_FindObjects");
        Check(m_Module->C_FindObjectsFinal(m_Session), "C_FindObjectsFinal");
        return handle;
    }

    std::unique_ptr<CK_FUNCTION_LIST, decltype(&p11_kit_module_release)> m_Module;
    std::unique_ptr<CK_FUNCTION_LIST, decltype(&p11_kit_module_finalize)> m_Initialized{nullptr, p11_kit_module_finalize};
    CK_SLOT_ID m_Slot = 0;
    CK_SESSION_HANDLE m_Session = 0;
};
