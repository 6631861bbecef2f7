// Reads the environment when the library is loaded, or earlier if somebody asks.
#include "environment.h"

#include "tnx_platform/log.h"

#include <cstdlib>
#include <string_view>

namespace OHOS::Pelloria::Platform
{
namespace
{

std::string_view Variable(const char *name)
{
    const char *value = std::getenv(name);
    return value == nullptr ? std::string_view() : value;
}

int LevelOf(std::string_view name)
{
    constexpr struct {
        std::string_view name;
        int level;
    } levels[] = {
        {"debug", LOG_DEBUG}, {"info", LOG_INFO}, {"warn", LOG_WARN}, {"off", LOG_FATAL + 1}};
    for (const auto &known : levels) {
        if (known.name == name) {
            return known.level;
        }
    }
    return LOG_ERROR;
}

[[gnu::constructor]] void ReadAtLoad()
{
    GetEnvironment();
}

} // namespace

const Environment &GetEnvironment()
{
    // Never destroyed: lines are logged until the very end of the process.
    static const Environment *const environment = new Environment{
        .logLevel = LevelOf(Variable("TNX_LOG")),
        .strictLog = Variable("TNX_LOG_STRICT") == "1",
        .eventsFile = std::string(Variable("TNX_APP_EVENTS")),
        .internet = Variable("TNX_INTERNET_PERMISSION") != "0",
    };
    return *environment;
}

} // namespace OHOS::Pelloria::Platform
