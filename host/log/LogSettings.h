// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "platform/Api.h"

#include <string>

/// The mask bit of level 0 lines, which have no bit of their own.
constexpr unsigned int LogTraceBit = 0x80000000U;

/// What the environment asks of the log.
struct LogSettings
{
    std::string sTarget;        ///< "syslog", "stderr" or the path of a file
    unsigned int uMask;         ///< bits of the lines that are written
    bool bLevelInvalid = false; ///< SHAREDSTORE_LOG_LEVEL is set to something that is not a bit mask
};

constexpr const char* LogToSyslog = "syslog";
constexpr const char* LogToStderr = "stderr";

/// Reads SHAREDSTORE_LOG, SHAREDSTORE_LOG_LEVEL and SHAREDSTORE_LOG_TRACE. Set-uid programs get the
/// defaults.
SHAREDSTORE_API LogSettings ReadLogSettings();
