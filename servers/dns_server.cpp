// The loop of the name server: two sockets, the open TCP connections and the answers that wait.
#include "dns_server.h"

#include <array>
#include <condition_variable>
#include <map>
#include <mutex>
#include <thread>

#include <netinet/in.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include "ports.h"

namespace OHOS::Pelloria::TnxTest
{

using Clock = std::chrono::steady_clock;

class DnsServer::Loop
{
public:
    explicit Loop(DnsBehaviour behaviour);
    ~Loop();

    uint16_t port = 0;
    std::mutex mutex; // guards the questions
    std::condition_variable asked;
    std::vector<std::string> questions;

private:
    struct Pending {
        int fd;
        sockaddr_in peer{}; // of a datagram
        std::string answer;
    };

    void Run();
    int Timeout() const;
    void TakeDatagram();
    void TakeFromStream(int fd);
    void Answer(int fd, const sockaddr_in &peer, std::string_view query, bool stream);
    void SendDue();

    const DnsBehaviour behaviour_;
    int udp_ = -1;
    int tcp_ = -1;
    int stop_;
    std::map<int, std::string> streams_; // what each connection has sent
    std::multimap<Clock::time_point, Pending> pending_;
    std::thread thread_;
};

DnsServer::Loop::Loop(DnsBehaviour behaviour)
    : behaviour_(std::move(behaviour))
    , stop_(eventfd(0, EFD_CLOEXEC))
{
    while (tcp_ < 0) {
        udp_ = BindTo("127.0.0.1", 0, SOCK_DGRAM);
        port = PortOf(udp_);
        try {
            tcp_ = ListenOn("127.0.0.1", port, SOMAXCONN);
        } catch (const std::exception &) {
            close(udp_); // somebody else has the port for TCP
        }
    }
    thread_ = std::thread([this] { Run(); });
}

DnsServer::Loop::~Loop()
{
    eventfd_write(stop_, 1);
    thread_.join();
    for (const auto &[fd, bytes] : streams_) {
        close(fd);
    }
    close(udp_);
    close(tcp_);
    close(stop_);
}

int DnsServer::Loop::Timeout() const
{
    if (pending_.empty()) {
        return -1;
    }
    const auto left =
        std::chrono::ceil<std::chrono::milliseconds>(pending_.begin()->first - Clock::now());
    return left.count() > 0 ? static_cast<int>(left.count()) : 0;
}

void DnsServer::Loop::Run()
{
    for (;;) {
        std::vector<pollfd> fds = {{stop_, POLLIN, 0}, {udp_, POLLIN, 0}, {tcp_, POLLIN, 0}};
        for (const auto &[fd, bytes] : streams_) {
            fds.push_back({fd, POLLIN, 0});
        }
        poll(fds.data(), fds.size(), Timeout());
        if (fds[0].revents != 0) {
            return;
        }
        if (fds[1].revents != 0) {
            TakeDatagram();
        }
        if (fds[2].revents != 0) {
            const int fd = accept4(tcp_, nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC);
            if (fd >= 0) {
                streams_[fd];
            }
        }
        for (size_t i = 3; i < fds.size(); ++i) {
            if (fds[i].revents != 0) {
                TakeFromStream(fds[i].fd);
            }
        }
        SendDue();
    }
}

void DnsServer::Loop::TakeDatagram()
{
    std::array<char, 4096> buffer;
    sockaddr_in peer{};
    socklen_t length = sizeof peer;
    const ssize_t count = recvfrom(udp_, buffer.data(), buffer.size(), 0,
                                   reinterpret_cast<sockaddr *>(&peer), &length);
    if (count > 0) {
        Answer(udp_, peer, {buffer.data(), static_cast<size_t>(count)}, false);
    }
}

void DnsServer::Loop::TakeFromStream(int fd)
{
    std::array<char, 4096> buffer;
    const ssize_t count = recv(fd, buffer.data(), buffer.size(), 0);
    if (count <= 0) {
        std::erase_if(pending_, [fd](const auto &item) { return item.second.fd == fd; });
        streams_.erase(fd);
        close(fd);
        return;
    }
    auto &bytes = streams_[fd];
    bytes.append(buffer.data(), static_cast<size_t>(count));
    const auto byte = [&bytes](size_t at) { return static_cast<unsigned char>(bytes[at]); };
    while (bytes.size() >= 2) {
        const size_t length = byte(0) * 256U + byte(1);
        if (bytes.size() < 2 + length) {
            return;
        }
        Answer(fd, {}, std::string_view(bytes).substr(2, length), true);
        bytes.erase(0, 2 + length);
    }
}

void DnsServer::Loop::Answer(int fd, const sockaddr_in &peer, std::string_view query, bool stream)
{
    {
        const std::lock_guard lock(mutex);
        questions.push_back(DnsQuestion(query));
        asked.notify_all();
    }
    if (behaviour_.silent) {
        return;
    }
    std::string answer =
        behaviour_.truncate && !stream ? DnsTruncated(query) : DnsAnswer(query, behaviour_.zone);
    if (stream) {
        const std::string length{static_cast<char>(answer.size() >> 8),
                                 static_cast<char>(answer.size() & 0xff)};
        answer.insert(0, length);
    }
    pending_.emplace(Clock::now() + behaviour_.delay, Pending{fd, peer, std::move(answer)});
}

void DnsServer::Loop::SendDue()
{
    while (!pending_.empty() && pending_.begin()->first <= Clock::now()) {
        const Pending &due = pending_.begin()->second;
        const bool datagram = due.fd == udp_;
        sendto(due.fd, due.answer.data(), due.answer.size(), MSG_NOSIGNAL,
               datagram ? reinterpret_cast<const sockaddr *>(&due.peer) : nullptr,
               datagram ? sizeof due.peer : 0);
        pending_.erase(pending_.begin());
    }
}

DnsServer::DnsServer(DnsBehaviour behaviour)
    : loop_(std::make_unique<Loop>(std::move(behaviour)))
{
}

DnsServer::~DnsServer() = default;

uint16_t DnsServer::Port() const
{
    return loop_->port;
}

std::vector<std::string> DnsServer::Questions() const
{
    const std::lock_guard lock(loop_->mutex);
    return loop_->questions;
}

bool DnsServer::WaitForQuestions(size_t count, std::chrono::milliseconds atMost) const
{
    std::unique_lock lock(loop_->mutex);
    return loop_->asked.wait_for(lock, atMost,
                                 [this, count] { return loop_->questions.size() >= count; });
}

} // namespace OHOS::Pelloria::TnxTest
