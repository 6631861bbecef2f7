// What is recorded with a response, and what an application that follows a transfer is told.
#include "tests/e2e/client.h"

#include <cstring>
#include <mutex>

namespace
{

using namespace EndToEnd;

using TracingTest = EndToEndTest;

TEST_F(TracingTest, EachSwitchRecordsItsKindAlone)
{
    const std::string url = Nginx().Url("/scripted/echo", Site::TLS);
    for (uint32_t kind = 0; kind < TNX_DEBUG_KINDS; ++kind) {
        SCOPED_TRACE(kind);
        const auto fill = [kind](Call &call) {
            call.configuration.tracing.debugInfoKinds[kind] = true;
            call.Body("the body");
        };
        Both(fill, url, "POST", [kind](const Outcome &outcome) {
            ASSERT_EQ(outcome.code, 0U) << outcome.Why();
            EXPECT_FALSE(outcome.times);
            EXPECT_FALSE(outcome.Debug(kind).empty());
            for (const auto &[type, text] : outcome.debug) {
                EXPECT_EQ(type, kind) << text;
            }
            if (kind == TNX_DEBUG_DATA_OUT) {
                EXPECT_EQ(outcome.Debug(kind), "the body");
            } else if (kind == TNX_DEBUG_DATA_IN) {
                EXPECT_EQ(outcome.Debug(kind), outcome.body);
            }
        });
    }
    Both([](Call &call) { call.configuration.tracing.debugInfoSwitch = true; }, url, "GET",
         [](const Outcome &outcome) { EXPECT_TRUE(outcome.debug.empty()); });
}

TEST_F(TracingTest, EntriesStandInOrderOverAllHopsAndAreBounded)
{
    const auto fill = [](Call &call) {
        for (const auto kind : {TNX_DEBUG_HEADER_IN, TNX_DEBUG_HEADER_OUT, TNX_DEBUG_DATA_IN}) {
            call.configuration.tracing.debugInfoKinds[kind] = true;
        }
    };
    Both(fill, Scripted().Url("/redirect?n=2&to=/bytes?n=3000000"), "GET",
         [](const Outcome &outcome) {
             std::string order;
             size_t bytes = 0;
             for (const auto &[type, text] : outcome.debug) {
                 const char kind = "thHdDsS"[type];
                 order += order.ends_with(kind) ? "" : std::string(1, kind);
                 bytes += type == TNX_DEBUG_DATA_IN ? text.size() : 0;
             }
             EXPECT_EQ(order, "HhdHhdHhdt"); // the text says that the rest is left out
             EXPECT_EQ(bytes, 1024U * 1024U);
             EXPECT_EQ(outcome.body.size(), 3000000U);
         });
}

TEST_F(TracingTest, TimesAreCollectedWhenWanted)
{
    Both([](Call &call) { call.configuration.tracing.collectTimeInfo = true; },
         Nginx().Url("/1k", Site::TLS_HTTP1), "GET",
         [](const Outcome &outcome) {
             ASSERT_TRUE(outcome.times);
             EXPECT_GT(outcome.times->connect, 0);
             EXPECT_GE(outcome.times->tls, outcome.times->connect);
             EXPECT_GE(outcome.times->firstSend, outcome.times->tls);
             EXPECT_GE(outcome.times->firstReceive, static_cast<double>(outcome.times->firstSend));
             EXPECT_GE(outcome.times->total, outcome.times->firstReceive);
         });
}

// What was told, in order, each piece a letter with its numbers.
struct Diary {
    void Write(const std::string &entry)
    {
        const std::lock_guard lock(mutex);
        entries.push_back(entry);
    }
    size_t Count(const std::string &beginning) const
    {
        size_t count = 0;
        for (const std::string &entry : entries) {
            count += entry.starts_with(beginning) ? 1 : 0;
        }
        return count;
    }
    size_t First(const std::string &beginning) const
    {
        size_t at = 0;
        while (at < entries.size() && !entries[at].starts_with(beginning)) {
            ++at;
        }
        return at;
    }

