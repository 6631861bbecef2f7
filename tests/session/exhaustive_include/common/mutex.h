// Stands in for the library's mutexes where its session sources are built for the exhaustive check:
// taking a lock is a point at which the scheduler may go on with another thread.
#ifndef TNX_COMMON_MUTEX_H
#define TNX_COMMON_MUTEX_H

#include "tests/session/exhaustive_scheduler.h"

#define CAPABILITY(name)
#define GUARDED_BY(mutex)
#define REQUIRES(...)

namespace OHOS::Pelloria
{

class Mutex
{
public:
    Mutex()
        : state_(Exhaustive::NewLock())
    {
    }
    void lock() { Exhaustive::Acquire(state_); }
    void unlock() { Exhaustive::Release(state_); }

private:
    Exhaustive::LockState state_;
};

class MutexLock
{
public:
    explicit MutexLock(Mutex &mutex)
        : mutex_(mutex)
    {
        mutex_.lock();
    }
    ~MutexLock() { mutex_.unlock(); }
    MutexLock(const MutexLock &) = delete;
    MutexLock &operator=(const MutexLock &) = delete;

private:
    Mutex &mutex_;
};

} // namespace OHOS::Pelloria

#endif
