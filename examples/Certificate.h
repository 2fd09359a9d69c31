// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <filesystem>
#include <string>
#include <vector>

// An X.509 certificate: its DER form and the country of its subject, "none" where it names none.
struct SCertificate
{
    std::string sCountry;
    std::vector<unsigned char> der;
};

// Reads a certificate in PEM form; throws std::runtime_error for a file that holds none.
SCertificate ReadCertificate(const std::filesystem::path& path);

// The SHA-256 digest of some bytes.
std::vector<unsigned char> Sha256(const std::vector<unsigned char>& bytes);
