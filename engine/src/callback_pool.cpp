// A pool of callback threads that grows only when callbacks block.
#include "callback_pool.h"

#include <algorithm>
#include <chrono>
#include <system_error>

#include "quiet_thread.h"

namespace OHOS::Pelloria::Tnx
{
namespace
{

// More callbacks than this blocking at once wait for one of them to return.
constexpr size_t MAX_THREADS = 1024;
constexpr size_t MAX_STARTS_A_RESCUE = 8;
constexpr auto IDLE_LIFE = std::chrono::seconds(5);

} // namespace

void CallbackPool::Post(Batch &batch)
{
    MutexLock lock(mutex_);
    for (std::shared_ptr<PoolTask> &task : batch) {
        tasks_.push_back(std::move(task));
    }
    batch.clear();
    if (threads_ == 0) {
        Start();
    } else if (threads_ == idle_) {
        posted_.NotifyOne();
    }
}

bool CallbackPool::Rescue()
{
    MutexLock lock(mutex_);
    if (tasks_.empty() || stopped_) {
        return false;
    }
    if (taken_ == takenAtRescue_) {
        for (size_t i = std::min(tasks_.size(), MAX_STARTS_A_RESCUE); i > 0; --i) {
            if (i <= idle_) {
                posted_.NotifyOne();
            } else if (threads_ < MAX_THREADS) {
                Start();
            }
        }
    }
    takenAtRescue_ = taken_;
    return true;
}

void CallbackPool::Stop()
{
    MutexLock lock(mutex_);
    stopped_ = true;
    tasks_.clear();
    posted_.NotifyAll();
}

void CallbackPool::Start()
{
    try {
        StartQuietThread("tnx-callback", [this] { Work(); }).detach();
        ++threads_;
    } catch (const std::system_error &) {
        // No thread to be had now: the running ones, or the next rescue, will get there.
    }
}

void CallbackPool::Work()
{
    mutex_.lock();
    while (!stopped_) {
        if (tasks_.empty()) {
            ++idle_;
            const bool woken =
                posted_.WaitUntil(mutex_, std::chrono::steady_clock::now() + IDLE_LIFE);
            --idle_;
            if (!woken && tasks_.empty() && threads_ > 1) {
                break;
            }
            continue;
        }
        std::shared_ptr<PoolTask> task = std::move(tasks_.front());
        tasks_.pop_front();
        ++taken_;
        mutex_.unlock();
        task->RunOnPool();
        task.reset();
        mutex_.lock();
    }
    --threads_;
    mutex_.unlock();
}

} // namespace OHOS::Pelloria::Tnx
