// The tracing switches, and what each bridge hands to the application.
#include "common/c_ptr.h"
#include "translate/tnx_events.h"

#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <vector>

namespace
{

using namespace OHOS::Pelloria;
using namespace OHOS::Pelloria::TnxC;

TEST(TracingTest, KindsAloneSwitchDebuggingOn)
{
    Tnx_TracingConfiguration record = {};
    record.debugInfoSwitch = true;
    record.collectTimeInfo = true;
    Tnx::TracingConfiguration tracing;
    TnxToCppHttpEventsHandler(tracing, record);
    EXPECT_FALSE(tracing.debug);
    EXPECT_TRUE(tracing.collectTimeInfo);

    for (size_t kind = 0; kind < TNX_DEBUG_KINDS; ++kind) {
        Tnx_TracingConfiguration one = {};
        one.debugInfoKinds[kind] = true;
        Tnx::TracingConfiguration target;
        TnxToCppHttpEventsHandler(target, one);
        EXPECT_TRUE(target.debug);
        EXPECT_FALSE(target.collectTimeInfo);
        for (size_t other = 0; other < TNX_DEBUG_KINDS; ++other) {
            EXPECT_EQ(target.debugKinds[other], other == kind);
        }
    }

    tracing.debug = true; // stays: no kind switches it off
    TnxToCppHttpEventsHandler(tracing, record);
    EXPECT_TRUE(tracing.debug);
}

using Calls = std::vector<std::string>;

void Note(void *calls, const std::string &text)
{
    static_cast<Calls *>(calls)->push_back(text);
}

size_t OnData(void *ctx, const char *data)
{
    Note(ctx, std::string("data ") + data);
    return 3;
}

void OnProgress(void *ctx, uint64_t total, uint64_t now)
{
    Note(ctx, "progress " + std::to_string(total) + " " + std::to_string(now));
}

void OnHeaders(void *ctx, Tnx_Headers *headers)
{
    const HeadersPtr owned(headers);
    Note(ctx, std::string("headers ") + OVX_Tnx_GetHeaderValue(headers, "server")->value);
}

TEST(BridgeTest, EachSlotReachesItsCallback)
{
    Calls download, upload, data, headers, end;
    Tnx_TracingConfiguration record = {};
    record.eventsHandler = {{OnData, &data},
                            {OnProgress, &download},
                            {OnProgress, &upload},
                            {OnHeaders, &headers},
                            {[](void *ctx) { Note(ctx, "end"); }, &end},
                            {}};
    Tnx::TracingConfiguration tracing;
    TnxToCppHttpEventsHandler(tracing, record);
    const Tnx::HttpEventsHandler &handler = tracing.eventsHandler;
    // All of the text is all of the data; any other count is passed on.
    EXPECT_EQ(handler.onDataReceive(std::make_shared<std::string>("cut\0here", 8)), 8U);
    EXPECT_EQ(handler.onDataReceive(std::make_shared<std::string>("short\0", 6)), 3U);
    EXPECT_EQ(handler.onDataReceive(nullptr), 0U);
    EXPECT_EQ(data, (Calls{"data cut", "data short"}));
    handler.onDownloadProgress(UINT64_MAX, 1);
    EXPECT_EQ(download, Calls{"progress 18446744073709551615 1"});
    EXPECT_TRUE(upload.empty());
    handler.onUploadProgress(2, 3);
    EXPECT_EQ(upload, Calls{"progress 2 3"});
    handler.onHeadersReceive({{"server", "x"}});
    EXPECT_EQ(headers, Calls{"headers x"});
    handler.onDataEnd();
    EXPECT_EQ(end, Calls{"end"});
}

TEST(BridgeTest, SlotsAreReadAtEachCall)
{
    Calls first, second;
    Tnx_TracingConfiguration record = {};
    record.eventsHandler.onEvent = {[](void *ctx) { Note(ctx, "a"); }, &first};
    Tnx::TracingConfiguration tracing;
    TnxToCppHttpEventsHandler(tracing, record);
    record.eventsHandler.onEvent = {[](void *ctx) { Note(ctx, "b"); }, &second};
    tracing.eventsHandler.onDataEnd();
    EXPECT_TRUE(first.empty());
    EXPECT_EQ(second, Calls{"b"});
}

TEST(BridgeTest, EmptySlotsKeepWhatIsThere)
{
    int calls = 0;
    Tnx::TracingConfiguration tracing;
    tracing.eventsHandler.onDataEnd = [&calls] { ++calls; };
    TnxToCppHttpEventsHandler(tracing, {});
    tracing.eventsHandler.onDataEnd();
    EXPECT_EQ(calls, 1);
    const Tnx::HttpEventsHandler &handler = tracing.eventsHandler;
    EXPECT_FALSE(handler.onDataReceive || handler.onDownloadProgress || handler.onUploadProgress ||
                 handler.onHeadersReceive);
}

} // namespace
