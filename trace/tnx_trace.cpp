// Usage events: one for each asynchronous fetch, through a processor that is registered once.
#include "common/guard.h"
#include "common/mutex.h"
#include "tnx_c.h"
#include "tnx_platform/app_event.h"

#include <cstdlib>
#include <ctime>
#include <string>

const char *g_sdkName = "Corvalith";

namespace OHOS::Pelloria::TnxC
{
namespace
{

using namespace OHOS::HiviewDFX::HiAppEvent;

constexpr const char *DOMAIN = "api_diagnostic";
constexpr int64_t NOT_REGISTERED = -1;

constinit Mutex g_mutex;
constinit int64_t g_processorId GUARDED_BY(g_mutex) = NOT_REGISTERED;

ReportConfig MakeReportConfig()
{
    ReportConfig config;
    config.name = "zq_app_event";
    config.routeInfo = "AUTO";
    config.appId = "com_quorvex_vexa_sdk_ocg";
    config.triggerCond.row = 30;
    config.triggerCond.timeout = 90;
    config.eventConfigs = {{DOMAIN, "api_exec_end", false},
                           {DOMAIN, "api_called_stat", true},
                           {DOMAIN, "api_called_stat_cnt", true}};
    return config;
}

// A registration that fails with the value for "not registered" is tried again at the next event;
// any other negative result ends the reporting.
bool HasProcessor()
{
    const MutexLock lock(g_mutex);
    if (g_processorId == NOT_REGISTERED) {
        g_processorId = AppEventProcessorMgr::AddProcessor(MakeReportConfig());
    }
    return g_processorId >= 0;
}

std::string TextOf(const char *text)
{
    return text == nullptr ? "" : text;
}

void WriteEvent(uint32_t result, uint32_t errorCode, const char *apiName, int64_t beginTime)
{
    Event event(DOMAIN, "api_exec_end", BEHAVIOR);
    event.AddParam("trans_id", "transId_" + std::to_string(std::rand()));
    event.AddParam("api_name", TextOf(apiName));
    event.AddParam("sdk_name", TextOf(g_sdkName));
    event.AddParam("begin_time", beginTime);
    event.AddParam("end_time", int64_t{std::time(nullptr)});
    event.AddParam("result", static_cast<int32_t>(result));
    event.AddParam("error_code", static_cast<int32_t>(errorCode));
    Write(event);
}

} // namespace
} // namespace OHOS::Pelloria::TnxC

void TnxTraceApiEvent(uint32_t result, uint32_t errorCode, const char *apiName,
                      int64_t beginTime) noexcept
{
    using namespace OHOS::Pelloria::TnxC;
    Guarded([=] { // else it is an event less
        if (HasProcessor() && TakesEvents()) {
            WriteEvent(result, errorCode, apiName, beginTime);
        }
    });
}
