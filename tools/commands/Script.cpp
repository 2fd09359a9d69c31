// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "commands/Commands.h"

#include "Dispatch.h"
#include "support/Failure.h"
#include "support/File.h"
#include "support/Output.h"
#include "support/Text.h"
#include "support/Words.h"

#include <cstdio>
#include <cstdlib>
#include <unistd.h>

namespace Tool
{

namespace
{

constexpr const char* Prompt = "sharedstore> ";
constexpr std::string_view ByteOrderMark = "\xEF\xBB\xBF"; ///< some editors begin a file with it

/// The commands of a file or of a terminal, line by line.
class CScript
{
public:
    CScript(Session& session, std::FILE* pFile, std::string sName, bool bPrompt)
        : m_Session(session), m_pFile(pFile), m_sName(std::move(sName)), m_bPrompt(bPrompt)
    {}
    ~CScript() { std::free(m_pszLine); }
    CScript(const CScript&) = delete;
    CScript& operator=(const CScript&) = delete;

    /// Runs the lines up to the end, "exit", or the first failure unless bKeepGoing.
    /// @return the first failure
    ExitCode Run(bool bKeepGoing)
    {
        ExitCode first = ExitCode::Ok;
        while ((bKeepGoing || first == ExitCode::Ok) && !m_bExit && ReadLine()) {
            const ExitCode code = RunLine();
            first = first == ExitCode::Ok ? code : first;
        }
        return first;
    }

private:
    bool ReadLine()
    {
        if (m_bPrompt) {
            Print(Prompt);
            FlushOutput();
        }
        errno = 0;
        const ssize_t nLength = getline(&m_pszLine, &m_uCapacity, m_pFile);
        if (nLength < 0) {
            if (m_bPrompt) {
                Print("\n");
            }
            return errno == 0 ? false : throw SystemFailure(Display(m_sName));
        }
        ++m_uLine;
        m_sLine = {m_pszLine, static_cast<std::size_t>(nLength)};
        m_sLine.remove_suffix(m_sLine.ends_with('\n') ? 1 : 0);
        m_sLine.remove_prefix(m_uLine == 1 && m_sLine.starts_with(ByteOrderMark) ? ByteOrderMark.size() : 0);
        return true;
    }

    ExitCode RunLine()
    {
        const std::string sWhere = m_bPrompt ? "" : Display(m_sName) + ':' + std::to_string(m_uLine) + ": ";
        std::vector<std::string> words;
        try {
            words = SplitWords(m_sLine);
        } catch (const CFailure& failure) {
            Complain("sharedstore: " + sWhere + failure.what());
            return failure.Code();
        }
        if (words.empty()) {
            return ExitCode::Ok;
        }
        if (words.size() == 1 && (words[0] == "exit" || words[0] == "quit")) {
            m_bExit = true;
            return ExitCode::Ok;
        }
        return Dispatch(words, m_Session, sWhere);
    }

    Session& m_Session;
    std::FILE* m_pFile;
    const std::string m_sName;
    const bool m_bPrompt;
    char* m_pszLine = nullptr; ///< owned, grown by getline
    std::size_t m_uCapacity = 0;
    std::string_view m_sLine;
    std::size_t m_uLine = 0;
    bool m_bExit = false;
};

void RefuseNested(const Session& session)
{
    if (session.bManyCommands) {
        throw CFailure(ExitCode::Usage, "a script can't start another one");
    }
}

void PassOn(ExitCode code)
{
    if (code != ExitCode::Ok) {
        throw AlreadyReported{code};
    }
}

void RunScript(const CArguments& arguments, Session& session)
{
    RefuseNested(session);
    const std::string& sFile = arguments.Text("FILE");
    const FilePtr opened(sFile == "-" ? nullptr : std::fopen(sFile.c_str(), "re"));
    if (sFile != "-" && opened == nullptr) {
        throw SystemFailure(Display(sFile));
    }
    session.bManyCommands = true;
    session.bScriptOnStandardInput = sFile == "-";
    PassOn(CScript(session, opened == nullptr ? stdin : opened.get(), sFile, false).Run(arguments.Has("--keep-going")));
}

void Shell(const CArguments&, Session& session)
{
    RefuseNested(session);
    const bool bTerminal = isatty(STDIN_FILENO) == 1;
    session.bManyCommands = true;
    session.bScriptOnStandardInput = true;
    const ExitCode first = CScript(session, stdin, "-", bTerminal).Run(true);
    PassOn(bTerminal ? ExitCode::Ok : first); // a person has seen the failures
}

constexpr Argument RunArguments[] = {
    {"FILE", Takes::Positional, "commands, one a line without 'sharedstore'; '-' is standard input"},
    {"-k,--keep-going", Takes::Flag, "go on after a failure; the exit code is that of the first one"},
};

const Command Table[] = {
    {"run", "", "run the commands of a file in one process; quoting is that of a shell, # begins a comment", RunArguments,
     "  sharedstore run commands.txt\n"
     "  printf 'store add M\\ndata set M Card1 n --int 1\\ntree M\\n' | sharedstore run -\n",
     RunScript},
    {"shell", "", "the same from a terminal: 'help' helps, 'exit' ends, failures don't", {}, "  sharedstore shell\n", Shell},
};

} // namespace

std::span<const Command> ScriptCommands()
{
    return Table;
}

} // namespace Tool
