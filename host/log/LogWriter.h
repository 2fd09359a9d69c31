// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "log/LogSettings.h"
#include "log/LogSinks.h"
#include "log/LogText.h"

#include <atomic>
#include <mutex>

/// The process's log: which lines are on, and where they go.
///
/// Opened by the first line, closed when the library is unloaded; lines that come later are lost.
/// Its lock is the last one that any thread takes: nothing is called with it held but the sink.
/// A child process inherits the open log, with the lock free.
class CLogWriter
{
public:
    constexpr CLogWriter() noexcept = default;

    /// Whether a line may be on: true for every level until the log was opened.
    bool IsOn(unsigned int uLevel) const noexcept
    {
        return (m_uMask.load(std::memory_order_relaxed) & (uLevel == 0 ? LogTraceBit : uLevel)) != 0;
    }

    /// Opens the log as the environment asks; has no effect on a log that was opened before.
    void Open();

    /// Writes a line. A log file that cannot be written any more is given up for syslog.
    void Write(const char* pszComponent, unsigned int uLevel, const LogText& message);

    void Close() noexcept;

    void Lock() { m_Mutex.lock(); }
    void Unlock() { m_Mutex.unlock(); }

private:
    void WriteLocked(std::string_view sComponent, unsigned int uLevel, std::string_view sMessage);
    void FallBackLocked(std::string_view sMessage);

    std::atomic<unsigned int> m_uMask = ~0U;

    std::mutex m_Mutex; // guards what follows
    bool m_bOpened = false;
    LogSink m_pSink; // null until opened, and when closed
};
