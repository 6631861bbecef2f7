// The I/O loop over epoll.
#include "loop.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <system_error>

#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include "base/try.h"

namespace OHOS::Pelloria::Tnx
{
namespace
{

// Of a round, as far as it has a choice. A request that waits for the loop does so several times.
constexpr auto ROUND_TIME = std::chrono::milliseconds(2);

class ActionTask : public LoopTask
{
public:
    explicit ActionTask(std::function<void()> action)
        : action_(std::move(action))
    {
    }
    void RunOnLoop() override { action_(); }

private:
    const std::function<void()> action_;
};

int Checked(int fd)
{
    if (fd < 0) {
        throw std::system_error(errno, std::generic_category());
    }
    return fd;
}

} // namespace

Loop::Timer::Timer(Loop &loop, std::function<void()> action)
    : loop_(loop)
    , action_(std::move(action))
{
    Timers made;
    made.emplace(at_, this);
    node_ = made.extract(made.begin());
}

void Loop::Timer::Start(TimePoint at) noexcept
{
    Stop();
    at_ = at;
    running_ = true;
    node_.value() = {at, this};
    loop_.timers_.insert(std::move(node_));
}

void Loop::Timer::Stop() noexcept
{
    if (running_) {
        node_ = loop_.timers_.extract({at_, this});
        running_ = false;
    }
}

Loop::Loop()
    : epoll_(Checked(epoll_create1(EPOLL_CLOEXEC)))
    , wakeup_(Checked(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)))
{
    epoll_event event{.events = EPOLLIN, .data = {.fd = wakeup_}};
    Checked(epoll_ctl(epoll_, EPOLL_CTL_ADD, wakeup_, &event));
}

Loop::~Loop()
{
    close(wakeup_);
    close(epoll_);
}

void Loop::Post(std::shared_ptr<LoopTask> task) noexcept
{
    {
        MutexLock lock(mutex_);
        posted_.Push(std::move(task));
    }
    if (asleep_.exchange(false)) {
        const uint64_t one = 1;
        [[maybe_unused]] const ssize_t written = write(wakeup_, &one, sizeof one);
    }
}

void Loop::Post(std::function<void()> action)
{
    Post(std::make_shared<ActionTask>(std::move(action)));
}

bool Loop::Run(const std::function<void()> &action)
{
    // Shared, because the loop may stop, and this return, with the task still in the queue.
    const auto done = std::make_shared<bool>(false);
    Post([this, done, action] {
        action();
        MutexLock lock(mutex_);
        *done = true;
        changed_.NotifyAll();
    });
    MutexLock lock(mutex_);
    while (!*done && !ended_) {
        changed_.Wait(mutex_);
    }
    return *done;
}

Loop::Registration &Loop::At(int fd)
{
    const auto index = static_cast<size_t>(fd);
    if (index >= registrations_.size()) {
        registrations_.resize(index + 1);
    }
    return registrations_[index];
}

void Loop::Opened(int fd)
{
    At(fd) = Registration{.lazy = true};
}

void Loop::Closed(int fd)
{
    At(fd) = Registration{};
}

void Loop::Watch(int fd, uint32_t events, Watcher *watcher)
{
    Registration &registration = At(fd);
    registration.watcher = watcher;
    registration.wanted = events;
    const bool covered = (events & ~registration.registered) == 0;
    if (!(registration.lazy ? covered : events == registration.registered)) {
        Register(fd, registration, events);
    }
}

void Loop::Register(int fd, Registration &registration, uint32_t events)
{
    epoll_event event{.events = events, .data = {.fd = fd}};
    if (events == 0) {
        epoll_ctl(epoll_, EPOLL_CTL_DEL, fd, nullptr);
    } else if (registration.registered == 0 || epoll_ctl(epoll_, EPOLL_CTL_MOD, fd, &event) != 0) {
        epoll_ctl(epoll_, EPOLL_CTL_ADD, fd, &event);
    }
    registration.registered = events;
}

void Loop::Dispatch(int fd, uint32_t events)
{
    Registration &registration = At(fd);
    if (registration.registered == 0) {
        return; // closed by an event before this one of the same round, and perhaps another's now
    }
    const uint32_t mask = registration.wanted | EPOLLERR | EPOLLHUP;
    if (registration.wanted == 0 || (events & mask) == 0) {
        Register(fd, registration, registration.wanted);
        return;
    }
    Try([&registration, fd, events]()
            REQUIRES(ON_LOOP) { registration.watcher->OnReady(fd, events); });
}

int Loop::MillisecondsToWait()
{
    // Order matters: a task posted after the look below finds asleep_ set and wakes the loop.
    asleep_ = true;
    {
        MutexLock lock(mutex_);
        if (!posted_.Empty()) {
            asleep_ = false;
            return 0;
        }
    }
    if (timers_.empty()) {
        return -1;
    }
    const auto wait = timers_.begin()->first - Clock::now();
    const auto rounded = std::chrono::ceil<std::chrono::milliseconds>(wait).count();
    return static_cast<int>(std::clamp<int64_t>(rounded, 0, INT_MAX));
}

void Loop::RunPosted()
{
    {
        MutexLock lock(mutex_);
        running_.Swap(posted_);
    }
    while (!running_.Empty()) {
        Try([task = running_.Pop()]() REQUIRES(ON_LOOP) { task->RunOnLoop(); });
    }
}

void Loop::RunTimers()
{
    if (timers_.empty()) {
        return;
    }
    const TimePoint now = Clock::now();
    while (!timers_.empty() && timers_.begin()->first <= now) {
        Timer *timer = timers_.begin()->second;
        timer->Stop();
        Try(timer->action_);
    }
}

void Loop::RunRound()
{
    ON_LOOP.Enter();
    std::array<epoll_event, 64> events;
    const int count =
        epoll_wait(epoll_, events.data(), static_cast<int>(events.size()), MillisecondsToWait());
    asleep_ = false;
    roundEnd_ = Clock::now() + ROUND_TIME;
    for (int i = 0; i < count; ++i) {
        const int fd = events[static_cast<size_t>(i)].data.fd;
        if (fd == wakeup_) {
            uint64_t posts = 0;
            [[maybe_unused]] const ssize_t got = read(wakeup_, &posts, sizeof posts);
        } else {
            Dispatch(fd, events[static_cast<size_t>(i)].events);
        }
    }
    RunPosted();
    RunTimers();
    ON_LOOP.Leave();
}

void Loop::End()
{
    MutexLock lock(mutex_);
    ended_ = true;
    changed_.NotifyAll();
}

} // namespace OHOS::Pelloria::Tnx
