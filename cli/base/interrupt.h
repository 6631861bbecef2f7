// What happens when the user wants a run to end (Ctrl-C, or the signal TERM): it ends early, but
// shows what there was. A second signal ends it at once.
#ifndef TNX_CLI_INTERRUPT_H
#define TNX_CLI_INTERRUPT_H

#include <chrono>
#include <condition_variable>
#include <csignal>
#include <functional>
#include <mutex>
#include <thread>

namespace TnxTool
{

class Interrupt
{
public:
    // Waits for signals on a thread of its own; threads that start later do not get them.
    // `onSignal` is called at the first one.
    explicit Interrupt(std::function<void()> onSignal);
    ~Interrupt();
    Interrupt(const Interrupt &) = delete;
    Interrupt &operator=(const Interrupt &) = delete;

    // The exit status for the signal that came; 0 where none did.
    int Status() const;

    // Sleeps that long, or until a signal comes. False when one has.
    bool Sleep(std::chrono::steady_clock::duration time) const;

private:
    void Watch();

    const std::function<void()> onSignal_;
    mutable std::mutex mutex_;
    mutable std::condition_variable came_;
    int status_ = 0;
    sigset_t signals_{};
    sigset_t before_{};
    std::thread watcher_;
};

} // namespace TnxTool

#endif
