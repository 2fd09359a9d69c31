// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "Handles.h"

#include "client/StaticAuthCacheClient.h"
#include "platform/SecAllocator.h"

// A PIN in the clear: its memory is wiped before it returns to the heap.
using Pin = OV::Framework::SecureBytes;

// The user PIN of one card in the PIN cache. An object holds no PIN: all of a process see the same cache.
class CPinCache
{
public:
    explicit CPinCache(const std::string& sCard) : m_Card(Bstr(sCard)) {}

    // What may be done with the PIN, for a key that demands it on every use or for any other.
    OV::AuthStore::PINState State(bool bEveryUse)
    {
        OV::AuthStore::PINState state = OV::AuthStore::PINStateNotCached; // stays when the operation fails
        m_Client.IsPINCachedEx(m_Card.get(), m_PinId.get(), Need(bEveryUse).Get(), 1, nullptr, &state);
        return state;
    }

    // The PIN, for one use that State allowed; empty when the state is no longer that one.
    Pin Get(bool bEveryUse, OV::AuthStore::PINState allowed)
    {
        OV::AuthStore::PINState state = OV::AuthStore::PINStateNotCached;
        SAFEARRAY* psaPin = nullptr;
        m_Client.GetPINEx(m_Card.get(), m_PinId.get(), Need(bEveryUse).Get(), 1, &psaPin, nullptr, &state);
        const ArrayPointer pin(psaPin); // handed out whatever the state is; destroying it wipes it
        return pin != nullptr && state == allowed ? ToBytes<Pin>(pin.get()) : Pin();
    }

    // Stores a PIN that the user typed and the card accepted. That permits one use of a key that demands it on every use.
    void Set(const Pin& pin)
    {
        SParameter action{Bstr("Action"), Bstr("Authenticate")};
        SAFEARRAY* psaSession = nullptr;
        m_Client.SetPIN(m_Card.get(), m_PinId.get(), ToArray(pin).get(), action.Get(), 1, &psaSession);
        if (ArrayPointer(psaSession) == nullptr) { // with parameters the result code does not tell
            throw std::runtime_error("the PIN could not be cached");
        }
    }

    void Remove()
    {
        const HRESULT hr = m_Client.RemovePIN(m_Card.get(), m_PinId.get(), nullptr, 0);
        Check(hr == E_INVALIDARG ? S_OK : hr, "removing the PIN"); // it may be gone already
    }

private:
    // One additional parameter of an operation.
    struct SParameter
    {
        StringPointer name;
        StringPointer value;
        OV::AuthStore::AuthParameter parameter{name.get(), value.get()};
        OV::AuthStore::AuthParameter* Get() { return &parameter; }
    };

    static SParameter Need(bool bEveryUse) { return {Bstr("IsACRPINAlways"), Bstr(bEveryUse ? "Yes" : "No")}; }

    OV::AuthStore::CStaticAuthCacheClient m_Client;
    StringPointer m_Card;
    StringPointer m_PinId = Bstr("User");
};
