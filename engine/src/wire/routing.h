// Where a hop goes: through which proxy, to which addresses, and what keeps its connections apart
// from those of others.
#ifndef TNX_ENGINE_ROUTING_H
#define TNX_ENGINE_ROUTING_H

#include <string>
#include <vector>

#include "attempts.h"
#include "curl/handles.h"
#include "http/hop.h"
#include "http/proxy_route.h"
#include "tnx_native/configuration.h"

namespace OHOS::Pelloria::Tnx
{

// No addresses: the host is one itself, or is resolved elsewhere.
struct Route {
    // To the host of the URL, or to one that is to be connected to instead.
    void Aim(const Url &url, const Limits *limits);

    const std::string &Host(const Url &url) const
    {
        return otherHost.empty() ? url.host : otherHost;
    }
    uint16_t PeerPort() const { return proxy.Direct() ? port : proxy.port; }

    // Whom to connect to: the proxy, if there is one.
    const std::vector<std::string> &PeerAddresses() const
    {
        return proxy.Direct() ? addresses : proxyAddresses;
    }
    const std::vector<std::string> &AddressesNow() const { return attempts.Of(PeerAddresses()); }

    Proxy proxy;
    std::string otherHost; // instead of the URL's, if not empty
    uint16_t port = 0;     // of the host
    std::vector<std::string> addresses;
    std::vector<std::string> proxyAddresses;
    Attempts attempts;  // at those of the peer
    bool fresh = false; // over no connection that was used before
};

// The host's own name in libcurl's table of addresses would serve requests with other rules too,
// and so would its connections. A name made of the addresses serves exactly those that go there;
// the certificate is still checked against the host.
class Routing
{
public:
    // The tables that libcurl is to use; null for none.
    curl_slist *Resolve() const { return resolve_.get(); }
    curl_slist *ConnectTo() const { return connectTo_.get(); }

    // The connection and its TLS session are to serve nobody else.
    bool Alone() const { return alone_; }

    // Sets the tables up.
    void Choose(const Hop &hop, const Route &route, const Configuration &configuration);
    void Clear() noexcept;

    // A text of libcurl's, with the host's own name.
    std::string WithRealName(std::string text) const;

private:
    void SendTo(const std::vector<std::string> &addresses, const Hop &hop, const Route &route,
                const Configuration &configuration, const Attempts &attempts = {});

    StringList resolve_;
    StringList connectTo_;
    bool alone_ = false;
    std::string syntheticName_; // stands for the host's addresses
    std::string realName_;
};

} // namespace OHOS::Pelloria::Tnx

#endif
