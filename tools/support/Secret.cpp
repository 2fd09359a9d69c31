// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "support/Secret.h"

#include "support/Failure.h"
#include "support/Output.h"
#include "support/Sources.h"

#include <cerrno>
#include <limits>
#include <termios.h>
#include <unistd.h>

namespace Tool
{

namespace
{

constexpr std::size_t MaxSecret = 65536;
constexpr unsigned char Interrupt = 3; ///< what Ctrl-C sends while it is not a signal

/// A terminal that does not show what is typed. Keys make no signals meanwhile: one that ended the process
/// would leave the terminal so.
class CSilentTerminal
{
public:
    explicit CSilentTerminal(int nTerminal) : m_nTerminal(nTerminal)
    {
        if (tcgetattr(m_nTerminal, &m_Before) != 0) {
            throw SystemFailure("terminal");
        }
        termios silent = m_Before;
        silent.c_lflag &= ~static_cast<tcflag_t>(ECHO | ISIG);
        if (tcsetattr(m_nTerminal, TCSAFLUSH, &silent) != 0) {
            throw SystemFailure("terminal");
        }
    }
    ~CSilentTerminal() { tcsetattr(m_nTerminal, TCSAFLUSH, &m_Before); }
    CSilentTerminal(const CSilentTerminal&) = delete;
    CSilentTerminal& operator=(const CSilentTerminal&) = delete;

private:
    int m_nTerminal;
    termios m_Before{};
};

/// Byte by byte: no buffer keeps a copy, and what follows the line is left to the next reader.
Bytes ReadLine(int nDescriptor)
{
    Bytes line;
    unsigned char c = 0;
    ssize_t nRead = 0;
    while (((nRead = read(nDescriptor, &c, 1)) == 1 && c != '\n') || (nRead < 0 && errno == EINTR)) {
        if (nRead == 1) {
            line.push_back(c);
        }
        if (line.size() > MaxSecret) {
            throw CFailure(ExitCode::Usage, "a PIN has at most " + std::to_string(MaxSecret) + " bytes");
        }
    }
    OV::Framework::WipeMemory(&c, 1);
    return nRead < 0 ? throw SystemFailure("PIN") : line;
}

Bytes Ask(const std::string& sPrompt)
{
    Print(sPrompt);
    FlushOutput();
    Bytes line;
    {
        const CSilentTerminal silent(STDIN_FILENO);
        line = ReadLine(STDIN_FILENO);
    }
    Print("\n");
    return !line.empty() && line.back() == Interrupt ? throw CFailure(ExitCode::Usage, "broken off") : line;
}

} // namespace

Bytes ReadSecret(const CArguments& arguments, const Session& session, const std::string& sPrompt)
{
    Bytes secret;
    if (arguments.Has("--fd")) {
        secret = ReadLine(static_cast<int>(NumberArgument(arguments.Text("--fd"), std::numeric_limits<int>::max())));
    } else if (isatty(STDIN_FILENO) == 1) {
        secret = Ask(sPrompt);
    } else if (session.bScriptOnStandardInput) {
        throw CFailure(ExitCode::Usage, "standard input holds the commands, so no PIN can be read from it; give --fd");
    } else {
        secret = ReadLine(STDIN_FILENO);
    }
    return secret.empty() ? throw CFailure(ExitCode::Usage, "the PIN is empty") : secret;
}

} // namespace Tool
