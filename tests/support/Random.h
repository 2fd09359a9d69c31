// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <random>
#include <string>

/// Numbers that differ from run to run. What made a run fail can be run again: the seed is printed, and taken from
/// the environment when it is there.
class CRandom
{
public:
    CRandom() : m_Engine(Seed()) {}

    unsigned int Below(unsigned int uLimit) { return static_cast<unsigned int>(m_Engine() % uLimit); }
    template <class TList> const auto& Of(const TList& list) { return list[Below(static_cast<unsigned int>(std::size(list)))]; }

private:
    static unsigned int Seed()
    {
        constexpr const char* Variable = "SHAREDSTORE_TEST_SEED";
        const char* pszSeed = std::getenv(Variable);
        const unsigned int uSeed = pszSeed == nullptr ? std::random_device()() : static_cast<unsigned int>(std::stoul(pszSeed));
        std::printf("%s=%u\n", Variable, uSeed);
        std::fflush(stdout); // before anything that may end the program
        return uSeed;
    }

    std::mt19937 m_Engine;
};
