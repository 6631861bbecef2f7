// The one I/O loop of the process: descriptors, timers and tasks posted by other threads. One
// thread at a time runs it, which is "the loop's thread" meanwhile. The application's code never
// runs inside a round.
#ifndef TNX_ENGINE_LOOP_H
#define TNX_ENGINE_LOOP_H

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <set>
#include <utility>
#include <vector>

#include "base/clock.h"
#include "common/mutex.h"
#include "on_loop.h"
#include "task_queue.h"

namespace OHOS::Pelloria::Tnx
{

// Work for the loop. Posted by any thread, run on the loop's.
class LoopTask : public TaskQueue<LoopTask>::Link
{
public:
    virtual ~LoopTask() = default;
    virtual void RunOnLoop() REQUIRES(ON_LOOP) = 0;
};

// Takes the events of the descriptors that it watches.
class Watcher
{
public:
    virtual void OnReady(int fd, uint32_t events) REQUIRES(ON_LOOP) = 0;

protected:
    ~Watcher() = default;
};

class Loop
{
public:
    class Timer;
    using Timers = std::set<std::pair<TimePoint, Timer *>>;

    // One deadline. Made and destroyed in a round, where its action runs too.
    class Timer
    {
    public:
        Timer(Loop &loop, std::function<void()> action);
        ~Timer() { Stop(); }
        Timer(const Timer &) = delete;
        Timer &operator=(const Timer &) = delete;

        void Start(TimePoint at) noexcept REQUIRES(ON_LOOP);
        void Stop() noexcept REQUIRES(ON_LOOP);
        bool Running() const REQUIRES(ON_LOOP) { return running_; }

    private:
        friend class Loop;
        Loop &loop_;
        const std::function<void()> action_;
        TimePoint at_ GUARDED_BY(ON_LOOP);
        bool running_ GUARDED_BY(ON_LOOP) = false;
        // While it is not running; kept, so that starting takes no memory.
        Timers::node_type node_ GUARDED_BY(ON_LOOP);
    };

    Loop();
    ~Loop();
    Loop(const Loop &) = delete;
    Loop &operator=(const Loop &) = delete;

    // Waits for something to happen and does what it asks for.
    void RunRound();

    // No round will run any more.
    void End();

    // The task must not be waiting already.
    void Post(std::shared_ptr<LoopTask> task) noexcept;
    void Post(std::function<void()> action);

    // Runs the action on the loop's thread and waits for it; false when the loop has ended.
    bool Run(const std::function<void()> &action);

    // `events` are those of epoll; 0 stops watching. Takes no memory for a descriptor whose birth
    // was told.
    void Watch(int fd, uint32_t events, Watcher *watcher) REQUIRES(ON_LOOP);

    // Whether the round may go on with work that can wait.
    bool HasTime() const REQUIRES(ON_LOOP) { return Clock::now() < roundEnd_; }

    // Tells of a descriptor's birth and death. Between the two its registration is kept when it is
    // no longer watched, because it will be again: libcurl asks for two changes a request.
    void Opened(int fd) REQUIRES(ON_LOOP);
    void Closed(int fd) REQUIRES(ON_LOOP);

private:
    struct Registration {
        Watcher *watcher = nullptr;
        uint32_t wanted = 0;
        uint32_t registered = 0;
        bool lazy = false;
    };

    void RunPosted() REQUIRES(ON_LOOP);
    void RunTimers() REQUIRES(ON_LOOP);
    void Dispatch(int fd, uint32_t events) REQUIRES(ON_LOOP);
    void Register(int fd, Registration &registration, uint32_t events) REQUIRES(ON_LOOP);
    Registration &At(int fd) REQUIRES(ON_LOOP);
    int MillisecondsToWait() REQUIRES(ON_LOOP);

    const int epoll_;
    const int wakeup_;
    std::atomic<bool> asleep_ = false;
    Mutex mutex_;
    CondVar changed_;
    TaskQueue<LoopTask> posted_ GUARDED_BY(mutex_);
    bool ended_ GUARDED_BY(mutex_) = false;
    TaskQueue<LoopTask> running_ GUARDED_BY(ON_LOOP);
    std::vector<Registration> registrations_ GUARDED_BY(ON_LOOP);
    Timers timers_ GUARDED_BY(ON_LOOP);
    TimePoint roundEnd_ GUARDED_BY(ON_LOOP);
};

} // namespace OHOS::Pelloria::Tnx

#endif
