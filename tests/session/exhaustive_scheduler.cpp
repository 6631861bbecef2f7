#include "tests/session/exhaustive_scheduler.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <sched.h>
#include <semaphore>
#include <thread>
#include <utility>

namespace Exhaustive
{
namespace
{

constexpr int NOBODY = -1;
constexpr size_t MAX_LOCKS = 4;

struct Decision {
    size_t choice;
    size_t count;
};

// A real thread that runs only while it is its turn.
struct Worker {
    std::thread thread;
    std::binary_semaphore turn{0};
    const std::function<void()> *body = nullptr;
    const std::function<bool()> *ready = nullptr; // what it waits for, if anything
    std::vector<size_t> locks;                    // those that it holds

    bool CanRun() const { return body != nullptr && (ready == nullptr || (*ready)()); }
};

struct Scheduler {
    std::string name;
    std::vector<Decision> path; // of the current schedule
    size_t depth = 0;
    int preemptionsLeft = 0;
    int current = NOBODY;
    std::array<Worker, MAX_THREADS> workers;
    std::binary_semaphore finished{0};
    size_t locks = 0;
    // Which lock was taken while which other was held: [held][taken].
    std::array<std::array<bool, MAX_LOCKS>, MAX_LOCKS> orders{};

    Scheduler();
    void Work(int self);
    int Decide(int self);
    void SwitchFrom(int self);
    bool Backtrack();
};

// Lives as long as the process, with its threads.
Scheduler &Get()
{
    static Scheduler *const scheduler = new Scheduler;
    return *scheduler;
}

Scheduler::Scheduler()
{
    // Only one runs at a time, and on one processor handing over is cheapest.
    cpu_set_t processor;
    CPU_ZERO(&processor);
    CPU_SET(static_cast<size_t>(sched_getcpu()), &processor);
    sched_setaffinity(0, sizeof(processor), &processor);
    path.reserve(10000); // so that a schedule allocates nothing that stays
    for (int i = 0; i < static_cast<int>(MAX_THREADS); ++i) {
        Worker &worker = workers[static_cast<size_t>(i)];
        worker.locks.reserve(16);
        worker.thread = std::thread([this, i] { Work(i); });
        worker.thread.detach();
    }
}

void Scheduler::Work(int self)
{
    Worker &worker = workers[static_cast<size_t>(self)];
    for (;;) {
        worker.turn.acquire();
        (*worker.body)();
        worker.body = nullptr;
        SwitchFrom(self);
    }
}

// The thread to go on with; NOBODY when all have ended.
int Scheduler::Decide(int self)
{
    std::array<int, MAX_THREADS> candidates{};
    size_t count = 0;
    const bool selfCanRun = self != NOBODY && workers[static_cast<size_t>(self)].CanRun();
    if (selfCanRun) {
        candidates[count++] = self; // the first choice is to go on
    }
    bool unfinished = false;
    for (int i = 0; i < static_cast<int>(MAX_THREADS); ++i) {
        const Worker &worker = workers[static_cast<size_t>(i)];
        unfinished = unfinished || worker.body != nullptr;
        if (i != self && (!selfCanRun || preemptionsLeft > 0) && worker.CanRun()) {
            candidates[count++] = i;
        }
    }
    if (count == 0) {
        if (unfinished) {
            Fail("deadlock: every thread waits");
        }
        return NOBODY;
    }
    const int next = candidates[Choose(count)];
    if (selfCanRun && next != self) {
        --preemptionsLeft;
    }
    return next;
}

void Scheduler::SwitchFrom(int self)
{
    const int next = Decide(self);
    if (next == self) {
        return;
    }
    const bool ended = self == NOBODY || workers[static_cast<size_t>(self)].body == nullptr;
    current = next;
    if (next == NOBODY) {
        finished.release();
    } else {
        workers[static_cast<size_t>(next)].turn.release();
    }
    if (!ended) {
        workers[static_cast<size_t>(self)].turn.acquire();
    }
}

// To the next schedule; false when there is none.
bool Scheduler::Backtrack()
{
    while (!path.empty() && path.back().choice + 1 == path.back().count) {
        path.pop_back();
    }
    if (path.empty()) {
        return false;
    }
    ++path.back().choice;
    return true;
}

} // namespace

long Explore(const std::string &name, int preemptions, const std::function<void()> &runOne)
{
    Scheduler &scheduler = Get();
    scheduler.name = name;
    scheduler.path.clear();
    scheduler.orders = {};
    long schedules = 0;
    do {
        scheduler.depth = 0;
        scheduler.locks = 0;
        scheduler.preemptionsLeft = preemptions;
        runOne();
        ++schedules;
    } while (scheduler.Backtrack());
    return schedules;
}

void RunThreads(const std::vector<std::function<void()>> &bodies)
{
    Scheduler &scheduler = Get();
    for (size_t i = 0; i < bodies.size(); ++i) {
        scheduler.workers[i].body = &bodies[i];
    }
    scheduler.SwitchFrom(NOBODY);
    scheduler.finished.acquire();
}

void Point()
{
    if (Current() != NOBODY) {
        Get().SwitchFrom(Current());
    }
}

void WaitFor(const std::function<bool()> &ready)
{
    if (Current() == NOBODY) {
        if (!ready()) {
            Fail("waits for nobody");
        }
        return;
    }
    Worker &worker = Get().workers[static_cast<size_t>(Current())];
    worker.ready = &ready;
    Get().SwitchFrom(Current());
    worker.ready = nullptr;
}

size_t Choose(size_t count)
{
    Scheduler &scheduler = Get();
    if (count == 1) {
        return 0;
    }
    if (scheduler.depth == scheduler.path.size()) {
        scheduler.path.push_back({0, count});
    }
    const Decision &decision = scheduler.path[scheduler.depth++];
    if (decision.count != count) {
        Fail("the schedule cannot be repeated");
    }
    return decision.choice;
}

int Current()
{
    return Get().current;
}

size_t LocksHeld()
{
    return Current() == NOBODY ? 0 : Get().workers[static_cast<size_t>(Current())].locks.size();
}

void Fail(const std::string &what)
{
    const Scheduler &scheduler = Get();
    std::printf("%s: %s\nschedule:", scheduler.name.c_str(), what.c_str());
    for (size_t i = 0; i < scheduler.depth; ++i) {
        std::printf(" %zu", scheduler.path[i].choice);
    }
    std::printf("\n");
    std::fflush(stdout);
    std::_Exit(1);
}

LockState NewLock()
{
    const size_t number = Get().locks++;
    if (number >= MAX_LOCKS) {
        Fail("more locks than expected");
    }
    return {number, NOBODY};
}

void Acquire(LockState &lock)
{
    if (Current() == NOBODY) {
        return;
    }
    WaitFor([&lock] { return lock.holder == NOBODY; });
    lock.holder = Current();
    Scheduler &scheduler = Get();
    std::vector<size_t> &held = scheduler.workers[static_cast<size_t>(Current())].locks;
    for (const size_t first : held) {
        scheduler.orders[first][lock.number] = true;
        if (scheduler.orders[lock.number][first]) {
            Fail("two locks are taken in both orders");
        }
    }
    held.push_back(lock.number);
}

void Release(LockState &lock)
{
    if (Current() == NOBODY) {
        return;
    }
    lock.holder = NOBODY;
    std::erase(Get().workers[static_cast<size_t>(Current())].locks, lock.number);
}

} // namespace Exhaustive
