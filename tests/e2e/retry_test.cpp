// What a session tries again, when, and what of it the application sees.
#include "client.h"

#include "ports.h"
#include "tnx_c_ext.h"

#include <ctime>
#include <semaphore>

namespace
{

using namespace EndToEnd;
using namespace std::chrono_literals;

class RetryTest : public EndToEndTest
{
protected:
    Tnx_Session *Retrying(uint32_t firstWait = 2, uint32_t longestWait = 0, uint32_t attempts = 0,
                          uint32_t giveUpAfter = 0)
    {
        Tnx_RetryPolicy policy = {};
        policy.attempts = attempts;
        policy.firstWait = firstWait;
        policy.longestWait = longestWait;
        policy.giveUpAfter = giveUpAfter;
        EXPECT_EQ(OVX_Tnx_SetSessionRetry(Session(), &policy), TNX_OK);
        Scripted().ForgetRequests();
        return session_;
    }

    // A target that no other test has: some count their visits.
    static std::string Fresh(const std::string &target)
    {
        static int next = 0;
        return Scripted().Url(target + "&visit=" + std::to_string(++next));
    }

    // A date, as servers write it.
    static std::string In(int seconds)
    {
        const std::time_t then = std::time(nullptr) + seconds;
        char text[64];
        std::strftime(text, sizeof text, "%a,%%20%d%%20%b%%20%Y%%20%H:%M:%S%%20GMT",
                      std::gmtime(&then));
        return text;
    }
};

size_t Take(std::string_view data)
{
    return data.size();
}

TEST_F(RetryTest, RepeatsWhatMayPassAndMayBeRepeated)
{
    const auto body = [](Call &call) { call.Body("abc"); };
    const auto pulled = [](Call &call) { call.Pull([](char *, unsigned int) { return 0; }); };
    const auto streams = [](Call &call) { call.OnData(Take); };
    const auto follows = [](Call &call) {
        call.configuration.tracing.eventsHandler.onHeaderReceive.callback =
            [](void *, Tnx_Headers *headers) { OVX_Tnx_DestroyHeaders(headers); };
    };
    const auto fails = [](Call &call) { OVX_Tnx_SetRequestFailOnHttpError(call.Get(), true); };
    const auto late = [](Call &call) { call.configuration.transfer.transferTimeout = 50; };
    const auto idle = [](Call &call) {
        OVX_Tnx_SetRequestLimit(call.Get(), TNX_LIMIT_IDLE_TIME, 50);
    };
    const struct {
        const char *method;
        std::string target;
        std::function<void(Call &)> fill;
        uint32_t code;
        int32_t status;
        size_t requests;
    } rows[] = {
        {"GET", "/status?code=503&times=2", {}, TNX_OK, 200, 3},
        {"GET", "/status?code=503", {}, TNX_OK, 503, 3},
        {"GET", "/status?code=503&times=2", streams, TNX_OK, 200, 3},
        {"GET", "/status?code=503&times=2", follows, TNX_OK, 200, 3},
        {"GET", "/status?code=503&times=2", fails, TNX_OK, 200, 3},
        {"GET", "/status?code=503", fails, TNX_ERR_HTTP_STATUS, 503, 3},
        {"PUT", "/status?code=503&times=2", body, TNX_OK, 200, 3},
        {"PUT", "/status?code=503&times=2", pulled, TNX_OK, 503, 1},
        {"POST", "/status?code=503&times=2", body, TNX_OK, 503, 1},
        {"PURGE", "/status?code=503&times=2", {}, TNX_OK, 503, 1},
        {"GET", "/status?code=404&times=2", {}, TNX_OK, 404, 1},
        {"GET", "/status?code=503&line=Retry-After:%2060", {}, TNX_OK, 503, 1},
        {"GET", "/status?code=503&line=Retry-After:%20" + In(60), {}, TNX_OK, 503, 1},
        {"GET", "/status?code=503&times=2&line=Retry-After:%20" + In(-9), {}, TNX_OK, 200, 3},
        {"GET", "/status?code=503&times=2&line=Retry-After:%20soon", {}, TNX_OK, 200, 3},
        {"GET", "/redirect?to=/status?code=503", {}, TNX_OK, 503, 4},
        {"GET", "/close?a", {}, TNX_ERR_EMPTY_REPLY, 0, 3},
        {"POST", "/close?a", body, TNX_ERR_EMPTY_REPLY, 0, 1},
        {"GET", "/truncate?n=10&of=100", {}, TNX_ERR_TRUNCATED_BODY, 200, 3},
        {"GET", "/truncate?n=10&of=100", streams, TNX_ERR_TRUNCATED_BODY, 200, 1},
        {"GET", "/truncate?n=10&of=100", follows, TNX_ERR_TRUNCATED_BODY, 200, 1},
        {"GET", "/stall?ms=30000", late, TNX_ERR_TIMEOUT, 0, 3},
        {"GET", "/stall?ms=30000&idle", idle, TNX_ERR_TIMEOUT, 0, 3},
    };
    for (const auto &row : rows) {
        for (const bool synchronous : {false, true}) {
            SCOPED_TRACE(std::string(row.method) + " " + row.target);
            Call call(Fresh(row.target), row.method);
            if (row.fill) {
                row.fill(call);
            }
            Tnx_Session *const session = Retrying(2, 5000);
            const Outcome outcome = synchronous ? call.FetchSync(session) : call.Fetch(session);
            EXPECT_EQ(outcome.code, row.code) << outcome.Why();
            EXPECT_EQ(outcome.status, row.status);
            EXPECT_EQ(Scripted().Requests().size(), row.requests);
            Close(); // else libcurl repeats on its own what a kept connection fails
        }
    }
}

TEST_F(RetryTest, TheLastAttemptIsWhatTheApplicationSees)
{
    const auto fill = [](Call &call) {
        OVX_Tnx_SetRequestCollectConnectionInfo(call.Get(), true);
        call.configuration.tracing.collectTimeInfo = true;
        call.configuration.tracing.debugInfoKinds[TNX_DEBUG_TEXT] = true;
        call.look = [](const Tnx_Response *response) {
            const Tnx_HopInfo *hop = OVX_Tnx_GetConnectionInfo(response)->hops;
            EXPECT_EQ(hop->statusCode, 500);
            EXPECT_EQ(hop->next->statusCode, 200);
            EXPECT_EQ(hop->next->next, nullptr);
        };
    };
    Retrying(60);
    for (const bool synchronous : {false, true}) {
        Call call(Fresh("/status?code=500&times=1&line=X-Visit:%20yes"));
        fill(call);
        const Outcome outcome = synchronous ? call.FetchSync(session_) : call.Fetch(session_);
        EXPECT_EQ(outcome.status, 200);
        EXPECT_NE(outcome.Debug(TNX_DEBUG_TEXT).find("Status 500, again in "), std::string::npos);
        ASSERT_TRUE(outcome.times);
        EXPECT_GE(outcome.times->queue, 30000); // half of the wait at least
        EXPECT_GT(outcome.times->total, 0.0);
    }
    // Nothing is left of an attempt before.
    const RefusingPort refusing;
    Call gone(Scripted().Url("/redirect?to=http://127.0.0.1:" + std::to_string(refusing.Port())));
    const Outcome outcome = gone.Fetch(session_);
    EXPECT_EQ(outcome.code, TNX_ERR_CONNECT);
    EXPECT_EQ(outcome.status, 0);
    EXPECT_TRUE(outcome.headers.empty());
}

TEST_F(RetryTest, TheWaitHoldsNothingAndEndsWithACancelOrAClose)
{
    configuration_.maxConnectionsPerHost = 1;
    for (const bool closes : {false, true}) {
        Call waiting(Fresh("/status?code=503")), other(Scripted().Url("/bytes?n=3"));
        std::binary_semaphore retried(0);
        OVX_Tnx_SetRequestTrace(
            waiting.Get(),
            [](void *ctx, const Tnx_TraceEvent *event) {
                if (event->kind == TNX_TRACE_RETRIED) {
                    static_cast<std::binary_semaphore *>(ctx)->release();
                }
            },
            &retried);
        waiting.Start(Retrying(600000, 600000));
        ASSERT_TRUE(retried.try_acquire_for(20s));
        EXPECT_EQ(other.Fetch(session_).code, TNX_OK);
        if (!closes) {
            OVX_Tnx_CancelRequest(session_, waiting.Get());
            EXPECT_EQ(waiting.Wait().code, TNX_ERR_REQUEST_CANCELED);
            std::thread canceler([&] {
                EXPECT_TRUE(retried.try_acquire_for(20s));
                OVX_Tnx_CancelSession(session_);
            });
            EXPECT_EQ(waiting.FetchSync(session_).code, TNX_ERR_REQUEST_CANCELED);
            canceler.join();
        }
        Close();
        EXPECT_EQ(waiting.Answers(), closes ? 0U : 1U);
    }
}

TEST_F(RetryTest, GivesUpInTimeAndWaitsAsLongAsTheServerWants)
{
    Call call(Fresh("/status?code=503"));
    EXPECT_EQ(call.Fetch(Retrying(20, 0, 99, 200)).status, 503);
    EXPECT_GT(Scripted().Requests().size(), 1U);
    EXPECT_LT(Scripted().Requests().size(), 9U);
    Call patient(Fresh("/429?times=1&after=1"));
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(patient.Fetch(Retrying()).status, 200);
    EXPECT_GE(std::chrono::steady_clock::now() - start, 1s);
    // Switched off, and an empty list.
    EXPECT_EQ(OVX_Tnx_SetSessionRetry(session_, nullptr), TNX_OK);
    Call once(Fresh("/status?code=503&times=1"));
    EXPECT_EQ(once.Fetch(session_).status, 503);
    const int32_t none = 0;
    Tnx_RetryPolicy nothing = {};
    nothing.statuses = &none;
    EXPECT_EQ(OVX_Tnx_SetSessionRetry(session_, &nothing), TNX_OK);
    EXPECT_EQ(once.Fetch(session_).status, 200); // its second visit
    Call unlisted(Fresh("/status?code=503&times=1"));
    EXPECT_EQ(unlisted.Fetch(session_).status, 503);
}

TEST_F(RetryTest, RefusesWhatMakesNoSense)
{
    const int32_t success = 200;
    const uint32_t final = TNX_ERR_PEER_VERIFICATION;
    const Tnx_RetryPolicy policies[] = {
        {0, 2, 1, 0, nullptr, 0, nullptr, 0}, {0, 0, 0, 0, &success, 1, nullptr, 0},
        {0, 0, 0, 0, nullptr, 1, nullptr, 0}, {0, 0, 0, 0, nullptr, 0, &final, 1},
        {0, 0, 0, 0, nullptr, 0, nullptr, 1},
    };
    Retrying();
    for (const Tnx_RetryPolicy &policy : policies) {
        EXPECT_EQ(OVX_Tnx_SetSessionRetry(session_, &policy), TNX_ERR_PARAMETER);
    }
    Call call(Fresh("/status?code=503&times=1"));
    EXPECT_EQ(call.Fetch(session_).status, 200); // the one before stays
    Tnx_SessionOps ops = {};
    Tnx_Session own = {&ops, nullptr};
    EXPECT_EQ(OVX_Tnx_SetSessionRetry(&own, policies), TNX_ERR_PARAMETER);
    EXPECT_EQ(OVX_Tnx_SetSessionRetry(nullptr, policies), TNX_ERR_SESSION_CLOSED);
}

} // namespace
