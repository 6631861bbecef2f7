// Logs at each level, writes an event and tells the permission, for tests that set the environment.
#include "tnx_platform/app_event.h"
#include "tnx_platform/log.h"
#include "tnx_platform/permission.h"

#include <cerrno>
#include <cstdio>
#include <string>

int main()
{
    errno = 77;
    for (const LogLevel level : {LOG_DEBUG, LOG_INFO, LOG_WARN, LOG_ERROR}) {
        HiLogPrint(LOG_CORE, level, 0xD0015B0, "TAG", " level %{public}d", level);
    }
    const bool errnoKept = errno == 77;
    using namespace OHOS::HiviewDFX::HiAppEvent;
    Event event("domain", "name", BEHAVIOR);
    event.AddParam("text", std::string("quote \" backslash \\ newline \n end"));
    event.AddParam("wide", int64_t{1} << 40);
    event.AddParam("narrow", int32_t{-1});
    const int written = Write(event);
    const bool granted = OHOS::Pelloria::CommonUtils::HasInternetPermission();
    std::printf("errno %d write %d permission %d\n", errnoKept, written, granted);
    return 0;
}
