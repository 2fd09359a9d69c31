// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "platform/Framework.h"

#include <memory>
#include <string_view>

/// Codes of the framework's exceptions; 0 stands for none.
constexpr unsigned int InvalidArgument = 4000;
constexpr unsigned int UnknownName = 4001;
constexpr unsigned int BadData = 4002;

/// The code that a call throws.
template <class Function> unsigned int CodeOf(Function function)
{
    try {
        function();
    } catch (OV::Framework::IException* pException) {
        return std::unique_ptr<OV::Framework::IException>(pException)->GetErrorCode();
    }
    return 0;
}

template <class Object> std::unique_ptr<Object> Own(Object* pObject)
{
    return std::unique_ptr<Object>(pObject);
}

inline OV::Framework::SecureBytes FromHex(std::string_view sHex)
{
    const auto digit = [](char c) { return static_cast<unsigned int>(c <= '9' ? c - '0' : c - 'a' + 10); };
    OV::Framework::SecureBytes bytes;
    for (std::size_t u = 0; u + 1 < sHex.size(); u += 2) {
        bytes.push_back(static_cast<unsigned char>(digit(sHex[u]) << 4U | digit(sHex[u + 1])));
    }
    return bytes;
}

inline std::unique_ptr<OV::Framework::IAlgorithm> MakeAes()
{
    return Own(OV::Framework::IAlgorithm::CreateFromFriendlyName("AES", Own(OV::Framework::IAlgorithmParameters::Create()).get()));
}

inline std::unique_ptr<OV::Framework::IKey> MakeKey(std::string_view sHex)
{
    return Own(OV::Framework::IKey::Create(MakeAes().get(), "RAW", FromHex(sHex)));
}
