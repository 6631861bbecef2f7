// The loop of the scripted server: one thread over epoll, with timers.
#include "scripted_server.h"

#include <array>
#include <condition_variable>
#include <map>
#include <mutex>
#include <stdexcept>
#include <thread>
#include <unordered_map>

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include "connection.h"
#include "ports.h"

namespace OHOS::Pelloria::TnxTest
{

using Clock = std::chrono::steady_clock;

class ScriptedServer::Loop final : public Ledger
{
public:
    Loop(const std::string &address, uint16_t port);
    ~Loop() override;

    size_t Open(const ReceivedRequest &request) override;
    void Update(size_t place, const ReceivedRequest &request) override;
    uint32_t Visits(const std::string &target) override { return ++visits_[target]; }
    std::shared_ptr<const Script> Played() override
    {
        const std::lock_guard lock(mutex);
        return played;
    }

    template <class Condition> bool WaitFor(std::chrono::milliseconds atMost, Condition condition)
    {
        std::unique_lock lock(mutex);
        return changed.wait_for(lock, atMost, condition);
    }

    const std::string address;
    uint16_t port = 0;

    std::mutex mutex; // guards what follows
    std::condition_variable changed;
    std::vector<ReceivedRequest> requests;
    size_t forgotten = 0;
    size_t complete = 0;
    uint32_t accepted = 0;
    uint32_t open = 0;
    std::shared_ptr<const Script> played = std::make_shared<const Script>();

private:
    struct Entry {
        std::unique_ptr<Connection> connection;
        std::multimap<Clock::time_point, int>::iterator timer;
        uint32_t events = 0;
    };

    void Run();
    void Accept();
    void Serve(int fd, bool hungUp);
    void Drop(int fd);
    void Listen(int fd, uint32_t events, int operation) const;
    int NextTimer() const;

