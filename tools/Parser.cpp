// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "Parser.h"

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
        return app.add_flag(argument.pszName, argument.pszHelp);
    }
    // The raw results are read after parsing: CLI11's conversions give a meaning to values such as "{}".
    CLI::Option* pOption = app.add_option(argument.pszName, CLI::callback_t(), argument.pszHelp);
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

} // namespace

std::optional<CArguments> ParseArguments(const Command& command, const std::vector<std::string>& words)
{
    CLI::App app(command.pszSummary, "sharedstore " + command.Title());
    app.footer(std::string("Examples:\n") + command.pszExamples);
    app.get_formatter()->column_width(34);
    std::vector<std::pair<std::string, CLI::Option*>> options;
    for (const Argument& argument : command.arguments) {
        options.emplace_back(LookupName(argument), Declare(app, argument));
    }
    try {
        app.parse(ForCli(words));
    } catch (const CLI::CallForHelp&) {
        Print(app.help());
        return std::nullopt;
    } catch (const CLI::ParseError& error) {
        throw CFailure(ExitCode::Usage, Display(error.what()) + "; 'sharedstore " + command.Title() + " --help' explains");
    }
    std::map<std::string, std::vector<std::string>> values;
    for (const auto& [sName, pOption] : options) {
        values[sName] = pOption->results();
    }
    return CArguments(std::move(values));
}

} // namespace Tool
