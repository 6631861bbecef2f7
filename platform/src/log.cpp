// Writes log lines to standard error, each with one write, or hands them to a capture.
#include "tnx_platform/log.h"

#include "environment.h"
#include "log_format.h"
#include "tnx_platform/controls.h"

#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <mutex>
#include <unistd.h>
#include <utility>

namespace OHOS::Pelloria::Platform
{

// Where lines go. Constant-initialised, because other libraries log while they are loaded.
struct LogSink {
    std::mutex mutex;
    LogCapture *capture = nullptr;
    // Below it a line costs one comparison; 0 until the environment has been read.
    std::atomic<int> threshold{0};

    void UpdateThreshold()
    {
        const bool everything = capture != nullptr || GetEnvironment().strictLog;
        threshold.store(everything ? int{LOG_DEBUG} : GetEnvironment().logLevel,
                        std::memory_order_relaxed);
    }

    bool Take(LogLevel level, std::string_view text)
    {
        const std::lock_guard<std::mutex> lock(mutex);
        UpdateThreshold();
        try {
            if (capture != nullptr) {
                capture->lines_.push_back({level, std::string(text)});
            }
        } catch (const std::bad_alloc &) { // a test that fails allocations loses the line
        }
        return capture != nullptr;
    }
};

namespace
{

constinit LogSink g_sink;

// UTC, computed here: the C library's functions for it read the time zone from the environment,
// which another thread may be changing.
void AppendHeader(LogText &text, LogType type, LogLevel level, unsigned int domain, const char *tag)
{
    using namespace std::chrono;
    const auto now = floor<milliseconds>(system_clock::now());
    const auto day = floor<days>(now);
    const year_month_day date(day);
    const hh_mm_ss time(now - day);
    constexpr std::string_view letters = "???DIWEF";
    const auto letter = static_cast<size_t>(level) < letters.size() ? letters[level] : '?';
    text.AppendFormat("%04d-%02u-%02u %02d:%02d:%02d.%03dZ %d %d %c %c%06X/%s:", int(date.year()),
                      unsigned(date.month()), unsigned(date.day()), int(time.hours().count()),
                      int(time.minutes().count()), int(time.seconds().count()),
                      int(time.subseconds().count()), getpid(), gettid(), letter,
                      type == LOG_CORE ? 'C' : 'A', domain, tag == nullptr ? "" : tag);
}

int WriteLine(LogText &text)
{
    text.FinishLine();
    const std::string_view line = text.From(0);
    return write(STDERR_FILENO, line.data(), line.size()) < 0 ? -1 : static_cast<int>(line.size());
}

} // namespace

LogCapture::LogCapture()
{
    const std::lock_guard<std::mutex> lock(g_sink.mutex);
    outer_ = g_sink.capture;
    g_sink.capture = this;
    g_sink.UpdateThreshold();
}

LogCapture::~LogCapture()
{
    const std::lock_guard<std::mutex> lock(g_sink.mutex);
    g_sink.capture = outer_;
    g_sink.UpdateThreshold();
}

std::vector<LogLine> LogCapture::Take()
{
    const std::lock_guard<std::mutex> lock(g_sink.mutex);
    return std::exchange(lines_, {});
}

} // namespace OHOS::Pelloria::Platform

int HiLogPrint(LogType type, LogLevel level, unsigned int domain, const char *tag, const char *fmt,
               ...) noexcept
{
    using namespace OHOS::Pelloria::Platform;
    if (level < g_sink.threshold.load(std::memory_order_relaxed)) {
        return 0;
    }
    const int savedErrno = errno;
    LogText text;
    AppendHeader(text, type, level, domain, tag);
    const size_t start = text.Length();
    va_list args;
    va_start(args, fmt);
    const bool understood = AppendMarkedFormat(text, fmt, args);
    va_end(args);
    if (!understood && GetEnvironment().strictLog) {
        text.Append(" <- this log format is wrong");
        WriteLine(text);
        std::abort();
    }
    int written = 0;
    if (!g_sink.Take(level, text.From(start)) && level >= GetEnvironment().logLevel) {
        written = WriteLine(text);
    }
    errno = savedErrno;
    return written;
}
