// What happens when the user wants a run to end.
#include "interrupt.h"

#include <pthread.h>
#include <unistd.h>

namespace TnxTool
{

namespace
{

constexpr int STOP = SIGUSR1; // ends the watching thread
constexpr int EXIT_BY_SIGNAL = 128;

} // namespace

Interrupt::Interrupt(std::function<void()> onSignal)
    : onSignal_(std::move(onSignal))
{
    sigemptyset(&signals_);
    sigaddset(&signals_, STOP);
    for (const int signal : {SIGINT, SIGTERM}) {
        struct sigaction action {
        };
        sigaction(signal, nullptr, &action);
        if (action.sa_handler != SIG_IGN) { // as for a program in the background
            sigaddset(&signals_, signal);
        }
    }
    pthread_sigmask(SIG_BLOCK, &signals_, &before_);
    watcher_ = std::thread([this] { Watch(); });
}

Interrupt::~Interrupt()
{
    pthread_kill(watcher_.native_handle(), STOP);
    watcher_.join();
    pthread_sigmask(SIG_SETMASK, &before_, nullptr);
}

int Interrupt::Status() const
{
    const std::lock_guard lock(mutex_);
    return status_;
}

bool Interrupt::Sleep(std::chrono::steady_clock::duration time) const
{
    std::unique_lock lock(mutex_);
    return !came_.wait_for(lock, time, [this] { return status_ != 0; });
}

void Interrupt::Watch()
{
    for (int signal = 0; sigwait(&signals_, &signal) == 0 && signal != STOP;) {
        {
            const std::lock_guard lock(mutex_);
            if (status_ != 0) {
                _exit(status_);
            }
            status_ = EXIT_BY_SIGNAL + signal;
        }
        came_.notify_all();
        onSignal_();
    }
}

} // namespace TnxTool