    int listener_;
    int epoll_;
    int stop_;
    std::unordered_map<int, Entry> connections_;
    std::multimap<Clock::time_point, int> timers_;
    std::unordered_map<std::string, uint32_t> visits_;
    std::thread thread_;
};

ScriptedServer::Loop::Loop(const std::string &where, uint16_t wanted)
    : address(where)
    , listener_(ListenOn(where, wanted, SOMAXCONN))
    , epoll_(epoll_create1(EPOLL_CLOEXEC))
    , stop_(eventfd(0, EFD_CLOEXEC))
{
    port = PortOf(listener_);
    // Thousands of connections need as many descriptors, on both sides.
    rlimit limit{};
    getrlimit(RLIMIT_NOFILE, &limit);
    limit.rlim_cur = limit.rlim_max;
    setrlimit(RLIMIT_NOFILE, &limit);
    Listen(listener_, EPOLLIN, EPOLL_CTL_ADD);
    Listen(stop_, EPOLLIN, EPOLL_CTL_ADD);
    thread_ = std::thread([this] { Run(); });
}

ScriptedServer::Loop::~Loop()
{
    eventfd_write(stop_, 1);
    thread_.join();
    connections_.clear();
    close(listener_);
    close(epoll_);
    close(stop_);
}

size_t ScriptedServer::Loop::Open(const ReceivedRequest &request)
{
    const std::lock_guard lock(mutex);
    requests.push_back(request);
    complete += request.complete ? 1 : 0;
    changed.notify_all();
    return forgotten + requests.size() - 1;
}

void ScriptedServer::Loop::Update(size_t place, const ReceivedRequest &request)
{
    const std::lock_guard lock(mutex);
    if (place < forgotten) {
        return;
    }
    // Only what grew is copied: a body arrives in many pieces.
    auto &kept = requests[place - forgotten];
    kept.rawBody.append(request.rawBody, kept.rawBody.size());
    kept.content.append(request.content, kept.content.size());
    kept.length = request.length;
    complete += request.complete && !kept.complete ? 1 : 0;
    kept.complete = request.complete;
    changed.notify_all();
}

void ScriptedServer::Loop::Listen(int fd, uint32_t events, int operation) const
{
    epoll_event event{};
    event.events = events;
    event.data.fd = fd;
    epoll_ctl(epoll_, operation, fd, &event);
}

int ScriptedServer::Loop::NextTimer() const
{
    if (timers_.empty()) {
        return -1;
    }
    const auto left =
        std::chrono::ceil<std::chrono::milliseconds>(timers_.begin()->first - Clock::now());
    return left.count() > 0 ? static_cast<int>(left.count()) : 0;
}

void ScriptedServer::Loop::Run()
{
    std::array<epoll_event, 256> events;
    for (;;) {
        const int count = epoll_wait(epoll_, events.data(), events.size(), NextTimer());
        for (int i = 0; i < count; ++i) {
            const auto &event = events[static_cast<size_t>(i)];
            if (event.data.fd == stop_) {
                return;
            }
            if (event.data.fd == listener_) {
                Accept();
            } else {
                Serve(event.data.fd, (event.events & (EPOLLRDHUP | EPOLLHUP | EPOLLERR)) != 0);
            }
        }
        const auto now = Clock::now();
        while (!timers_.empty() && timers_.begin()->first <= now) {
            Serve(timers_.begin()->second, false);
        }
    }
}

void ScriptedServer::Loop::Accept()
{
    for (int turn = 0; turn < 64; ++turn) {
        const int fd = accept4(listener_, nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC);
        if (fd < 0) {
            return;
        }
        const int on = 1; // else the peer's delayed acknowledgements slow down each answer
        setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
        uint32_t number = 0;
        {
            const std::lock_guard lock(mutex);
            number = ++accepted;
            ++open;
            changed.notify_all();
        }
        auto &entry = connections_[fd];
        entry.connection = std::make_unique<Connection>(fd, number, *this);
        entry.timer = timers_.end();
        Listen(fd, 0, EPOLL_CTL_ADD);
        Serve(fd, false);
    }
}

void ScriptedServer::Loop::Serve(int fd, bool hungUp)
{
    auto &entry = connections_.at(fd);
    if (entry.timer != timers_.end()) {
        timers_.erase(entry.timer);
        entry.timer = timers_.end();
    }
    uint32_t events = EPOLLRDHUP;
    switch (entry.connection->Run(hungUp)) {
    case Connection::Wait::OVER:
        Drop(fd);
        return;
    case Connection::Wait::READ:
        events |= EPOLLIN;
        break;
    case Connection::Wait::WRITE:
        events |= EPOLLOUT;
        break;
    case Connection::Wait::TIMER:
        entry.timer = timers_.emplace(entry.connection->WakeAt(), fd);
        break;
    }
    if (events != entry.events) {
        entry.events = events;
        Listen(fd, events, EPOLL_CTL_MOD);
    }
}

void ScriptedServer::Loop::Drop(int fd)
{
    // A child that was just forked may keep the socket open, and with it its events.
    Listen(fd, 0, EPOLL_CTL_DEL);
    connections_.erase(fd);
    const std::lock_guard lock(mutex);
    --open;
    changed.notify_all();
}

ScriptedServer::ScriptedServer(const std::string &address, uint16_t port)
    : loop_(std::make_unique<Loop>(address, port))
{
}

ScriptedServer::~ScriptedServer() = default;

uint16_t ScriptedServer::Port() const
{
    return loop_->port;
}

std::string ScriptedServer::Url(const std::string &target) const
{
    const bool v6 = loop_->address.find(':') != std::string::npos;
    const std::string host = v6 ? "[" + loop_->address + "]" : loop_->address;
    return "http://" + host + ":" + std::to_string(loop_->port) + target;
}

void ScriptedServer::Play(Script script)
{
    const std::lock_guard lock(loop_->mutex);
    loop_->played = std::make_shared<const Script>(std::move(script));
}

std::vector<ReceivedRequest> ScriptedServer::Requests() const
{
    const std::lock_guard lock(loop_->mutex);
    return loop_->requests;
}

ReceivedRequest ScriptedServer::LastRequest() const
{
    const std::lock_guard lock(loop_->mutex);
    return loop_->requests.empty() ? ReceivedRequest{} : loop_->requests.back();
}

void ScriptedServer::ForgetRequests()
{
    const std::lock_guard lock(loop_->mutex);
    loop_->forgotten += loop_->requests.size();
    loop_->complete = 0;
    loop_->requests.clear();
}

uint32_t ScriptedServer::AcceptedConnections() const
{
    const std::lock_guard lock(loop_->mutex);
    return loop_->accepted;
}

uint32_t ScriptedServer::OpenConnections() const
{
    const std::lock_guard lock(loop_->mutex);
    return loop_->open;
}

bool ScriptedServer::WaitForRequests(size_t count, std::chrono::milliseconds atMost) const
{
    return loop_->WaitFor(atMost, [this, count] { return loop_->complete >= count; });
}

bool ScriptedServer::WaitForOpenConnections(uint32_t count, std::chrono::milliseconds atMost) const
{
    return loop_->WaitFor(atMost, [this, count] { return loop_->open == count; });
}

} // namespace OHOS::Pelloria::TnxTest