    std::mutex mutex;
    std::vector<std::string> entries;
    std::string data;
};

Diary &Of(void *diary)
{
    return *static_cast<Diary *>(diary);
}

void Follow(Tnx_HttpEventsHandler &handler, Diary &diary)
{
    handler.onDataReceive = {[](void *self, const char *data) {
                                 Of(self).data += data;
                                 Of(self).Write("data");
                                 return std::strlen(data);
                             },
                             &diary};
    handler.onProgress1 = {[](void *self, uint64_t total, uint64_t now) {
                               Of(self).Write("down " + std::to_string(total) + " " +
                                              std::to_string(now));
                           },
                           &diary};
    handler.onProgress2 = {[](void *self, uint64_t total, uint64_t now) {
                               Of(self).Write("up " + std::to_string(total) + " " +
                                              std::to_string(now));
                           },
                           &diary};
    handler.onHeaderReceive = {
        [](void *self, Tnx_Headers *headers) {
            const HeadersPtr owned(headers);
            const auto *length = OVX_Tnx_GetHeaderValue(headers, "content-length");
            Of(self).Write(std::string("headers ") + (length != nullptr ? length->value : ""));
        },
        &diary};
    handler.onEvent = {[](void *self) { Of(self).Write("end"); }, &diary};
    handler.onCanceled = {[](void *self) { Of(self).Write("canceled"); }, &diary};
}

TEST_F(TracingTest, EventsComeInOrderAndOnce)
{
    for (const bool synchronous : {false, true}) {
        SCOPED_TRACE(synchronous ? "synchronous" : "asynchronous");
        Diary diary;
        Call call(Scripted().Url("/redirect?code=307&to=/bytes?n=100000"), "POST");
        call.Body(std::string(5000, 'x'));
        Follow(call.configuration.tracing.eventsHandler, diary);
        size_t atResponse = 0;
        call.then = [&](const Outcome &) { atResponse = diary.entries.size(); };
        const Outcome outcome = synchronous ? call.FetchSync(Session()) : call.Fetch(Session());
        ASSERT_EQ(outcome.code, 0U) << outcome.Why();
        EXPECT_EQ(diary.data.size(), 100000U); // and nothing of the redirect's body
        EXPECT_TRUE(outcome.body.empty());
        EXPECT_EQ(diary.Count("headers 100000"), 1U);
        EXPECT_EQ(diary.Count("headers"), 1U);
        EXPECT_EQ(diary.Count("end"), 1U);
        EXPECT_EQ(diary.Count("canceled"), 0U);
        EXPECT_LT(diary.First("headers"), diary.First("data"));
        EXPECT_EQ(diary.entries.back(), "end");
        EXPECT_LT(diary.First("down"), diary.First("headers"));
        EXPECT_GE(diary.Count("down 100000 100000"), 1U);
        EXPECT_GE(diary.Count("up 5000 5000"), 1U);
        EXPECT_TRUE(synchronous || atResponse == diary.entries.size());
    }
}

TEST_F(TracingTest, ACancelIsToldOnItsThreadAndEndsTheRest)
{
    Diary diary;
    Call call(Scripted().Url("/stall?ms=60000&after=10&n=20"));
    Follow(call.configuration.tracing.eventsHandler, diary);
    ASSERT_EQ(call.Start(Session()), 0U);
    ASSERT_TRUE(Eventually([&diary] {
        const std::lock_guard lock(diary.mutex);
        return diary.Count("data") == 1;
    }));
    OVX_Tnx_CancelRequest(Session(), call.Get());
    EXPECT_EQ(call.Answers(), 1U); // told before the cancel has returned
    EXPECT_EQ(call.Wait().code, TNX_ERR_REQUEST_CANCELED);
    Close();
    EXPECT_EQ(diary.Count("canceled"), 1U);
    EXPECT_EQ(diary.Count("end"), 0U);
    EXPECT_EQ(diary.data, "abcdefghij");
}

} // namespace
