// Work of the library's own that takes long: away from the loop, which others wait for, and by one
// thread at a time, so that it takes no more than one processor from them. First come, first
// served.
#ifndef TNX_ENGINE_ASIDE_H
#define TNX_ENGINE_ASIDE_H

#include <memory>

#include "common/mutex.h"
#include "workers.h"

namespace OHOS::Pelloria::Tnx
{

// Some milliseconds of such work.
class AsideTask : public TaskQueue<AsideTask>::Link
{
public:
    virtual ~AsideTask() = default;
    virtual void RunAside() noexcept = 0;
};

class Aside : public WorkerTask
{
public:
    // Adds a task. True when this has to be handed to the workers.
    bool Push(std::shared_ptr<AsideTask> task) noexcept;

    void RunOnWorker() override;

private:
    std::shared_ptr<AsideTask> Next();

    Mutex mutex_;
    TaskQueue<AsideTask> tasks_ GUARDED_BY(mutex_);
    bool scheduled_ GUARDED_BY(mutex_) = false;
};

} // namespace OHOS::Pelloria::Tnx

#endif
