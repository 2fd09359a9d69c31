// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "support/Com.h"

#include <cstdio>
#include <memory>
#include <string>

namespace Tool
{

struct CloseFile
{
    void operator()(std::FILE* pFile) const { (void)std::fclose(pFile); }
};
using FilePtr = std::unique_ptr<std::FILE, CloseFile>; ///< for files that are only read: nothing can be lost

/// Everything that a file holds; "-" is standard input. Throws CFailure (ExitCode::Usage) as soon as
/// there are more than uMaximum bytes.
Bytes ReadFile(const std::string& sPath, std::size_t uMaximum);

/// Writes a file of mode 0600 that appears under its name only when it is complete.
/// @param bReplace replace a regular file of this name; anything else that has the name is left alone
void WriteFile(const std::string& sPath, std::string_view sContent, bool bReplace);

} // namespace Tool
