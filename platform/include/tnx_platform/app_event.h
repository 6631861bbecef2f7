// The platform's application events: written as JSON lines to the file that TNX_APP_EVENTS names,
// else nowhere.
#ifndef TNX_PLATFORM_APP_EVENT_H
#define TNX_PLATFORM_APP_EVENT_H

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#pragma GCC visibility push(default)

namespace OHOS::HiviewDFX::HiAppEvent
{

enum EventType {
    FAULT = 1,
    STATISTIC = 2,
    SECURITY = 3,
    BEHAVIOR = 4,
};

// When a processor reports what has gathered.
struct TriggerCondition {
    int row = 0;
    int size = 0;
    int timeout = 0;
    bool onStartup = false;
    bool onBackground = false;
};

// An event that a processor takes.
struct EventConfig {
    std::string domain;
    std::string name;
    bool isRealTime = false;
};

// A processor of events.
struct ReportConfig {
    std::string name;
    bool debugMode = false;
    std::string routeInfo;
    std::string appId;
    TriggerCondition triggerCond;
    std::set<std::string> userIdNames;
    std::set<std::string> userPropertyNames;
    std::vector<EventConfig> eventConfigs;
    std::map<std::string, std::string> customConfigs;
};

class AppEventProcessorMgr
{
public:
    // Returns the processor's id, negative for failure.
    static int64_t AddProcessor(const ReportConfig &config);
};

using ParamValue = std::variant<int32_t, int64_t, std::string>;

class Event
{
public:
    Event(std::string domain, std::string name, EventType type);

    void AddParam(const std::string &key, int32_t value) { params_.emplace_back(key, value); }
    void AddParam(const std::string &key, int64_t value) { params_.emplace_back(key, value); }
    void AddParam(const std::string &key, const std::string &value)
    {
        params_.emplace_back(key, value);
    }

    const std::string &Domain() const { return domain_; }
    const std::string &Name() const { return name_; }
    EventType Type() const { return type_; }
    // In the order of adding.
    const std::vector<std::pair<std::string, ParamValue>> &Params() const { return params_; }

private:
    std::string domain_;
    std::string name_;
    EventType type_;
    std::vector<std::pair<std::string, ParamValue>> params_;
};

// Returns 0, or -1 when the event could not be written.
int Write(const Event &event);

// Whether an event that is written goes anywhere: else nobody need make one.
bool TakesEvents() noexcept;

} // namespace OHOS::HiviewDFX::HiAppEvent

#pragma GCC visibility pop

#endif
