// What the layers above rely on: who is called, when, how often, and what waits for what.
#include "certificates.h"
#include "engine_client.h"
#include "ports.h"
#include "proxy_servers.h"
#include "scripted_server.h"

#include <gtest/gtest.h>

#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace
{

using namespace EndToEnd;
using namespace OHOS::Pelloria::TnxTest;

class PromisesTest : public testing::Test
{
protected:
    ~PromisesTest() override
    {
        if (session_ != nullptr) {
            session_->Close();
        }
    }

    void Open() { session_ = NewSession(configuration_); }

    std::shared_ptr<Request> To(const std::string &target, Configuration configuration = {})
    {
        auto request = NewRequest(server_.Url(target));
        request->MutableConfiguration() = configuration;
        return request;
    }

    static Configuration Streaming(std::function<void()> onData)
    {
        Configuration configuration;
        configuration.tracing.eventsHandler.onDataReceive =
            [onData = std::move(onData)](const std::shared_ptr<std::string> &data) {
                onData();
                return data->size();
            };
        return configuration;
    }

    ScriptedServer server_;
    SessionConfiguration configuration_;
    std::shared_ptr<Session> session_;
};

TEST_F(PromisesTest, ARequestCanceledBeforeIsNotSent)
{
    Open();
    const auto request = To("/echo");
    request->SetCanceled(true);
    const auto [response, code] = Flight(*session_, request).Wait();
    EXPECT_EQ(response, nullptr);
    EXPECT_EQ(code, ERR_REQUEST_CANCELED);
    uint32_t syncCode = 0;
    EXPECT_EQ(session_->FetchSync(request, &syncCode), nullptr);
    EXPECT_EQ(syncCode, ERR_REQUEST_CANCELED);
    EXPECT_EQ(Flight(*session_, To("/bytes?n=1")).Wait().second, 0U);
    EXPECT_EQ(server_.Requests().size(), 1U);
}

TEST_F(PromisesTest, EveryFailureButACancelHasAResponseWithItsRequest)
{
    Open();
    const auto request = To("/truncate?n=5&of=9");
    const auto [response, code] = Flight(*session_, request).Wait();
    EXPECT_EQ(code, ERR_TRANSFER_BASE + 18);
    ASSERT_NE(response, nullptr);
    EXPECT_EQ(response->GetRequest(), request);
    EXPECT_EQ(response->GetEffectiveUrl(), request->GetUrl());
    EXPECT_EQ(response->GetStatusCode(), 200);
    EXPECT_EQ(response->GetHeaders().Find("content-length"), "9");
    ASSERT_FALSE(response->GetDebugInfo().empty());
    EXPECT_EQ(response->GetDebugInfo().back().type, DEBUG_TEXT);
    const std::string &why = response->GetDebugInfo().back().text;
    for (const std::string &part : {std::string("127.0.0.1"), std::to_string(server_.Port()),
                                    std::string(" ms"), std::string("receiving")}) {
        EXPECT_NE(why.find(part), std::string::npos) << why;
    }
}

TEST_F(PromisesTest, PinsAreCheckedWhereNothingElseIs)
{
    Open();
    const TlsFront front(server_.Port());
    for (const auto &[pins, expected] :
         {std::pair{"good.pin", 0U}, {"self-signed.pin", ERR_TRANSFER_BASE + 90}}) {
        Configuration configuration;
        configuration.security.skipValidation = true;
        configuration.security.publicKeyPins = ReadFile(Certificate(pins));
        auto request = NewRequest(front.Url() + "/bytes?n=3");
        request->MutableConfiguration() = configuration;
        EXPECT_EQ(Flight(*session_, request).Wait().second, expected) << pins;
    }
}

// Who cancels may hold a lock that the callback wants.
TEST_F(PromisesTest, ACancelWaitsForNoCallback)
{
    Open();
    std::mutex lock;
    std::atomic<bool> entered = false;
    std::atomic<int> calls = 0;
    const auto request = To("/endless", Streaming([&] {
                                entered = true;
                                ++calls;
                                const std::lock_guard guard(lock);
                            }));
    std::unique_lock held(lock);
    Flight flight(*session_, request);
    while (!entered) {
        std::this_thread::yield();
    }
    session_->CancelRequest(request);
    EXPECT_EQ(flight.Answers(), 0); // it completes nothing by itself, and not before the callback
    held.unlock();
    const auto [response, code] = flight.Wait();
    EXPECT_EQ(response, nullptr);
    EXPECT_EQ(code, ERR_REQUEST_CANCELED);
    const int after = calls;
    EXPECT_TRUE(server_.WaitForOpenConnections(0));
    session_->CancelRequest(request);
    EXPECT_EQ(calls, after);
    EXPECT_EQ(flight.Answers(), 1);
}

TEST_F(PromisesTest, CancelingAllTellsTheSessionOnceAlsoWhenIdle)
{
    int told = 0;
    std::thread::id on;
    configuration_.onSessionCanceled = [&] {
        ++told;
        on = std::this_thread::get_id();
    };
    Open();
    session_->CancelAll();
    EXPECT_EQ(told, 1);
    EXPECT_EQ(on, std::this_thread::get_id());

    Flight asynchronous(*session_, To("/stall?ms=60000"));
    auto synchronous = std::async(std::launch::async, [this] {
        uint32_t code = 0;
        const auto response = session_->FetchSync(To("/stall?ms=60000&sync=1"), &code);
        return Answer(response, code);
    });
    ASSERT_TRUE(server_.WaitForRequests(2));
    session_->CancelAll();
    EXPECT_EQ(told, 2);
    EXPECT_EQ(asynchronous.Wait(), Answer(nullptr, ERR_REQUEST_CANCELED));
    EXPECT_EQ(synchronous.get(), Answer(nullptr, ERR_REQUEST_CANCELED));
    EXPECT_TRUE(server_.WaitForOpenConnections(0));
}

TEST_F(PromisesTest, ACloseRefusesNewWorkAndCompletesNothing)
{
    std::atomic<int> closed = 0;
    configuration_.onSessionClosed = [&closed] { ++closed; };
    Open();
    Flight running(*session_, To("/stall?ms=60000"));
    ASSERT_TRUE(server_.WaitForRequests(1));
    auto synchronous = std::async(std::launch::async, [this] {
        uint32_t code = 0;
        const auto response = session_->FetchSync(To("/stall?ms=60000&sync=1"), &code);
        return Answer(response, code);
    });
    ASSERT_TRUE(server_.WaitForRequests(2));
    session_->Close(); // waits for none of those minutes
    EXPECT_EQ(closed, 1);
    session_->Close();
    EXPECT_EQ(closed, 1);
    const Answer aborted = synchronous.get();
    EXPECT_EQ(aborted.second, ERR_SESSION_CLOSED);
    EXPECT_NE(aborted.first, nullptr);

    uint32_t code = 0;
    const auto refused = session_->FetchSync(To("/echo"), &code);
    EXPECT_EQ(code, ERR_SESSION_CLOSED);
    ASSERT_NE(refused, nullptr);
    EXPECT_NE(refused->GetRequest(), nullptr);
    Flight late(*session_, To("/echo"));
    EXPECT_TRUE(server_.WaitForOpenConnections(0));
    EXPECT_EQ(running.Answers(), 0);
    EXPECT_EQ(late.Answers(), 0);
    EXPECT_EQ(server_.Requests().size(), 2U);
}

TEST_F(PromisesTest, ACloseWaitsForCallbacksOfOthers)
{
    Open();
    std::promise<void> entered;
    std::promise<void> goOn;
    std::atomic<bool> over = false;
    std::once_flag first;
    Flight flight(*session_, To("/endless", Streaming([&] {
                                    std::call_once(first, [&] {
                                        entered.set_value();
                                        goOn.get_future().wait_for(PATIENCE);
                                        over = true;
                                    });
                                })));
    ASSERT_EQ(entered.get_future().wait_for(PATIENCE), std::future_status::ready);
    auto closing = std::async(std::launch::async, [&] {
        session_->Close();
        return over.load();
    });
    EXPECT_TRUE(server_.WaitForOpenConnections(0)); // it is at work, and waits
    goOn.set_value();
    EXPECT_TRUE(closing.get());
}

TEST_F(PromisesTest, AnyCallbackMayClose)
{
    const auto slots = [](HttpEventsHandler &events, const std::function<void()> &close) {
        return std::vector<std::function<void()>>{
            [&events, close] {
                events.onDataReceive = [close](const std::shared_ptr<std::string> &data) {
                    close();
                    return data->size();
                };
            },
            [&events, close] { events.onHeadersReceive = [close](const auto &) { close(); }; },
            [&events, close] { events.onDataEnd = close; },
            [&events, close] { events.onDownloadProgress = [close](auto, auto) { close(); }; },
        };
    };
    for (size_t i = 0; i < 4; ++i) {
        for (const bool synchronous : {false, true}) {
            SCOPED_TRACE(std::to_string(i) + (synchronous ? " synchronous" : " asynchronous"));
            Open();
            std::atomic<int> closes = 0;
            const std::function<void()> close = [&] {
                session_->Close();
                ++closes;
            };
            Configuration configuration;
            slots(configuration.tracing.eventsHandler, close)[i]();
            if (synchronous) {
                uint32_t code = 0;
                session_->FetchSync(To("/bytes?n=100000", configuration), &code);
                // At the end of the body nothing is left to stop.
                EXPECT_EQ(code, i == 2 ? 0 : ERR_SESSION_CLOSED);
            } else {
                Flight flight(*session_, To("/bytes?n=100000", configuration));
                while (closes == 0) {
                    std::this_thread::yield();
                }
                session_->Close();
                EXPECT_EQ(flight.Answers(), 0);
            }
            EXPECT_GE(closes, 1);
        }
    }
}

TEST_F(PromisesTest, ASessionMayGoInItsOwnCallback)
{
    for (int i = 0; i < 20; ++i) {
        std::promise<void> done;
        std::shared_ptr<Session> session = NewSession();
        Session &alive = *session;
        const auto request = To("/bytes?n=10");
        alive.Fetch(request, [&, mine = std::move(session)](const auto &, uint32_t) mutable {
            mine.reset();
            done.set_value();
        });
        ASSERT_EQ(done.get_future().wait_for(PATIENCE), std::future_status::ready);
    }
}

TEST_F(PromisesTest, SynchronousFetchesWorkInsideCallbacksAndShareTheLimits)
{
    configuration_.maxConnectionsPerHost = 1;
    Open();
    std::atomic<uint32_t> inner = 99;
    const auto fetch = [&] {
        uint32_t code = 98;
        session_->FetchSync(To("/bytes?n=5"), &code);
        inner = code;
    };
    EXPECT_EQ(Flight(*session_, To("/bytes?n=10", Streaming(fetch))).Wait().second, 0U);
    EXPECT_EQ(inner, 0U);

    Flight first(*session_, To("/stall?ms=200"));
    ASSERT_TRUE(server_.WaitForRequests(3));
    auto waiting = std::async(std::launch::async, fetch);
    EXPECT_EQ(first.Wait().second, 0U);
    waiting.get();
    EXPECT_EQ(inner, 0U);
    EXPECT_LE(server_.OpenConnections(), 3U); // one a kind of fetch, and the one inside
}

TEST_F(PromisesTest, LimitsHoldAndEveryWaiterComesToItsTurn)
{
    configuration_.maxConnectionsPerHost = 3;
    Open();
    std::vector<std::unique_ptr<Flight>> flights;
    for (int i = 0; i < 30; ++i) {
        flights.push_back(std::make_unique<Flight>(*session_, To("/stall?ms=5")));
    }
    for (const auto &flight : flights) {
        EXPECT_EQ(flight->Wait().second, 0U);
    }
    EXPECT_LE(server_.AcceptedConnections(), 3U);
}

TEST_F(PromisesTest, CallbacksRunWhereTheApplicationSays)
{
    std::mutex mutex;
    std::vector<std::thread::id> threads;
    std::vector<std::thread> runners;
    DefaultSessionFactory factory([&](std::function<void()> task) {
        const std::lock_guard lock(mutex);
        runners.emplace_back([&, task = std::move(task)] {
            {
                const std::lock_guard inner(mutex);
                threads.push_back(std::this_thread::get_id());
            }
            task();
        });
        return true;
    });
    const auto session = factory.CreateSession(std::make_shared<SessionConfiguration>());
    std::promise<std::thread::id> on;
    session->Fetch(To("/bytes?n=10"),
                   [&on](const auto &, uint32_t) { on.set_value(std::this_thread::get_id()); });
    const std::thread::id thread = on.get_future().get();
    session->Close();
    const std::lock_guard lock(mutex);
    EXPECT_NE(std::find(threads.begin(), threads.end(), thread), threads.end());
    for (std::thread &runner : runners) {
        runner.join();
    }
}

// Fetches, cancels and closes from many threads at once, whatever the outcome.
TEST_F(PromisesTest, NothingGoesWrongWhenEverythingHappensAtOnce)
{
    for (int round = 0; round < 10; ++round) {
        Open();
        std::atomic<int> running = 4;
        std::atomic<int> started = 0;
        std::atomic<int> answered = 0;
        std::vector<std::thread> threads;
        for (int i = 0; i < 4; ++i) {
            threads.emplace_back([&, i] {
                for (int n = 0; n < 50; ++n) {
                    const auto request = To(n % 2 == 0 ? "/bytes?n=100" : "/stall?ms=3");
                    if (i == 0 && n % 5 == 0) {
                        uint32_t code = 0;
                        session_->FetchSync(request, &code);
                        continue;
                    }
                    ++started;
                    session_->Fetch(request, [&answered](const auto &, uint32_t) { ++answered; });
                    if (n % 3 == 0) {
                        session_->CancelRequest(request);
                    }
                    if (n % 17 == 0) {
                        session_->CancelAll();
                    }
                }
                --running;
            });
        }
        const bool closeEarly = round % 2 == 1;
        while (running > (closeEarly ? 3 : 0) || (!closeEarly && answered < started)) {
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        session_->Close();
        const int atClose = answered;
        for (std::thread &thread : threads) {
            thread.join();
        }
        EXPECT_EQ(answered, atClose);
        EXPECT_LE(answered, started);
    }
}

} // namespace
