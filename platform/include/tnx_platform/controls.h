// Controls of the stand-ins, for tests, which link the objects of the library. Each holds while it
// lives, for the whole process. They may be nested; the innermost counts.
#ifndef TNX_PLATFORM_CONTROLS_H
#define TNX_PLATFORM_CONTROLS_H

#include "app_event.h"
#include "log.h"

#include <cstdint>
#include <string>
#include <vector>

namespace OHOS::Pelloria::Platform
{

struct LogLine {
    LogLevel level;
    std::string text; // as formatted, with the blank that formats begin with

    bool operator==(const LogLine &) const = default;
};

// Takes every log line, whatever its level, in place of standard error.
class LogCapture
{
public:
    LogCapture();
    ~LogCapture();
    LogCapture(const LogCapture &) = delete;
    LogCapture &operator=(const LogCapture &) = delete;

    // What was logged since the last call.
    std::vector<LogLine> Take();

private:
    friend struct LogSink;
    LogCapture *outer_;
    std::vector<LogLine> lines_;
};

// Takes registrations and events, in place of the file.
class EventCapture
{
public:
    EventCapture();
    ~EventCapture();
    EventCapture(const EventCapture &) = delete;
    EventCapture &operator=(const EventCapture &) = delete;

    // What was registered, and written, since the last call.
    std::vector<HiviewDFX::HiAppEvent::ReportConfig> TakeRegistrations();
    std::vector<HiviewDFX::HiAppEvent::Event> TakeEvents();

    // The next registrations return these, one each.
    void ForceRegistrationResults(std::vector<int64_t> results);

private:
    friend struct EventSink;
    EventCapture *outer_;
    std::vector<HiviewDFX::HiAppEvent::ReportConfig> registrations_;
    std::vector<HiviewDFX::HiAppEvent::Event> events_;
    std::vector<int64_t> results_;
};

// Grants or denies the internet permission.
class InternetPermission
{
public:
    explicit InternetPermission(bool granted);
    ~InternetPermission();
    InternetPermission(const InternetPermission &) = delete;
    InternetPermission &operator=(const InternetPermission &) = delete;

private:
    int outer_;
};

} // namespace OHOS::Pelloria::Platform

#endif
