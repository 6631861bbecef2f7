// Many fetches at once, chains in front of them, cancels and closes in the middle of them.
#include "client.h"

#include <algorithm>
#include <atomic>
#include <mutex>
#include <set>

namespace
{

using namespace EndToEnd;

std::string FirstHeader(const Tnx_Request *request, const char *name)
{
    const Tnx_HeaderValue *value = OVX_Tnx_GetHeaderValue(request->headers, name);
    return value == nullptr ? "" : value->value;
}

// Marks the request with the marks before it, so that the order shows on the wire.
void Mark(Tnx_Request *request, const char *mark)
{
    const std::string marks = FirstHeader(request, "x-two") + FirstHeader(request, "x-one") + mark;
    OVX_Tnx_SetHeaderValue(request->headers, *mark == 'a' ? "x-one" : "x-two", marks.c_str());
}

template <char letter>
uint32_t MarkNext(Tnx_Request *request, const Tnx_RequestHandler *next,
                  const Tnx_ResponseCallbackObject *callback)
{
    constexpr char MARK[] = {letter, '\0'};
    Mark(request, MARK);
    return OVX_Tnx_CallNextRequestHandler(request, next, callback);
}

template <char letter>
Tnx_Response *MarkNextSync(Tnx_Request *request, const Tnx_SyncRequestHandler *next, uint32_t *code)
{
    constexpr char MARK[] = {letter, '\0'};
    Mark(request, MARK);
    return OVX_Tnx_CallNextSyncRequestHandler(request, next, code);
}

constexpr uint32_t OWN_CODE = 77;

// Answers by itself where the request asks for that, else turns it into a PUT.
uint32_t StopOrChange(Tnx_Request *request, const Tnx_RequestHandler *next,
                      const Tnx_ResponseCallbackObject *callback)
{
    if (!FirstHeader(request, "x-stop").empty()) {
        callback->callback(callback->usrCtx, nullptr, OWN_CODE);
        return TNX_OK;
    }
    request->method = "PUT";
    return OVX_Tnx_CallNextRequestHandler(request, next, callback);
}

Tnx_Response *StopOrChangeSync(Tnx_Request *request, const Tnx_SyncRequestHandler *next,
                               uint32_t *code)
{
    if (!FirstHeader(request, "x-stop").empty()) {
        *code = OWN_CODE;
        return nullptr;
    }
    request->method = "PUT";
    return OVX_Tnx_CallNextSyncRequestHandler(request, next, code);
}

class FlightsTest : public EndToEndTest
{
protected:
    // Waits until so many requests have reached the server.
    static bool Arrived(size_t count) { return Scripted().WaitForRequests(count); }
};

TEST_F(FlightsTest, InterceptorsRunInOrderAndChangeWhatNginxReceives)
{
    Tnx_Interceptor chain[] = {{MarkNext<'a'>}, {StopOrChange}, {MarkNext<'b'>}};
    Tnx_SyncInterceptor syncChain[] = {
        {MarkNextSync<'a'>}, {StopOrChangeSync}, {MarkNextSync<'b'>}};
    configuration_.interceptors = {chain, 3};
    configuration_.syncInterceptors = {syncChain, 3};
    Scripted().ForgetRequests();
    const auto first = [](Call &call) { call.Header("x-first", "1"); };
    Both(first, Nginx().Url("/fields"), "GET", [](const Outcome &outcome) {
        EXPECT_EQ(outcome.code, 0U);
        EXPECT_EQ(outcome.body.substr(0, outcome.body.find('\n')), "PUT /fields HTTP/1.1");
        EXPECT_NE(outcome.body.find("x-one: a\nx-two: ab\n"), std::string::npos) << outcome.body;
    });
    const auto stop = [](Call &call) { call.Header("x-stop", "1"); };
    Both(stop, Nginx().Url("/scripted/echo"), "GET", [](const Outcome &outcome) {
        EXPECT_TRUE(outcome.empty);
        EXPECT_EQ(outcome.code, OWN_CODE);
    });
    EXPECT_TRUE(Scripted().Requests().empty()); // which is where nginx would have passed it on
}

TEST_F(FlightsTest, EachOfTenThousandIsAnsweredOnce)
{
    constexpr size_t COUNT = 10000;
    constexpr size_t IN_FLIGHT = 64;
    configuration_.maxConnectionsPerHost = IN_FLIGHT;
    const std::string url = Nginx().Url("/1k");
    std::vector<std::unique_ptr<Call>> calls;
    std::atomic<size_t> next = 0;
    std::atomic<size_t> good = 0;
    const auto startNext = [&] {
        if (const size_t index = next++; index < COUNT) {
            EXPECT_EQ(calls[index]->Start(session_), TNX_OK);
        }
    };
    for (size_t i = 0; i < COUNT; ++i) {
        calls.push_back(std::make_unique<Call>(url));
        calls.back()->then = [&](const Outcome &outcome) {
            good += outcome.code == 0 && outcome.status == 200 && outcome.body.size() == 1024;
            startNext();
        };
    }
    Session();
    for (size_t i = 0; i < IN_FLIGHT; ++i) {
        startNext();
    }
    for (const auto &call : calls) {
        call->Wait();
    }
    Close();
    EXPECT_EQ(good, COUNT);
    EXPECT_TRUE(std::all_of(calls.begin(), calls.end(),
                            [](const auto &call) { return call->Answers() == 1; }));
}

TEST_F(FlightsTest, SynchronousFetchesRunOnEightThreads)
{
    std::atomic<int> good = 0;
    Tnx_Session *const session = Session();
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i) {
        threads.emplace_back([&good, session, i] {
            for (int n = 0; n < 50; ++n) {
                const std::string body = std::to_string(i * 1000 + n);
                Call call(Scripted().Url("/echo"), "POST");
                const Outcome outcome = call.Body(body).FetchSync(session);
                good += outcome.code == 0 && outcome.body.ends_with("\r\n\r\n" + body);
            }
        });
    }
    for (std::thread &thread : threads) {
        thread.join();
    }
    EXPECT_EQ(good, 400);
}

