// From inside each kind of callback: every call that an application may make there.
#include "tests/e2e/client.h"

#include <array>
#include <atomic>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <stdexcept>

namespace EndToEnd
{
namespace
{

enum class Kind {
    RESPONSE,
    CANCELED,
    HEADERS,
    DATA,
    PROGRESS,
    END,
    BODY,
    EXCLUSION,
    RESOLVER,
    INTERCEPTOR
};
enum class Action { FETCH, FETCH_SYNC, CANCEL_THIS, CANCEL_OTHER, CANCEL_SESSION, CLOSE, THROW };

constexpr std::array<const char *, 10> KINDS = {"response", "canceled",   "headers", "data",
                                                "progress", "end",        "body",    "exclusion",
                                                "resolver", "interceptor"};
constexpr std::array<const char *, 7> ACTIONS = {
    "fetch", "synchronous fetch", "cancel this", "cancel another", "cancel session", "close",
    "throw"};

// Ends the program, and says where, when a case hangs.
class Watchdog
{
public:
    explicit Watchdog(std::string what)
        : thread_([this, what = std::move(what)] {
            std::unique_lock<std::mutex> lock(mutex_);
            if (!done_.wait_for(lock, std::chrono::seconds(60), [this] { return over_; })) {
                std::fprintf(stderr, "hangs: %s\n", what.c_str());
                std::abort();
            }
        })
    {
    }
    ~Watchdog()
    {
        {
            const std::lock_guard<std::mutex> lock(mutex_);
            over_ = true;
        }
        done_.notify_all();
        thread_.join();
    }

private:
    std::mutex mutex_;
    std::condition_variable done_;
    bool over_ = false;
    std::thread thread_;
};

struct Case;
Case *g_case = nullptr; // some callbacks carry no context

// One request with every callback set, one of which acts.
struct Case {
    Case(Kind kindOfCallback, Action actionToTake)
        : kind(kindOfCallback)
        , action(actionToTake)
    {
        g_case = this;
        interceptor.intercept = [](Tnx_Request *request, const Tnx_RequestHandler *next,
                                   const Tnx_ResponseCallbackObject *callback) {
            if (request == g_case->main.Get()) {
                g_case->Reached(Kind::INTERCEPTOR);
            }
            return OVX_Tnx_CallNextRequestHandler(request, next, callback);
        };
        settings.interceptors = {&interceptor, 1};
        SetEvents();
        SetRules();
        uint32_t code = 0;
        session = OVX_Tnx_CreateSession(&settings, &code);
    }

    void SetEvents()
    {
        Tnx_HttpEventsHandler &events = main.configuration.tracing.eventsHandler;
        events.onCanceled = {[](void *) { g_case->Reached(Kind::CANCELED); }, nullptr};
        events.onEvent = {[](void *) { g_case->Reached(Kind::END); }, nullptr};
        events.onProgress1 = {[](void *, uint64_t, uint64_t) { g_case->Reached(Kind::PROGRESS); },
                              nullptr};
        events.onHeaderReceive = {[](void *, Tnx_Headers *headers) {
                                      OVX_Tnx_DestroyHeaders(headers);
                                      g_case->Reached(Kind::HEADERS);
                                  },
                                  nullptr};
        main.OnData([](std::string_view data) {
            g_case->Reached(Kind::DATA);
            return data.size();
        });
        main.then = [](const Outcome &) { g_case->Reached(Kind::RESPONSE); };
    }

    void SetRules()
    {
        main.Pull([](char *buffer, unsigned int) {
            Case &self = *g_case;
            self.Reached(Kind::BODY);
            std::memcpy(buffer, "abc", 3);
            return self.pulled++ == 0 ? 3 : 0;
        });
        main.configuration.proxy.mode = TNX_PROXY_EXPLICIT;
        main.configuration.proxy.url = "http://127.0.0.1:9";
        main.configuration.proxy.exclusionKind = TNX_EXCLUSION_FUNCTION;
        main.configuration.proxy.exclusions.exclusionFunction = [](const char *) {
            g_case->Reached(Kind::EXCLUSION);
            return true;
        };
        rule.kind = TNX_DNS_DYNAMIC;
        rule.rule.dynamicRule = [](const char *, uint16_t) {
            g_case->Reached(Kind::RESOLVER);
            auto *const address =
                static_cast<Tnx_IpAddress *>(std::calloc(1, sizeof(Tnx_IpAddress)));
            std::strcpy(address->ip, "127.0.0.1");
            return address;
        };
        main.configuration.dnsRule = &rule;
    }

