// A real nginx on free ports of loopback: HTTP/1.1, HTTP/2, TLS with good and bad certificates.
//
//   /1k /64k         bodies of 1 KiB and 64 KiB of the pattern
//   /big /huge       sparse files of 1 GiB and 10 GiB of NUL bytes
//   /echo            the raw head of the request and its body (the body alone over HTTP/2)
//   /fields          method, target, version and the usual fields, a line each
//   /sink            reads the body, answers with nothing
//   /ten             reads the body, answers with 1 KiB and ten fields (nine over HTTP/2)
//   /slow            /64k at 16 KiB a second
//   /private         Basic, user:password
//   /cookies         sets two cookies
//   /redirect        to /1k
//   /scripted/...    the rest of the path, asked of the scripted server
#ifndef TNX_TESTS_SERVERS_NGINX_SERVER_H
#define TNX_TESTS_SERVERS_NGINX_SERVER_H

#include <array>
#include <cstdint>
#include <memory>
#include <string>

#include "child_process.h"

namespace OHOS::Pelloria::TnxTest
{

enum class Site {
    PLAIN,       // HTTP/1.1 in clear text
    CLEAR_HTTP2, // HTTP/2 in clear text, with prior knowledge only
    TLS,         // a good certificate; HTTP/2 by ALPN
    TLS_HTTP1,   // a good certificate; HTTP/1.1 only, TLS 1.3 too
    EXPIRED,
    WRONG_NAME,
    SELF_SIGNED,
    CLIENT_CERTIFICATE, // asks for a certificate of the authority
    OLD_TLS,            // TLS 1.1 only
    COUNT
};

class NginxServer
{
public:
    // Starts nginx and waits until it accepts. `scripted` is the port of the scripted server that
    // /scripted/ leads to. Throws with nginx's own words when it does not start.
    explicit NginxServer(uint16_t scripted = 0);

    uint16_t Port(Site site = Site::PLAIN) const { return ports_[static_cast<size_t>(site)]; }
    // The host is 127.0.0.1; with TLS localhost, which the good certificate has as well.
    std::string Url(const std::string &target, Site site = Site::PLAIN) const;
    std::string AccessLog() const; // a line for each request that is over: target, status, version
    pid_t Id() const { return process_->Id(); }
    void Stop() { process_->Stop(); }

private:
    bool Start(uint16_t scripted);

    TemporaryDirectory directory_;
    std::array<uint16_t, static_cast<size_t>(Site::COUNT)> ports_{};
    std::unique_ptr<ChildProcess> process_;
};

} // namespace OHOS::Pelloria::TnxTest

#endif
