// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "Dispatch.h"

#include "Help.h"
#include "Manual.h"
#include "Parser.h"
#include "commands/Commands.h"
#include "support/Output.h"
#include "support/Text.h"

#include <algorithm>
#include <new>
#include <optional>

namespace Tool
{

namespace
{

bool IsHelp(const std::string& sWord)
{
    return sWord == "--help" || sWord == "-h";
}

/// Noun, verb and positionals: what an error names.
std::string Subject(const Command& command, const CArguments& arguments)
{
    std::string sSubject = command.Title();
    for (const Argument& argument : command.arguments) {
        if (argument.IsPositional() && arguments.Has(argument.pszName)) {
            sSubject += ' ' + Quoted(arguments.Text(argument.pszName));
        }
    }
    return sSubject;
}

/// Answers the words that name no command: a page of help, or a failure.
void RunWithoutCommand(const std::vector<Command>& commands, const std::vector<std::string>& words)
{
    if (words.empty()) {
        throw CFailure(ExitCode::Usage, "a command is missing; 'sharedstore --help' lists them");
    }
    if (words[0] == "sharedstore") {
        throw CFailure(ExitCode::Usage, "leave the word 'sharedstore' out: a command begins with what comes after it");
    }
    if (words[0] == "--version") {
        return Print("sharedstore " SHAREDSTORE_VERSION "\n");
    }
    if (IsHelp(words[0])) {
        return Print(Overview(commands));
    }
    const bool bNoun = std::any_of(commands.begin(), commands.end(), [&](const Command& command) { return command.pszNoun == words[0]; });
    if (bNoun && words.size() > 1 && IsHelp(words[1])) {
        return Print(OverviewOfNoun(commands, words[0]));
    }
    const std::string sHelp = "; 'sharedstore " + (bNoun ? words[0] + " " : "") + "--help' lists the commands";
    if (bNoun && words.size() == 1) {
        throw CFailure(ExitCode::Usage, words[0] + ": a command is missing" + sHelp);
    }
    throw CFailure(ExitCode::Usage, "there is no command '" + Display(bNoun ? words[0] + " " + words[1] : words[0]) + "'" + sHelp);
}

/// @param sSubject receives what is being done, as soon as it is known
void Run(std::vector<std::string> words, Session& session, std::string& sSubject)
{
    const std::vector<Command> commands = AllCommands();
    if (words == std::vector<std::string>{"help", "--man"}) {
        return Print(Manual(commands));
    }
    if (!words.empty() && words[0] == "help") {
        words.erase(words.begin());
        words.emplace_back("--help");
    }
    const auto it = std::find_if(commands.begin(), commands.end(), [&words](const Command& command) {
        return !words.empty() && command.pszNoun == words[0] &&
               (*command.pszVerb == '\0' || (words.size() > 1 && command.pszVerb == words[1]));
    });
    if (it == commands.end()) {
        return RunWithoutCommand(commands, words);
    }
    sSubject = it->Title();
    const auto itArguments = words.begin() + (*it->pszVerb == '\0' ? 1 : 2);
    const std::optional<CArguments> arguments = ParseArguments(*it, {itArguments, words.end()});
    if (arguments.has_value()) {
        sSubject = Subject(*it, *arguments);
        it->pRun(*arguments, session);
    }
}

} // namespace

ExitCode Dispatch(const std::vector<std::string>& words, Session& session, const std::string& sWhere) noexcept
{
    std::string sSubject;
    const auto report = [&](ExitCode code, const std::string& sText) {
        Complain("sharedstore: " + sWhere + (sSubject.empty() ? "" : sSubject + ": ") + sText);
        return code;
    };
    try {
        Run(words, session, sSubject);
        FlushOutput();
        return ExitCode::Ok;
    } catch (const AlreadyReported& reported) {
        return reported.code;
    } catch (const CFailure& failure) {
        return report(failure.Code(), failure.what());
    } catch (const std::bad_alloc&) {
        return report(ExitCode::Failed, "memory is out");
    } catch (const std::exception& error) {
        return report(ExitCode::Failed, error.what());
    }
}

} // namespace Tool
