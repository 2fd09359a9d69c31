// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "platform/ComEmulation.h"

#include <stdexcept>
#include <string>

namespace Tool
{

/// What the process tells its caller. The help of the command lists the same numbers.
enum class ExitCode : int {
    Ok = 0,
    Failed = 1,   ///< the store refused the operation
    Usage = 2,    ///< the command, or a file it reads, was not understood
    NotFound = 3, ///< no such store, compartment, item, key, value or file
    Io = 4,       ///< the registry or the operating system failed to read or write
    Exists = 5,   ///< something is there already and --force was not given
};

/// A command that did not do what it was asked. Its text says what went wrong and what to do; which
/// command it was is added where it is reported.
class CFailure : public std::runtime_error
{
public:
    CFailure(ExitCode code, const std::string& sText) : std::runtime_error(sText), m_Code(code) {}
    ExitCode Code() const { return m_Code; }

private:
    ExitCode m_Code;
};

/// Failures that were all reported already: only the exit code is left to pass on.
struct AlreadyReported
{
    ExitCode code;
};

/// A failed call of the data cache. Without an advice the code's own one is given.
CFailure StoreFailure(HRESULT hr, ExitCode code, const std::string& sAdvice = {});

/// A failed call of the registry.
/// @param sWhat what was asked for, for example "key HKEY_LOCAL_MACHINE\\Software"
CFailure RegistryFailure(long lCode, const std::string& sWhat);

/// A failed call of the operating system, described by errno.
/// @param sWhat the file or stream
CFailure SystemFailure(const std::string& sWhat);

} // namespace Tool
