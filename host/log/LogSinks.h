// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <spdlog/sinks/sink.h>

#include <memory>
#include <string>

/// Sinks take no lock of their own: the log's writer guards the one it has.
using LogSink = std::unique_ptr<spdlog::sinks::sink>;

LogSink MakeSyslogSink();

/// The sink for a target of LogSettings. Throws spdlog::spdlog_ex when the file cannot be written.
LogSink MakeSink(const std::string& sTarget);
