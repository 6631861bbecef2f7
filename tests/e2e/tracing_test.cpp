// What is told about a transfer: debug information, times and events.
#include "client.h"

#include "tnx_c_ext.h"

#include <algorithm>
#include <mutex>
#include <set>

namespace
{

using namespace EndToEnd;

class TracingTest : public EndToEndTest
{
protected:
    static void Switch(Call &call, std::initializer_list<uint32_t> kinds)
    {
        for (const uint32_t kind : kinds) {
            call.configuration.tracing.debugInfoKinds[kind] = true;
        }
    }
};

TEST_F(TracingTest, AllSevenKindsTellWhatWentOverTheWire)
{
    const auto fill = [](Call &call) {
        Switch(call, {0, 1, 2, 3, 4, 5, 6});
        call.Body("abc");
    };
    Both(fill, Nginx().Url("/scripted/echo", Site::TLS_HTTP1), "POST", [](const Outcome &outcome) {
        EXPECT_EQ(outcome.code, 0U) << outcome.Why();
        EXPECT_TRUE(outcome.Debug(TNX_DEBUG_HEADER_IN).starts_with("HTTP/1.1 200 Scripted\r\n"));
        EXPECT_TRUE(outcome.Debug(TNX_DEBUG_HEADER_IN).ends_with("\r\n\r\n"));
        EXPECT_TRUE(
            outcome.Debug(TNX_DEBUG_HEADER_OUT).starts_with("POST /scripted/echo HTTP/1.1\r\n"));
        EXPECT_EQ(outcome.Debug(TNX_DEBUG_DATA_OUT), "abc");
        EXPECT_EQ(outcome.Debug(TNX_DEBUG_DATA_IN), outcome.body);
        EXPECT_NE(outcome.Debug(TNX_DEBUG_TEXT).find("localhost"), std::string::npos);
        EXPECT_EQ(outcome.Debug(TNX_DEBUG_TEXT).find(".invalid"), std::string::npos);
        EXPECT_FALSE(outcome.Debug(TNX_DEBUG_TLS_DATA_IN).empty());
        EXPECT_FALSE(outcome.Debug(TNX_DEBUG_TLS_DATA_OUT).empty());
        std::vector<uint32_t> order;
        for (const auto &[type, text] : outcome.debug) {
            if (type >= TNX_DEBUG_HEADER_IN && type <= TNX_DEBUG_DATA_OUT &&
                (order.empty() || order.back() != type)) {
                order.push_back(type);
            }
        }
        EXPECT_EQ(order, (std::vector<uint32_t>{TNX_DEBUG_HEADER_OUT, TNX_DEBUG_DATA_OUT,
                                                TNX_DEBUG_HEADER_IN, TNX_DEBUG_DATA_IN}));
    });
}

TEST_F(TracingTest, EachKindHasItsOwnSwitch)
{
    for (uint32_t kind = 0; kind < TNX_DEBUG_KINDS; ++kind) {
        const auto fill = [kind](Call &call) {
            Switch(call, {kind});
            call.Body("abc");
        };
        Both(fill, Nginx().Url("/echo", Site::TLS_HTTP1), "POST", [kind](const Outcome &outcome) {
            std::set<uint32_t> kinds;
            for (const auto &[type, text] : outcome.debug) {
                kinds.insert(type);
            }
            // A connection that is used again has no more TLS data to show than its records.
            EXPECT_EQ(kinds, std::set<uint32_t>{kind});
        });
    }
    Both({}, Nginx().Url("/1k"), "GET",
         [](const Outcome &outcome) { EXPECT_TRUE(outcome.debug.empty()); });
}

TEST_F(TracingTest, EntriesCoverAllHopsAndDataIsCut)
{
    const auto headers = [](Call &call) { Switch(call, {TNX_DEBUG_HEADER_OUT}); };
    Both(headers, Scripted().Url("/redirect?n=3&to=/echo"), "GET", [](const Outcome &outcome) {
        EXPECT_EQ(outcome.debug.size(), 4U);
        EXPECT_TRUE(outcome.Why().starts_with("GET /echo "));
    });
    const auto received = [](Call &call) { Switch(call, {TNX_DEBUG_HEADER_IN}); };
    Both(received, Scripted().Url("/100-continue?code=103&n=2"), "GET", [](const Outcome &outcome) {
        const std::string interim = "HTTP/1.1 103 Interim\r\nX-Interim: yes\r\n\r\n";
        const std::string lines = outcome.Debug(TNX_DEBUG_HEADER_IN);
        EXPECT_TRUE(lines.starts_with(interim + interim + "HTTP/1.1 200 Scripted\r\n")) << lines;
        EXPECT_EQ(lines.find("\r\n\r\n", 2 * interim.size()), lines.size() - 4) << lines;
    });
    const auto data = [](Call &call) { Switch(call, {TNX_DEBUG_DATA_IN}); };
    Both(data, Scripted().Url("/bytes?n=3000000"), "GET", [](const Outcome &outcome) {
        EXPECT_EQ(outcome.body.size(), 3000000U);
        EXPECT_EQ(outcome.Debug(TNX_DEBUG_DATA_IN), outcome.body.substr(0, 1024 * 1024));
        EXPECT_NE(outcome.Debug(TNX_DEBUG_TEXT).find("1 MiB"), std::string::npos);
    });
}

TEST_F(TracingTest, CredentialsStandInNothingThatWasNotAskedFor)
{
    for (const char *path : {"/401-basic?user=other", "/401-digest?user=other"}) {
        const auto fill = [](Call &call) {
            Switch(call, {TNX_DEBUG_TEXT});
            OVX_Tnx_SetRequestTrace(
                call.Get(),
                [](void *, const Tnx_TraceEvent *event) {
                    const std::string_view text(event->data, event->length);
                    EXPECT_TRUE(event->kind != TNX_DEBUG_TEXT ||
                                text.find("s3cret") == std::string::npos);
                },
                nullptr);
            call.configuration.security.credentialName = "user";
            call.configuration.security.credentialPassword = "s3cret-w0rd";
            call.configuration.transfer.transferTimeout = 300;
        };
        Both(fill, Scripted().Url(path + std::string("&line=Set-Cookie:%20a=b")), "GET",
             [](const Outcome &outcome) {
                 EXPECT_EQ(outcome.status, 401);
                 for (const auto &[type, text] : outcome.debug) {
                     EXPECT_EQ(text.find("s3cret"), std::string::npos) << text;
                     EXPECT_EQ(text.find("dXNlcjpz"), std::string::npos) << text; // base64 of it
                 }
             });
    }
}

TEST_F(TracingTest, TimesFollowEachOther)
{
    const auto fill = [](Call &call) { call.configuration.tracing.collectTimeInfo = true; };
    Call first(Nginx().Url("/1k", Site::TLS));
    fill(first);
    const Outcome fresh = first.Fetch(Session());
    ASSERT_TRUE(fresh.times);
    const Tnx_TimeInfo &times = *fresh.times;
    EXPECT_GT(times.connect, 0);
    EXPECT_GE(times.connect, times.nameLookup);
    EXPECT_GT(times.tls, times.connect);
    EXPECT_GE(times.firstSend, times.tls);
    EXPECT_GE(times.firstReceive, static_cast<double>(times.firstSend));
    EXPECT_GE(times.total, times.firstReceive);
    EXPECT_EQ(times.redirect, 0);
    EXPECT_GE(times.queue, 0);

    const Outcome kept = first.Fetch(session_);
    ASSERT_TRUE(kept.times);
    EXPECT_EQ(kept.times->connect, 0);
    EXPECT_EQ(kept.times->tls, 0);
    EXPECT_GT(kept.times->firstReceive, 0.0);
    EXPECT_GE(kept.times->total, kept.times->firstReceive);
    for (const Site site : {Site::PLAIN, Site::TLS_HTTP1}) {
        Call again(Nginx().Url("/1k", site));
        fill(again);
        EXPECT_GT(again.Fetch(session_).times->connect, 0);
        EXPECT_EQ(again.Fetch(session_).times->connect, 0);
    }

    Both(fill, Scripted().Url("/redirect?n=2&to=/stall%3Fms%3D30"), "GET",
         [](const Outcome &outcome) {
             ASSERT_TRUE(outcome.times);
             EXPECT_GT(outcome.times->redirect, 0);
             EXPECT_GE(outcome.times->firstReceive, static_cast<double>(outcome.times->redirect));
             EXPECT_GE(outcome.times->total, outcome.times->firstReceive);
         });
    const auto late = [&fill](Call &call) {
        fill(call);
        call.configuration.transfer.transferTimeout = 50;
    };
    Both(late, Scripted().Url("/stall?ms=10000"), "GET", [](const Outcome &outcome) {
        ASSERT_TRUE(outcome.times);
        EXPECT_GT(outcome.times->firstSend, 0);
        EXPECT_EQ(outcome.times->firstReceive, 0.0);
        EXPECT_GE(outcome.times->total, 50000.0);
    });
    Both({}, Scripted().Url("/bytes"), "GET",
         [](const Outcome &outcome) { EXPECT_FALSE(outcome.times); });
}

// One waits for the only connection: that is queue, and counts for no time-out.
TEST_F(TracingTest, TheWaitForAConnectionIsToldAndCountsForNothing)
{
    configuration_.maxConnectionsPerHost = 1;
    Call first(Scripted().Url("/stall?ms=400"));
    Call second(Scripted().Url("/bytes?n=3"));
    second.configuration.transfer.transferTimeout = 200;
    second.configuration.tracing.collectTimeInfo = true;
    Scripted().ForgetRequests();
    first.Start(Session());
    ASSERT_TRUE(Scripted().WaitForRequests(1));
    second.Start(session_);
    const Outcome outcome = second.Wait();
    EXPECT_EQ(outcome.code, 0U) << outcome.Why();
    ASSERT_TRUE(outcome.times);
    EXPECT_GT(outcome.times->queue, 200000);
    EXPECT_LT(outcome.times->total, 200000.0);
    first.Wait();
}

// What the events tell, in the order in which they come.
struct Journal {
    std::mutex mutex;
    std::string text; // one letter an event, repeated ones once
    uint64_t downTotal = 0, downNow = 0, upTotal = 0, upNow = 0;
    std::string type;
    int events = 0;

