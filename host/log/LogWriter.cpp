// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "log/LogWriter.h"

#include "util/StandardDescriptors.h"

#include <unistd.h>

namespace
{

constexpr unsigned int ErrorLevel = 1;
constexpr std::string_view OwnComponent = "SHAREDSTORELOG";
constexpr std::string_view UnnamedComponent = "-";

struct LevelInfo
{
    unsigned int uLevel;
    std::string_view sWord;
    spdlog::level::level_enum severity;
};

constexpr LevelInfo Levels[] = {
    {ErrorLevel, "error", spdlog::level::err},
    {2, "detail", spdlog::level::info},
    {8, "entry", spdlog::level::debug},
    {16, "exit", spdlog::level::debug},
};
constexpr LevelInfo TraceLevel = {0, "trace", spdlog::level::trace};
constexpr LevelInfo OtherLevel = {0, "other", spdlog::level::debug};

const LevelInfo& FindLevel(unsigned int uLevel)
{
    for (const LevelInfo& info : Levels) {
        if ((info.uLevel & uLevel) != 0) {
            return info;
        }
    }
    return uLevel == 0 ? TraceLevel : OtherLevel;
}

std::string_view ToView(const LogText& text)
{
    return {text.data(), text.size()};
}

} // namespace

void CLogWriter::Open()
{
    const std::lock_guard lock(m_Mutex);
    if (m_bOpened) {
        return;
    }
    const LogSettings settings = ReadLogSettings();
    const CStandardDescriptorsTaken taken;
    try {
        m_pSink = MakeSink(settings.sTarget);
    } catch (const spdlog::spdlog_ex&) {
        FallBackLocked("the file that SHAREDSTORE_LOG names cannot be opened: syslog is used");
    }
    if (settings.bLevelInvalid) {
        WriteLocked(OwnComponent, ErrorLevel, "SHAREDSTORE_LOG_LEVEL is not a bit mask: 1 is used");
    }
    m_uMask.store(settings.uMask, std::memory_order_relaxed);
    m_bOpened = true;
}

void CLogWriter::Write(const char* pszComponent, unsigned int uLevel, const LogText& message)
{
    const std::string_view sComponent = pszComponent == nullptr ? UnnamedComponent : pszComponent;
    const std::lock_guard lock(m_Mutex);
    if (m_pSink == nullptr) {
        return;
    }
    const CStandardDescriptorsTaken taken; // the line may open the next file, or syslog(3) its socket
    try {
        WriteLocked(sComponent, uLevel, ToView(message));
    } catch (const spdlog::spdlog_ex&) {
        FallBackLocked("the log file cannot be written any more: syslog is used");
        WriteLocked(sComponent, uLevel, ToView(message));
    }
}

void CLogWriter::Close() noexcept
{
    m_uMask.store(0, std::memory_order_relaxed);
    const std::lock_guard lock(m_Mutex);
    m_bOpened = true;
    m_pSink.reset();
}

void CLogWriter::WriteLocked(std::string_view sComponent, unsigned int uLevel, std::string_view sMessage)
{
    const LevelInfo& level = FindLevel(uLevel);
    LogText component;
    AppendPrintable(component, sComponent);
    LogText payload(level.sWord.begin(), level.sWord.end());
    payload.push_back(' ');
    AppendPrintable(payload, sMessage);

    // Filled in by hand: spdlog would take the thread id from a cache, which is wrong in a forked child.
    spdlog::details::log_msg line;
    line.time = spdlog::log_clock::now();
    line.thread_id = static_cast<std::size_t>(gettid());
    line.level = level.severity;
    line.logger_name = {component.data(), component.size()};
    line.payload = {payload.data(), payload.size()};
    m_pSink->log(line);
    m_pSink->flush();
}

void CLogWriter::FallBackLocked(std::string_view sMessage)
{
    m_pSink = MakeSyslogSink();
    WriteLocked(OwnComponent, ErrorLevel, sMessage);
}
