// Ports on loopback: free ones, ones that refuse and ones that never answer.
#ifndef TNX_TESTS_SERVERS_PORTS_H
#define TNX_TESTS_SERVERS_PORTS_H

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

namespace OHOS::Pelloria::TnxTest
{

// Non-blocking sockets on an address literal or the path of a Unix socket, one that is bound and
// one that listens; port 0 takes a free one. Throw.
int BindTo(const std::string &address, uint16_t port, int type);
int ListenOn(const std::string &address, uint16_t port, int backlog);
uint16_t PortOf(int socket);

// A port that nothing listens on just now, for TCP and UDP. Somebody else may take it.
uint16_t FreePort();

// Waits until something accepts connections on the port.
bool WaitForPort(uint16_t port, std::chrono::milliseconds atMost = std::chrono::seconds(10));

// A port of 127.0.0.1 that refuses connections, and that nobody else gets meanwhile.
class RefusingPort
{
public:
    RefusingPort();
    ~RefusingPort();
    RefusingPort(const RefusingPort &) = delete;
    RefusingPort &operator=(const RefusingPort &) = delete;
    uint16_t Port() const { return port_; }

private:
    int socket_;
    uint16_t port_;
};

// A port on which a connect neither succeeds nor fails: its queue is full.
class SilentPort
{
public:
    explicit SilentPort(const std::string &address = "127.0.0.1", uint16_t port = 0);
    ~SilentPort();
    SilentPort(const SilentPort &) = delete;
    SilentPort &operator=(const SilentPort &) = delete;
    uint16_t Port() const { return port_; }

private:
    int socket_;
    uint16_t port_;
    std::vector<int> waiting_;
};

} // namespace OHOS::Pelloria::TnxTest

#endif
