// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "support/Words.h"

#include "support/Failure.h"
#include "support/Text.h"

#include <optional>

namespace Tool
{

namespace
{

constexpr std::string_view Blanks = " \t\r";

/// Reads one line from left to right.
class CLine
{
public:
    explicit CLine(std::string_view sLine) : m_sLine(sLine) {}

    /// @return false at the end of the line
    bool NextWord(std::string& sWord)
    {
        m_uNext = std::min(m_sLine.find_first_not_of(Blanks, m_uNext), m_sLine.size());
        if (AtEnd() || m_sLine[m_uNext] == '#') {
            return false;
        }
        sWord.clear();
        while (!AtEnd() && Blanks.find(m_sLine[m_uNext]) == Blanks.npos) {
            ReadPart(sWord);
        }
        return true;
    }

private:
    bool AtEnd() const { return m_uNext == m_sLine.size(); }

    char Take(const char* pszMissing)
    {
        if (AtEnd()) {
            throw CFailure(ExitCode::Usage, pszMissing);
        }
        const char cTaken = m_sLine[m_uNext++];
        return cTaken == '\0' ? throw CFailure(ExitCode::Usage, "the line holds a NUL byte") : cTaken;
    }

    void ReadPart(std::string& sWord)
    {
        const char cFirst = Take("");
        if (cFirst == '\'') {
            ReadLiteral(sWord);
        } else if (cFirst == '"') {
            ReadQuoted(sWord);
        } else if (cFirst == '$' && !AtEnd() && m_sLine[m_uNext] == '\'') {
            ++m_uNext;
            ReadEscaped(sWord);
        } else {
            sWord += cFirst == '\\' ? Take("nothing follows the last backslash") : cFirst;
        }
    }

    void ReadLiteral(std::string& sWord)
    {
        for (char c = TakeInQuote(); c != '\''; c = TakeInQuote()) {
            sWord += c;
        }
    }

    void ReadQuoted(std::string& sWord)
    {
        constexpr std::string_view Special = "\"\\$`";
        for (char c = TakeInQuote(); c != '"'; c = TakeInQuote()) {
            const bool bEscape = c == '\\' && !AtEnd() && Special.find(m_sLine[m_uNext]) != Special.npos;
            sWord += bEscape ? TakeInQuote() : c;
        }
    }

    void ReadEscaped(std::string& sWord)
    {
        for (char c = TakeInQuote(); c != '\''; c = TakeInQuote()) {
            sWord += c == '\\' ? TakeEscape() : c;
        }
    }

    char TakeEscape()
    {
        constexpr std::string_view Names = "nrt\\'\"";
        constexpr std::string_view Meanings = "\n\r\t\\'\"";
        const char cName = TakeInQuote();
        if (cName == 'x') {
            const std::optional<std::string> sByte = BytesOfHex(m_sLine.substr(m_uNext, 2));
            if (!sByte.has_value() || sByte->size() != 1 || sByte->front() == '\0') {
                throw CFailure(ExitCode::Usage, "\\x is followed by the two hexadecimal digits of a byte that is not NUL");
            }
            m_uNext += 2;
            return sByte->front();
        }
        const std::size_t uName = Names.find(cName);
        return uName == Names.npos ? throw CFailure(ExitCode::Usage, std::string("there is no escape \\") + Display({&cName, 1}))
                                   : Meanings[uName];
    }

    char TakeInQuote() { return Take("a quote is not closed"); }

    std::string_view m_sLine;
    std::size_t m_uNext = 0;
};

} // namespace

std::vector<std::string> SplitWords(std::string_view sLine)
{
    CLine line(sLine);
    std::vector<std::string> words;
    for (std::string sWord; line.NextWord(sWord);) {
        words.push_back(sWord);
    }
    return words;
}

} // namespace Tool
