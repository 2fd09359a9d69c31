// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "Completion.h"

#include <map>

namespace Tool
{

namespace
{

/// A word that can come next, and what it means.
struct Candidate
{
    std::string sWord;
    std::string sMeaning;
};
using Candidates = std::vector<Candidate>;
using FormatCandidates = std::string (*)(const Candidates&);

/// Every command has it; the parser declares it for all of them.
constexpr const char* HelpOption = "--help";

std::string InQuotes(const std::string& sText)
{
    std::string sQuoted = "'";
    for (const char c : sText) {
        sQuoted += c == '\'' ? "'\\''" : std::string(1, c);
    }
    return sQuoted + '\'';
}

Candidates Nouns(const std::vector<Command>& commands)
{
    Candidates nouns;
    for (const Command& command : commands) {
        if (nouns.empty() || nouns.back().sWord != command.pszNoun) {
            nouns.push_back({command.pszNoun, command.pszSummary});
        } else {
            nouns.back().sMeaning = std::string("commands for ") + command.pszNoun;
        }
    }
    nouns.push_back({"help", "explain a command"});
    return nouns;
}

/// The verbs of each noun that has some.
std::map<std::string, Candidates> Verbs(const std::vector<Command>& commands)
{
    std::map<std::string, Candidates> verbs;
    for (const Command& command : commands) {
        if (*command.pszVerb != '\0') {
            verbs[command.pszNoun].push_back({command.pszVerb, command.pszSummary});
        }
    }
    return verbs;
}

Candidates Options(const Command& command)
{
    Candidates options = {{HelpOption, "explain the command"}};
    for (const Argument& argument : command.arguments) {
        const std::string sNames = argument.pszName;
        if (sNames.starts_with('-')) {
            options.push_back({sNames.substr(sNames.rfind(',') + 1), argument.pszHelp});
        }
    }
    return options;
}

/// Branches of a shell's case on "NOUN VERB", or on "NOUN " and anything.
std::string OptionCases(const std::vector<Command>& commands, FormatCandidates format)
{
    std::string sText;
    for (const Command& command : commands) {
        const std::string sPattern = *command.pszVerb == '\0' ? std::string(command.pszNoun) + "\\ *" : InQuotes(command.Title());
        sText += "    " + sPattern + ") candidates=(" + format(Options(command)) + ") ;;\n";
    }
    return sText;
}

std::string VerbCases(const std::vector<Command>& commands, FormatCandidates format)
{
    std::string sText;
    for (const auto& [sNoun, verbs] : Verbs(commands)) {
        sText += "    " + sNoun + ") candidates=(" + format(verbs) + ") ;;\n";
    }
    return sText;
}

std::string WordsAlone(const Candidates& candidates)
{
    std::string sText;
    for (const Candidate& candidate : candidates) {
        sText += (sText.empty() ? "" : " ") + candidate.sWord;
    }
    return sText;
}

std::string WordsWithMeanings(const Candidates& candidates)
{
    std::string sText;
    for (const Candidate& candidate : candidates) {
        sText += (sText.empty() ? "" : " ") + InQuotes(candidate.sWord + ':' + candidate.sMeaning);
    }
    return sText;
}

} // namespace

std::string BashCompletion(const std::vector<Command>& commands)
{
    return "# bash completion for sharedstore\n"
           "_sharedstore() {\n"
           "    local -a candidates=()\n"
           "    local current=${COMP_WORDS[COMP_CWORD]}\n"
           "    if ((COMP_CWORD == 1)); then\n"
           "        candidates=(" +
           WordsAlone(Nouns(commands)) +
           " --help --version)\n"
           "    elif ((COMP_CWORD == 2)); then\n"
           "    case ${COMP_WORDS[1]} in\n" +
           VerbCases(commands, WordsAlone) +
           "    esac\n"
           "    fi\n"
           "    if [[ $current == -* && COMP_CWORD -gt 1 ]]; then\n"
           "    case \"${COMP_WORDS[1]} ${COMP_WORDS[2]}\" in\n" +
           OptionCases(commands, WordsAlone) +
           "    esac\n"
           "    fi\n"
           "    mapfile -t COMPREPLY < <(compgen -W \"${candidates[*]}\" -- \"$current\")\n"
           "}\n"
           "complete -o default -F _sharedstore sharedstore\n";
}

std::string ZshCompletion(const std::vector<Command>& commands)
{
    return "#compdef sharedstore\n"
           "_sharedstore() {\n"
           "    local -a candidates\n"
           "    if ((CURRENT == 2)); then\n"
           "        candidates=(" +
           WordsWithMeanings(Nouns(commands)) +
           ")\n"
           "    elif ((CURRENT == 3)); then\n"
           "    case $words[2] in\n" +
           VerbCases(commands, WordsWithMeanings) +
           "    esac\n"
           "    fi\n"
           "    if [[ $PREFIX == -* ]]; then\n"
           "    case \"$words[2] $words[3]\" in\n" +
           OptionCases(commands, WordsWithMeanings) +
           "    esac\n"
           "    fi\n"
           "    if ((!$#candidates)); then\n"
           "        _files\n"
           "    elif [[ $PREFIX == -* ]]; then\n"
           "        _describe -o option candidates\n"
           "    else\n"
           "        _describe command candidates\n"
           "    fi\n"
           "}\n"
           "# As a file of fpath this is the function's first call, elsewhere it is sourced.\n"
           "if [[ $funcstack[1] == _sharedstore ]]; then _sharedstore; else compdef _sharedstore sharedstore; fi\n";
}

} // namespace Tool
