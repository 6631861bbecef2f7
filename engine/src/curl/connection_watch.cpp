// Asks the system how a socket stands.
#include "connection_watch.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <string>
#include <utility>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <sys/un.h>

namespace OHOS::Pelloria::Tnx
{
namespace
{

// Not waiting for an answer any more.
bool Failed(curl_socket_t fd)
{
    tcp_info info{};
    socklen_t size = sizeof info;
    return getsockopt(fd, IPPROTO_TCP, TCP_INFO, &info, &size) == 0 && info.tcpi_state == TCP_CLOSE;
}

Endpoint EndpointOf(const curl_sockaddr &address)
{
    std::array<char, INET6_ADDRSTRLEN> text{};
    if (address.family == AF_UNIX) {
        const auto *const path = reinterpret_cast<const sockaddr_un &>(address.addr).sun_path;
        return {std::string(path, strnlen(path, sizeof(sockaddr_un::sun_path))), 0};
    }
    if (address.family == AF_INET6) {
        const auto &v6 = reinterpret_cast<const sockaddr_in6 &>(address.addr);
        inet_ntop(AF_INET6, &v6.sin6_addr, text.data(), text.size());
        return {text.data(), ntohs(v6.sin6_port)};
    }
    const auto &v4 = reinterpret_cast<const sockaddr_in &>(address.addr);
    inet_ntop(AF_INET, &v4.sin_addr, text.data(), text.size());
    return {text.data(), ntohs(v4.sin_port)};
}

} // namespace

void ConnectionWatch::Start(CURL *easy, ConnectionListener &listener)
{
    easy_ = easy;
    listener_ = &listener;
}

void ConnectionWatch::Stop() noexcept
{
    if (std::exchange(listener_, nullptr) != nullptr) {
        Leave();
        open_.clear();
    }
}

void ConnectionWatch::OnOpen(curl_socket_t fd, const curl_sockaddr &address)
{
    open_.push_back({fd, EndpointOf(address)});
    listener_->OnConnecting(open_.back().peer);
}

void ConnectionWatch::Look() noexcept
{
    const auto stands = std::find_if(open_.begin(), open_.end(), [](const Attempt &attempt) {
        return Sockets::HasPeer(attempt.fd, attempt.peer.address, attempt.peer.port);
    });
    if (stands != open_.end()) {
        Tell(*stands, 0);
        open_.erase(stands);
        DropRest(ECANCELED);
    }
}

void ConnectionWatch::End() noexcept
{
    if (listener_ != nullptr) {
        Look();
        DropRest(ETIMEDOUT);
    }
}

void ConnectionWatch::OnClose(curl_socket_t fd) noexcept
{
    Look();
    const auto closed = std::find_if(open_.begin(), open_.end(),
                                     [fd](const Attempt &attempt) { return attempt.fd == fd; });
    if (closed != open_.end()) {
        long error = 0;
        curl_easy_getinfo(easy_, CURLINFO_OS_ERRNO, &error);
        const bool failed = closed->peer.port == 0 || Failed(fd);
        Tell(*closed, failed && error != 0 ? static_cast<int>(error) : ETIMEDOUT);
        open_.erase(closed);
    }
}

void ConnectionWatch::Tell(const Attempt &attempt, int error) noexcept
{
    listener_->OnAttempt({.peer = attempt.peer, .error = error});
}

// libcurl closes those that it has no answer of without a word.
void ConnectionWatch::DropRest(int error) noexcept
{
    for (const Attempt &attempt : open_) {
        Tell(attempt, error);
    }
    open_.clear();
}

} // namespace OHOS::Pelloria::Tnx