    void Note(char letter)
    {
        const std::lock_guard lock(mutex);
        if (text.empty() || text.back() != letter) {
            text += letter;
        }
    }
};

size_t g_left; // of a body that is pulled

void Follow(Call &call, Journal &journal)
{
    Tnx_HttpEventsHandler &events = call.configuration.tracing.eventsHandler;
    events.onProgress1 = {[](void *ctx, uint64_t total, uint64_t now) {
                              auto &self = *static_cast<Journal *>(ctx);
                              self.downTotal = total;
                              self.downNow = now;
                              ++self.events;
                          },
                          &journal};
    events.onProgress2 = {[](void *ctx, uint64_t total, uint64_t now) {
                              auto &self = *static_cast<Journal *>(ctx);
                              self.upTotal = std::max(self.upTotal, total);
                              self.upNow = now;
                          },
                          &journal};
    events.onHeaderReceive = {[](void *ctx, Tnx_Headers *headers) {
                                  auto &self = *static_cast<Journal *>(ctx);
                                  self.type = OVX_Tnx_GetHeaderValue(headers, "x-type")->value;
                                  self.Note('h');
                                  OVX_Tnx_DestroyHeaders(headers);
                              },
                              &journal};
    events.onEvent = {[](void *ctx) { static_cast<Journal *>(ctx)->Note('e'); }, &journal};
    call.then = [&journal](const Outcome &) { journal.Note('r'); };
}

TEST_F(TracingTest, EventsComeInOrder)
{
    for (const std::string &root : {Scripted().Url(""), Nginx().Url("/scripted", Site::TLS)}) {
        Journal journal;
        const auto fill = [&journal](Call &call) {
            journal.text.clear();
            Follow(call, journal);
            call.Body(std::string(100000, 'x'));
            call.OnData([&journal](std::string_view data) {
                journal.Note('d');
                return data.size();
            });
        };
        Both(fill,
             root +
                 "/redirect?code=307&to=" + root.substr(std::min(root.size(), root.find('/', 8))) +
                 "/bytes%3Fn%3D2000000%26line%3DX-Type:%2520final&line=X-Type:%20hop",
             "POST", [&journal](const Outcome &outcome) {
                 EXPECT_EQ(outcome.code, 0U) << outcome.Why();
                 journal.Note('r');
                 EXPECT_EQ(journal.text, "hder");
                 EXPECT_EQ(journal.type, "final");
                 EXPECT_EQ(journal.downTotal, 2000000U);
                 EXPECT_EQ(journal.downNow, 2000000U);
                 EXPECT_EQ(journal.upTotal, 100000U);
                 EXPECT_EQ(journal.upNow, 100000U);
                 EXPECT_GE(journal.events, 2);
             });
    }
    // What is sent chunked counts without its chunks.
    Journal journal;
    const auto pull = [&journal](Call &call) {
        g_left = 100000;
        Follow(call, journal);
        call.Pull([](char *buffer, unsigned int size) {
            const size_t count = std::min<size_t>({size, g_left, 1000});
            std::fill_n(buffer, count, 'x');
            g_left -= count;
            return static_cast<int>(count);
        });
    };
    Both(pull, Scripted().Url("/echo?line=X-Type:%20a"), "POST", [&journal](const Outcome &out) {
        EXPECT_EQ(out.code, 0U) << out.Why();
        EXPECT_GT(out.body.size(), 100000U);
        EXPECT_EQ(journal.upNow, 100000U);
    });
    // A failure brings no end of body.
    const auto fill = [&journal](Call &call) {
        journal.text.clear();
        Follow(call, journal);
    };
    Both(fill, Scripted().Url("/truncate?line=X-Type:%20a"), "GET", [&journal](const Outcome &out) {
        EXPECT_EQ(out.code, TNX_ERR_TRUNCATED_BODY);
        journal.Note('r');
        EXPECT_EQ(journal.text, "hr");
    });
}

} // namespace
