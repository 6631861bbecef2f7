// Makes libcurl's tables of addresses.
#include "routing.h"

#include <algorithm>

#include "curl/quirks.h"
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

// What libcurl does not compare when it looks for a kept connection, or where only one of the two
// has it.
bool SetsApart(const Limits *limits)
{
    return limits != nullptr &&
           (!limits->interface.empty() || limits->family != AddressFamily::ANY);
}

std::string InUrl(const std::string &host)
{
    return IsVersion6(host) ? "[" + host + "]" : host;
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

void Route::Aim(const Url &url, const Limits *limits)
{
    port = url.port;
    if (limits == nullptr) {
        return;
    }
    for (const ConnectTo &rule : limits->connectTo) {
        if ((rule.host.empty() || AsciiName(rule.host) == url.host) &&
            (rule.port == 0 || rule.port == url.port)) {
            const std::string &other = rule.otherHost.empty() ? url.host : rule.otherHost;
            otherHost = AsciiName(other).value_or(other);
            port = rule.otherPort == 0 ? url.port : rule.otherPort;
            return;
        }
    }
}

void Routing::Choose(const Hop &hop, const Route &route, const Configuration &configuration)
{
    Clear();
    const Proxy &proxy = route.proxy;
    if (!route.proxyAddresses.empty()) {
        AppendTo(resolve_, ResolveLine(proxy.host, proxy.port, route.AddressesNow()));
    }
    const bool hasKey = hop.url->Secure() && HasKey(configuration.security);
    const bool apart = hasKey || SetsApart(configuration.limits.get());
    const bool isNamed = apart || !route.otherHost.empty();
    const std::string &host = route.Host(*hop.url);
    const bool isLocal = IsLocalName(host);
    if (!route.addresses.empty()) {
        SendTo(route.addresses, hop, route, configuration,
               proxy.Direct() ? route.attempts : Attempts());
    } else if (isLocal && proxy.ResolvesHere() && (isNamed || !proxy.Direct())) {
        SendTo(LoopbackAddresses(), hop, route, configuration);
    } else if (isNamed && proxy.ResolvesHere()) {
        SendTo({host}, hop, route, configuration);
    } else { // only the proxy knows the addresses
        alone_ = apart;
        if (!route.otherHost.empty()) {
            AppendTo(connectTo_, "::" + InUrl(host) + ":" + std::to_string(route.port));
        }
    }
}

void Routing::Clear() noexcept
{
    resolve_.reset();
    connectTo_.reset();
    alone_ = false;
    syntheticName_.clear();
}

// The client's key takes part in the name because libcurl does not compare it when it looks for a
// kept connection or TLS session.
void Routing::SendTo(const std::vector<std::string> &addresses, const Hop &hop, const Route &route,
                     const Configuration &configuration, const Attempts &attempts)
{
    Hash hash;
    std::for_each(addresses.begin(), addresses.end(), [&hash](const auto &a) { hash.Add(a); });
    if (hop.url->Secure()) {
        const ClientCertificate &client = configuration.security.clientCertificate;
        hash.Add(client.key.Get());
        hash.Add(client.keyPassword.Get());
    }
    if (const Limits *const limits = configuration.limits.get(); SetsApart(limits)) {
        hash.Add(limits->interface);
        hash.Add(std::to_string(static_cast<int>(limits->family)));
    }
    syntheticName_ = std::to_string(hash.Value()) + ".invalid";
    realName_ = route.otherHost.empty() ? hop.url->Name() : route.otherHost;
    AppendTo(connectTo_, "::" + syntheticName_ + ":" + std::to_string(route.port));
    AppendTo(resolve_, ResolveLine(syntheticName_, route.port, attempts.Of(addresses)));
}

std::string Routing::WithRealName(std::string text) const
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
