// Mutexes whose rules clang checks: which lock guards what.
#ifndef TNX_COMMON_MUTEX_H
#define TNX_COMMON_MUTEX_H

#include <chrono>
#include <condition_variable>
#include <mutex>

#if defined(__clang__)
#define TNX_ANNOTATE(x) __attribute__((x))
#else
#define TNX_ANNOTATE(x)
#endif

#define CAPABILITY(name) TNX_ANNOTATE(capability(name))
#define SCOPED_CAPABILITY TNX_ANNOTATE(scoped_lockable)
#define GUARDED_BY(mutex) TNX_ANNOTATE(guarded_by(mutex))
#define REQUIRES(...) TNX_ANNOTATE(requires_capability(__VA_ARGS__))
#define NO_THREAD_SAFETY_ANALYSIS TNX_ANNOTATE(no_thread_safety_analysis)
#define ACQUIRE(...) TNX_ANNOTATE(acquire_capability(__VA_ARGS__))
#define ASSERT_CAPABILITY(x) TNX_ANNOTATE(assert_capability(x))
#define RELEASE(...) TNX_ANNOTATE(release_capability(__VA_ARGS__))

namespace OHOS::Pelloria
{

class CAPABILITY("mutex") Mutex
{
public:
    void lock() ACQUIRE() { mutex_.lock(); }
    void unlock() RELEASE() { mutex_.unlock(); }

private:
    friend class CondVar;
    std::mutex mutex_;
};

class SCOPED_CAPABILITY MutexLock
{
public:
    explicit MutexLock(Mutex &mutex) ACQUIRE(mutex)
        : mutex_(mutex)
    {
        mutex_.lock();
    }
    ~MutexLock() RELEASE() { mutex_.unlock(); }
    MutexLock(const MutexLock &) = delete;
    MutexLock &operator=(const MutexLock &) = delete;

private:
    Mutex &mutex_;
};

// Waits are for a condition that the caller checks in a loop.
class CondVar
{
public:
    void Wait(Mutex &mutex) REQUIRES(mutex)
    {
        std::unique_lock<std::mutex> lock(mutex.mutex_, std::adopt_lock);
        condition_.wait(lock);
        lock.release();
    }

    // False when the time has come.
    bool WaitUntil(Mutex &mutex, std::chrono::steady_clock::time_point until) REQUIRES(mutex)
    {
        std::unique_lock<std::mutex> lock(mutex.mutex_, std::adopt_lock);
        const bool woken = condition_.wait_until(lock, until) == std::cv_status::no_timeout;
        lock.release();
        return woken;
    }

    void NotifyOne() { condition_.notify_one(); }
    void NotifyAll() { condition_.notify_all(); }

private:
    std::condition_variable condition_;
};

} // namespace OHOS::Pelloria

#endif
