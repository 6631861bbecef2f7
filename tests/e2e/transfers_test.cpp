// Handles of fetches: what waits tell, and what ends them.
#include "client.h"

#include "tnx_c_ext.h"

#include <array>
#include <atomic>
#include <future>
#include <mutex>

#include <sys/wait.h>
#include <unistd.h>

namespace
{

using namespace EndToEnd;

using TransferPtr = std::unique_ptr<Tnx_Transfer, DestroyWith<&OVX_Tnx_DestroyTransfer>>;

TransferPtr StartOf(Tnx_Session *session, Call &call, uint32_t expected = TNX_OK)
{
    uint32_t code = 1;
    TransferPtr transfer(OVX_Tnx_Start(session, call.Get(), &code));
    EXPECT_EQ(code, expected);
    EXPECT_EQ(transfer != nullptr, expected == TNX_OK);
    return transfer;
}

uint32_t CodeOf(const TransferPtr &transfer, uint32_t milliseconds = TNX_NO_TIMEOUT)
{
    uint32_t code = 1;
    const Outcome released(OVX_Tnx_Wait(transfer.get(), milliseconds, &code), code);
    return code;
}

// A type whose sessions accept, and never answer.
Tnx_SessionOps g_silentOps = {
    [](Tnx_SessionOps *ops, const Tnx_SessionConfiguration *, uint32_t *) {
        return new Tnx_Session{ops, nullptr};
    },
    [](Tnx_Session *) { return ""; },
    [](Tnx_Session *) -> const Tnx_SessionConfiguration * { return nullptr; },
    [](Tnx_Session *, Tnx_Request *, uint32_t *) -> Tnx_Response * { return nullptr; },
    [](Tnx_Session *, Tnx_Request *, const Tnx_ResponseCallbackObject *) -> uint32_t { return 0; },
    [](Tnx_Session *, const Tnx_Request *) -> uint32_t { return 0; },
    [](Tnx_Session *) -> uint32_t { return 0; },
    [](Tnx_Session **session) -> uint32_t {
        delete std::exchange(*session, nullptr);
        return 0;
    },
};

class TransfersTest : public EndToEndTest
{
protected:
    Tnx_Session *SilentSession()
    {
        OVX_Tnx_RegisterSessionOps(1, &g_silentOps);
        configuration_.sessionType = 1;
        return Session();
    }

