// The callbacks of one asynchronous transfer: in order, one at a time, on the workers.
#ifndef TNX_ENGINE_STRAND_H
#define TNX_ENGINE_STRAND_H

#include <functional>
#include <list>
#include <memory>

#include "activity.h"
#include "common/mutex.h"
#include "delivery.h"
#include "workers.h"

namespace OHOS::Pelloria::Tnx
{

using Callback = std::function<void()>;

class Strand : public WorkerTask
{
public:
    Strand(Activity &activity, Delivery &transfer)
        : activity_(activity)
        , transfer_(transfer)
    {
    }

    // Adds a callback. True when the strand has to be handed to the workers.
    bool Push(Callback callback);

    // The same for the one that ends the transfer, which takes no memory.
    bool PushLast(Callback callback) noexcept;

    // Forgets every callback that has not started.
    void Clear();

    void RunOnWorker() override;

private:
    Callback Next();
    void Run(const Callback &callback) noexcept;

    Activity &activity_;
    Delivery &transfer_;
    Mutex mutex_;
    std::list<Callback> callbacks_ GUARDED_BY(mutex_);
    Callback last_ GUARDED_BY(mutex_); // behind all of them
    bool scheduled_ GUARDED_BY(mutex_) = false;
};

} // namespace OHOS::Pelloria::Tnx

#endif
