// Counts what of a session runs on threads other than the loop's: callbacks of the application and
// synchronous fetches. A close waits for them, except for those that it is called from.
#ifndef TNX_ENGINE_ACTIVITY_H
#define TNX_ENGINE_ACTIVITY_H

#include <atomic>
#include <cstddef>

#include "base/try.h"
#include "common/mutex.h"
#include "tnx_native/session.h"

namespace OHOS::Pelloria::Tnx
{

class Activity
{
public:
    // One running callback or fetch; on the stack of its thread.
    class Scope
    {
    public:
        explicit Scope(Activity &activity);
        ~Scope();
        Scope(const Scope &) = delete;
        Scope &operator=(const Scope &) = delete;

        // False when the session is closed: nothing may run.
        explicit operator bool() const { return entered_; }

        // Whether a callback or fetch of the activity is on the call stack.
        static bool OnStack(const Activity &activity);

    private:
        friend class Activity;
        Activity &activity_;
        const bool entered_;
        bool closing_ = false;
        Scope *outer_;
    };

    bool Closed() const { return (state_.load(std::memory_order_acquire) & CLOSED) != 0; }

    // Lets nothing more in. False when it was closed before.
    bool Close();

    // Waits until only scopes are left whose threads are inside a close themselves: waiting for
    // those could last for ever.
    void WaitForOthers();

private:
    bool Enter();
    void Leave(const Scope &scope);
    void SetClosing(Scope &scope, bool closing);

    static constexpr size_t CLOSED = 1;
    static constexpr size_t ONE = 2; // scope that runs

    // Goes down under the lock once it is closed: somebody may wait for that.
    std::atomic<size_t> state_ = 0;
    Mutex mutex_;
    CondVar changed_;
    size_t closing_ GUARDED_BY(mutex_) = 0;
};

// Hands a task to the application's runner, if there is one. False: the caller runs it. A close
// waits for this, and not for the task, which finds that out by itself.
template <class Task>
bool HandOver(Activity &activity, const TaskRunner &runner, const Task &task) noexcept
{
    bool taken = false;
    if (const Activity::Scope handing(activity); handing && runner) {
        Try([&] { taken = runner(task); });
    }
    return taken;
}

} // namespace OHOS::Pelloria::Tnx

#endif
