// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

// A card's certificate directory, cached: X.509 certificates are kept by country in a data store, read
// back and compared, and a reader that holds copies of them learns from the versions when they are old.
//
// usage: card-directory STORE FOLDER
//   STORE   a store of the configuration, shared between user sessions
//   FOLDER  holds certificates in PEM form, *.crt

#include "Cache.h"
#include "Certificate.h"

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <unistd.h>

namespace
{

// Keeps copies of one compartment's items for as long as the compartment does not change.
class CReader
{
public:
    CReader(CCache& cache, std::string sCompartment) : m_Cache(cache), m_sCompartment(std::move(sCompartment)) {}

    // Reads again what is no longer current, and says what it did.
    void Refresh(const char* pszWhen)
    {
        const CCache::SVersions versions = m_Cache.Versions(m_sCompartment);
        if (!m_Copies.empty() && !(versions != m_Versions)) {
            std::printf("  %-16s versions %lu/%lu: the copies are current, nothing is read\n", pszWhen, versions.ulCompartment,
                        versions.ulContent);
            return;
        }
        const bool bFirst = m_Copies.empty();
        m_Copies.clear();
        for (const std::string& sItem : m_Cache.Items(m_sCompartment)) {
            m_Copies[sItem] = m_Cache.Get(m_sCompartment, sItem);
        }
        std::printf("  %-16s versions %lu/%lu: %s, %zu certificates are read\n", pszWhen, versions.ulCompartment, versions.ulContent,
                    bFirst ? "nothing was read yet" : "the copies are STALE", m_Copies.size());
        m_Versions = versions;
    }

private:
    CCache& m_Cache;
    std::string m_sCompartment;
    CCache::SVersions m_Versions;
    std::map<std::string, Bytes> m_Copies;
};

// A bar on the terminal, once the work has taken longer than a moment.
class CProgress
{
public:
    explicit CProgress(std::size_t uTotal) : m_uTotal(uTotal) {}

    void Step()
    {
        ++m_uDone;
        if (isatty(STDOUT_FILENO) == 0 || std::chrono::steady_clock::now() - m_Start < std::chrono::milliseconds(500)) {
            return;
        }
        const int nFilled = static_cast<int>(m_uDone * 40 / m_uTotal);
        std::printf("\r  [%-40.*s] %zu/%zu%s", nFilled, "########################################", m_uDone, m_uTotal,
                    m_uDone == m_uTotal ? "\n" : "");
        std::fflush(stdout);
    }

private:
    std::chrono::steady_clock::time_point m_Start = std::chrono::steady_clock::now();
    std::size_t m_uTotal;
    std::size_t m_uDone = 0;
};

void PrintTree(CCache& cache, const std::string& sCompartment, const std::string& sIndent)
{
    const std::vector<std::string> children = cache.Compartments(sCompartment);
    for (const std::string& sChild : children) {
        const std::string sPath = sCompartment == "/" ? sChild : sCompartment + "/" + sChild;
        const bool bLast = sChild == children.back();
        const CCache::SVersions versions = cache.Versions(sPath);
        const std::size_t uItems = cache.Items(sPath).size();
        const std::string sItems = uItems == 0 ? "" : "  " + std::to_string(uItems) + (uItems == 1 ? " certificate" : " certificates");
        std::printf("  %s%s%s  [%lu/%lu]%s\n", sIndent.c_str(), bLast ? "`-- " : "|-- ", sChild.c_str(), versions.ulCompartment,
                    versions.ulContent, sItems.c_str());
        PrintTree(cache, sPath, sIndent + (bLast ? "    " : "|   "));
    }
}

void ShowTree(CCache& cache, const std::string& sTitle)
{
    const CCache::SVersions versions = cache.Versions("/");
    std::printf("\n%s (behind each name: compartment version/content version)\n  %s  [%lu/%lu]\n", sTitle.c_str(), "/",
                versions.ulCompartment, versions.ulContent);
    PrintTree(cache, "/", "");
}

void Run(const std::string& sStore, const std::filesystem::path& folder)
{
    const std::string sDirectory = "Card1/Certificates/";
    std::vector<std::filesystem::path> paths;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        if (entry.path().extension() == ".crt") {
            paths.push_back(entry.path());
        }
    }
    if (paths.empty()) {
        throw std::runtime_error("there are no *.crt files in " + folder.string());
    }

    CCache cache(sStore);
    std::map<std::string, std::map<std::string, Bytes>> digests; // by country and name, of the files
    std::size_t uBytes = 0;
    CProgress filling(paths.size());
    for (const std::filesystem::path& path : paths) {
        const SCertificate certificate = ReadCertificate(path);
        const std::string sName = path.stem().string();
        cache.Set(sDirectory + certificate.sCountry, sName, certificate.der);
        digests[certificate.sCountry][sName] = Sha256(certificate.der);
        uBytes += certificate.der.size();
        filling.Step();
    }
    std::printf("Stored %zu certificates, %zu bytes, from %zu countries in store %s\n", paths.size(), uBytes, digests.size(),
                sStore.c_str());

    CProgress comparing(paths.size());
    std::size_t uEqual = 0;
    for (const auto& [sCountry, names] : digests) {
        for (const auto& [sName, digest] : names) {
            uEqual += Sha256(cache.Get(sDirectory + sCountry, sName)) == digest ? 1 : 0;
            comparing.Step();
        }
    }
    std::printf("Read all of them back: %zu of %zu SHA-256 digests are those of the files\n", uEqual, paths.size());
    if (uEqual != paths.size()) {
        throw std::runtime_error("the store gave back other bytes than it was given");
    }
    ShowTree(cache, "The directory");

    const std::string sCountry = digests.count("DE") != 0 ? "DE" : digests.begin()->first;
    std::printf("\nA second reader of %s%s\n", sDirectory.c_str(), sCountry.c_str());
    CReader reader(cache, sDirectory + sCountry);
    reader.Refresh("at first");
    reader.Refresh("a moment later");
    cache.Touch(sDirectory + sCountry);
    reader.Refresh("after a touch");
    reader.Refresh("and again");

    std::printf("\nRemoving %s%s\n", sDirectory.c_str(), sCountry.c_str());
    cache.Remove(sDirectory + sCountry);
    ShowTree(cache, "What is left");
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 3) {
        std::fprintf(stderr, "usage: card-directory STORE FOLDER\n");
        return 2;
    }
    try {
        Run(argv[1], argv[2]);
        return EXIT_SUCCESS;
    } catch (const std::exception& exception) {
        std::fprintf(stderr, "card-directory: %s\n", exception.what());
        return EXIT_FAILURE;
    }
}
