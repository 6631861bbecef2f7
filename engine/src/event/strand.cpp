// Runs the callbacks of one transfer.
#include "strand.h"

#include <utility>

namespace OHOS::Pelloria::Tnx
{

bool Strand::Push(Callback callback)
{
    MutexLock lock(mutex_);
    callbacks_.push_back(std::move(callback));
    return !std::exchange(scheduled_, true);
}

bool Strand::PushLast(Callback callback) noexcept
{
    MutexLock lock(mutex_);
    last_ = std::move(callback);
    return !std::exchange(scheduled_, true);
}

void Strand::Clear()
{
    // Declared first, so released after the lock: a callback may own the last reference.
    std::list<Callback> dropped;
    MutexLock lock(mutex_);
    dropped.swap(callbacks_);
}

void Strand::RunOnWorker()
{
    while (const Callback callback = Next()) {
        Run(callback);
    }
}

// Empty when there is none: the strand then has to be scheduled again.
Callback Strand::Next()
{
    MutexLock lock(mutex_);
    if (callbacks_.empty()) {
        scheduled_ = static_cast<bool>(last_);
        return std::exchange(last_, nullptr);
    }
    Callback callback = std::move(callbacks_.front());
    callbacks_.pop_front();
    return callback;
}

// The application's own exceptions do not come this far.
void Strand::Run(const Callback &callback) noexcept
{
    const Activity::Scope running(activity_);
    if (running) {
        transfer_.Guarded(callback);
    }
}

} // namespace OHOS::Pelloria::Tnx
