// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "support/Failure.h"

#include "platform/Registry.h"
#include "support/CodeNames.h"

#include <cerrno>
#include <cstring>

namespace Tool
{

namespace
{

std::string WithAdvice(const std::string& sText, const std::string& sAdvice)
{
    return sAdvice.empty() ? sText : sText + ": " + sAdvice;
}

} // namespace

CFailure StoreFailure(HRESULT hr, ExitCode code, const std::string& sAdvice)
{
    const CodeText text = DescribeResult(hr);
    return {code, WithAdvice(text.sName, sAdvice.empty() ? text.sAdvice : sAdvice)};
}

CFailure RegistryFailure(long lCode, const std::string& sWhat)
{
    const ExitCode code = lCode == ERROR_FILE_NOT_FOUND                                      ? ExitCode::NotFound
                          : lCode == ERROR_INVALID_PARAMETER || lCode == ERROR_DIR_NOT_EMPTY ? ExitCode::Failed
                                                                                             : ExitCode::Io;
    const CodeText text = DescribeRegistryCode(lCode);
    return {code, WithAdvice(sWhat + ": " + text.sName, text.sAdvice)};
}

CFailure SystemFailure(const std::string& sWhat)
{
    const int nError = errno;
    const ExitCode code = nError == ENOENT ? ExitCode::NotFound : nError == EEXIST ? ExitCode::Exists : ExitCode::Io;
    return {code, sWhat + ": " + std::strerror(nError)};
}

} // namespace Tool
