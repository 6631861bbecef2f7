// The options that limit a transfer, and that say what its connections are made with.
#include "base/values.h"
#include "options_table.h"

namespace TnxTool
{

namespace
{

template <Tnx_ConnectionSetting Which> void Connect(Settings &settings, const std::string &value)
{
    settings.connection[Which] = value;
}

// Several rules are one setting.
void ConnectTo(Settings &settings, const std::string &value)
{
    std::string &rules = settings.connection[TNX_CONNECTION_TO];
    rules += (rules.empty() ? "" : ",") + value;
}

void LimitRate(Settings &settings, const std::string &value)
{
    const auto rate = static_cast<int64_t>(ParseSize(value));
    settings.limits[TNX_LIMIT_RATE_DOWN] = settings.limits[TNX_LIMIT_RATE_UP] = rate;
}

void LimitRedirects(Settings &settings, const std::string &value)
{
    if (value == "-1") {
        settings.limits[TNX_LIMIT_REDIRECTS] = INT32_MAX;
    } else {
        const uint32_t most = ParseNumber(value, INT32_MAX);
        settings.limits[TNX_LIMIT_REDIRECTS] = most == 0 ? TNX_NO_REDIRECTS : int64_t{most};
    }
}

void LimitSpeed(Settings &settings, const std::string &value)
{
    constexpr uint32_t seconds = 30; // without -y
    settings.slowest = ParseSize(value);
    settings.slowTime = settings.slowTime == 0 ? seconds : settings.slowTime;
}

void LimitTls(Settings &settings, const std::string &value)
{
    if (value == "1.2" || value == "1.3") {
        settings.limits[TNX_LIMIT_TLS_HIGHEST] = value == "1.2" ? TNX_TLS_1_2 : TNX_TLS_1_3;
    } else if (value != "default") {
        throw UsageError("expected 1.2, 1.3 or default, not '" + value + "'");
    }
}

constexpr const char *CONNECT_TO_MAN =
    "Connect to the second host and port where the URL names the first; an empty first one is any, "
    "an empty second one that of the URL. The certificate's check stays with the URL. Several are "
    "tried in turn.";

const Option OPTIONS[] = {
    {.letter = '4',
     .name = "ipv4",
     .topic = Topic::CONNECTION,
     .help = "Connect to IPv4 addresses only",
     .man = "Connect to IPv4 addresses only.",
     .target = +[](Settings &s) { s.limits[TNX_LIMIT_ADDRESS_FAMILY] = 4; }},
    {.letter = '6',
     .name = "ipv6",
     .topic = Topic::CONNECTION,
     .help = "Connect to IPv6 addresses only",
     .man = "Connect to IPv6 addresses only.",
     .target = +[](Settings &s) { s.limits[TNX_LIMIT_ADDRESS_FAMILY] = 6; }},
    {.name = "limit-rate",
     .argument = "speed",
     .topic = Topic::CONNECTION,
     .help = "The most bytes a second",
     .man = "Send and receive no more bytes a second, on average. K, M, G and T behind the number "
            "stand for powers of 1024.",
     .target = &LimitRate},
    {.name = "max-filesize",
     .argument = "bytes",
     .topic = Topic::CONNECTION,
     .help = "The most bytes of a body",
     .man = "End a transfer whose body is larger with exit status 63. K, M, G and T behind the "
            "number stand for powers of 1024.",
     .target =
         +[](Settings &s, const std::string &value) {
             s.limits[TNX_LIMIT_RESPONSE_SIZE] = static_cast<int64_t>(ParseSize(value));
         }},
    {.name = "max-redirs",
     .argument = "number",
     .topic = Topic::CONNECTION,
     .help = "The most redirects to follow",
     .man = "Follow no more redirects, 50 unless set; -1 is no limit.",
     .target = &LimitRedirects},
    {.letter = 'Y',
     .name = "speed-limit",
     .argument = "speed",
     .topic = Topic::CONNECTION,
     .help = "End a transfer that is slower",
     .man =
         "End a transfer that brings fewer bytes a second for the time of -y, or for 30 seconds, "
         "with exit status 28.",
     .target = &LimitSpeed},
    {.letter = 'y',
     .name = "speed-time",
     .argument = "seconds",
     .topic = Topic::CONNECTION,
     .help = "End a transfer that is slow for so long",
     .man = "How long a transfer may be slower than -Y says, or than one byte a second.",
     .target =
         +[](Settings &s, const std::string &value) { s.slowTime = ParseNumber(value, 4000000); }},
    {.name = "unix-socket",
     .argument = "file",
     .topic = Topic::CONNECTION,
     .help = "Connect through a Unix socket",
     .man = "Connect to this Unix socket, whichever host the URL names.",
     .target = &Connect<TNX_CONNECTION_UNIX_SOCKET>},
    {.name = "interface",
     .argument = "name/address",
     .topic = Topic::CONNECTION,
     .help = "Connect from an interface or address",
     .man = "Connect from this network interface, or from this address of the machine.",
     .target = &Connect<TNX_CONNECTION_INTERFACE>},
    {.name = "connect-to",
     .argument = "host:port:host:port",
     .topic = Topic::CONNECTION,
     .help = "Connect elsewhere than the URL says",
     .man = CONNECT_TO_MAN,
     .target = &ConnectTo},

    {.name = "tlsv1.2",
     .topic = Topic::TLS,
     .help = "Speak TLS 1.2 or later",
     .man = "Speak TLS 1.2 or later, which is so without it too.",
     .target = +[](Settings &s) { s.limits[TNX_LIMIT_TLS_LOWEST] = TNX_TLS_1_2; }},
    {.name = "tlsv1.3",
     .topic = Topic::TLS,
     .help = "Speak TLS 1.3 or later",
     .man = "Speak TLS 1.3 or later.",
     .target = +[](Settings &s) { s.limits[TNX_LIMIT_TLS_LOWEST] = TNX_TLS_1_3; }},
    {.name = "tls-max",
     .argument = "version",
     .topic = Topic::TLS,
     .help = "The highest version of TLS",
     .man = "Speak no higher version of TLS than 1.2 or 1.3.",
     .target = &LimitTls},
    {.name = "ciphers",
     .argument = "list",
     .topic = Topic::TLS,
     .help = "Ciphers for TLS 1.2",
     .man = "Let these ciphers be chosen for TLS 1.2: OpenSSL's names, separated by colons.",
     .target = &Connect<TNX_CONNECTION_TLS12_CIPHERS>},
    {.name = "tls13-ciphers",
     .argument = "list",
     .topic = Topic::TLS,
     .help = "Cipher suites for TLS 1.3",
     .man = "Let these cipher suites be chosen for TLS 1.3, separated by colons.",
     .target = &Connect<TNX_CONNECTION_TLS13_CIPHERS>},
};

} // namespace

std::span<const Option> LimitOptions()
{
    return OPTIONS;
}

} // namespace TnxTool
