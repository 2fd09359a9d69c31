// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "support/File.h"

#include "support/Failure.h"
#include "support/Text.h"
#include "util/FreeName.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Tool
{

namespace
{

class CDescriptor
{
public:
    /// @param nDescriptor what opening gave: a negative number throws CFailure
    CDescriptor(int nDescriptor, const std::string& sName) : m_nDescriptor(nDescriptor)
    {
        if (nDescriptor < 0) {
            throw SystemFailure(sName);
        }
    }
    ~CDescriptor() { close(m_nDescriptor); }
    CDescriptor(const CDescriptor&) = delete;
    CDescriptor& operator=(const CDescriptor&) = delete;
    int Get() const { return m_nDescriptor; }

private:
    int m_nDescriptor;
};

/// Makes a file's new name survive a crash of the machine, where its folder may be read and synced.
void SyncFolderOf(const std::string& sPath)
{
    const std::string sFolder = sPath.substr(0, sPath.rfind('/') + 1);
    const int nFolder = open(sFolder.empty() ? "." : sFolder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (nFolder >= 0) {
        (void)fsync(nFolder);
        close(nFolder);
    }
}

void RequireName(const std::string& sPath)
{
    if (sPath.empty()) {
        throw CFailure(ExitCode::Usage, "the name of a file is empty");
    }
}

/// A file under a temporary name, which is gone again unless it was given its final one.
class CTemporaryFile
{
public:
    explicit CTemporaryFile(const std::string& sFinalPath)
        : m_sPath(sFinalPath + ".XXXXXX"), m_Descriptor(mkostemp(m_sPath.data(), O_CLOEXEC), Display(sFinalPath)) // mode 0600
    {}
    ~CTemporaryFile()
    {
        if (!m_sPath.empty()) {
            unlink(m_sPath.c_str());
        }
    }

    bool Write(std::string_view sContent)
    {
        while (!sContent.empty()) {
            const ssize_t nWritten = write(m_Descriptor.Get(), sContent.data(), sContent.size());
            if (nWritten < 0 && errno != EINTR) {
                return false;
            }
            sContent.remove_prefix(nWritten < 0 ? 0 : static_cast<std::size_t>(nWritten));
        }
        return fsync(m_Descriptor.Get()) == 0;
    }

    bool Rename(const std::string& sFinalPath, bool bReplace)
    {
        const auto give = bReplace ? std::rename : RenameToFreeName;
        if (give(m_sPath.c_str(), sFinalPath.c_str()) != 0) {
            return false;
        }
        m_sPath.clear();
        SyncFolderOf(sFinalPath);
        return true;
    }

private:
    std::string m_sPath; ///< empty once the file has its final name
    CDescriptor m_Descriptor;
};

} // namespace

Bytes ReadFile(const std::string& sPath, std::size_t uMaximum)
{
    RequireName(sPath);
    const std::string sName = sPath == "-" ? "standard input" : Display(sPath);
    const CDescriptor file(sPath == "-" ? fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 0) : open(sPath.c_str(), O_RDONLY | O_CLOEXEC), sName);
    Bytes content;
    std::array<unsigned char, 65536> block;
    while (true) {
        const ssize_t nRead = read(file.Get(), block.data(), block.size());
        if (nRead < 0 && errno != EINTR) {
            throw SystemFailure(sName);
        }
        if (nRead == 0) {
            OV::Framework::WipeMemory(block.data(), block.size());
            return content;
        }
        content.insert(content.end(), block.data(), block.data() + (nRead < 0 ? 0 : nRead));
        if (content.size() > uMaximum) {
            throw CFailure(ExitCode::Usage, sName + ": a value has at most " + std::to_string(uMaximum) + " bytes");
        }
    }
}

void WriteFile(const std::string& sPath, std::string_view sContent, bool bReplace)
{
    RequireName(sPath);
    struct stat status;
    if (lstat(sPath.c_str(), &status) == 0) {
        if (!S_ISREG(status.st_mode)) {
            throw CFailure(ExitCode::Exists, Display(sPath) + ": not a regular file; write to standard output and redirect it");
        }
        if (!bReplace) {
            throw CFailure(ExitCode::Exists, Display(sPath) + ": there is such a file already; --force replaces it");
        }
    }
    CTemporaryFile file(sPath);
    if (!file.Write(sContent) || !file.Rename(sPath, bReplace)) {
        throw SystemFailure(Display(sPath));
    }
}

} // namespace Tool
