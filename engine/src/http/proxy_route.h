// Which proxy a hop takes, if any.
#ifndef TNX_ENGINE_PROXY_ROUTE_H
#define TNX_ENGINE_PROXY_ROUTE_H

#include <cstdint>
#include <string>
#include <vector>

#include "tnx_native/web_proxy.h"
#include "url.h"

namespace OHOS::Pelloria::Tnx
{

// The address of a proxy, empty to go directly, and what names it: a text for people.
struct ProxyChoice {
    std::string address;
    std::string namedBy;
};

// The proxies that the environment names.
struct EnvironmentProxies {
    ProxyChoice http;
    ProxyChoice https;
    ProxyChoice all;
    std::vector<std::string> excluded;

    // Reads http_proxy, https_proxy, all_proxy and no_proxy, once a process.
    static const EnvironmentProxies &Get();
};

// A proxy taken apart.
struct Proxy {
    std::string url;    // as libcurl wants it, with a scheme; empty: go directly
    std::string scheme; // http, https, socks4, socks4a, socks5 or socks5h
    std::string host;   // in ASCII
    std::string name;   // for people to read
    uint16_t port = 0;
    std::string namedBy;

    // "http://proxy:3128", without a credential; and with ", which the environment variable
    // http_proxy names".
    std::string Address() const;
    std::string Text() const;

    bool Direct() const { return url.empty(); }

    // Whether the target's name is looked up here rather than by the proxy.
    bool ResolvesHere() const { return Direct() || scheme == "socks4" || scheme == "socks5"; }
};

// Reads a proxy's address; http where it has no scheme. False when it is none.
bool ParseProxy(const std::string &text, Proxy &proxy);

// The proxy that a configuration or the environment gives for a URL, before any exclusion function
// is asked.
ProxyChoice ChooseProxy(const WebProxy &configuration, const Url &url);

// Whether a pattern covers a URL: `*`, a host, a domain suffix, host:port, an address, a CIDR
// block, or a URL prefix.
bool ExclusionMatches(const std::string &pattern, const Url &url);

} // namespace OHOS::Pelloria::Tnx

#endif
