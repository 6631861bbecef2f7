// Walks through every order in which fetches, completions, cancels and closes can meet in a
// session, for up to three requests. The bound of each scenario is the number of preemptions; the
// smaller ones have none.
#include "session/tnx_session_factory.h"
#include "tests/objects/failing_memory.h"
#include "tests/session/exhaustive_scheduler.h"
#include "tests/session/exhaustive_world.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdio>
#include <memory>
#include <string>
#include <tuple>
#include <utility>

namespace
{

using namespace Exhaustive;

constexpr int UNBOUNDED = INT_MAX;

// Sanitizers make each schedule several times as slow: one preemption less keeps the time.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr int FEWER = 1;
#else
constexpr int FEWER = 0;
#endif

constexpr Step Fetch(size_t request)
{
    return {Act::FETCH, request};
}
constexpr Step Cancel(size_t request)
{
    return {Act::CANCEL, request};
}
constexpr Step CANCEL_ALL = {Act::CANCEL_ALL};
constexpr Step CLOSE = {Act::CLOSE};

long Walk(const Scenario &scenario)
{
    const int bound = scenario.preemptions == UNBOUNDED ? UNBOUNDED : scenario.preemptions - FEWER;
    const long schedules = Explore(scenario.name, bound, [&scenario] {
        const long before = FailingMemory::LiveBlocks();
        World(scenario).Run();
        if (FailingMemory::LiveBlocks() != before) {
            Fail("memory leaks");
        }
    });
    const std::string told =
        bound == UNBOUNDED ? "all" : "up to " + std::to_string(bound) + " preemptions";
    std::printf("%8ld schedules (%s): %s\n", schedules, told.c_str(), scenario.name.c_str());
    return schedules;
}

// Takes the real factory away meanwhile: each schedule brings its own.
class ExhaustiveTest : public testing::Test
{
private:
    std::unique_ptr<Tnx::SessionFactory> real_ =
        OHOS::Pelloria::TnxC::TnxExchangeSessionFactory(nullptr);
};

TEST_F(ExhaustiveTest, EveryOrder)
{
    const Scenario scenarios[] = {
        {"fetch | cancel | engine", UNBOUNDED, {{Fetch(0)}, {Cancel(0)}}, 1},
        {"fetch | cancel all | engine", UNBOUNDED, {{Fetch(0)}, {CANCEL_ALL}}, 1},
        {"fetch, cancel, fetch again | engine", UNBOUNDED, {{Fetch(0), Cancel(0), Fetch(0)}}, 1},
        {"fetch twice | cancel | engine", 3, {{Fetch(0), Fetch(0)}, {Cancel(0)}}, 1, {}, {}, true},
        {"fetch, cancel, fetch again | cancel all | engine",
         3,
         {{Fetch(0), Cancel(0), Fetch(0)}, {CANCEL_ALL}},
         1},
        {"fetch | cancel | cancel all | engine", 3, {{Fetch(0)}, {Cancel(0)}, {CANCEL_ALL}}, 1},
        {"fetch two | cancel two | engine", 3, {{Fetch(0), Fetch(1)}, {Cancel(0), Cancel(1)}}, 1},
        {"three fetches | cancel all | engine",
         2,
         {{Fetch(0), Fetch(1), Fetch(2)}, {CANCEL_ALL}},
         1},
        {"fetch | fetch | cancel all, fetch | engine",
         2,
         {{Fetch(0)}, {Fetch(1)}, {CANCEL_ALL, Fetch(2)}},
         1},
        {"fetch two, close | two engine threads", 3, {{Fetch(0), Fetch(1), CLOSE}}, 2},
        {"fetch two, cancel all, close | two engine threads",
         2,
         {{Fetch(0), Fetch(1), CANCEL_ALL, CLOSE}},
         2},
    };
    long schedules = 0;
    for (const Scenario &scenario : scenarios) {
        schedules += Walk(scenario);
    }
    std::printf("%8ld schedules in all\n", schedules);
}

// What callbacks do: each act, from a response callback and from a canceled event, while the
// session's other requests are canceled, completed, or it closes.
TEST_F(ExhaustiveTest, EveryOrderWithCallbacksThatAct)
{
    const std::pair<const char *, Step> acts[] = {
        {"fetches it again", Fetch(0)},
        {"fetches another", Fetch(2)},
        {"fetches synchronously", {Act::FETCH_SYNC, 2}},
        {"cancels another", Cancel(1)},
        {"cancels all", CANCEL_ALL},
        {"closes", CLOSE},
    };
    long schedules = 0;
    for (const auto &[text, act] : acts) {
        for (const bool fromResponse : {true, false}) {
            const std::string actor =
                fromResponse ? "the response callback " : "the canceled event ";
            const Step onResponse = fromResponse ? act : Step{};
            const Step onCanceled = fromResponse ? Step{} : act;
            // The same request is fetched again while the second one may still be in flight.
            const bool replaces = act.act == Act::FETCH;
            schedules += Walk({actor + text + ": fetch two, cancel one | two engine threads",
                               2,
                               {{Fetch(0), Fetch(1), Cancel(0)}},
                               2,
                               onResponse,
                               onCanceled,
                               replaces});
            schedules += Walk({actor + text + ": fetch two | cancel all | engine",
                               2,
                               {{Fetch(0), Fetch(1)}, {CANCEL_ALL}},
                               1,
                               onResponse,
                               onCanceled,
                               replaces});
            schedules += Walk({actor + text + ": fetch two, close | two engine threads",
                               2,
                               {{Fetch(0), Fetch(1), CLOSE}},
                               2,
                               onResponse,
                               onCanceled,
                               replaces});
        }
    }
    std::printf("%8ld schedules in all\n", schedules);
}

// No callback of a request beside or behind the answer to its cancel, whoever cancels, also where
// two data callbacks cancel each other's request, both cancel all, or both close.
TEST_F(ExhaustiveTest, EveryOrderWithDataCallbacks)
{
    const std::pair<const char *, Step> acts[] = {
        {"do nothing", {}},
        {"cancel each other", {Act::CANCEL_OTHER}},
        {"cancel the first", Cancel(0)},
        {"cancel all", CANCEL_ALL},
        {"close", CLOSE},
    };
    const std::tuple<const char *, int, std::vector<std::vector<Step>>> threads[] = {
        {"fetch two", 2, {{Fetch(0), Fetch(1)}}},
        {"fetch two, cancel one", 2, {{Fetch(0), Fetch(1), Cancel(0)}}},
        {"fetch two, cancel all", 1, {{Fetch(0), Fetch(1), CANCEL_ALL}}},
        {"fetch two, cancel all, close", 1, {{Fetch(0), Fetch(1), CANCEL_ALL, CLOSE}}},
    };
    long schedules = 0;
    for (const auto &[what, act] : acts) {
        for (const auto &[name, bound, steps] : threads) {
            schedules +=
                Walk({std::string("data callbacks ") + what + ": " + name + " | two engine threads",
                      bound,
                      steps,
                      2,
                      {},
                      {},
                      false,
                      true,
                      act});
        }
    }
    std::printf("%8ld schedules in all\n", schedules);
}

} // namespace
