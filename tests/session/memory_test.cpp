// Every allocation of a session fails in turn: the caller gets the promised code, a fetch is either
// refused or answered once, and nothing leaks.
#include "common/c_ptr.h"
#include "session/tnx_session_factory.h"
#include "tests/objects/failing_memory.h"
#include "tnx_c_ext/cookie_jar.h"
#include "tnx_c_ext/transfer.h"
#include "tnx_native/session.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>

namespace
{

using namespace FailingMemory;
using namespace OHOS::Pelloria;
using namespace OHOS::Pelloria::TnxC;

// Keeps the last fetch; makes copies as an engine does.
struct KeepingSession : Tnx::Session {
    const std::string &GetId() const override { return id; }
    void Fetch(const std::shared_ptr<Tnx::Request> &fetched,
               Tnx::ResponseCallback completes) override
    {
        completion = std::make_unique<Tnx::ResponseCallback>(std::move(completes));
        request = fetched;
    }
    std::shared_ptr<Tnx::Response> FetchSync(const std::shared_ptr<Tnx::Request> &fetched,
                                             uint32_t *errorCode) override
    {
        *errorCode = 0;
        return std::make_shared<Tnx::Response>(fetched);
    }
    void CancelRequest(const std::shared_ptr<Tnx::Request> &) override { Post(); }
    void CancelAll() override { Post(); }
    void Close() override
    {
        completion.reset();
        request.reset();
        command.reset();
    }
    void Complete()
    {
        (*std::exchange(completion, {}))(
            std::make_shared<Tnx::Response>(std::exchange(request, {})), 0);
    }
    void Post() { command = std::make_unique<int>(); } // cancels take memory in an engine

    std::string id = "an identifier that is too long for a short string";
    std::unique_ptr<Tnx::ResponseCallback> completion;
    std::shared_ptr<Tnx::Request> request;
    std::unique_ptr<int> command;
};

std::shared_ptr<KeepingSession> g_engine;

struct KeepingFactory : Tnx::SessionFactory {
    std::shared_ptr<Tnx::Session>
    CreateSession(const std::shared_ptr<Tnx::SessionConfiguration> &) override
    {
        return g_engine = std::make_shared<KeepingSession>();
    }
};

struct Outcome {
    int calls = 0;
    uint32_t code = 0;
    bool response = false;
};

void Respond(void *ctx, Tnx_Response *response, uint32_t code)
{
    auto &outcome = *static_cast<Outcome *>(ctx);
    ++outcome.calls;
    outcome.code = code;
    outcome.response = response != nullptr;
    if (response != nullptr) {
        response->destroyResponse(response);
    }
}

class SessionMemoryTest : public testing::Test
{
protected:
    SessionMemoryTest() { real_ = TnxExchangeSessionFactory(std::make_unique<KeepingFactory>()); }
    ~SessionMemoryTest() override { TnxExchangeSessionFactory(std::move(real_)); }

    void SetUp() override
    {
        static Tnx_Interceptor entries[2] = {{Pass}, {Pass}};
        static Tnx_SyncInterceptor syncEntries[1] = {{PassSync}};
        configuration_.interceptors = {entries, 2};
        configuration_.syncInterceptors = {syncEntries, 1};
        TnxTraceApiEvent(0, 0, "warm up", 0); // registers the processor
    }

    static uint32_t Pass(Tnx_Request *request, const Tnx_RequestHandler *next,
                         const Tnx_ResponseCallbackObject *callback)
    {
        return OVX_Tnx_CallNextRequestHandler(request, next, callback);
    }
    static Tnx_Response *PassSync(Tnx_Request *request, const Tnx_SyncRequestHandler *next,
                                  uint32_t *errCode)
    {
        return OVX_Tnx_CallNextSyncRequestHandler(request, next, errCode);
    }

    Tnx_Session *Open()
    {
        uint32_t code = 1;
        Tnx_Session *session = OVX_Tnx_CreateSession(&configuration_, &code);
        EXPECT_EQ(code == 0, session != nullptr);
        EXPECT_TRUE(code == 0 || code == uint32_t{TNX_ERR_OUT_OF_MEMORY});
        return session;
    }

    // Runs `attempt` on a session of its own with ever later failures, until one is not reached.
    template <class Attempt> void FailEach(int atLeast, Attempt attempt)
    {
        for (const Kind kind : {Kind::TRANSIENT, Kind::PERSISTENT}) {
            bool happened = true;
            for (int n = 1; happened; ++n) {
                const long before = LiveBlocks();
                Tnx_Session *session = Open();
                happened = attempt(session, n, kind);
                OVX_Tnx_CloseSession(&session);
                g_engine.reset();
                EXPECT_EQ(LiveBlocks(), before) << "leak at allocation " << n;
                EXPECT_TRUE(happened || n > atLeast) << n;
            }
        }
    }

