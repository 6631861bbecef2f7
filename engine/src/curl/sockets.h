// The connections of one multi handle, as sockets: libcurl tells of a connection that it is about
// to use again no more than its port.
#ifndef TNX_ENGINE_SOCKETS_H
#define TNX_ENGINE_SOCKETS_H

#include <cstdint>
#include <string>
#include <vector>

#include <curl/curl.h>

#include "flood_watch.h"
#include "options.h"

namespace OHOS::Pelloria::Tnx
{

class Loop;
class Sockets;

// Follows the sockets that one exchange opens.
class SocketWatch
{
public:
    SocketWatch(const SocketWatch &) = delete;
    SocketWatch &operator=(const SocketWatch &) = delete;

protected:
    explicit SocketWatch(Sockets &sockets)
        : sockets_(sockets)
    {
    }
    ~SocketWatch() = default;

    // Has none any more. Before the watch ends.
    void Leave() noexcept;

private:
    friend class Sockets;
    virtual void OnOpen(curl_socket_t fd, const curl_sockaddr &address) = 0;
    virtual void OnClose(curl_socket_t fd) noexcept = 0; // about to

    Sockets &sockets_;
};

// Outlives the multi handle.
class Sockets
{
public:
    // `loop`: watches them, if it is given.
    Sockets(FloodWatch::Watched &watched, Loop *loop)
        : watched_(watched)
        , loop_(loop)
    {
    }
    Sockets(const Sockets &) = delete;
    Sockets &operator=(const Sockets &) = delete;

    // Those of an easy handle that goes into the multi handle, with a watch or null.
    void SetOptions(Options &options, SocketWatch *watch = nullptr);

    // Something has arrived at a kept connection of HTTP/1 that nobody has asked for: its end, or a
    // response that would be taken for that of the next request. `easy` has the connection.
    bool Disturbed(CURL *easy, int localPort);

    // A connection to that address stands, be its TLS still under way, or others waiting for it:
    // libcurl tells of neither.
    bool Reach(const std::string &address, uint16_t port) const;
    static bool HasPeer(curl_socket_t fd, const std::string &address, uint16_t port);

    // Why the last one that failed to open did, as errno tells; 0: none has.
    int OpenError() const { return openError_; }

private:
    struct Socket {
        curl_socket_t fd;
        uint16_t localPort; // 0: not looked up
        SocketWatch *watch; // or null
    };

    friend class SocketWatch;
    curl_socket_t Open(const curl_sockaddr &address, SocketWatch *watch);
    bool Readable(int localPort);
    void Forget(curl_socket_t fd);

    static curl_socket_t OnOpen(void *self, curlsocktype purpose, curl_sockaddr *address);
    static curl_socket_t OnWatchedOpen(void *watch, curlsocktype purpose, curl_sockaddr *address);
    static int OnClose(void *self, curl_socket_t fd);

    FloodWatch::Watched &watched_;
    Loop *const loop_;
    std::vector<Socket> sockets_;
    int openError_ = 0;
};

} // namespace OHOS::Pelloria::Tnx

#endif
