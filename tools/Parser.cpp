// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "Parser.h"

#include "Help.h"
#include "support/Failure.h"
#include "support/Output.h"
#include "support/Text.h"

#include <CLI/CLI.hpp>

#include <algorithm>

namespace Tool
{

namespace
{

CLI::Option* Declare(CLI::App& app, const Argument& argument)
{
    if (argument.takes == Takes::Flag) {
        return app.add_flag(argument.pszName);
    }
    // The raw results are read after parsing: CLI11's conversions give a meaning to values such as "{}".
    CLI::Option* pOption = app.add_option(argument.pszName, CLI::callback_t());
    pOption->expected(1)->allow_extra_args(false)->required(argument.takes == Takes::Positional)->type_name(argument.pszValueName);
    return argument.takes == Takes::Values ? pOption->take_all() : pOption;
}

/// "-o,--output" is known as "--output".
std::string LookupName(const Argument& argument)
{
    const std::string sNames = argument.pszName;
    return sNames.substr(sNames.rfind(',') + 1);
}

/// The words in the order that CLI11 wants, last first. It takes "--name=" for an option whose value
/// is the next word; here it is one with an empty value.
std::vector<std::string> ForCli(const std::vector<std::string>& words)
{
    std::vector<std::string> reversed;
    bool bOptions = true;
    for (const std::string& sWord : words) {
        bOptions = bOptions && sWord != "--";
        if (bOptions && sWord.starts_with("--") && sWord.find('=') == sWord.size() - 1) {
            reversed.push_back(sWord.substr(0, sWord.size() - 1));
            reversed.emplace_back();
        } else {
            reversed.push_back(sWord);
        }
    }
    std::reverse(reversed.begin(), reversed.end());
    return reversed;
}

void RequireChoice(const Argument& argument, const std::vector<std::string>& given)
{
    if (argument.pChoices == nullptr) {
        return;
    }
    const std::vector<std::string> choices = argument.pChoices();
    for (const std::string& sWord : given) {
        if (std::find(choices.begin(), choices.end(), sWord) == choices.end()) {
            std::string sAll;
            for (const std::string& sChoice : choices) {
                sAll += (sAll.empty() ? "" : sChoice == choices.back() ? " or " : ", ") + sChoice;
            }
            const char* pszWhat = argument.IsPositional() ? argument.pszName : argument.pszValueName;
            throw CFailure(ExitCode::Usage, "'" + Display(sWord) + "' is no " + pszWhat + "; it is " + sAll);
        }
    }
}

} // namespace

std::optional<CArguments> ParseArguments(const Command& command, const std::vector<std::string>& words)
{
    CLI::App app;
    app.set_help_flag(HelpArgument.pszName);
    std::vector<CLI::Option*> options;
    for (const Argument& argument : command.arguments) {
        options.push_back(Declare(app, argument));
    }
    const std::string sHelp = "; 'sharedstore " + command.Title() + " --help' explains";
    try {
        app.parse(ForCli(words));
    } catch (const CLI::CallForHelp&) {
        Print(CommandPage(command));
        return std::nullopt;
    } catch (const CLI::ExtrasError&) {
        const std::string sWord = app.remaining().front();
        const std::string sShown = '\'' + Display(sWord) + '\'';
        throw CFailure(ExitCode::Usage,
                       (sWord.starts_with('-') ? "there is no option " + sShown : sShown + " is one word too many") + sHelp);
    } catch (const CLI::ParseError& error) {
        throw CFailure(ExitCode::Usage, Display(error.what()) + sHelp);
    }
    std::map<std::string, std::vector<std::string>> values;
    for (std::size_t u = 0; u < options.size(); ++u) {
        RequireChoice(command.arguments[u], options[u]->results());
        values[LookupName(command.arguments[u])] = options[u]->results();
    }
    return CArguments(std::move(values));
}

} // namespace Tool