    Tnx_SessionConfiguration configuration_ = {};
    RequestPtr request_{OVX_Tnx_CreateRequest("http://a.host.with.a.long.name/and/a/path")};
    Outcome outcome_;
    const Tnx_ResponseCallbackObject callback_ = {Respond, &outcome_};

private:
    std::unique_ptr<Tnx::SessionFactory> real_;
};

TEST_F(SessionMemoryTest, Create)
{
    FailEach(15, [this](Tnx_Session *, int n, Kind kind) {
        const Failure failure(n, kind);
        Tnx_Session *session = Open();
        const bool happened = failure.Happened();
        EXPECT_EQ(session == nullptr, happened);
        OVX_Tnx_CloseSession(&session);
        return happened;
    });
}

TEST_F(SessionMemoryTest, Fetch)
{
    FailEach(8, [this](Tnx_Session *session, int n, Kind kind) {
        outcome_ = {};
        uint32_t code = 0;
        bool happened = false;
        {
            const Failure failure(n, kind);
            code = OVX_Tnx_Fetch(session, request_.get(), &callback_);
            happened = failure.Happened();
        }
        EXPECT_EQ(code, happened ? uint32_t{TNX_ERR_OUT_OF_MEMORY} : 0U) << n;
        if (code == 0) {
            g_engine->Complete();
        }
        // Refused: nothing is left behind that a cancel could complete.
        OVX_Tnx_CancelSession(session);
        EXPECT_EQ(outcome_.calls, code == 0 ? 1 : 0);
        return happened;
    });
}

TEST_F(SessionMemoryTest, Start)
{
    uint32_t first = 0; // makes what is never destroyed
    Tnx_Session *session = Open();
    OVX_Tnx_DestroyTransfer(OVX_Tnx_Start(session, request_.get(), &first));
    OVX_Tnx_CloseSession(&session);
    g_engine.reset();
    FailEach(8, [this](Tnx_Session *opened, int n, Kind kind) {
        uint32_t code = 0;
        Tnx_Transfer *transfer = nullptr;
        bool happened = false;
        {
            const Failure failure(n, kind);
            transfer = OVX_Tnx_Start(opened, request_.get(), &code);
            happened = failure.Happened();
            EXPECT_EQ(OVX_Tnx_WaitAny(&transfer, 1, 0), 1U);
        }
        EXPECT_EQ(code, happened ? uint32_t{TNX_ERR_OUT_OF_MEMORY} : 0U) << n;
        EXPECT_EQ(transfer == nullptr, happened);
        OVX_Tnx_DestroyTransfer(transfer);
        return happened;
    });
}

TEST_F(SessionMemoryTest, Completion)
{
    FailEach(2, [this](Tnx_Session *session, int n, Kind kind) {
        outcome_ = {};
        OVX_Tnx_Fetch(session, request_.get(), &callback_);
        const auto response = std::make_shared<Tnx::Response>(g_engine->request);
        bool happened = false;
        {
            const Failure failure(n, kind);
            (*g_engine->completion)(response, 0);
            happened = failure.Happened();
        }
        EXPECT_EQ(outcome_.calls, 1);
        EXPECT_EQ(outcome_.code, outcome_.response ? 0U : uint32_t{TNX_ERR_OUT_OF_MEMORY});
        return happened;
    });
}

TEST_F(SessionMemoryTest, SynchronousFetch)
{
    FailEach(4, [this](Tnx_Session *session, int n, Kind kind) {
        uint32_t code = 0;
        Tnx_Response *response = nullptr;
        bool happened = false;
        {
            const Failure failure(n, kind);
            response = OVX_Tnx_FetchSync(session, request_.get(), &code);
            happened = failure.Happened();
        }
        EXPECT_EQ(code, response == nullptr ? uint32_t{TNX_ERR_OUT_OF_MEMORY} : 0U);
        if (response != nullptr) {
            response->destroyResponse(response);
        }
        return happened;
    });
}

TEST_F(SessionMemoryTest, CancelsCompleteAllTheSame)
{
    FailEach(1, [this](Tnx_Session *session, int n, Kind kind) {
        outcome_ = {};
        OVX_Tnx_Fetch(session, request_.get(), &callback_);
        bool happened = false;
        {
            const Failure failure(n, kind);
            EXPECT_EQ(OVX_Tnx_CancelSession(session), 0U);
            happened = failure.Happened();
        }
        EXPECT_EQ(outcome_.calls, 1);
        OVX_Tnx_Fetch(session, request_.get(), &callback_);
        {
            const Failure failure(n, kind);
            EXPECT_EQ(OVX_Tnx_CancelRequest(session, request_.get()), 0U);
            happened = happened || failure.Happened();
        }
        EXPECT_EQ(outcome_.calls, 2);
        return happened;
    });
}

TEST_F(SessionMemoryTest, CookieJars)
{
    constexpr const char *URL = "http://a.host.with.a.long.name/and/a/path";
    FailEach(20, [](Tnx_Session *session, int n, Kind kind) {
        const Failure failure(n, kind);
        uint32_t code = 1;
        Tnx_CookieJar *jar = OVX_Tnx_CreateCookieJar("/a/file/that/is/not/there", &code);
        EXPECT_EQ(code, jar == nullptr ? uint32_t{TNX_ERR_OUT_OF_MEMORY} : 0U);
        const uint32_t refused = jar == nullptr ? TNX_ERR_PARAMETER : TNX_ERR_OUT_OF_MEMORY;
        const uint32_t set = OVX_Tnx_SetJarCookie(jar, URL, "a-name=and a value that is long");
        EXPECT_TRUE(set == 0 || set == refused) << set;
        const uint32_t used = OVX_Tnx_UseCookieJar(session, jar); // takes none
        EXPECT_EQ(used, 0U);
        size_t count = 9;
        Tnx_JarCookie *cookies = OVX_Tnx_ListJarCookies(jar, URL, &count);
        EXPECT_TRUE(cookies == nullptr || count == (set == 0 ? 1 : 0)) << count;
        EXPECT_TRUE(cookies != nullptr || failure.Happened());
        const uint32_t saved = OVX_Tnx_SaveCookieJar(jar, nullptr);
        EXPECT_TRUE(saved == refused || saved == TNX_ERR_WRITE) << saved;
        OVX_Tnx_DestroyJarCookies(cookies);
        OVX_Tnx_DestroyCookieJar(jar);
        return failure.Happened();
    });
}

} // namespace
