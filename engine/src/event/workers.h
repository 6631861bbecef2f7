// The engine's threads. Each of them can run the loop and the application's callbacks, though never
// both at once.
#ifndef TNX_ENGINE_WORKERS_H
#define TNX_ENGINE_WORKERS_H

#include <cstddef>
#include <cstdint>
#include <memory>

#include "common/mutex.h"
#include "loop.h"

namespace OHOS::Pelloria::Tnx
{

class WorkerTask : public TaskQueue<WorkerTask>::Link
{
public:
    virtual ~WorkerTask() = default;
    virtual void RunOnWorker() = 0;
};

// Handing a callback to another thread costs more than most requests do. So the thread that ran a
// round of the loop lets go of the loop, runs the callbacks of that round itself, and takes the
// loop up again. Meanwhile another thread, the lookout, steps in when something has waited from one
// of its looks to the next: a callback that blocks can hold up the rest for two intervals, once.
class Workers
{
public:
    explicit Workers(Loop &loop)
        : loop_(loop)
    {
    }
    Workers(const Workers &) = delete;
    Workers &operator=(const Workers &) = delete;

    void Start();

    // Runs a task when the round is over.
    void RunLater(std::shared_ptr<WorkerTask> task) noexcept REQUIRES(ON_LOOP)
    {
        batch_.Push(std::move(task));
    }

    // Waits for the round that runs, lets no other begin, and takes no task any more.
    void Stop();

private:
    bool StartThread() REQUIRES(mutex_);
    void Work();
    void RunRound() REQUIRES(mutex_);
    void RunTask() REQUIRES(mutex_);
    void EnsureLookout() REQUIRES(mutex_);
    bool LookOut() REQUIRES(mutex_);
    bool Look() REQUIRES(mutex_);

    Loop &loop_;
    TaskQueue<WorkerTask> batch_; // of the round that runs

    Mutex mutex_;
    CondVar work_;
    CondVar roundOver_; // for Stop
    TaskQueue<WorkerTask> tasks_ GUARDED_BY(mutex_);
    uint64_t queued_ GUARDED_BY(mutex_) = 0; // tasks, ever
    uint64_t taken_ GUARDED_BY(mutex_) = 0;  // of those
    uint64_t begun_ GUARDED_BY(mutex_) = 0;  // tasks and rounds, ever
    size_t threads_ GUARDED_BY(mutex_) = 0;
    size_t idle_ GUARDED_BY(mutex_) = 0;      // with nothing to do
    bool lookout_ GUARDED_BY(mutex_) = false; // one of the idle ones looks every interval
    bool waking_ GUARDED_BY(mutex_) = false;  // a thread is on its way to do so
    size_t quietLooks_ GUARDED_BY(mutex_) = 0;
    bool looping_ GUARDED_BY(mutex_) = false;
    bool stopped_ GUARDED_BY(mutex_) = false;
};

} // namespace OHOS::Pelloria::Tnx

#endif
