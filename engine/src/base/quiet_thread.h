// Threads that leave the application's signals alone.
#ifndef TNX_ENGINE_QUIET_THREAD_H
#define TNX_ENGINE_QUIET_THREAD_H

#include <csignal>
#include <thread>
#include <utility>

#include <pthread.h>

namespace OHOS::Pelloria::Tnx
{

// Starts a thread with every signal blocked.
template <class Function> std::thread StartQuietThread(const char *name, Function function)
{
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);
    std::thread thread;
    try {
        thread = std::thread(std::move(function));
    } catch (...) {
        pthread_sigmask(SIG_SETMASK, &before, nullptr);
        throw;
    }
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    pthread_setname_np(thread.native_handle(), name);
    return thread;
}

} // namespace OHOS::Pelloria::Tnx

#endif
