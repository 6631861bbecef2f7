// Runs a few threads one at a time and decides at each point which one goes on, so that every order
// of them can be walked through, each exactly once.
#ifndef TNX_TESTS_SESSION_EXHAUSTIVE_SCHEDULER_H
#define TNX_TESTS_SESSION_EXHAUSTIVE_SCHEDULER_H

#include <functional>
#include <string>
#include <vector>

namespace Exhaustive
{

// Calls `runOne` for each schedule and returns how many there were. A switch away from a thread
// that could have gone on is a preemption; schedules with more than so many are left out.
long Explore(const std::string &name, int preemptions, const std::function<void()> &runOne);

// From `runOne`: runs the threads, at most MAX_THREADS, to their ends.
constexpr size_t MAX_THREADS = 4;
void RunThreads(const std::vector<std::function<void()>> &bodies);

// From the threads. Outside of them, where nobody else runs, these never switch.
void Point();
void WaitFor(const std::function<bool()> &ready);
size_t Choose(size_t count); // 0 to count - 1, each in some schedule
int Current();               // the running thread, -1 outside
size_t LocksHeld();          // by the running thread

// Tells the schedule and ends the program.
[[noreturn]] void Fail(const std::string &what);

// Locks, numbered in their order of creation within a schedule. An order in which two of them are
// taken must hold in every schedule.
struct LockState {
    size_t number;
    int holder;
};
LockState NewLock();
void Acquire(LockState &lock);
void Release(LockState &lock);

} // namespace Exhaustive

#endif
