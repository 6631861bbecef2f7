// Where a hop goes: its proxy, its addresses, and what keeps its connections apart from others.
#include "exchange.h"

#include <algorithm>

#include "curl/releases.h"
#include "curl/tls_options.h"
#include "http/host_name.h"

namespace OHOS::Pelloria::Tnx
{
namespace
{

bool HasKey(const SecurityConfiguration &security)
{
    const ClientCertificate &client = security.clientCertificate;
    return !client.key.Empty() || !client.keyPassword.Empty();
}

class Hash
{
public:
    void Add(const std::string &text)
    {
        for (const char c : text) {
            Mix(c);
        }
        Mix('\0'); // an end, so that "a", "bc" is not "ab", "c"
    }
    uint64_t Value() const { return value_; }

private:
    void Mix(char c) { value_ = (value_ ^ static_cast<unsigned char>(c)) * 1099511628211U; }

    uint64_t value_ = 14695981039346656037U; // FNV-1a
};

} // namespace

CURLcode Exchange::SetRoute(const Hop &hop, const Route &route)
{
    connectTo_.reset();
    resolve_.reset();
    syntheticName_.clear();
    if (route.fresh) {
        curl_easy_setopt(easy_, CURLOPT_FRESH_CONNECT, 1L);
    }
    SetText(easy_, CURLOPT_NOPROXY, "");
    SetText(easy_, CURLOPT_PROXY, route.proxy.url.c_str());
    if (!route.proxy.Direct()) {
        const WebProxy &proxy = request_.GetConfiguration().proxy;
        if (proxy.option == PROXY_TUNNEL) {
            curl_easy_setopt(easy_, CURLOPT_HTTPPROXYTUNNEL, 1L);
        }
        for (const CURLcode code :
             {SetProxyTls(easy_, proxy.security), SetProxyCredential(easy_, proxy.security)}) {
            if (code != CURLE_OK) {
                return code;
            }
        }
        if (!route.proxyAddresses.empty()) {
            AppendTo(resolve_,
                     ResolveLine(route.proxy.host, route.proxy.port, route.proxyAddresses));
        }
    }
    const bool throughSocks = !route.proxy.Direct() && route.proxy.ResolvesHere();
    if (!route.addresses.empty()) {
        SetTargetAddresses(hop, route.addresses);
    } else if (throughSocks && IsLocalName(hop.url.host)) {
        SetTargetAddresses(hop, LoopbackAddresses());
    } else if (hop.url.Secure() && HasKey(request_.GetConfiguration().security)) {
        KeepKeyApart(hop, route);
    }
    curl_easy_setopt(easy_, CURLOPT_RESOLVE, resolve_.get());
    return curl_easy_setopt(easy_, CURLOPT_CONNECT_TO, connectTo_.get());
}

// The host's own name in libcurl's table of addresses would serve requests with other rules too,
// and so would its connections. A name made of the addresses serves exactly those that go there;
// the certificate is still checked against the host. The client's key takes part because libcurl
// does not compare it when it looks for a kept connection or TLS session.
void Exchange::SetTargetAddresses(const Hop &hop, const std::vector<std::string> &addresses)
{
    Hash hash;
    std::for_each(addresses.begin(), addresses.end(), [&hash](const auto &a) { hash.Add(a); });
    if (hop.url.Secure()) {
        const ClientCertificate &client = request_.GetConfiguration().security.clientCertificate;
        hash.Add(client.key.Get());
        hash.Add(client.keyPassword.Get());
    }
    syntheticName_ = std::to_string(hash.Value()) + ".invalid";
    realName_ = hop.url.Name();
    AppendTo(connectTo_, "::" + syntheticName_ + ":" + std::to_string(hop.url.port));
    AppendTo(resolve_, ResolveLine(syntheticName_, hop.url.port, addresses));
}

// The same for what needs no lookup, as far as it can be had where only the proxy knows addresses.
void Exchange::KeepKeyApart(const Hop &hop, const Route &route)
{
    if (route.proxy.ResolvesHere()) {
        SetTargetAddresses(hop, IsLocalName(hop.url.host) ? LoopbackAddresses()
                                                          : std::vector{hop.url.host});
        return;
    }
    curl_easy_setopt(easy_, CURLOPT_FRESH_CONNECT, 1L);
    curl_easy_setopt(easy_, CURLOPT_FORBID_REUSE, 1L);
    curl_easy_setopt(easy_, CURLOPT_SSL_SESSIONID_CACHE, 0L);
}

std::string Exchange::WithRealName(std::string text) const
{
    if (!syntheticName_.empty()) {
        constexpr std::string_view NAMELESS = "Connected to (nil) ("; // as libcurl has it then
        if (text.starts_with(NAMELESS)) {
            text.replace(0, NAMELESS.size(), "Connected to " + realName_ + " (");
        }
        for (size_t at = text.find(syntheticName_); at != std::string::npos;
             at = text.find(syntheticName_, at + realName_.size())) {
            text.replace(at, syntheticName_.size(), realName_);
        }
    }
    return text;
}

} // namespace OHOS::Pelloria::Tnx
