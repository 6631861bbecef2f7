// The limits on connections, under load from both kinds of fetch.
#include "tests/e2e/client.h"

#include <atomic>
#include <deque>

namespace
{

using namespace EndToEnd;

class LimitsTest : public EndToEndTest
{
protected:
    // Fetches the URL so many times both ways at once. Returns how many succeeded.
    int Burst(const std::string &url, int asynchronous, int threads, int onEachThread,
              uint32_t transferTimeout)
    {
        std::atomic<int> good = 0;
        const auto fill = [transferTimeout](Call &call) {
            call.configuration.transfer.transferTimeout = transferTimeout;
        };
        const auto take = [&good](const Outcome &outcome) {
            EXPECT_EQ(outcome.code, 0U) << outcome.Why();
            good += outcome.code == 0 ? 1 : 0;
        };
        Tnx_Session *const session = Session();
        std::deque<Call> calls;
        for (int i = 0; i < asynchronous; ++i) {
            fill(calls.emplace_back(url));
            calls.back().Start(session);
        }
        std::vector<std::thread> callers;
        for (int i = 0; i < threads; ++i) {
            callers.emplace_back([&] {
                for (int j = 0; j < onEachThread; ++j) {
                    Call call(url);
                    fill(call);
                    take(call.FetchSync(session));
                }
            });
        }
        for (Call &call : calls) {
            take(call.Wait());
        }
        for (std::thread &caller : callers) {
            caller.join();
        }
        return good;
    }
};

// 500 requests of 30 ms on 6 connections take 2.5 s: more than the time-out of each.
TEST_F(LimitsTest, WaitingForAConnectionCostsNoTime)
{
    ScriptedServer server;
    EXPECT_EQ(Burst(server.Url("/stall?ms=30"), 340, 8, 20, 1500), 500);
    // Either kind of fetch has kept its connections, of which no more than six were ever busy.
    EXPECT_LE(server.AcceptedConnections(), 12U);
}

TEST_F(LimitsTest, EachKindOfFetchKeepsToTheLimits)
{
    const struct {
        int64_t perHost;
        int64_t total;
        int hosts;
        uint32_t connections; // at most
    } cases[] = {{0, 0, 1, 6}, {1, 0, 1, 1}, {3, 0, 1, 3}, {0, 2, 1, 2}, {2, 3, 2, 4}};
    for (const auto &limits : cases) {
        SCOPED_TRACE(std::to_string(limits.perHost) + ", " + std::to_string(limits.total));
        configuration_.maxConnectionsPerHost = limits.perHost;
        configuration_.maxTotalConnections = limits.total;
        for (const bool synchronous : {false, true}) {
            std::deque<ScriptedServer> servers;
            std::vector<std::thread> bursts;
            Session();
            for (int i = 0; i < limits.hosts; ++i) {
                const std::string url = servers.emplace_back().Url("/stall?ms=5");
                bursts.emplace_back([this, url, synchronous] {
                    EXPECT_EQ(Burst(url, synchronous ? 0 : 24, synchronous ? 12 : 0, 2, 0), 24);
                });
            }
            for (std::thread &burst : bursts) {
                burst.join();
            }
            uint32_t connections = 0;
            for (const ScriptedServer &server : servers) {
                connections += server.AcceptedConnections();
            }
            if (limits.hosts == 1) { // idle ones of several hosts come and go
                EXPECT_LE(connections, limits.connections);
            }
            Close();
        }
    }
}

TEST_F(LimitsTest, IdleConnectionsAreKeptUpToTheirLimit)
{
    ScriptedServer server;
    configuration_.optionalConnectionLimit = 2;
    EXPECT_EQ(Burst(server.Url("/stall?ms=20"), 24, 0, 0, 0), 24);
    EXPECT_TRUE(Eventually([&server] { return server.OpenConnections() <= 2; }));
    EXPECT_GE(server.OpenConnections(), 1U);
}

TEST_F(LimitsTest, WaitingIsReportedAndNotPartOfTheTimes)
{
    configuration_.maxConnectionsPerHost = 1;
    ScriptedServer server;
    Call first(server.Url("/stall?ms=200"));
    Call second(server.Url("/echo"));
    second.configuration.tracing.collectTimeInfo = true;
    second.configuration.transfer.transferTimeout = 60000;
    first.Start(Session());
    ASSERT_TRUE(server.WaitForRequests(1));
    second.Start(Session());
    EXPECT_EQ(first.Wait().code, 0U);
    const Outcome outcome = second.Wait();
    ASSERT_EQ(outcome.code, 0U);
    ASSERT_TRUE(outcome.times);
    EXPECT_GT(outcome.times->queue, 0);
    EXPECT_LT(outcome.times->total, static_cast<double>(outcome.times->queue) + 60e6);
}

} // namespace
