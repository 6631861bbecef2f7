// Real proxies and a real name server as children, on free ports of loopback.
#ifndef TNX_TESTS_SERVERS_PROXY_SERVERS_H
#define TNX_TESTS_SERVERS_PROXY_SERVERS_H

#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "child_process.h"

namespace OHOS::Pelloria::TnxTest
{

// User name and password; empty where none are asked for.
using Credentials = std::pair<std::string, std::string>;

// tinyproxy: forwards HTTP and tunnels anything.
class ForwardProxy
{
public:
    explicit ForwardProxy(const Credentials &credentials = {});
    uint16_t Port() const { return port_; }
    std::string Url() const { return "http://127.0.0.1:" + std::to_string(port_); }
    // The requests that passed, a line each, `CONNECT host:port` and the like.
    std::string Log() const { return ReadFile(directory_.Path("log")); }

private:
    TemporaryDirectory directory_;
    uint16_t port_ = 0;
    std::unique_ptr<ChildProcess> process_;
};

// socat: speaks TLS in front of a server on loopback that does not.
class TlsFront
{
public:
    explicit TlsFront(uint16_t server, const std::string &certificate = "good");
    std::string Url(const std::string &host = "localhost") const
    {
        return "https://" + host + ":" + std::to_string(port_);
    }

private:
    TemporaryDirectory directory_;
    uint16_t port_ = 0;
    std::unique_ptr<ChildProcess> process_;
};

// microsocks: SOCKS version 5.
class SocksProxy
{
public:
    explicit SocksProxy(const Credentials &credentials = {});
    uint16_t Port() const { return port_; }
    std::string Url(const std::string &scheme = "socks5") const
    {
        return scheme + "://127.0.0.1:" + std::to_string(port_);
    }
    // The connections that it made, a line each: `... connected to host:port`.
    std::string Log() const { return ReadFile(directory_.Path("log")); }

private:
    TemporaryDirectory directory_;
    uint16_t port_ = 0;
    std::unique_ptr<ChildProcess> process_;
};

// dnsmasq, with fixed addresses and no others.
class RealNameServer
{
public:
    explicit RealNameServer(const std::vector<std::pair<std::string, std::string>> &addresses);
    uint16_t Port() const { return port_; }
    std::string Log() const { return ReadFile(directory_.Path("log")); }

private:
    TemporaryDirectory directory_;
    uint16_t port_ = 0;
    std::unique_ptr<ChildProcess> process_;
};

} // namespace OHOS::Pelloria::TnxTest

#endif
