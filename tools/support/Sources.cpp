// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "support/Sources.h"

#include "support/Failure.h"
#include "support/File.h"
#include "support/Output.h"
#include "support/Text.h"

#include <unistd.h>

namespace Tool
{

std::string GivenSource(const CArguments& arguments, std::initializer_list<const char*> options, const char* pszDefault)
{
    std::string sAll;
    std::string sGiven;
    std::size_t uGiven = 0;
    for (const char* pszOption : options) {
        sAll += (sAll.empty() ? "" : ", ") + std::string(pszOption);
        if (arguments.Has(pszOption)) {
            sGiven = pszOption;
            ++uGiven;
        }
    }
    if (uGiven > 1 || (uGiven == 0 && pszDefault == nullptr)) {
        throw CFailure(ExitCode::Usage, "give one of " + sAll);
    }
    return uGiven == 0 ? pszDefault : sGiven;
}

std::uint64_t NumberArgument(const std::string& sText, std::uint64_t uMaximum)
{
    const auto uNumber = Number(sText, uMaximum);
    return uNumber.has_value()
               ? *uNumber
               : throw CFailure(ExitCode::Usage, "'" + Display(sText) + "' is no number from 0 to " + std::to_string(uMaximum));
}

std::string HexArgument(const std::string& sDigits)
{
    const auto sBytes = BytesOfHex(sDigits);
    return sBytes.has_value()
               ? *sBytes
               : throw CFailure(ExitCode::Usage, "'" + Display(sDigits) + "' is no sequence of bytes such as 0aff or '0a ff'");
}

Bytes ReadData(const std::string& sPath, const Session& session, std::size_t uMaximum)
{
    if (sPath == "-" && session.bScriptOnStandardInput) {
        throw CFailure(ExitCode::Usage, "standard input holds the commands, so no data can be read from it; name a file");
    }
    if (sPath == "-" && isatty(STDIN_FILENO) == 1) {
        Complain("sharedstore: reading from standard input until end-of-file (Ctrl-D on a line of its own)");
    }
    return ReadFile(sPath, uMaximum);
}

} // namespace Tool