    void Reached(Kind where)
    {
        if (where == kind && !acted.exchange(true)) {
            Act();
            returned = true;
        }
    }

    void Act()
    {
        switch (action) {
        case Action::FETCH:
            result = fetched.Start(session);
            break;
        case Action::FETCH_SYNC:
            result = fetched.FetchSync(session).code;
            break;
        case Action::CANCEL_THIS:
            result = OVX_Tnx_CancelRequest(session, main.Get());
            break;
        case Action::CANCEL_OTHER:
            result = OVX_Tnx_CancelRequest(session, other.Get());
            break;
        case Action::CANCEL_SESSION:
            result = OVX_Tnx_CancelSession(session);
            break;
        case Action::CLOSE:
            result = OVX_Tnx_CloseSession(&session);
            break;
        case Action::THROW:
            returned = true;
            throw std::runtime_error("thrown by a callback");
        }
    }

    // The callback runs while the outcome is open.
    bool BeforeTheEnd() const
    {
        return kind == Kind::HEADERS || kind == Kind::DATA || kind == Kind::PROGRESS ||
               kind == Kind::BODY || kind == Kind::EXCLUSION || kind == Kind::RESOLVER;
    }

    void Run()
    {
        ASSERT_EQ(other.Start(session), 0U);
        const bool refused = kind == Kind::INTERCEPTOR && action == Action::THROW;
        ASSERT_EQ(main.Start(session), refused ? uint32_t{TNX_ERR_CALLBACK} : 0U);
        if (kind == Kind::CANCELED) {
            OVX_Tnx_CancelRequest(session, main.Get());
        }
        ASSERT_TRUE(Eventually([this] { return returned.load(); }));
        EXPECT_EQ(result, 0U);
        if (action != Action::CLOSE) {
            EXPECT_TRUE(Eventually([&] { return main.Answers() == (refused ? 0 : 1); }));
            if (action == Action::THROW && BeforeTheEnd()) {
                const Outcome outcome = main.Wait();
                EXPECT_EQ(outcome.code, uint32_t{TNX_ERR_CALLBACK});
                EXPECT_NE(outcome.Why().find("threw an exception"), std::string::npos);
            }
            if (action == Action::FETCH) {
                EXPECT_EQ(fetched.Wait().status, 200);
            }
            OVX_Tnx_CancelSession(session);
            EXPECT_EQ(other.Answers(), 1U);
            OVX_Tnx_CloseSession(&session);
        }
        EXPECT_LE(main.Answers(), 1U);
        EXPECT_LE(other.Answers(), 1U);
    }

    const Kind kind;
    const Action action;
    Tnx_Interceptor interceptor = {};
    Tnx_SessionConfiguration settings = {};
    Tnx_DnsRule rule = {};
    Tnx_Session *session = nullptr;
    Call main{"http://callbacks.test:" + std::to_string(Scripted().Port()) + "/echo", "POST"};
    Call other{Scripted().Url("/stall?ms=60000")};
    Call fetched{Scripted().Url("/bytes?n=10")};
    std::atomic<int> pulled = 0;
    std::atomic<bool> acted = false;
    std::atomic<bool> returned = false;
    std::atomic<uint32_t> result = 0;
};

// An interceptor stands in the chain that a close takes down: that pair is not allowed. A response
// callback that throws has not done its part, so that nobody could wait for it.
bool Allowed(Kind kind, Action action)
{
    return !(kind == Kind::INTERCEPTOR && action == Action::CLOSE) &&
           !(kind == Kind::RESPONSE && action == Action::THROW);
}

TEST(CallbackCallsTest, EachCallWorksFromInsideEachCallback)
{
    // Kept to the end: a callback that closed its session may still be on its way back.
    std::vector<std::unique_ptr<Case>> cases;
    for (size_t kind = 0; kind < KINDS.size(); ++kind) {
        for (size_t action = 0; action < ACTIONS.size(); ++action) {
            const std::string what = std::string(ACTIONS[action]) + " inside " + KINDS[kind];
            SCOPED_TRACE(what);
            if (Allowed(static_cast<Kind>(kind), static_cast<Action>(action))) {
                const Watchdog watchdog(what);
                cases.push_back(
                    std::make_unique<Case>(static_cast<Kind>(kind), static_cast<Action>(action)));
                cases.back()->Run();
            }
        }
    }
}

} // namespace
} // namespace EndToEnd
