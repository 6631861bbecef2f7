// Ends connections that flood libcurl. It reads frames and records that bring nothing for as long
// as more of them have arrived, in one call, and meanwhile sees no time-out, no cancel and no other
// connection: a server that sends fast enough would hold its thread for ever.
#ifndef TNX_ENGINE_FLOOD_WATCH_H
#define TNX_ENGINE_FLOOD_WATCH_H

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <ctime>
#include <vector>

#include "common/mutex.h"

namespace OHOS::Pelloria::Tnx
{

// A thread that looks every few milliseconds while libcurl is being called, and else sleeps.
class FloodWatch
{
public:
    class Watched;
    class Call;

    FloodWatch() = default;
    ~FloodWatch() = default; // lives as long as the process once it has its thread
    FloodWatch(const FloodWatch &) = delete;
    FloodWatch &operator=(const FloodWatch &) = delete;

private:
    void Add(Watched &watched);
    void Remove(Watched &watched) noexcept;
    void WakeUp() noexcept;
    void Work();
    bool Look() REQUIRES(mutex_);

    std::atomic<bool> asleep_ = true;
    Mutex mutex_;
    CondVar awake_;
    bool started_ GUARDED_BY(mutex_) = false;
    std::vector<Watched *> watched_ GUARDED_BY(mutex_);
};

// The calls of one multi handle, one at a time, and its connections. All but the constructor and
// the destructor is for the thread that calls.
class FloodWatch::Watched
{
public:
    explicit Watched(FloodWatch &watch);
    ~Watched();
    Watched(const Watched &) = delete;
    Watched &operator=(const Watched &) = delete;

    void Opened(int fd);
    void Closed(int fd) noexcept;

    // A piece of so many bytes has come of what was read, and of its chunk, frame and record.
    void Brought(size_t bytes) noexcept
    {
        brought_.store(brought_.load(std::memory_order_relaxed) + bytes + FRAMING,
                       std::memory_order_relaxed);
    }

    // Connections that were ended, ever.
    uint64_t Floods() const noexcept { return floods_.load(std::memory_order_relaxed); }

private:
    friend class FloodWatch;
    static constexpr size_t FRAMING = 256;

    struct Connection {
        int fd;
        uint64_t consumed; // at the last look
    };

    // From the watch's thread. True when there were calls since the last look.
    bool Look() noexcept;
    void Begin(uint64_t call) noexcept REQUIRES(mutex_);
    void EndFloods() noexcept REQUIRES(mutex_);

    FloodWatch &watch_;
    std::atomic<uint64_t> calls_ = 0;  // odd: inside one
    std::atomic<clockid_t> clock_ = 0; // of the thread that calls
    std::atomic<uint64_t> brought_ = 0;
    std::atomic<uint64_t> floods_ = 0;

    Mutex mutex_; // a descriptor in the list is open
    std::vector<Connection> connections_ GUARDED_BY(mutex_);
    uint64_t seen_ GUARDED_BY(mutex_) = 0; // call
    uint64_t broughtThen_ GUARDED_BY(mutex_) = 0;
    std::chrono::nanoseconds busyThen_ GUARDED_BY(mutex_){0};
};

// Stands around a call into libcurl that may read.
class FloodWatch::Call
{
public:
    explicit Call(Watched &watched) noexcept;
    ~Call()
    {
        watched_.calls_.store(watched_.calls_.load(std::memory_order_relaxed) + 1,
                              std::memory_order_release);
    }
    Call(const Call &) = delete;
    Call &operator=(const Call &) = delete;

private:
    Watched &watched_;
};

} // namespace OHOS::Pelloria::Tnx

#endif
