// Cancelling and closing: effects and log lines in their order, and the application doing anything
// from the callbacks in between.
#include "tests/session/session_fixture.h"

#include <algorithm>
#include <future>
#include <system_error>
#include <thread>

namespace
{

using namespace SessionTests;

class CancelTest : public SessionFixture
{
protected:
    void SetUp() override { Open(); }

    std::string CancelLine() const
    {
        return std::string("log cancel request ") + request_->id + " in session session";
    }

    Entries Fired() const
    {
        return {Erase(request_), "default onCanceled", CancelLine(), Pop(request_)};
    }
};

TEST_F(CancelTest, MissingArgumentsAreRefused)
{
    EXPECT_EQ(OVX_Tnx_CancelRequest(session_, nullptr), 401U);
    EXPECT_EQ(journal_.Take(), Entries());
}

TEST_F(CancelTest, OneRequest)
{
    Fetch(request_, first_);
    journal_.Take();
    EXPECT_EQ(OVX_Tnx_CancelRequest(session_, request_.get()), 0U);
    EXPECT_EQ(journal_.Take(),
              (Entries{"engine cancel marked", Erase(request_), "default onCanceled", CancelLine(),
                       Pop(request_), "first null 1007900992"}));
    // What is not in flight fires its event all the same.
    EXPECT_EQ(OVX_Tnx_CancelRequest(session_, request_.get()), 0U);
    EXPECT_EQ(journal_.Take(), Fired());
    engine_->flights[0].CompleteEmpty(CANCELED);
    EXPECT_EQ(journal_.Take(), Entries());
}

TEST_F(CancelTest, CompletedRequestFiresItsEventOnly)
{
    Fetch(request_, first_);
    engine_->flights[0].Complete();
    journal_.Take();
    EXPECT_EQ(OVX_Tnx_CancelRequest(session_, request_.get()), 0U);
    EXPECT_EQ(journal_.Take(), Fired());
}

TEST_F(CancelTest, OwnConfigurationDecidesAboutTheEvent)
{
    Application own{&journal_, "own", {}};
    Tnx_Configuration configuration = {};
    request_->configuration = &configuration;
    OVX_Tnx_CancelRequest(session_, request_.get());
    EXPECT_EQ(journal_.Take(), (Entries{Erase(request_), CancelLine(), Pop(request_)}));
    configuration.tracing.eventsHandler.onCanceled = {Application::Canceled, &own};
    OVX_Tnx_CancelRequest(session_, request_.get());
    EXPECT_EQ(journal_.Take()[1], "own onCanceled");
    configuration_.requestConfiguration = nullptr;
    request_->configuration = nullptr;
    OVX_Tnx_CancelRequest(session_, request_.get());
    EXPECT_EQ(journal_.Take(), (Entries{Erase(request_), CancelLine(), Pop(request_)}));
}

TEST_F(CancelTest, RequestFetchedAgainFromItsEventKeepsItsOwnCallback)
{
    onCanceled_.then = [this] { EXPECT_EQ(Fetch(request_, second_), 0U); };
    Fetch(request_, first_);
    journal_.Take();
    OVX_Tnx_CancelRequest(session_, request_.get());
    EXPECT_EQ(journal_.Take().back(), "first null 1007900992");
    engine_->flights[0].Complete(); // late
    EXPECT_EQ(journal_.Take(), Entries());
    engine_->flights[1].Complete();
    const Entries entries = journal_.Take();
    EXPECT_EQ(std::count(entries.begin(), entries.end(), "second response 0"), 1);
}

TEST_F(CancelTest, SessionClosedFromTheEventCompletesNothing)
{
    onCanceled_.then = [this] { EXPECT_EQ(OVX_Tnx_CloseSession(&session_), 0U); };
    Fetch(request_, first_);
    journal_.Take();
    EXPECT_EQ(OVX_Tnx_CancelRequest(session_, request_.get()), 0U);
    EXPECT_EQ(journal_.Take(),
              (Entries{"engine cancel marked", Erase(request_), "default onCanceled",
                       "engine close", "log close session session", CancelLine(), Pop(request_)}));
}

TEST_F(CancelTest, CancelDuringTheHandOverIsLeftToTheEngine)
{
    engine_->during = [this] { OVX_Tnx_CancelRequest(session_, request_.get()); };
    EXPECT_EQ(Fetch(request_, first_), 0U);
    EXPECT_TRUE(engine_->flights[0].request->IsCanceled());
    EXPECT_EQ(journal_.Take().back(), "first null 1007900992");
}

TEST_F(CancelTest, AllRequests)
{
    Fetch(request_, first_);
    Fetch(other_, second_);
    journal_.Take();
    EXPECT_EQ(OVX_Tnx_CancelSession(session_), 0U);
    Entries entries = journal_.Take();
    ASSERT_EQ(entries.size(), 12U);
    const Entries head(entries.begin(), entries.begin() + 4);
    EXPECT_EQ(head, (Entries{"log cancel session session", "engine cancel all",
                             "engine cancel marked", "engine cancel marked"}));
    // The order of the requests is the registry's own.
    const auto line = [](const char *text, const RequestPtr &request) {
        return std::string("log ") + text + " for request " + request->id;
    };
    const auto expectBoth = [&entries](size_t from, size_t step, const std::string &one,
                                       const std::string &two) {
        EXPECT_TRUE((entries[from] == one && entries[from + step] == two) ||
                    (entries[from] == two && entries[from + step] == one));
    };
    expectBoth(4, 2, line("call onCanceled", request_), line("call onCanceled", other_));
    EXPECT_EQ(entries[5], "default onCanceled");
    EXPECT_EQ(entries[7], "default onCanceled");
    expectBoth(8, 1, line("set cpp canceled", request_), line("set cpp canceled", other_));
    expectBoth(10, 1, "first null 1007900992", "second null 1007900992");
    for (const Flight &flight : engine_->flights) {
        flight.Complete();
        flight.CompleteEmpty(CANCELED);
    }
    EXPECT_EQ(journal_.Take(), Entries());
}

TEST_F(CancelTest, AllOfNothing)
{
    EXPECT_EQ(OVX_Tnx_CancelSession(session_), 0U);
    EXPECT_EQ(journal_.Take(), (Entries{"log cancel session session", "engine cancel all"}));
}

// What is fetched from a callback of the cancel is not canceled by it.
TEST_F(CancelTest, FetchingFromTheCallbacksOfASessionCancel)
{
    const RequestPtr third(OVX_Tnx_CreateRequest("http://three"));
    onCanceled_.then = [this] { Fetch(other_, second_); };
    first_.then = [this, &third] { Fetch(third, second_); };
    Fetch(request_, first_);
    OVX_Tnx_CancelSession(session_);
    journal_.Take();
    ASSERT_EQ(engine_->flights.size(), 3U);
    EXPECT_FALSE(engine_->flights[1].request->IsCanceled());
    for (size_t i : {1U, 2U}) {
        engine_->flights[i].Complete();
        const Entries entries = journal_.Take();
        EXPECT_EQ(std::count(entries.begin(), entries.end(), "second response 0"), 1);
    }
}

TEST_F(CancelTest, ClosingFromTheCallbacksOfASessionCancel)
{
    for (Application *closer : {&onCanceled_, &first_}) {
        closer->then = [this] { EXPECT_EQ(OVX_Tnx_CloseSession(&session_), 0U); };
        second_.then = first_.then; // whoever is called first
        Fetch(request_, first_);
        Fetch(other_, second_);
        journal_.Take();
        EXPECT_EQ(OVX_Tnx_CancelSession(session_), 0U);
        const Entries entries = journal_.Take();
        const auto closed = std::find(entries.begin(), entries.end(), "log close session session");
        ASSERT_NE(closed, entries.end());
        EXPECT_EQ(closed + 1, entries.end()) << "called after the close: " << closed[1];
        first_.then = second_.then = onCanceled_.then = {};
        Open();
    }
}

TEST_F(CancelTest, ClosingFromTheSessionsCanceledCallback)
{
    OVX_Tnx_CloseSession(&session_);
    static Tnx_Session **handle;
    handle = &session_;
    configuration_.onSessionCanceled = [] { EXPECT_EQ(OVX_Tnx_CloseSession(handle), 0U); };
    Open();
    Fetch(request_, first_);
    journal_.Take();
    EXPECT_EQ(OVX_Tnx_CancelSession(session_), 0U);
    EXPECT_EQ(journal_.Take(), (Entries{"log cancel session session", "engine cancel all",
                                        "engine close", "log close session session"}));
}

TEST_F(CancelTest, CloseCompletesNothing)
{
    Fetch(request_, first_);
    journal_.Take();
    EXPECT_EQ(OVX_Tnx_CloseSession(&session_), 0U);
    EXPECT_EQ(session_, nullptr);
    EXPECT_EQ(OVX_Tnx_CloseSession(&session_), uint32_t{TNX_ERR_SESSION_CLOSED});
    EXPECT_EQ(journal_.Take(), (Entries{"engine close", "log close session session"}));
    EXPECT_EQ(engine_.use_count(), 2) << "the session keeps its engine session"; // test, factory
}

// The answer to a cancel while a callback of the request runs on another thread: right behind it.
TEST_F(CancelTest, BehindARunningCallback)
{
    for (const bool all : {false, true}) {
        Fetch(request_, first_);
        std::promise<void> inside;
        std::promise<void> canceled;
        std::thread other([&, engineRequest = engine_->flights.back().request] {
            {
                const Tnx::CallbackGate::Turn turn(engineRequest->Gate());
                EXPECT_TRUE(turn);
                inside.set_value();
                canceled.get_future().wait();
                journal_.Note("callback ends");
            }
            EXPECT_FALSE(Tnx::CallbackGate::Turn(engineRequest->Gate()));
        });
        inside.get_future().wait();
        journal_.Take();
        EXPECT_EQ(all ? OVX_Tnx_CancelSession(session_)
                      : OVX_Tnx_CancelRequest(session_, request_.get()),
                  0U);
        const Entries before = journal_.Take();
        EXPECT_EQ(before.back(), all ? "engine cancel marked" : Erase(request_));
        canceled.set_value();
        other.join();
        const std::string id = request_->id;
        EXPECT_EQ(journal_.Take(),
                  all ? (Entries{"callback ends", "log call onCanceled for request " + id,
                                 "default onCanceled", "log set cpp canceled for request " + id,
                                 "first null 1007900992"})
                      : (Entries{"callback ends", "default onCanceled", CancelLine(), Pop(request_),
                                 "first null 1007900992"}));
    }
}

// From inside a callback of the request itself nothing is waited for.
TEST_F(CancelTest, FromItsOwnCallback)
{
    Fetch(request_, first_);
    journal_.Take();
    const Tnx::CallbackGate::Turn turn(engine_->flights[0].request->Gate());
    OVX_Tnx_CancelRequest(session_, request_.get());
    EXPECT_EQ(journal_.Take().back(), "first null 1007900992");
}

TEST_F(CancelTest, CallbacksThatThrowStopNothing)
{
    const auto raise = [] { throw 1; };
    for (const bool all : {false, true}) {
        onCanceled_.then = first_.then = second_.then = raise;
        Fetch(request_, first_);
        Fetch(other_, second_);
        journal_.Take();
        if (all) {
            EXPECT_EQ(OVX_Tnx_CancelSession(session_), 0U);
        } else {
            EXPECT_EQ(OVX_Tnx_CancelRequest(session_, request_.get()), 0U);
            engine_->flights[1].Complete();
        }
        const Entries entries = journal_.Take();
        EXPECT_EQ(std::count(entries.begin(), entries.end(), "first null 1007900992"), 1);
        EXPECT_EQ(std::count(entries.begin(), entries.end(),
                             all ? "second null 1007900992" : "second response 0"),
                  1);
        EXPECT_EQ(std::count(entries.begin(), entries.end(), "log a callback threw an exception"),
                  3);
    }
}

// No thread for it, say: the fetch is refused, and its callback never called.
TEST_F(CancelTest, AHandOverThatFails)
{
    engine_->during = [] {
        throw std::system_error(std::make_error_code(std::errc::resource_unavailable_try_again));
    };
    EXPECT_EQ(Fetch(request_, first_), uint32_t{TNX_ERR_INIT_FAILED});
    EXPECT_EQ(journal_.Take().back(), "event 1 1007900002");
    EXPECT_EQ(OVX_Tnx_CancelSession(session_), 0U);
    EXPECT_EQ(journal_.Take(), (Entries{"log cancel session session", "engine cancel all"}));
}

// A callback that the close waits for may try to close too, to cancel, and to fetch.
TEST_F(CancelTest, UsingTheSessionWhileItCloses)
{
    Fetch(request_, first_);
    engine_->during = [this] {
        Tnx_Session *copy = session_;
        EXPECT_EQ(OVX_Tnx_CloseSession(&copy), uint32_t{TNX_ERR_SESSION_CLOSED});
        EXPECT_EQ(copy, session_);
        EXPECT_EQ(OVX_Tnx_CancelSession(session_), 0U);
        EXPECT_EQ(Fetch(other_, second_), 0U);
    };
    journal_.Take();
    EXPECT_EQ(OVX_Tnx_CloseSession(&session_), 0U);
    const Entries entries = journal_.Take();
    EXPECT_EQ(std::count(entries.begin(), entries.end(), "first null 1007900992"), 1);
    EXPECT_EQ(entries.back(), "log close session session");
}

} // namespace