    Call stalls_{Scripted().Url("/stall?ms=60000")};
    Call answers_{Scripted().Url("/bytes?n=3")};
};

TEST_F(TransfersTest, BadValuesAreRefused)
{
    uint32_t code = 0;
    Tnx_Session *session = Session();
    EXPECT_EQ(OVX_Tnx_Start(session, answers_.Get(), nullptr), nullptr);
    EXPECT_EQ(OVX_Tnx_Start(nullptr, answers_.Get(), &code), nullptr);
    EXPECT_EQ(std::exchange(code, 0U), uint32_t{TNX_ERR_SESSION_CLOSED});
    EXPECT_EQ(OVX_Tnx_Start(session, nullptr, &code), nullptr);
    EXPECT_EQ(std::exchange(code, 0U), uint32_t{TNX_ERR_PARAMETER});
    EXPECT_EQ(OVX_Tnx_Wait(nullptr, 0, &code), nullptr);
    EXPECT_EQ(code, uint32_t{TNX_ERR_PARAMETER});
    EXPECT_EQ(OVX_Tnx_Cancel(nullptr), uint32_t{TNX_ERR_PARAMETER});
    OVX_Tnx_DestroyTransfer(nullptr);
    Tnx_Transfer *const nothing[] = {nullptr, nullptr};
    EXPECT_EQ(OVX_Tnx_WaitAny(nothing, 2, TNX_NO_TIMEOUT), 2U);
    EXPECT_EQ(OVX_Tnx_WaitAny(nullptr, 2, TNX_NO_TIMEOUT), 2U);

    const TransferPtr running = StartOf(session, stalls_);
    StartOf(session, stalls_, TNX_ERR_PARAMETER); // is in flight
    EXPECT_EQ(OVX_Tnx_Wait(running.get(), 0, nullptr), nullptr);
    EXPECT_EQ(OVX_Tnx_Cancel(running.get()), 0U);
    EXPECT_EQ(OVX_Tnx_Cancel(running.get()), 0U); // has ended
    EXPECT_EQ(CodeOf(running), uint32_t{TNX_ERR_REQUEST_CANCELED});
    EXPECT_EQ(CodeOf(StartOf(session, stalls_), 0), uint32_t{TNX_WAIT_TIMEOUT}); // free again
}

TEST_F(TransfersTest, OneWaitTakesTheResponseAndAllTakeTheCode)
{
    Call refused("http://127.0.0.1:1/");
    for (const auto &[call, expected] :
         {std::pair{&answers_, 0U}, {&refused, uint32_t{TNX_ERR_CONNECT}}}) {
        const TransferPtr transfer = StartOf(Session(), *call);
        OVX_Tnx_WaitAny(std::array{transfer.get()}.data(), 1, TNX_NO_TIMEOUT);
        Close(); // what has ended stays
        uint32_t code = 1;
        Tnx_Response *response = OVX_Tnx_Wait(transfer.get(), 0, &code);
        EXPECT_EQ(code, expected);
        EXPECT_EQ(OVX_Tnx_GetFailureText(response) != nullptr, expected != 0);
        const Outcome outcome(response, code);
        EXPECT_EQ(outcome.body, expected == 0 ? "abc" : "");
        EXPECT_EQ(OVX_Tnx_Wait(transfer.get(), 0, &code), nullptr);
        EXPECT_EQ(code, expected);
    }
    TransferPtr untaken = StartOf(Session(), answers_);
    OVX_Tnx_WaitAny(std::array{untaken.get()}.data(), 1,
                    TNX_NO_TIMEOUT); // the rest is a leak check's
}

TEST_F(TransfersTest, AnyOfSeveralEndsAWait)
{
    Call other(Scripted().Url("/stall?ms=30"));
    const TransferPtr transfers[] = {StartOf(Session(), stalls_), StartOf(Session(), other)};
    Tnx_Transfer *waited[] = {transfers[0].get(), nullptr, transfers[1].get(), transfers[0].get()};
    auto again = std::async(std::launch::async, [&] { return CodeOf(transfers[1]); });
    EXPECT_EQ(OVX_Tnx_WaitAny(waited, 4, TNX_NO_TIMEOUT), 2U);
    EXPECT_EQ(again.get(), 0U); // of two that wait neither is left behind
    waited[2] = nullptr;
    EXPECT_EQ(OVX_Tnx_WaitAny(waited, 4, 1), 4U);
    auto canceled =
        std::async(std::launch::async, [&] { return OVX_Tnx_WaitAny(waited, 4, TNX_NO_TIMEOUT); });
    OVX_Tnx_Cancel(waited[0]);
    EXPECT_EQ(canceled.get(), 0U);
    EXPECT_EQ(CodeOf(transfers[0]), uint32_t{TNX_ERR_REQUEST_CANCELED});
}

// Whatever the session does with what goes on: closes it, or never answers.
TEST_F(TransfersTest, AClosedSessionEndsEveryWait)
{
    for (const bool silent : {false, true}) {
        Tnx_Session *session = silent ? SilentSession() : Session();
        Call other(Scripted().Url("/stall?ms=60000&other"));
        const TransferPtr transfers[] = {StartOf(session, stalls_), StartOf(session, other)};
        Tnx_Transfer *const both[] = {transfers[0].get(), transfers[1].get()};
        std::future<uint32_t> waits[] = {
            std::async(std::launch::async, [&] { return CodeOf(transfers[0]); }),
            std::async(std::launch::async, [&] { return CodeOf(transfers[0], 60000); }),
            std::async(std::launch::async, [&] {
                OVX_Tnx_WaitAny(both, 2, TNX_NO_TIMEOUT);
                return CodeOf(transfers[1]);
            })};
        Close();
        for (std::future<uint32_t> &wait : waits) {
            EXPECT_EQ(wait.get(), uint32_t{TNX_ERR_SESSION_CLOSED}) << silent;
        }
        configuration_.sessionType = TNX_SESSION_TYPE_HTTP;
        EXPECT_EQ(CodeOf(StartOf(Session(), stalls_), 0), uint32_t{TNX_WAIT_TIMEOUT});
        Close();
    }
}

// The close waits for the callback, and the callback for what the close ends; also where an
// interceptor holds that back.
TEST_F(TransfersTest, ACloseEndsAWaitInsideACallback)
{
    Tnx_Interceptor holds = {[](Tnx_Request *request, const Tnx_RequestHandler *next,
                                const Tnx_ResponseCallbackObject *callback) -> uint32_t {
        return std::string_view(request->url).ends_with("held")
                   ? uint32_t{TNX_OK}
                   : OVX_Tnx_CallNextRequestHandler(request, next, callback);
    }};
    configuration_.interceptors = {&holds, 1};
    for (const char *target : {"/stall?ms=60000", "/held"}) {
        Call outer(Scripted().Url("/bytes?n=3"));
        Call awaited(Scripted().Url(target));
        std::promise<void> waits;
        std::promise<uint32_t> code;
        outer.OnData([&](std::string_view data) {
            const TransferPtr inner = StartOf(session_, awaited);
            waits.set_value();
            code.set_value(CodeOf(inner));
            return data.size();
        });
        const TransferPtr transfer = StartOf(Session(), outer);
        waits.get_future().wait();
        Close();
        EXPECT_EQ(code.get_future().get(), uint32_t{TNX_ERR_SESSION_CLOSED});
        EXPECT_EQ(CodeOf(transfer), uint32_t{TNX_ERR_SESSION_CLOSED});
    }
}

// Many, so that all the threads that the library has at first are in such waits.
TEST_F(TransfersTest, WaitsWorkInsideCallbacksButForTheirOwnRequest)
{
    constexpr size_t COUNT = 8;
    configuration_.maxConnectionsPerHost = 2 * COUNT;
    struct Pair {
        Call outer{Scripted().Url("/bytes?n=3")};
        Call inner{Scripted().Url("/stall?ms=20")};
        std::atomic<Tnx_Transfer *> own = nullptr;
        std::atomic<uint32_t> ownCode = 0;
        std::atomic<uint32_t> innerCode = 1;
    };
    std::vector<std::unique_ptr<Pair>> pairs;
    std::vector<TransferPtr> transfers;
    for (size_t i = 0; i < COUNT; ++i) {
        pairs.push_back(std::make_unique<Pair>());
        Pair &pair = *pairs.back();
        pair.outer.OnData([this, &pair](std::string_view data) {
            pair.own.wait(nullptr);
            uint32_t code = 0;
            OVX_Tnx_Wait(pair.own, TNX_NO_TIMEOUT, &code);
            pair.ownCode = code;
            Tnx_Transfer *const own = pair.own;
            EXPECT_EQ(OVX_Tnx_WaitAny(&own, 1, TNX_NO_TIMEOUT), 1U);
            pair.innerCode = CodeOf(StartOf(session_, pair.inner));
            return data.size();
        });
        transfers.push_back(StartOf(Session(), pair.outer));
        pair.own = transfers.back().get();
        pair.own.notify_one();
    }
    for (size_t i = 0; i < COUNT; ++i) {
        EXPECT_EQ(CodeOf(transfers[i]), 0U);
        EXPECT_EQ(pairs[i]->ownCode, uint32_t{TNX_ERR_PARAMETER});
        EXPECT_EQ(pairs[i]->innerCode, 0U);
    }
}

// The request goes right behind its transfer, while its callback runs or inside it.
TEST_F(TransfersTest, OneThatGoesOnMayBeDestroyedWithItsRequest)
{
    for (const bool inside : {false, true}) {
        auto call = std::make_unique<Call>(Scripted().Url("/endless"));
        std::atomic<Tnx_Transfer *> own = nullptr;
        std::promise<void> entered;
        std::once_flag first;
        std::atomic<bool> left = false;
        call->OnData([&](std::string_view data) {
            std::call_once(first, [&] {
                own.wait(nullptr);
                if (inside) {
                    OVX_Tnx_DestroyTransfer(own);
                }
                entered.set_value();
                std::this_thread::sleep_for(std::chrono::milliseconds(20));
                left = true;
            });
            return data.size();
        });
        own = StartOf(Session(), *call).release();
        own.notify_one();
        entered.get_future().wait();
        if (!inside) {
            OVX_Tnx_DestroyTransfer(own);
            EXPECT_TRUE(left);
        }
        EXPECT_TRUE(Eventually([&] { return left.load(); }));
    }
}

#if !defined(__SANITIZE_THREAD__) // which allows a forked child no threads

TEST_F(TransfersTest, AForkedChildHasWhatHasEnded)
{
    const TransferPtr ended = StartOf(Session(), answers_);
    EXPECT_EQ(CodeOf(ended), 0U);
    TransferPtr running = StartOf(Session(), stalls_);
    auto waits = std::async(std::launch::async, [&] { return CodeOf(running); });
    const pid_t child = fork();
    if (child == 0) {
        alarm(60);
        bool good = CodeOf(ended) == 0 && CodeOf(running) == TNX_ERR_SESSION_CLOSED;
        running.reset();
        uint32_t code = 0;
        const TransferPtr refused(OVX_Tnx_Start(session_, stalls_.Get(), &code));
        OVX_Tnx_Wait(refused.get(), TNX_NO_TIMEOUT, &code);
        good = good && code == TNX_ERR_SESSION_CLOSED;
        Tnx_Session *fresh = OVX_Tnx_CreateSession(nullptr, &code);
        good = good && CodeOf(StartOf(fresh, answers_)) == 0;
        _exit(good && OVX_Tnx_CloseSession(&fresh) == 0 ? 0 : 1);
    }
    int status = -1;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    OVX_Tnx_Cancel(running.get());
    EXPECT_EQ(waits.get(), uint32_t{TNX_ERR_REQUEST_CANCELED});
}

#endif

} // namespace
