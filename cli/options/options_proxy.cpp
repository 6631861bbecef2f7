// The options about proxies.
#include "base/values.h"
#include "options_table.h"

namespace TnxTool
{

namespace
{

void UseSocks(Settings &settings, const char *scheme, const std::string &value)
{
    settings.proxy = std::string(scheme) + "://" + value;
}

const Option OPTIONS[] = {
    {.letter = 'x',
     .name = "proxy",
     .argument = "[scheme://]host[:port]",
     .topic = Topic::PROXY,
     .help = "Use this proxy",
     .man = "Use this proxy: http, https, socks4, socks4a, socks5 or socks5h; http where there is "
            "no scheme, port 1080 where there is none. An empty one turns off the proxies of the "
            "environment.",
     .target = &Settings::proxy,
     .important = true,
     .secret = true},
    {.letter = 'U',
     .name = "proxy-user",
     .argument = "user:password",
     .topic = Topic::PROXY,
     .help = "The user and password for the proxy",
     .man = "Authenticate to the proxy with this name and password, by Basic unless another way is "
            "chosen.",
     .target = +[](Settings &s, const std::string &value) { s.proxyPeer.user = value; },
     .secret = true},
    {.name = "noproxy",
     .argument = "list",
     .topic = Topic::PROXY,
     .help = "Hosts that are not proxied",
     .man = "Hosts, domains, addresses and networks that are reached without the proxy, separated "
            "by commas; * is all of them.",
     .target = &Settings::noProxy},
    {.letter = 'p',
     .name = "proxytunnel",
     .topic = Topic::PROXY,
     .help = "Tunnel through the HTTP proxy",
     .man = "Tunnel through the HTTP proxy with CONNECT, for http too.",
     .target = &Settings::proxyTunnel},
    {.name = "socks4",
     .argument = "host[:port]",
     .topic = Topic::PROXY,
     .help = "Use this SOCKS4 proxy",
     .man = "Use this SOCKS4 proxy.",
     .target = +[](Settings &s, const std::string &value) { UseSocks(s, "socks4", value); }},
    {.name = "socks4a",
     .argument = "host[:port]",
     .topic = Topic::PROXY,
     .help = "Use this SOCKS4a proxy",
     .man = "Use this SOCKS4a proxy, which resolves the name.",
     .target = +[](Settings &s, const std::string &value) { UseSocks(s, "socks4a", value); }},
    {.name = "socks5",
     .argument = "host[:port]",
     .topic = Topic::PROXY,
     .help = "Use this SOCKS5 proxy",
     .man = "Use this SOCKS5 proxy (RFC 1928).",
     .target = +[](Settings &s, const std::string &value) { UseSocks(s, "socks5", value); }},
    {.name = "socks5-hostname",
     .argument = "host[:port]",
     .topic = Topic::PROXY,
     .help = "Use this SOCKS5 proxy for names too",
     .man = "Use this SOCKS5 proxy, and let it resolve the name.",
     .target = +[](Settings &s, const std::string &value) { UseSocks(s, "socks5h", value); }},
    {.name = "proxy-basic",
     .topic = Topic::PROXY,
     .help = "Authenticate to the proxy by Basic",
     .man = "Authenticate to the proxy by Basic, which is the default.",
     .target = +[](Settings &s) { s.proxyPeer.credentialKind = TNX_CREDENTIAL_BASIC; }},
    {.name = "proxy-digest",
     .topic = Topic::PROXY,
     .help = "Authenticate to the proxy by Digest",
     .man = "Authenticate to the proxy by Digest.",
     .target = +[](Settings &s) { s.proxyPeer.credentialKind = TNX_CREDENTIAL_DIGEST; }},
    {.name = "proxy-anyauth",
     .topic = Topic::PROXY,
     .help = "Authenticate as the proxy asks",
     .man = "Answer what the proxy challenges with.",
     .target = +[](Settings &s) { s.proxyPeer.credentialKind = TNX_CREDENTIAL_AUTOMATIC; }},
    {.name = "proxy-cacert",
     .argument = "file",
     .topic = Topic::PROXY,
     .help = "Trust the CAs in this file for the proxy",
     .man = "Trust the CAs in this PEM file when checking an https proxy.",
     .target = +[](Settings &s, const std::string &value) { s.proxyPeer.caFile = value; }},
    {.name = "proxy-capath",
     .argument = "directory",
     .topic = Topic::PROXY,
     .help = "Trust the CAs in this directory for the proxy",
     .man = "Trust the CAs in this directory when checking an https proxy.",
     .target = +[](Settings &s, const std::string &value) { s.proxyPeer.caDirectory = value; }},
    {.name = "proxy-insecure",
     .topic = Topic::PROXY,
     .help = "Do not check the proxy's certificate",
     .man = "Do not check the certificate of an https proxy.",
     .target = +[](Settings &s) { s.proxyPeer.insecure = true; }},
};

} // namespace

std::span<const Option> ProxyOptions()
{
    return OPTIONS;
}

} // namespace TnxTool
