// Opens, closes and looks at sockets.
#include "sockets.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include "base/try.h"
#include "event/loop.h"
#include "tls_peer.h"

namespace OHOS::Pelloria::Tnx
{
namespace
{

union Address {
    sockaddr any;
    sockaddr_in v4;
    sockaddr_in6 v6;

    uint16_t Port() const { return ntohs(any.sa_family == AF_INET6 ? v6.sin6_port : v4.sin_port); }
};

uint16_t LocalPort(int fd)
{
    Address address{};
    socklen_t size = sizeof address;
    return getsockname(fd, &address.any, &size) == 0 ? address.Port() : uint16_t{0};
}

// The streams of later versions belong to their requests, and other frames may come at any time.
bool SpeaksHttp1(const SSL *tls)
{
    const unsigned char *name = nullptr;
    unsigned int length = 0;
    SSL_get0_alpn_selected(tls, &name, &length);
    return length == 0 || (length > 5 && std::equal(name, name + 5, "http/"));
}

// The same in clear text, where HTTP/2 is kept for the repeats of one request only.
bool SpokeHttp1(CURL *easy)
{
    long version = CURL_HTTP_VERSION_NONE;
    curl_easy_getinfo(easy, CURLINFO_HTTP_VERSION, &version);
    return version < CURL_HTTP_VERSION_2_0;
}

} // namespace

void Sockets::SetOptions(Options &options, SocketWatch *watch)
{
    options.Function(CURLOPT_OPENSOCKETFUNCTION, watch == nullptr ? OnOpen : OnWatchedOpen);
    options.Pointer(CURLOPT_OPENSOCKETDATA, watch == nullptr ? static_cast<void *>(this) : watch);
    options.Function(CURLOPT_CLOSESOCKETFUNCTION, OnClose);
    options.Pointer(CURLOPT_CLOSESOCKETDATA, this);
}

bool Sockets::Disturbed(CURL *easy, int localPort)
{
    SSL *const tls = TlsOf(easy);
    if (tls == nullptr) {
        return SpokeHttp1(easy) && Readable(localPort);
    }
    // What is left of a record does not show at the socket.
    return SpeaksHttp1(tls) && (SSL_pending(tls) > 0 || Readable(localPort));
}

// Where connections to two servers have the same port, one is as good as the other: all that it
// costs is a new connection.
bool Sockets::Readable(int localPort)
{
    return std::any_of(sockets_.begin(), sockets_.end(), [localPort](Socket &socket) {
        if (socket.localPort == 0) {
            socket.localPort = LocalPort(socket.fd);
        }
        pollfd look{.fd = socket.fd, .events = POLLIN, .revents = 0};
        return socket.localPort == localPort && poll(&look, 1, 0) > 0;
    });
}

// A socket of UDP has its peer before that has answered.
bool Sockets::HasPeer(curl_socket_t fd, const std::string &host, uint16_t port)
{
    Address peer{};
    int type = 0;
    in6_addr wanted{};
    socklen_t size = sizeof peer;
    socklen_t typeSize = sizeof type;
    const bool stands = getpeername(fd, &peer.any, &size) == 0;
    if (port == 0) { // of a Unix socket
        return stands;
    }
    if (!stands || peer.Port() != port ||
        getsockopt(fd, SOL_SOCKET, SO_TYPE, &type, &typeSize) != 0 || type != SOCK_STREAM ||
        inet_pton(peer.any.sa_family, host.c_str(), &wanted) != 1) {
        return false;
    }
    return peer.any.sa_family == AF_INET6
               ? std::memcmp(&wanted, &peer.v6.sin6_addr, sizeof(in6_addr)) == 0
               : std::memcmp(&wanted, &peer.v4.sin_addr, sizeof(in_addr)) == 0;
}

bool Sockets::Reach(const std::string &address, uint16_t port) const
{
    return std::any_of(sockets_.begin(), sockets_.end(),
                       [&](const Socket &socket) { return HasPeer(socket.fd, address, port); });
}

curl_socket_t Sockets::OnOpen(void *self, curlsocktype, curl_sockaddr *address)
{
    return static_cast<Sockets *>(self)->Open(*address, nullptr);
}

curl_socket_t Sockets::OnWatchedOpen(void *watch, curlsocktype, curl_sockaddr *address)
{
    auto *const watching = static_cast<SocketWatch *>(watch);
    return watching->sockets_.Open(*address, watching);
}

curl_socket_t Sockets::Open(const curl_sockaddr &address, SocketWatch *watch)
{
    const int fd = socket(address.family, address.socktype | SOCK_CLOEXEC, address.protocol);
    if (fd < 0) {
        openError_ = errno;
        return CURL_SOCKET_BAD;
    }
    const bool kept = Try([&] {
        sockets_.push_back({.fd = fd, .localPort = 0, .watch = watch});
        watched_.Opened(fd);
        if (watch != nullptr) {
            watch->OnOpen(fd, address);
        }
        if (loop_ != nullptr) {
            ON_LOOP.Have(); // which has the connections that it watches
            loop_->Opened(fd);
        }
    });
    if (kept) {
        return fd;
    }
    Forget(fd);
    close(fd);
    return CURL_SOCKET_BAD;
}

void Sockets::Forget(curl_socket_t fd)
{
    watched_.Closed(fd);
    std::erase_if(sockets_, [fd](const Socket &socket) {
        if (socket.fd == fd && socket.watch != nullptr) {
            socket.watch->OnClose(fd);
        }
        return socket.fd == fd;
    });
}

void SocketWatch::Leave() noexcept
{
    for (Sockets::Socket &socket : sockets_.sockets_) {
        if (socket.watch == this) {
            socket.watch = nullptr;
        }
    }
}

int Sockets::OnClose(void *self, curl_socket_t fd)
{
    auto &sockets = *static_cast<Sockets *>(self);
    sockets.Forget(fd);
    if (sockets.loop_ != nullptr) {
        ON_LOOP.Have();
        sockets.loop_->Closed(fd);
    }
    return close(fd);
}

} // namespace OHOS::Pelloria::Tnx
