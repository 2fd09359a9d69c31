// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "Completion.h"

#include "commands/Commands.h"
#include "support/Output.h"

namespace Tool
{

namespace
{

void Complete(const CArguments& arguments, Session&)
{
    const std::string& sShell = arguments.Text("SHELL");
    Print(sShell == "bash" ? BashCompletion(AllCommands()) : ZshCompletion(AllCommands()));
}

constexpr Argument Arguments[] = {{"SHELL", Takes::Positional, "bash or zsh", "", [] { return std::vector<std::string>{"bash", "zsh"}; }}};

const Command Table[] = {
    {"completion", "", "write what makes a shell complete commands and options", Arguments,
     "  source <(sharedstore completion bash)\n"
     "  sharedstore completion zsh > ~/.zfunc/_sharedstore\n",
     Complete},
};

} // namespace

std::span<const Command> CompletionCommands()
{
    return Table;
}

} // namespace Tool
