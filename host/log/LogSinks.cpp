// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "log/LogSinks.h"

#include "log/LogSettings.h"

#include <spdlog/details/null_mutex.h>
#include <spdlog/pattern_formatter.h>
#include <spdlog/sinks/base_sink.h>
#include <spdlog/sinks/rotating_file_sink.h>
#include <spdlog/sinks/stdout_sinks.h>

#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <syslog.h>
#include <unistd.h>

namespace
{

constexpr std::size_t RotationBytes = 1024UL * 1024UL;
constexpr std::size_t RotatedFiles = 3; // kept beside the current one

/// Process, thread, component, and a payload of level and text.
constexpr const char* SyslogPattern = "%P %t %n %v";
constexpr const char* LinePattern = "%Y-%m-%dT%H:%M:%S.%e%z %P %t %n %v";

/// Writes through syslog(3) as the process that it is in: no openlog, so that identity, options and
/// facility stay what the application chose.
class CSyslogSink : public spdlog::sinks::base_sink<spdlog::details::null_mutex>
{
public:
    CSyslogSink() : base_sink(std::make_unique<spdlog::pattern_formatter>(SyslogPattern, spdlog::pattern_time_type::local, std::string()))
    {}

protected:
    void sink_it_(const spdlog::details::log_msg& msg) override
    {
        spdlog::memory_buf_t line;
        formatter_->format(msg, line);
        syslog(GetPriority(msg.level), "%.*s", static_cast<int>(line.size()), line.data());
    }

    void flush_() override {}

private:
    static int GetPriority(spdlog::level::level_enum level)
    {
        switch (level) {
        case spdlog::level::err:
            return LOG_ERR;
        case spdlog::level::info:
            return LOG_INFO;
        default:
            return LOG_DEBUG;
        }
    }
};

/// Files are the owner's alone and are not passed on to other programs. They are made before spdlog
/// opens them, because it would leave their mode to the umask. So is the folder, which spdlog makes too late for that.
spdlog::file_event_handlers MakeFileHandlers()
{
    spdlog::file_event_handlers handlers;
    handlers.before_open = [](const spdlog::filename_t& sPath) {
        std::error_code ignored; // opening the file tells
        std::filesystem::create_directories(std::filesystem::path(sPath).parent_path(), ignored);
        const int nFile = open(sPath.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, S_IRUSR | S_IWUSR);
        if (nFile >= 0) {
            close(nFile);
        }
    };
    handlers.after_open = [](const spdlog::filename_t&, std::FILE* pFile) { fcntl(fileno(pFile), F_SETFD, FD_CLOEXEC); };
    return handlers;
}

} // namespace

LogSink MakeSyslogSink()
{
    return std::make_unique<CSyslogSink>();
}

LogSink MakeSink(const std::string& sTarget)
{
    if (sTarget == LogToSyslog) {
        return MakeSyslogSink();
    }
    LogSink pSink;
    if (sTarget == LogToStderr) {
        pSink = std::make_unique<spdlog::sinks::stderr_sink_st>();
    } else {
        pSink = std::make_unique<spdlog::sinks::rotating_file_sink_st>(sTarget, RotationBytes, RotatedFiles, false, MakeFileHandlers());
    }
    pSink->set_pattern(LinePattern);
    return pSink;
}