TEST_F(FlightsTest, OneCanceledLeavesItsSiblingsAlone)
{
    const struct {
        const char *version;
        std::string url;
    } cases[] = {{"HTTP/1.1", Scripted().Url("/drip?n=20&ms=20&size=5")},
                 {"HTTP/2", Nginx().Url("/scripted/drip?n=20&ms=20&size=5", Site::TLS)}};
    for (const auto &[version, url] : cases) {
        SCOPED_TRACE(version);
        Scripted().ForgetRequests();
        Call canceled(url);
        Call sibling(url);
        sibling.Start(Session());
        canceled.Start(Session());
        ASSERT_TRUE(Arrived(2));
        std::thread::id answeredOn;
        canceled.then = [&answeredOn](const Outcome &) { answeredOn = std::this_thread::get_id(); };
        EXPECT_EQ(OVX_Tnx_CancelRequest(session_, canceled.Get()), TNX_OK);
        EXPECT_EQ(canceled.Answers(), 1U);
        EXPECT_EQ(answeredOn, std::this_thread::get_id());
        const Outcome gone = canceled.Wait();
        EXPECT_TRUE(gone.empty);
        EXPECT_EQ(gone.code, TNX_ERR_REQUEST_CANCELED);
        const Outcome outcome = sibling.Wait();
        EXPECT_EQ(outcome.code, 0U) << outcome.Why();
        EXPECT_EQ(outcome.body.size(), 100U);
        EXPECT_EQ(canceled.Answers(), 1U);
        Close();
    }
}

