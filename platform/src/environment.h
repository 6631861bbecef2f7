// What the stand-ins take from the environment, read once: an application may change its
// environment later, on any thread.
#ifndef TNX_PLATFORM_SRC_ENVIRONMENT_H
#define TNX_PLATFORM_SRC_ENVIRONMENT_H

#include <string>

namespace OHOS::Pelloria::Platform
{

struct Environment {
    int logLevel;           // TNX_LOG: lines below it are not written
    bool strictLog;         // TNX_LOG_STRICT=1: abort on a format that is wrong, at any level
    std::string eventsFile; // TNX_APP_EVENTS
    bool internet;          // TNX_INTERNET_PERMISSION
};

const Environment &GetEnvironment();

} // namespace OHOS::Pelloria::Platform

#endif
