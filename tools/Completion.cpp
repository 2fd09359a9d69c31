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

Candidate OptionOf(const Argument& argument)
{
    const std::string sNames = argument.pszName;
    return {sNames.substr(sNames.rfind(',') + 1), argument.pszHelp};
}

Candidates Options(const Command& command)
{
    Candidates options = {OptionOf(HelpArgument)};
    for (const Argument& argument : command.arguments) {
        if (!argument.IsPositional()) {
            options.push_back(OptionOf(argument));
        }
    }
    return options;
}

/// What a shell's case compares with "NOUN VERB:", followed by what is asked for; the verb of a noun that has none is
/// anything.
std::string Pattern(const Command& command, const std::string& sAsked)
{
    return *command.pszVerb == '\0' ? std::string(command.pszNoun) + "\\ *:" + sAsked : InQuotes(command.Title() + ':' + sAsked);
}

std::string Branch(const std::string& sPattern, const std::string& sCandidates)
{
    return "        " + sPattern + ") candidates=(" + sCandidates + ") ;;\n";
}

/// Branches for options, asked for by "-", for the words that an option takes, by the option, and for those of a
/// positional, by its place.
std::string ArgumentCases(const std::vector<Command>& commands, FormatCandidates format)
{
    std::string sText;
    for (const Command& command : commands) {
        sText += Branch(Pattern(command, "-"), format(Options(command)));
        std::size_t uPlace = *command.pszVerb == '\0' ? 1 : 2;
        for (const Argument& argument : command.arguments) {
            uPlace += argument.IsPositional() ? 1 : 0;
            if (argument.pChoices != nullptr) {
                Candidates choices;
                for (const std::string& sChoice : argument.pChoices()) {
                    choices.push_back({sChoice, argument.pszHelp});
                }
                const std::string sAsked = argument.IsPositional() ? std::to_string(uPlace) : OptionOf(argument).sWord;
                sText += Branch(Pattern(command, sAsked), format(choices));
            }
        }
    }
    return sText;
}

std::string VerbCases(const std::vector<Command>& commands, FormatCandidates format)
{
    std::string sText;
    for (const auto& [sNoun, verbs] : Verbs(commands)) {
        sText += Branch(sNoun, format(verbs));
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
    return R"(# bash completion for sharedstore
_sharedstore() {
    local -a candidates=() words=("${COMP_WORDS[@]:0:COMP_CWORD+1}")
    if ((COMP_CWORD > 1)) && [[ ${words[1]} == help ]]; then
        words=("${words[0]}" "${words[@]:2}") # help is followed by a command
    fi
    local current=${words[-1]} place=$((${#words[@]} - 1)) asked
    if ((place == 1)); then
        candidates=()" +
           WordsAlone(Nouns(commands)) + R"( --help --version)
    elif ((place == 2)); then
        case ${words[1]} in
)" + VerbCases(commands, WordsAlone) +
           R"(        esac
    fi
    for asked in "$place" "${words[-2]}" "${current:0:1}"; do
        case "${words[1]} ${words[2]}:$asked" in
)" + ArgumentCases(commands, WordsAlone) +
           R"(        esac
    done
    mapfile -t COMPREPLY < <(compgen -W "${candidates[*]}" -- "$current")
}
complete -o default -F _sharedstore sharedstore
)";
}

std::string ZshCompletion(const std::vector<Command>& commands)
{
    return R"(#compdef sharedstore
_sharedstore() {
    local -a candidates
    local asked
    if ((CURRENT > 2)) && [[ $words[2] == help ]]; then
        words[2]=() # help is followed by a command
        ((--CURRENT))
    fi
    if ((CURRENT == 2)); then
        candidates=()" +
           WordsWithMeanings(Nouns(commands)) + R"()
    elif ((CURRENT == 3)); then
        case $words[2] in
)" + VerbCases(commands, WordsWithMeanings) +
           R"(        esac
    fi
    for asked in $((CURRENT - 1)) "$words[CURRENT-1]" "$PREFIX[1]"; do
        case "$words[2] $words[3]:$asked" in
)" + ArgumentCases(commands, WordsWithMeanings) +
           R"(        esac
    done
    if ((!$#candidates)); then
        _files
    elif [[ $PREFIX == -* ]]; then
        _describe -o option candidates
    else
        _describe command candidates
    fi
}
# As a file of fpath this is the function's first call, elsewhere it is sourced.
if [[ $funcstack[1] == _sharedstore ]]; then _sharedstore; else compdef _sharedstore sharedstore; fi
)";
}

} // namespace Tool
