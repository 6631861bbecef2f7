// Ports on loopback.
#include "ports.h"

#include <cstring>
#include <stdexcept>
#include <thread>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace OHOS::Pelloria::TnxTest
{

namespace
{

constexpr int WAITING_CONNECTIONS = 8;

struct Address {
    sockaddr_storage storage{};
    socklen_t length = 0;

    Address(const std::string &literal, uint16_t port)
    {
        auto *v4 = reinterpret_cast<sockaddr_in *>(&storage);
        auto *v6 = reinterpret_cast<sockaddr_in6 *>(&storage);
        if (inet_pton(AF_INET, literal.c_str(), &v4->sin_addr) == 1) {
            v4->sin_family = AF_INET;
            v4->sin_port = htons(port);
            length = sizeof *v4;
        } else if (inet_pton(AF_INET6, literal.c_str(), &v6->sin6_addr) == 1) {
            v6->sin6_family = AF_INET6;
            v6->sin6_port = htons(port);
            length = sizeof *v6;
        } else if (literal.starts_with('/') && literal.size() < sizeof(sockaddr_un::sun_path)) {
            auto *local = reinterpret_cast<sockaddr_un *>(&storage);
            local->sun_family = AF_UNIX;
            literal.copy(local->sun_path, literal.size());
            length = sizeof *local;
        } else {
            throw std::invalid_argument("not an address: " + literal);
        }
    }
    const sockaddr *Get() const { return reinterpret_cast<const sockaddr *>(&storage); }
};

// The start of a connect, which stays as it is.
int Knock(const std::string &literal, uint16_t port)
{
    const Address address(literal, port);
    const int fd = socket(address.storage.ss_family, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    static_cast<void>(connect(fd, address.Get(), address.length));
    return fd;
}

} // namespace

int BindTo(const std::string &address, uint16_t port, int type)
{
    const Address bound(address, port);
    const int fd = socket(bound.storage.ss_family, type | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    const int on = 1;
    setsockopt(fd, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    if (bind(fd, bound.Get(), bound.length) != 0) {
        const std::string reason = std::strerror(errno);
        close(fd);
        throw std::runtime_error("cannot bind " + address + ": " + reason);
    }
    return fd;
}

int ListenOn(const std::string &address, uint16_t port, int backlog)
{
    const int fd = BindTo(address, port, SOCK_STREAM);
    if (listen(fd, backlog) != 0) {
        close(fd);
        throw std::runtime_error("cannot listen on " + address);
    }
    return fd;
}

uint16_t PortOf(int socket)
{
    sockaddr_storage storage{};
    socklen_t length = sizeof storage;
    getsockname(socket, reinterpret_cast<sockaddr *>(&storage), &length);
    if (storage.ss_family == AF_UNIX) {
        return 0;
    }
    return ntohs(storage.ss_family == AF_INET6
                     ? reinterpret_cast<const sockaddr_in6 *>(&storage)->sin6_port
                     : reinterpret_cast<const sockaddr_in *>(&storage)->sin_port);
}

uint16_t FreePort()
{
    for (;;) {
        const int tcp = BindTo("127.0.0.1", 0, SOCK_STREAM);
        const uint16_t port = PortOf(tcp);
        int udp = -1;
        try {
            udp = BindTo("127.0.0.1", port, SOCK_DGRAM);
        } catch (const std::runtime_error &) {
            close(tcp);
            continue;
        }
        close(tcp);
        close(udp);
        return port;
    }
}

bool WaitForPort(uint16_t port, std::chrono::milliseconds atMost)
{
    const Address address("127.0.0.1", port);
    const auto end = std::chrono::steady_clock::now() + atMost;
    while (std::chrono::steady_clock::now() < end) {
        const int fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        const bool connected = connect(fd, address.Get(), address.length) == 0;
        close(fd);
        if (connected) {
            return true;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return false;
}

RefusingPort::RefusingPort()
    : socket_(BindTo("127.0.0.1", 0, SOCK_STREAM))
    , port_(PortOf(socket_))
{
}

RefusingPort::~RefusingPort()
{
    close(socket_);
}

SilentPort::SilentPort(const std::string &address, uint16_t port)
    : socket_(ListenOn(address, port, 0))
    , port_(PortOf(socket_))
{
    for (int i = 0; i < WAITING_CONNECTIONS; ++i) {
        waiting_.push_back(Knock(address, port_));
    }
}

SilentPort::~SilentPort()
{
    for (const int fd : waiting_) {
        close(fd);
    }
    close(socket_);
}

} // namespace OHOS::Pelloria::TnxTest
