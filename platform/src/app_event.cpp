// Writes events as JSON lines, or hands them to a capture.
#include "tnx_platform/app_event.h"

#include "environment.h"
#include "tnx_platform/controls.h"

#include <atomic>
#include <chrono>
#include <cstdio>
#include <fcntl.h>
#include <mutex>
#include <unistd.h>
#include <utility>

namespace OHOS::Pelloria::Platform
{

using namespace OHOS::HiviewDFX::HiAppEvent;

struct EventSink {
    std::mutex mutex;
    std::atomic<EventCapture *> capture = nullptr; // changes under the lock
    int64_t processors = 0;

    int64_t Register(const ReportConfig &config)
    {
        const std::lock_guard<std::mutex> lock(mutex);
        if (EventCapture *const taker = capture) {
            taker->registrations_.push_back(config);
            if (!taker->results_.empty()) {
                const int64_t result = taker->results_.front();
                taker->results_.erase(taker->results_.begin());
                return result;
            }
        }
        return ++processors;
    }

    bool Take(const Event &event)
    {
        const std::lock_guard<std::mutex> lock(mutex);
        EventCapture *const taker = capture;
        if (taker != nullptr) {
            taker->events_.push_back(event);
        }
        return taker != nullptr;
    }
};

namespace
{

constinit EventSink g_sink;

void AppendQuoted(std::string &json, const std::string &text)
{
    json += '"';
    for (const char c : text) {
        if (c == '"' || c == '\\') {
            json += '\\';
            json += c;
        } else if (static_cast<unsigned char>(c) < 0x20) {
            char escape[8];
            std::snprintf(escape, sizeof(escape), "\\u%04x", static_cast<unsigned>(c));
            json += escape;
        } else {
            json += c;
        }
    }
    json += '"';
}

std::string ToJson(const Event &event)
{
    using namespace std::chrono;
    const auto now = duration_cast<milliseconds>(system_clock::now().time_since_epoch());
    std::string json = "{\"domain\":";
    AppendQuoted(json, event.Domain());
    json += ",\"name\":";
    AppendQuoted(json, event.Name());
    json += ",\"type\":" + std::to_string(int{event.Type()});
    json += ",\"time\":" + std::to_string(now.count()) + ",\"params\":{";
    const char *separator = "";
    for (const auto &[key, value] : event.Params()) {
        json += separator;
        AppendQuoted(json, key);
        json += ':';
        if (const auto *text = std::get_if<std::string>(&value)) {
            AppendQuoted(json, *text);
        } else if (const auto *number = std::get_if<int64_t>(&value)) {
            json += std::to_string(*number);
        } else {
            json += std::to_string(std::get<int32_t>(value));
        }
        separator = ",";
    }
    return json + "}}\n";
}

// Opened at the first event; -1 without a file.
int EventsFile()
{
    static const int file = [] {
        const std::string &path = GetEnvironment().eventsFile;
        constexpr int flags = O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC;
        return path.empty() ? -1 : open(path.c_str(), flags, 0600);
    }();
    return file;
}

} // namespace

EventCapture::EventCapture()
{
    const std::lock_guard<std::mutex> lock(g_sink.mutex);
    outer_ = g_sink.capture;
    g_sink.capture = this;
}

EventCapture::~EventCapture()
{
    const std::lock_guard<std::mutex> lock(g_sink.mutex);
    g_sink.capture = outer_;
}

std::vector<ReportConfig> EventCapture::TakeRegistrations()
{
    const std::lock_guard<std::mutex> lock(g_sink.mutex);
    return std::exchange(registrations_, {});
}

std::vector<Event> EventCapture::TakeEvents()
{
    const std::lock_guard<std::mutex> lock(g_sink.mutex);
    return std::exchange(events_, {});
}

void EventCapture::ForceRegistrationResults(std::vector<int64_t> results)
{
    const std::lock_guard<std::mutex> lock(g_sink.mutex);
    results_ = std::move(results);
}

} // namespace OHOS::Pelloria::Platform

namespace OHOS::HiviewDFX::HiAppEvent
{

using namespace OHOS::Pelloria::Platform;

Event::Event(std::string domain, std::string name, EventType type)
    : domain_(std::move(domain))
    , name_(std::move(name))
    , type_(type)
{
    params_.reserve(8);
}

int64_t AppEventProcessorMgr::AddProcessor(const ReportConfig &config)
{
    return g_sink.Register(config);
}

bool TakesEvents() noexcept
{
    return g_sink.capture != nullptr || !GetEnvironment().eventsFile.empty();
}

int Write(const Event &event)
{
    if (g_sink.Take(event) || GetEnvironment().eventsFile.empty()) {
        return 0;
    }
    const std::string line = ToJson(event);
    const ssize_t written = write(EventsFile(), line.data(), line.size());
    return written == static_cast<ssize_t>(line.size()) ? 0 : -1;
}

} // namespace OHOS::HiviewDFX::HiAppEvent
