// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "platform/Framework.h"

/// Error codes of this framework. Callers tell only InvalidArgument from the rest.
enum class FrameworkError : unsigned int {
    InvalidArgument = 4000, ///< null or foreign object, wrong length, unknown direction
    UnknownName = 4001,     ///< algorithm, key format, key type, padding or chaining mode
    BadData = 4002,         ///< a message that no encryption with this key and IV made
    CryptoFailure = 4003,   ///< the cryptographic library failed
    NoTimerThread = 4004,   ///< the system gave no thread for the timers, or they ended with the library
};

class CFrameworkException final : public OV::Framework::IException
{
public:
    explicit CFrameworkException(FrameworkError error) : m_Error(error) {}

    unsigned int GetErrorCode() const override { return static_cast<unsigned int>(m_Error); }

private:
    const FrameworkError m_Error;
};

/// Throws a new exception as IException*, for the catcher to delete.
[[noreturn]] void ThrowFrameworkError(FrameworkError error);

inline void Require(bool bHolds, FrameworkError error)
{
    if (!bHolds) {
        ThrowFrameworkError(error);
    }
}

/// The object behind a platform interface. Null and other implementations are invalid arguments.
template <class Object, class Interface> Object& GetImplementation(Interface* pInterface)
{
    auto* pObject = dynamic_cast<Object*>(pInterface);
    Require(pObject != nullptr, FrameworkError::InvalidArgument);
    return *pObject;
}
