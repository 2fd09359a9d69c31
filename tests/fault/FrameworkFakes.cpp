// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

// What makes objects of the framework in front of the platform's: it fails on request, and so do the objects.

#include "platform/Framework.h"
#include "store/Fakes.h"

#include <memory>

namespace OV::Framework
{

namespace
{

struct SFailure final : IException
{
    unsigned int GetErrorCode() const override { return 1; }
};

void Fail(const char* pszFunction)
{
    if (CFault::Fails(pszFunction)) {
        throw static_cast<IException*>(new SFailure);
    }
}

/// An object in front of the platform's.
template <class Object> struct SFake : Object
{
    explicit SFake(std::unique_ptr<Object>& p) : pReal(std::move(p)) {}
    const std::unique_ptr<Object> pReal;
};

struct SGenerator final : SFake<KeyGenerator>
{
    using SFake::SFake;
    IKey* Generate(unsigned int uBytes) override { return Fail("Generate"), pReal->Generate(uBytes); }
};

struct SCipher final : SFake<Cipher>
{
    using SFake::SFake;
    void Initialize(int nDirection, IKey* pKey) override { Fail("Initialize"), pReal->Initialize(nDirection, pKey); }
    void Process(const SecureBytes& in, SecureBytes& out) override { Fail("Process"), pReal->Process(in, out); }
};

struct STimer final : SFake<ITimer>
{
    using SFake::SFake;
    void Restart() override { Fail("Restart"), pReal->Restart(); }
    long GetSecondsLeft() const override { return pReal->GetSecondsLeft(); }
};

/// Makes an object of the platform, or a fake in front of it.
template <class Fake, class Object, class... Args>
Object* Make(const char* pszName, Object* (*pfn)(Args...), std::type_identity_t<Args>... args)
{
    std::unique_ptr<Object> pReal((Fail(pszName), Real(pszName, pfn)(args...)));
    if constexpr (std::is_same_v<Fake, Object>) {
        return pReal.release();
    } else {
        return new Fake(pReal);
    }
}

} // namespace

// clang-format off

// NOLINTBEGIN(bugprone-macro-parentheses): only a macro makes functions of a table
#define MAKES(Fake, Type, Name, MangledName, Parameters, ...) \
    Type* Type::Name Parameters { return Make<Fake>("_ZN2OV9Framework" MangledName, &Type::Name __VA_OPT__(,) __VA_ARGS__); }
// NOLINTEND(bugprone-macro-parentheses)

MAKES(IAlgorithmParameters, IAlgorithmParameters, Create, "20IAlgorithmParameters6CreateEv", (),)
MAKES(IAlgorithm, IAlgorithm, CreateFromFriendlyName, "10IAlgorithm22CreateFromFriendlyNameEPKcPNS0_20IAlgorithmParametersE",
      (const char* psz, IAlgorithmParameters* p), psz, p)
MAKES(ICryptoParserParameterMap, ICryptoParserParameterMap, Create, "25ICryptoParserParameterMap6CreateEv", (),)
MAKES(IKey, IKey, Create, "4IKey6CreateEPNS0_10IAlgorithmEPKcRKSt6vectorIhNS0_12secallocatorIhEEE",
      (IAlgorithm* p, const char* psz, const SecureBytes& bytes), p, psz, bytes)
MAKES(SGenerator, KeyGenerator, Create, "12KeyGenerator6CreateEPNS0_10IAlgorithmEPNS0_25ICryptoParserParameterMapE",
      (IAlgorithm* p, ICryptoParserParameterMap* pParams), p, pParams)
MAKES(SCipher, Cipher, Create, "6Cipher6CreateEPNS0_10IAlgorithmEPNS0_25ICryptoParserParameterMapE",
      (IAlgorithm* p, ICryptoParserParameterMap* pParams), p, pParams)

// clang-format on

/// Takes the callback's ownership also when it throws.
ITimer* ITimer::CreateNewTimer(unsigned int nSeconds, ITimerCallbackFunction* pCallback)
{
    constexpr const char* Name = "_ZN2OV9Framework6ITimer14CreateNewTimerEjPNS0_22ITimerCallbackFunctionE";
    std::unique_ptr<ITimerCallbackFunction> pOwned(pCallback);
    Fail(Name);
    std::unique_ptr<ITimer> pReal(Real(Name, &CreateNewTimer)(nSeconds, pOwned.release()));
    return new STimer(pReal);
}

} // namespace OV::Framework
