// Proxies of the environment, exclusions, and proxy addresses.
#include "proxy_route.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <optional>
#include <string_view>

#include <arpa/inet.h>

#include "base/text.h"
#include "host_name.h"

namespace OHOS::Pelloria::Tnx
{
namespace
{

struct Address {
    std::array<unsigned char, sizeof(in6_addr)> bytes{};
    size_t length = 0;
};

std::optional<Address> ReadAddress(const std::string &text)
{
    Address address;
    if (inet_pton(AF_INET, text.c_str(), address.bytes.data()) == 1) {
        address.length = sizeof(in_addr);
    } else if (inet_pton(AF_INET6, text.c_str(), address.bytes.data()) == 1) {
        address.length = sizeof(in6_addr);
    } else {
        return std::nullopt;
    }
    return address;
}

bool InBlock(const std::string &pattern, size_t slash, const std::string &host)
{
    const std::optional<Address> block = ReadAddress(pattern.substr(0, slash));
    const std::optional<Address> address = ReadAddress(host);
    size_t bits = 0;
    const char *const end = pattern.data() + pattern.size();
    const auto [stop, error] = std::from_chars(pattern.data() + slash + 1, end, bits);
    if (!block || !address || block->length != address->length || error != std::errc() ||
        stop != end || bits > 8 * block->length) {
        return false;
    }
    const size_t whole = bits / 8;
    if (std::memcmp(block->bytes.data(), address->bytes.data(), whole) != 0) {
        return false;
    }
    const auto mask = static_cast<unsigned char>(0xFF00 >> (bits % 8));
    return bits % 8 == 0 || ((block->bytes[whole] ^ address->bytes[whole]) & mask) == 0;
}

bool HostMatches(std::string_view pattern, const std::string &host)
{
    if (pattern.starts_with("*.")) {
        pattern.remove_prefix(1);
    }
    const bool suffixOnly = pattern.starts_with('.');
    const std::optional<std::string> bare = AsciiName(std::string(pattern.substr(suffixOnly)));
    return bare && (host == *bare || (host.ends_with("." + *bare) && !IsAddress(host)));
}

// Splits `host:port` or `[address]:port`; the port is 0 where there is none.
std::pair<std::string, uint16_t> SplitPort(const std::string &pattern)
{
    const size_t colon = pattern.rfind(':');
    const bool bracketed = pattern.starts_with('[');
    const bool hasPort = colon != std::string::npos &&
                         (bracketed ? pattern[colon - 1] == ']' : pattern.find(':') == colon);
    std::string host = hasPort ? pattern.substr(0, colon) : pattern;
    uint16_t port = 0;
    if (hasPort) {
        std::from_chars(pattern.data() + colon + 1, pattern.data() + pattern.size(), port);
    }
    if (bracketed && host.ends_with(']')) {
        host = host.substr(1, host.size() - 2);
    }
    return {host, port};
}

bool IsLoopback(const std::string &host)
{
    return host == "localhost" || host.ends_with(".localhost") || host == "::1" ||
           (host.starts_with("127.") && IsAddress(host));
}

ProxyChoice FirstSet(std::initializer_list<const char *> names)
{
    for (const char *name : names) {
        if (const char *value = std::getenv(name); value != nullptr && *value != '\0') {
            return {value, std::string("the environment variable ") + name};
        }
    }
    return {};
}

bool Excluded(const std::vector<std::string> &patterns, const Url &url)
{
    return std::any_of(patterns.begin(), patterns.end(), [&url](const std::string &pattern) {
        return ExclusionMatches(pattern, url);
    });
}

} // namespace

const EnvironmentProxies &EnvironmentProxies::Get()
{
    static const EnvironmentProxies proxies = [] {
        EnvironmentProxies read;
        // Not HTTP_PROXY: where a program runs behind CGI, a request header sets it.
        read.http = FirstSet({"http_proxy"});
        read.https = FirstSet({"https_proxy", "HTTPS_PROXY"});
        read.all = FirstSet({"all_proxy", "ALL_PROXY"});
        const std::string list = FirstSet({"no_proxy", "NO_PROXY"}).address;
        size_t begin = 0;
        while (begin < list.size()) {
            const size_t end = std::min(list.find_first_of(", ", begin), list.size());
            if (end > begin) {
                read.excluded.push_back(list.substr(begin, end - begin));
            }
            begin = end + 1;
        }
        return read;
    }();
    return proxies;
}

bool ExclusionMatches(const std::string &pattern, const Url &url)
{
    const std::string text(Trim(pattern));
    if (text.empty()) {
        return false;
    }
    if (text == "*") {
        return true;
    }
    if (text.find("://") != std::string::npos) {
        return EqualsIgnoringCase(text, std::string_view(url.text).substr(0, text.size()));
    }
    if (const size_t slash = text.find('/'); slash != std::string::npos) {
        return InBlock(text, slash, url.host);
    }
    const auto [host, port] = SplitPort(text);
    return (port == 0 || port == url.port) && HostMatches(host, url.host);
}

ProxyChoice ChooseProxy(const WebProxy &configuration, const Url &url)
{
    if (configuration.mode == PROXY_EXPLICIT) {
        const auto *patterns =
            std::get_if<std::vector<std::string>>(&configuration.exclusions.Get());
        return patterns != nullptr && Excluded(*patterns, url)
                   ? ProxyChoice()
                   : ProxyChoice{configuration.url, "the configuration"};
    }
    if (configuration.mode != PROXY_ENVIRONMENT || IsLoopback(url.host)) {
        return {};
    }
    const EnvironmentProxies &environment = EnvironmentProxies::Get();
    const ProxyChoice &ofScheme = url.Secure() ? environment.https : environment.http;
    const ProxyChoice &proxy = ofScheme.address.empty() ? environment.all : ofScheme;
    return proxy.address.empty() || Excluded(environment.excluded, url) ? ProxyChoice() : proxy;
}

std::string Proxy::Address() const
{
    const bool bracketed = name.find(':') != std::string::npos;
    return scheme + "://" + (bracketed ? "[" + name + "]" : name) + ":" + std::to_string(port);
}

std::string Proxy::Text() const
{
    return Address() + ", which " + namedBy + " names";
}

bool ParseProxy(const std::string &text, Proxy &proxy)
{
    constexpr std::array<std::pair<std::string_view, uint16_t>, 6> SCHEMES{{{"http", 1080},
                                                                            {"https", 443},
                                                                            {"socks4", 1080},
                                                                            {"socks4a", 1080},
                                                                            {"socks5", 1080},
                                                                            {"socks5h", 1080}}};
    proxy.url = text.find("://") == std::string::npos ? "http://" + text : text;
    const size_t end = proxy.url.find("://");
    proxy.scheme = Lower(std::string_view(proxy.url).substr(0, end));
    const auto scheme = std::find_if(SCHEMES.begin(), SCHEMES.end(), [&proxy](const auto &known) {
        return known.first == proxy.scheme;
    });
    if (scheme == SCHEMES.end()) {
        return false;
    }
    // The parser knows the parts of an http URL; the rest is alike.
    Url parts;
    if (ParseUrl("http" + proxy.url.substr(end), parts) != CURLE_OK) {
        return false;
    }
    proxy.url.replace(end, std::string::npos, parts.Ascii(), std::strlen("http"));
    proxy.host = parts.host;
    proxy.name = parts.Name();
    proxy.port = parts.ownPort ? parts.port : scheme->second;
    return true;
}

} // namespace OHOS::Pelloria::Tnx
