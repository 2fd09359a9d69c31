// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "Conventions.h"

#include "support/KeyFile.h"

namespace Tool
{

namespace
{

constexpr HelpRow ExitCodes[] = {
    {"0", "done"},
    {"1", "the store refused the operation, or doctor found a problem"},
    {"2", "the command, or a file it reads, was not understood"},
    {"3", "no such store, compartment, item, key, value or file"},
    {"4", "the registry or the operating system failed to read or write"},
    {"5", "something is there already and --force was not given"},
};

constexpr HelpRow Words[] = {
    {"", "A memory store and the PIN cache live in their process: use 'run' or 'shell' to give it several commands."},
    {"", "A registry store lives in the registry, below HKLM\\Software\\Orvane\\SharedStore\\RemanentDataStore; its versions are those of "
         "the process. 'registry list' shows what lies there."},
    {"", "Registry paths are written HKEY_LOCAL_MACHINE\\Software\\... or HKLM\\Software\\...; quote the backslashes."},
    {"", "Words after '--' are never options."},
};

constexpr HelpRow Output[] = {
    {"", "Lists show control characters and bytes that are not UTF-8 as \\xHH."},
    {"", "JSON writes a text that is not UTF-8, or that NULs cut short, as {\"hex\": \"...\"}, and byte values as hexadecimal digits."},
    {"", "Errors and warnings are lines on standard error that begin with 'sharedstore:'."},
};

constexpr HelpRow Environment[] = {
    {"SHAREDSTORE_REGISTRY", "the registry's folder, an absolute path"},
    {"SHAREDSTORE_REGISTRY_SYNC", "relaxed: when the machine crashes, the last writes may be lost or the registry damaged"},
    {"SHAREDSTORE_LOG", "where the library logs: syslog (default), stderr or a file"},
    {"SHAREDSTORE_LOG_LEVEL", "what it logs, a bit mask: 1 errors (default), 2 details, 8 entries, 16 exits of operations"},
    {"SHAREDSTORE_LOG_TRACE", "1: it also logs lines that can carry clear values"},
    {"NO_COLOR", "nothing is coloured; colours are used on a terminal only, and not where TERM is dumb"},
};

constexpr HelpRow Files[] = {
    {"/var/lib/sharedstore/registry", "the registry of root"},
    {"~/.local/state/sharedstore/registry", "that of everybody else; XDG_STATE_HOME can name another folder than ~/.local/state"},
    {DefaultKeyFile, "the key of encrypted registry stores"},
};

constexpr HelpSection Sections[] = {
    {"Exit codes", ExitCodes}, {"Words", Words}, {"Output", Output}, {"Environment", Environment}, {"Files", Files},
};

} // namespace

std::span<const HelpSection> Conventions()
{
    return Sections;
}

} // namespace Tool
