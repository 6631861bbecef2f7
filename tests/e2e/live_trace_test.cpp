// What is told of a fetch while it goes on: the steps in their order, and all that debug
// information has.
#include "client.h"

#include "ports.h"
#include "tnx_c_ext.h"

#include <mutex>
#include <semaphore>

namespace
{

using namespace EndToEnd;

// What was told: the steps as letters, the rest by kind.
struct Story {
    explicit Story(Call &call)
    {
        EXPECT_EQ(OVX_Tnx_SetRequestTrace(call.Get(), Hear, this), TNX_OK);
    }

    static void Hear(void *self, const Tnx_TraceEvent *event)
    {
        auto &story = *static_cast<Story *>(self);
        const std::string data(event->data, event->length);
        {
            const std::lock_guard lock(story.mutex);
            EXPECT_GE(event->time, story.time);
            story.time = event->time;
            if (event->kind >= TNX_TRACE_QUEUED) {
                story.steps += "QqlcfCTRs1>rd"[event->kind - TNX_TRACE_QUEUED];
                story.last[story.steps.back()] = data;
            } else {
                story.debug[event->kind] += data;
            }
        }
        if (story.then) {
            story.then(event->kind);
        }
    }

    std::mutex mutex;
    int64_t time = 0;
    std::string steps;
    std::map<char, std::string> last; // data of the steps
    std::map<uint32_t, std::string> debug;
    std::function<void(uint32_t kind)> then;
};

using LiveTraceTest = EndToEndTest;

TEST_F(LiveTraceTest, EachStepIsToldInItsPlace)
{
    const RefusingPort refusing;
    const std::string nowhere = "http://127.0.0.1:" + std::to_string(refusing.Port()) + "/";
    const std::string once = Scripted().Url("/echo?once"), tls = Nginx().Url("/1k", Site::TLS);
    const std::string away = Scripted().Url("/redirect?to=" + Nginx().Url("/1k"));
    const struct {
        std::string url, steps, again; // the second fetch has a connection
    } rows[] = {
        {once, "QqcCs1d", "QqRs1d"},
        {tls, "QqcCTs1d", "QqRs1d"},
        {Scripted().Url("/redirect?to=/echo"), "QqRs1>Rs1d", "QqRs1>Rs1d"},
        {away, "QqRs1>QqcCs1d", "QqRs1>QqRs1d"},
        {nowhere, "Qqcfd", "Qqcfd"},
        {"nonsense://host/", "Qd", "Qd"},
    };
    for (const bool synchronous : {false, true}) {
        for (const auto &row : rows) {
            for (const bool again : {false, true}) {
                SCOPED_TRACE(row.url);
                Call call(row.url);
                Story story(call);
                const Outcome outcome =
                    synchronous ? call.FetchSync(Session()) : call.Fetch(Session());
                std::string steps = story.steps;
                if (const size_t at = steps.find('l'); at != std::string::npos) {
                    steps.erase(at, 1); // where the name is not an address
                }
                EXPECT_EQ(steps, again ? row.again : row.steps);
                EXPECT_EQ(story.last['d'], outcome.code == TNX_OK ? "" : outcome.Why());
                EXPECT_TRUE(story.debug[TNX_DEBUG_DATA_IN].ends_with(outcome.body));
                EXPECT_EQ(outcome.debug.empty(), outcome.code == TNX_OK); // nothing is kept
                EXPECT_EQ(story.last['T'].starts_with("TLSv1."), row.url == tls && !again);
            }
        }
        Close();
    }
}

TEST_F(LiveTraceTest, ABodyIsOutBeforeTheAnswer)
{
    static std::atomic<int> left;
    const auto pull = [](char *buffer, unsigned int size) {
        std::fill_n(buffer, size, 'x');
        return --left > 0 ? static_cast<int>(size) : 0;
    };
    for (const Site site : {Site::PLAIN, Site::TLS_HTTP1, Site::TLS}) {
        for (const bool pulled : {false, true}) {
            Call call(Nginx().Url("/sink", site), "PUT");
            left = 4;
            if (pulled) {
                call.Pull(pull);
            } else {
                call.Body(std::string(300000, 'x'));
            }
            Story story(call);
            size_t atSent = 0;
            story.then = [&](uint32_t kind) {
                atSent = kind == TNX_TRACE_SENT ? story.debug[TNX_DEBUG_DATA_OUT].size() : atSent;
            };
            EXPECT_EQ(call.Fetch(Session()).code, TNX_OK);
            EXPECT_TRUE(story.steps.ends_with("s1d")) << story.steps;
            EXPECT_GE(atSent, 300000U);
            EXPECT_EQ(atSent, story.debug[TNX_DEBUG_DATA_OUT].size());
        }
    }
}

// What waits to be heard is bounded, and still nothing of the body is missing.
TEST_F(LiveTraceTest, ACallbackThatBlocksPausesItsDownload)
{
    constexpr size_t LENGTH = 20'000'000;
    Call call(Scripted().Url("/bytes?n=" + std::to_string(LENGTH)));
    Call other(Scripted().Url("/echo"));
    Story story(call);
    std::binary_semaphore goOn(0);
    story.then = [&](uint32_t kind) {
        if (kind == TNX_TRACE_FIRST_BYTE) {
            goOn.acquire();
        }
    };
    Scripted().ForgetRequests();
    call.Start(Session());
    ASSERT_TRUE(Scripted().WaitForRequests(1));
    EXPECT_EQ(other.Fetch(Session()).code, TNX_OK);
    goOn.release();
    const Outcome outcome = call.Wait();
    EXPECT_EQ(outcome.body.size(), LENGTH) << outcome.Why();
    EXPECT_EQ(story.debug[TNX_DEBUG_DATA_IN].size(), LENGTH);
    EXPECT_EQ(story.debug[TNX_DEBUG_TEXT].find("left out"), std::string::npos);
    // What is sent does not pause: what is too much is left out, and that is told.
    Call upload(Scripted().Url("/echo?short"), "PUT");
    upload.Body(std::string(LENGTH, 'x'));
    Story sending(upload);
    sending.then = [&](uint32_t kind) {
        if (kind == TNX_DEBUG_HEADER_OUT) {
            goOn.acquire();
        }
    };
    Scripted().ForgetRequests();
    upload.Start(session_);
    ASSERT_TRUE(Scripted().WaitForRequests(1));
    goOn.release();
    EXPECT_EQ(upload.Wait().code, TNX_OK);
    const size_t told = sending.debug[TNX_DEBUG_DATA_OUT].size();
    EXPECT_LT(told, LENGTH);
    EXPECT_NE(sending.debug[TNX_DEBUG_TEXT].find(std::to_string(LENGTH - told) + " bytes left out"),
              std::string::npos);
    EXPECT_TRUE(sending.steps.ends_with("s1d")) << sending.steps;
}

TEST_F(LiveTraceTest, NothingIsToldAfterACancelOrAClose)
{
    for (const bool closes : {false, true}) {
        for (const uint32_t kind : {TNX_TRACE_LEFT_QUEUE, TNX_TRACE_CONNECTED, TNX_TRACE_SENT}) {
            SCOPED_TRACE(kind);
            Call call(Scripted().Url("/stall?ms=60000"));
            call.Header("connection", "close");
            Story story(call);
            size_t events = 0, atEnd = 0;
            std::binary_semaphore over(0);
            story.then = [&](uint32_t now) {
                ++events;
                if (now == kind) {
                    closes ? OVX_Tnx_CloseSession(&session_)
                           : OVX_Tnx_CancelRequest(session_, call.Get());
                    atEnd = events;
                    over.release();
                }
            };
            call.Start(Session());
            ASSERT_TRUE(over.try_acquire_for(std::chrono::seconds(20)));
            if (!closes) {
                EXPECT_EQ(call.Wait().code, TNX_ERR_REQUEST_CANCELED);
            }
            Close();
            EXPECT_EQ(events, atEnd);
            EXPECT_EQ(story.steps.find('d'), std::string::npos);
        }
    }
}

TEST_F(LiveTraceTest, TakesNullAndRefusesForeignRecords)
{
    Tnx_Request foreign = {};
    EXPECT_EQ(OVX_Tnx_SetRequestTrace(nullptr, Story::Hear, nullptr), TNX_ERR_PARAMETER);
    EXPECT_EQ(OVX_Tnx_SetRequestTrace(&foreign, Story::Hear, nullptr), TNX_ERR_PARAMETER);
    Call call(Scripted().Url("/echo"));
    Story story(call);
    EXPECT_EQ(OVX_Tnx_SetRequestTrace(call.Get(), nullptr, nullptr), TNX_OK);
    EXPECT_EQ(call.Fetch(Session()).code, TNX_OK);
    EXPECT_EQ(story.steps, "");
}

} // namespace
