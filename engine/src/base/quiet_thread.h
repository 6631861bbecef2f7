// Threads that leave the application's signals alone.
#ifndef TNX_ENGINE_QUIET_THREAD_H
#define TNX_ENGINE_QUIET_THREAD_H

#include <csignal>
#include <thread>
#include <utility>

#include <pthread.h>

namespace OHOS::Pelloria::Tnx
{

// Every signal is blocked on this thread, and so on those that it starts.
class SignalsBlocked
{
public:
    SignalsBlocked()
    {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, &before_);
    }
    ~SignalsBlocked() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
    SignalsBlocked(const SignalsBlocked &) = delete;
    SignalsBlocked &operator=(const SignalsBlocked &) = delete;

private:
    sigset_t before_;
};

// Starts a thread with every signal blocked.
template <class Function> std::thread StartQuietThread(const char *name, Function function)
{
    const SignalsBlocked blocked;
    std::thread thread(std::move(function));
    pthread_setname_np(thread.native_handle(), name);
    return thread;
}

} // namespace OHOS::Pelloria::Tnx

#endif
