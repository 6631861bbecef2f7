// The threads that run the application's callbacks of asynchronous fetches.
#ifndef TNX_ENGINE_CALLBACK_POOL_H
#define TNX_ENGINE_CALLBACK_POOL_H

#include <cstddef>
#include <deque>
#include <functional>
#include <memory>
#include <vector>

#include "common/mutex.h"

namespace OHOS::Pelloria::Tnx
{

class PoolTask
{
public:
    virtual ~PoolTask() = default;
    virtual void RunOnPool() = 0;
};

// One thread does the work as long as it keeps up, which costs the fewest switches. When a callback
// blocks, Rescue brings in another: so a callback that blocks delays nobody for long.
class CallbackPool
{
public:
    using Batch = std::vector<std::shared_ptr<PoolTask>>;

    CallbackPool() = default;
    CallbackPool(const CallbackPool &) = delete;
    CallbackPool &operator=(const CallbackPool &) = delete;

    // Takes over the tasks of a batch and leaves it empty.
    void Post(Batch &batch);

    // To be called every few milliseconds while tasks wait. False when none does.
    bool Rescue();

    // Takes no task any more; what runs is left to finish.
    void Stop();

private:
    void Start() REQUIRES(mutex_);
    void Work();

    Mutex mutex_;
    CondVar posted_;
    std::deque<std::shared_ptr<PoolTask>> tasks_ GUARDED_BY(mutex_);
    size_t threads_ GUARDED_BY(mutex_) = 0;
    size_t idle_ GUARDED_BY(mutex_) = 0;
    size_t taken_ GUARDED_BY(mutex_) = 0;
    size_t takenAtRescue_ GUARDED_BY(mutex_) = 0;
    bool stopped_ GUARDED_BY(mutex_) = false;
};

} // namespace OHOS::Pelloria::Tnx

#endif
