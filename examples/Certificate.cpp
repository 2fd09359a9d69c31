// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "Certificate.h"

#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/x509.h>

#include <cstdio>
#include <memory>
#include <stdexcept>

SCertificate ReadCertificate(const std::filesystem::path& path)
{
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "re"), &std::fclose);
    if (file == nullptr) {
        throw std::runtime_error("can't open " + path.string());
    }
    const std::unique_ptr<X509, void (*)(X509*)> x509(PEM_read_X509(file.get(), nullptr, nullptr, nullptr), &X509_free);
    if (x509 == nullptr) {
        throw std::runtime_error(path.string() + " holds no certificate");
    }
    SCertificate certificate;
    char szCountry[8] = "";
    X509_NAME_get_text_by_NID(X509_get_subject_name(x509.get()), NID_countryName, szCountry, sizeof szCountry);
    certificate.sCountry = szCountry[0] != '\0' ? szCountry : "none";
    unsigned char* pDer = nullptr;
    const int nSize = i2d_X509(x509.get(), &pDer);
    if (nSize < 0) {
        throw std::runtime_error(path.string() + " can't be encoded");
    }
    certificate.der.assign(pDer, pDer + nSize);
    OPENSSL_free(pDer);
    return certificate;
}

std::vector<unsigned char> Sha256(const std::vector<unsigned char>& bytes)
{
    std::vector<unsigned char> digest(32);
    if (EVP_Digest(bytes.data(), bytes.size(), digest.data(), nullptr, EVP_sha256(), nullptr) != 1) {
        throw std::runtime_error("SHA-256 failed");
    }
    return digest;
}
