// Sees what becomes of the connections that an exchange tries: libcurl tells of the one that it
// takes only, and of that when its TLS stands.
#ifndef TNX_ENGINE_CONNECTION_WATCH_H
#define TNX_ENGINE_CONNECTION_WATCH_H

#include <vector>

#include <curl/curl.h>

#include "sockets.h"
#include "tnx_native/connection_info.h"

namespace OHOS::Pelloria::Tnx
{

// Told on the thread that drives the exchange.
class ConnectionListener
{
public:
    virtual void OnConnecting(const Endpoint &peer) noexcept = 0;
    virtual void OnAttempt(const AddressAttempt &attempt) noexcept = 0; // is over

protected:
    ~ConnectionListener() = default;
};

class ConnectionWatch final : public SocketWatch
{
public:
    explicit ConnectionWatch(Sockets &sockets)
        : SocketWatch(sockets)
    {
    }
    ~ConnectionWatch() { Stop(); }
    ConnectionWatch(const ConnectionWatch &) = delete;
    ConnectionWatch &operator=(const ConnectionWatch &) = delete;

    // For one exchange.
    void Start(CURL *easy, ConnectionListener &listener);
    void Stop() noexcept;

    // Tells of the connection that has come to stand, which ends the attempts beside it; and at the
    // end of all that have not.
    void Look() noexcept;
    void End() noexcept;

private:
    struct Attempt {
        curl_socket_t fd;
        Endpoint peer;
    };

    void OnOpen(curl_socket_t fd, const curl_sockaddr &address) override;
    void OnClose(curl_socket_t fd) noexcept override;
    void Tell(const Attempt &attempt, int error) noexcept;
    void DropRest(int error) noexcept;

    CURL *easy_ = nullptr;
    ConnectionListener *listener_ = nullptr; // null: nobody looks
    std::vector<Attempt> open_;              // whose outcome is not known
};

} // namespace OHOS::Pelloria::Tnx

#endif
