// Runs what is done aside.
#include "aside.h"

#include <utility>

namespace OHOS::Pelloria::Tnx
{

bool Aside::Push(std::shared_ptr<AsideTask> task) noexcept
{
    MutexLock lock(mutex_);
    tasks_.Push(std::move(task));
    return !std::exchange(scheduled_, true);
}

void Aside::RunOnWorker()
{
    while (const std::shared_ptr<AsideTask> task = Next()) {
        task->RunAside();
    }
}

std::shared_ptr<AsideTask> Aside::Next()
{
    MutexLock lock(mutex_);
    if (tasks_.Empty()) {
        scheduled_ = false;
        return nullptr;
    }
    return tasks_.Pop();
}

} // namespace OHOS::Pelloria::Tnx
