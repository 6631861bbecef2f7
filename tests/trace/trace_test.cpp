// The one registration of a process, and what an event carries.
#include "tnx_c.h"
#include "tnx_platform/controls.h"

#include <gtest/gtest.h>

#include <ctime>
#include <string>
#include <thread>
#include <tuple>
#include <utility>
#include <vector>

namespace
{

using namespace OHOS::HiviewDFX::HiAppEvent;
using OHOS::Pelloria::Platform::EventCapture;

void ExpectOurProcessor(const ReportConfig &config)
{
    EXPECT_EQ(config.name, "zq_app_event");
    EXPECT_EQ(config.routeInfo, "AUTO");
    EXPECT_EQ(config.appId, "com_quorvex_vexa_sdk_ocg");
    EXPECT_FALSE(config.debugMode);
    const TriggerCondition &trigger = config.triggerCond;
    EXPECT_EQ(std::tie(trigger.row, trigger.size, trigger.timeout), std::make_tuple(30, 0, 90));
    EXPECT_FALSE(trigger.onStartup || trigger.onBackground);
    EXPECT_TRUE(config.userIdNames.empty() && config.userPropertyNames.empty());
    const std::pair<const char *, bool> events[] = {
        {"api_exec_end", false}, {"api_called_stat", true}, {"api_called_stat_cnt", true}};
    ASSERT_EQ(config.eventConfigs.size(), std::size(events));
    for (size_t i = 0; i < std::size(events); ++i) {
        EXPECT_EQ(config.eventConfigs[i].domain, "api_diagnostic");
        EXPECT_EQ(config.eventConfigs[i].name, events[i].first);
        EXPECT_EQ(config.eventConfigs[i].isRealTime, events[i].second);
    }
}

void ExpectEvent(const Event &event, const char *sdkName, int32_t result, int32_t errorCode,
                 int64_t begin)
{
    EXPECT_EQ(event.Domain(), "api_diagnostic");
    EXPECT_EQ(event.Name(), "api_exec_end");
    EXPECT_EQ(event.Type(), 4);
    const auto &params = event.Params();
    ASSERT_EQ(params.size(), 7U);
    EXPECT_EQ(params[0].first, "trans_id");
    const auto transaction = std::get<std::string>(params[0].second);
    EXPECT_TRUE(transaction.starts_with("transId_"));
    EXPECT_EQ(transaction.find_first_not_of("0123456789", 8), std::string::npos);
    using Param = std::pair<std::string, ParamValue>;
    EXPECT_EQ(params[1], Param("api_name", std::string("OVX_Tnx_Fetch")));
    EXPECT_EQ(params[2], Param("sdk_name", std::string(sdkName)));
    EXPECT_EQ(params[3], Param("begin_time", begin));
    EXPECT_EQ(params[4].first, "end_time");
    EXPECT_GE(std::get<int64_t>(params[4].second), begin);
    EXPECT_EQ(params[5], Param("result", result));
    EXPECT_EQ(params[6], Param("error_code", errorCode));
}

TEST(TraceTest, RegistersOnceAndWritesOneEventACall)
{
    EventCapture capture;
    capture.ForceRegistrationResults({-1, -1});
    TnxTraceApiEvent(0, 0, "OVX_Tnx_Fetch", 0);
    TnxTraceApiEvent(0, 0, "OVX_Tnx_Fetch", 0);
    EXPECT_EQ(capture.TakeRegistrations().size(), 2U) << "-1 must be tried again";
    EXPECT_TRUE(capture.TakeEvents().empty());

    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i) {
        threads.emplace_back([] { TnxTraceApiEvent(0, 0, "OVX_Tnx_Fetch", 0); });
    }
    for (std::thread &thread : threads) {
        thread.join();
    }
    const std::vector<ReportConfig> registrations = capture.TakeRegistrations();
    ASSERT_EQ(registrations.size(), 1U);
    ExpectOurProcessor(registrations[0]);
    EXPECT_EQ(capture.TakeEvents().size(), 8U);

    const int64_t begin = std::time(nullptr);
    TnxTraceApiEvent(1, TNX_ERR_PARAMETER, "OVX_Tnx_Fetch", begin);
    g_sdkName = "another";
    TnxTraceApiEvent(0, TNX_ERR_REQUEST_CANCELED, "OVX_Tnx_Fetch", begin);
    const std::vector<Event> events = capture.TakeEvents();
    ASSERT_EQ(events.size(), 2U);
    ExpectEvent(events[0], "Corvalith", 1, TNX_ERR_PARAMETER, begin);
    ExpectEvent(events[1], "another", 0, TNX_ERR_REQUEST_CANCELED, begin);
    EXPECT_TRUE(capture.TakeRegistrations().empty());
}

} // namespace
