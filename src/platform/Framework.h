// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "platform/Api.h"
#include "platform/SecAllocator.h"

/// The platform's framework: ciphers, keys and timers behind abstract classes.
///
/// Every object is deleted by whoever made it, through its virtual destructor. Failures are thrown
/// as IException*, which the catcher deletes, but std::bad_alloc when memory is out. Arguments that are pointers may not be null; a null
/// one is an invalid argument (code 4000). An object keeps no pointer to what it was made from,
/// except where a comment says so.
///
/// Thread safety: different objects may be used by different threads; keys are only read once made
/// and may be shared.
namespace OV::Framework
{

/// A failure. Code 4000 is an invalid argument; every other code is the platform's own.
class SHAREDSTORE_API IException
{
public:
    virtual ~IException() = default;
    virtual unsigned int GetErrorCode() const = 0; ///< see the class
};

/// Parameters of an algorithm (none are defined yet).
class SHAREDSTORE_API IAlgorithmParameters
{
public:
    virtual ~IAlgorithmParameters() = default;
    static IAlgorithmParameters* Create(); ///< for the caller
};

/// An algorithm by its name.
class SHAREDSTORE_API IAlgorithm
{
public:
    virtual ~IAlgorithm() = default;

    /// @param pszName "AES"; any other name throws
    static IAlgorithm* CreateFromFriendlyName(const char* pszName, IAlgorithmParameters* pParams);
};

/// Named settings for a cipher or a key generator. When it is made, it compares the names that it
/// uses byte for byte and throws for one that it does not know; it does not look at the others.
class SHAREDSTORE_API ICryptoParserParameterMap
{
public:
    virtual ~ICryptoParserParameterMap() = default;
    virtual void SetPadding(const char* pszPadding) = 0;           ///< "PKCS7"
    virtual void SetChainingMode(const char* pszChainingMode) = 0; ///< "CBC"
    virtual void SetIV(const SecureBytes& iv) = 0;                 ///< as long as a block: 16 bytes for AES
    virtual void SetKeyType(const char* pszKeyType) = 0;           ///< "TypeVolatile"
    virtual void SetKeyLabel(const char* pszKeyLabel) = 0;         ///< a name for logs and debuggers, any text
    static ICryptoParserParameterMap* Create();                    ///< empty, for the caller
};

/// A secret key. Its bytes live in memory that is kept out of swap and core dumps where the
/// process's limits allow it, and are wiped when it is deleted. A Cipher makes a copy elsewhere.
class SHAREDSTORE_API IKey
{
public:
    virtual ~IKey() = default;

    /// @param pszFormat "RAW"
    /// @param bytes the key's bytes: 16, 24 or 32 for AES; copied
    static IKey* Create(IAlgorithm* pAlgorithm, const char* pszFormat, const SecureBytes& bytes);
};

/// Makes random keys.
class SHAREDSTORE_API KeyGenerator
{
public:
    virtual ~KeyGenerator() = default;

    /// @param uBytes length of the key: 16, 24 or 32 for AES
    /// @return a new key for the caller
    virtual IKey* Generate(unsigned int uBytes) = 0;

    /// Throws for an unknown key type.
    static KeyGenerator* Create(IAlgorithm* pAlgorithm, ICryptoParserParameterMap* pParams);
};

/// Encrypts or decrypts whole messages. One thread at a time.
///
/// From its first message until it is deleted it holds an expanded copy of the key in ordinary memory, which can be
/// swapped out or dumped.
class SHAREDSTORE_API Cipher
{
public:
    virtual ~Cipher() = default;

    /// @param nDirection 0 encrypts, 1 decrypts
    /// @param pKey must live as long as Process is called
    virtual void Initialize(int nDirection, IKey* pKey) = 0;

    /// Processes one whole message, padding included; may be called again for the next one.
    /// @param out replaced by the result; empty when the call throws
    virtual void Process(const SecureBytes& in, SecureBytes& out) = 0;

    /// Throws for an unknown padding or mode and for an IV of the wrong length.
    static Cipher* Create(IAlgorithm* pAlgorithm, ICryptoParserParameterMap* pParams);
};

/// What a timer calls.
class SHAREDSTORE_API ITimerCallbackFunction
{
public:
    virtual ~ITimerCallbackFunction() = default;

    /// Runs on the timer thread, with no lock of the platform held. May restart or delete its own
    /// timer and any other. Must not throw.
    /// @return ignored
    virtual int InvokeFunction() = 0;
};

/// A one-shot timer. It counts time asleep too (CLOCK_BOOTTIME, clock_gettime(2)); one that ran out
/// meanwhile fires within a second after the machine woke up. Timers hold no descriptor.
class SHAREDSTORE_API ITimer
{
public:
    /// Stops the timer and deletes its callback object. Waits for a callback of this timer that runs
    /// on another thread; never blocks when it is called from inside that callback (the callback
    /// object is then deleted when the callback has returned).
    virtual ~ITimer() = default;

    /// Starts the timer's period anew, whether it is running or has fired, and calls off an expiry
    /// whose callback has not begun. Any thread. Cheap: no system call unless this timer becomes
    /// the earliest.
    virtual void Restart() = 0;

    /// The time until the timer fires, in seconds rounded up; 0 when it is not counting. More than 0 inside its
    /// callback means that it was started anew after the expiry that the callback is for. A platform that
    /// can't tell answers UnknownTime. Any thread.
    virtual long GetSecondsLeft() const { return UnknownTime; }
    static constexpr long UnknownTime = -1; ///< of GetSecondsLeft

    /// @param nSeconds period, from 0 (fires at once) to 4294967295
    /// @param pCallback called once per start; the timer takes ownership, also when this throws
    /// @return a running timer for the caller
    static ITimer* CreateNewTimer(unsigned int nSeconds, ITimerCallbackFunction* pCallback);
};

} // namespace OV::Framework
