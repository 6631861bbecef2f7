// Who runs the loop, who runs callbacks, who looks out.
#include "workers.h"

#include <chrono>
#include <system_error>

#include "base/quiet_thread.h"
#include "base/try.h"

namespace OHOS::Pelloria::Tnx
{
namespace
{

// More callbacks than this blocking at once hold up the rest until one returns.
constexpr size_t MAX_THREADS = 1024;
constexpr auto LOOKOUT_INTERVAL = std::chrono::milliseconds(2);
constexpr size_t QUIET_LOOKS = 4; // after so many without a callback the lookout goes to sleep
constexpr auto IDLE_LIFE = std::chrono::seconds(5);

} // namespace

void Workers::Start()
{
    MutexLock lock(mutex_);
    if (!StartThread()) {
        throw std::system_error(std::make_error_code(std::errc::resource_unavailable_try_again));
    }
}

bool Workers::StartThread()
{
    // No thread, or no memory for one: those that there are will get there, later.
    const bool started =
        Try([this] { StartQuietThread("tnx-worker", [this] { Work(); }).detach(); });
    threads_ += started ? 1 : 0;
    return started;
}

void Workers::Stop()
{
    MutexLock lock(mutex_);
    stopped_ = true;
    tasks_.Clear();
    loop_.Post([] {});
    work_.NotifyAll();
    while (looping_) {
        roundOver_.Wait(mutex_);
    }
    loop_.End();
}

void Workers::Work()
{
    mutex_.lock();
    bool needed = !waking_ || LookOut();
    while (needed && !stopped_) {
        if (!tasks_.Empty()) {
            RunTask();
        } else if (!looping_) {
            RunRound();
        } else {
            needed = LookOut();
        }
    }
    // At the exit of the process the TLS library cleans up: a thread that ended now would do so
    // too.
    while (stopped_) {
        work_.Wait(mutex_);
    }
    --threads_;
    mutex_.unlock();
}

void Workers::RunRound()
{
    looping_ = true;
    ++begun_;
    mutex_.unlock();
    loop_.RunRound();
    mutex_.lock();
    looping_ = false;
    if (stopped_) {
        roundOver_.NotifyAll();
        return;
    }
    for (; !batch_.Empty(); ++queued_) {
        tasks_.Push(batch_.Pop());
    }
}

void Workers::RunTask()
{
    std::shared_ptr<WorkerTask> task = tasks_.Pop();
    ++taken_;
    ++begun_;
    EnsureLookout();
    mutex_.unlock();
    task->RunOnWorker();
    task.reset();
    mutex_.lock();
}

// Somebody has to notice when the callback that is about to run blocks.
void Workers::EnsureLookout()
{
    quietLooks_ = 0;
    if (lookout_ || waking_) {
        return;
    }
    if (idle_ > 0) {
        waking_ = true;
        work_.NotifyOne();
    } else if (threads_ < MAX_THREADS) {
        waking_ = StartThread();
    }
}

// Waits until there is something to do. False when the thread is not needed any more.
bool Workers::LookOut()
{
    ++idle_;
    waking_ = false;
    bool woken = true;
    bool stalled = false;
    while (woken && !stalled && !stopped_) {
        if (!lookout_ && quietLooks_ < QUIET_LOOKS) {
            stalled = Look();
        } else {
            woken =
                work_.WaitUntil(mutex_, std::chrono::steady_clock::now() + IDLE_LIFE) || waking_;
            waking_ = false;
        }
    }
    --idle_;
    return woken || idle_ == 0;
}

// True when what waits has waited for a whole interval. Stepping in earlier would only spread short
// callbacks over many threads, whose memory each grows to what all of them need.
bool Workers::Look()
{
    const uint64_t begun = begun_;
    const uint64_t queued = queued_;
    lookout_ = true;
    ++quietLooks_;
    work_.WaitUntil(mutex_, std::chrono::steady_clock::now() + LOOKOUT_INTERVAL);
    lookout_ = false;
    const bool waiting = !tasks_.Empty() || !looping_;
    return waiting && (begun_ == begun || taken_ < queued);
}

} // namespace OHOS::Pelloria::Tnx
