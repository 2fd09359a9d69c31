// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "platform/Api.h"

extern "C" {

/// Writes one log line. Never fails and never throws; a line that cannot be written is lost.
///
/// The level is a bit value: 1 error, 2 detail, 8 entry of an operation, 16 its exit. A line is
/// written when its bit is in the mask SHAREDSTORE_LOG_LEVEL (decimal or 0x hexadecimal, default
/// 1). Level 0 lines can carry clear values: they are written only when SHAREDSTORE_LOG_TRACE is 1.
/// SHAREDSTORE_LOG says where to: "syslog" (default), "stderr", or the path of a file that is
/// rotated; processes that rotate one file together lose lines, so each should have its own. Level 0
/// lines pass through memory that is not wiped. The environment is read once per process and ignored
/// in set-uid programs.
///
/// A line that is off costs a relaxed load and a branch. Control characters in the finished line
/// are written as escapes, so that no argument can forge a line.
///
/// @param pszComponent the calling component, for example "SRVSHAREDSTORE"
/// @param uLevel one of the levels above
/// @param pszFormat a printf(3) format, followed by its arguments
///
/// Thread safety: any thread.
SHAREDSTORE_API void pvlogLog(const char* pszComponent, unsigned int uLevel, const char* pszFormat, ...)
    __attribute__((format(printf, 3, 4)));

} // extern "C"