TEST_F(FlightsTest, CancelingTheSessionEndsAllAndLeavesItUsable)
{
    static std::atomic<int> told;
    static std::thread::id toldOn;
    told = 0;
    configuration_.onSessionCanceled = [] {
        ++told;
        toldOn = std::this_thread::get_id();
    };
    configuration_.maxConnectionsPerHost = 10;
    Scripted().ForgetRequests();
    const std::string url = Scripted().Url("/stall?ms=60000");
    std::vector<std::unique_ptr<Call>> calls; // ten are on their way, the others wait
    for (int i = 0; i < 20; ++i) {
        calls.push_back(std::make_unique<Call>(url));
        calls.back()->Start(Session());
    }
    ASSERT_TRUE(Arrived(10));
    std::vector<std::thread> threads;
    std::atomic<int> canceled = 0;
    std::atomic<int> entered = 0;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&, session = session_] {
            Call call(url);
            ++entered;
            const Outcome outcome = call.FetchSync(session);
            canceled += outcome.empty && outcome.code == TNX_ERR_REQUEST_CANCELED;
        });
    }
    ASSERT_TRUE(Eventually([&] { return entered == 4; }));
    // A fetch that enters after the cancel is none of its business: those threads may be late.
    while (canceled < 4) {
        EXPECT_EQ(OVX_Tnx_CancelSession(session_), TNX_OK);
        ++entered;
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    for (std::thread &thread : threads) {
        thread.join();
    }
    for (const auto &call : calls) {
        const Outcome outcome = call->Wait();
        EXPECT_TRUE(outcome.empty);
        EXPECT_EQ(outcome.code, TNX_ERR_REQUEST_CANCELED);
        EXPECT_EQ(call->Answers(), 1U);
    }
    EXPECT_EQ(told, entered - 4);
    EXPECT_EQ(toldOn, std::this_thread::get_id());
    EXPECT_TRUE(Scripted().WaitForOpenConnections(0));
    EXPECT_EQ(Call(Scripted().Url("/bytes?n=3")).Fetch(session_).body, "abc");
}

TEST_F(FlightsTest, ACloseFromAResponseCallbackEndsEverything)
{
    static std::atomic<int> closed;
    closed = 0;
    configuration_.onSessionClosed = [] { ++closed; };
    Scripted().ForgetRequests();
    Call others[] = {Call(Scripted().Url("/drip?n=500&ms=20")),
                     Call(Scripted().Url("/stall?ms=60000")),
                     Call(Nginx().Url("/scripted/drip?n=500&ms=20", Site::TLS))};
    std::atomic<bool> after = false;
    std::atomic<int> late = 0;
    for (Call &other : others) {
        other.OnData([&](std::string_view data) {
            late += after;
            return data.size();
        });
        other.Start(Session());
    }
    ASSERT_TRUE(Arrived(3));
    Call closing(Scripted().Url("/bytes?n=3"));
    closing.then = [&](const Outcome &) {
        EXPECT_EQ(OVX_Tnx_CloseSession(&session_), TNX_OK);
        EXPECT_EQ(session_, nullptr);
        EXPECT_EQ(closed, 1);
        after = true;
    };
    EXPECT_EQ(closing.Fetch(Session()).body, "abc");
    EXPECT_TRUE(Eventually([] { return Scripted().OpenConnections() <= 1; })); // nginx keeps one
    EXPECT_EQ(late, 0);
    for (const Call &other : others) {
        EXPECT_EQ(other.Answers(), 0U);
    }
}

TEST_F(FlightsTest, ARequestFetchedAgainIsAnsweredByItsOwnResponseOnly)
{
    Session();
    for (int round = 0; round < 100; ++round) {
        Scripted().ForgetRequests();
        // The first flight would bring 429, the second brings 200.
        Call call(Scripted().Url("/429?again=" + std::to_string(round)));
        std::vector<std::pair<uint32_t, int32_t>> answers;
        std::mutex mutex;
        call.then = [&](const Outcome &outcome) {
            const std::lock_guard lock(mutex);
            answers.emplace_back(outcome.code, outcome.status);
        };
        ASSERT_EQ(call.Start(session_), TNX_OK);
        ASSERT_TRUE(Arrived(1));
        OVX_Tnx_CancelRequest(session_, call.Get());
        const bool canceled = call.Wait().empty; // else the answer was faster
        ASSERT_EQ(call.Start(session_), TNX_OK);
        call.Wait();
        const std::lock_guard lock(mutex);
        ASSERT_EQ(answers.size(), 2U);
        EXPECT_EQ(answers[0].first, canceled ? uint32_t{TNX_ERR_REQUEST_CANCELED} : 0U);
        EXPECT_EQ(answers[1], (std::pair<uint32_t, int32_t>(0, 200)));
    }
}

} // namespace
