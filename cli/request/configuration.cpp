// Turns settings into the configuration record that all requests of a run share.
#include "configuration.h"

#include <cstdlib>
#include <cstring>

#include <arpa/inet.h>

#include "base/terminal.h"
#include "base/values.h"

namespace TnxTool
{

namespace
{

// Appends to a list of records that are linked through `next`.
template <class Node> Node &Link(std::deque<Node> &nodes)
{
    Node *last = nodes.empty() ? nullptr : &nodes.back();
    Node &node = nodes.emplace_back();
    if (last != nullptr) {
        last->next = &node;
    }
    return node;
}

template <size_t Size> void Copy(char (&array)[Size], const std::string &text)
{
    if (text.empty() || text.size() >= Size) {
        throw UsageError("'" + text + "' is empty or too long for an address or a host");
    }
    std::memcpy(array, text.c_str(), text.size() + 1);
}

// A literal address, without the brackets that IPv6 may stand in.
std::string ParseAddress(const std::string &text)
{
    const bool bracketed = text.starts_with('[') && text.ends_with(']');
    const std::string address = bracketed ? text.substr(1, text.size() - 2) : text;
    in6_addr bytes;
    if (inet_pton(AF_INET, address.c_str(), &bytes) != 1 &&
        inet_pton(AF_INET6, address.c_str(), &bytes) != 1) {
        throw UsageError("'" + text + "' is no address");
    }
    return address;
}

uint16_t ParsePort(const std::string &text)
{
    return static_cast<uint16_t>(ParseNumber(text, UINT16_MAX));
}

// Splits "certificate:password" at the first colon that is not escaped.
std::pair<std::string, Text> SplitCertificate(const std::string &value)
{
    std::string path;
    for (size_t at = 0; at < value.size(); ++at) {
        if (value[at] == '\\' && at + 1 < value.size() &&
            (value[at + 1] == ':' || value[at + 1] == '\\')) {
            path += value[++at];
        } else if (value[at] == ':') {
            return {path, value.substr(at + 1)};
        } else {
            path += value[at];
        }
    }
    return {path, std::nullopt};
}

// What is read when a transfer is over; what is told while it runs is heard then.
void FillTracing(Tnx_TracingConfiguration &tracing, const Settings &s)
{
    const bool lines = (s.asJson && s.verbose) || s.explain || s.timing || s.har;
    bool(&kinds)[TNX_DEBUG_KINDS] = tracing.debugInfoKinds;
    kinds[TNX_DEBUG_TEXT] = lines;
    kinds[TNX_DEBUG_HEADER_IN] = kinds[TNX_DEBUG_HEADER_OUT] = lines || s.writeOut;
    kinds[TNX_DEBUG_DATA_OUT] = s.har.has_value();
    tracing.collectTimeInfo = true;
}

} // namespace

RunConfiguration::RunConfiguration(const Settings &settings)
{
    FillTracing(record_.tracing, settings);
    Tnx_TransferConfiguration &transfer = record_.transfer;
    transfer.autoRedirect = settings.location;
    transfer.connectTimeout = settings.connectTimeout;
    transfer.transferTimeout = settings.maxTime;
    transfer.transferPreference = settings.preference;
    transfer.transferHint = settings.priorKnowledge;
    FillSecurity(record_.security, settings.server, "host");
    FillProxy(settings);
    if (!settings.resolve.empty()) {
        FillStaticRules(settings.resolve);
    } else if (settings.dnsServers) {
        FillDnsServers(*settings.dnsServers);
    }
    if (settings.dohUrl && !settings.dohUrl->empty()) {
        record_.dnsResolverUrl = settings.dohUrl->c_str();
        record_.dnsResolverFlag = true; // as curl: names leave the machine encrypted or not at all
    }
}

const char *RunConfiguration::Keep(std::string text)
{
    return texts_.emplace_back(std::move(text)).c_str();
}

void RunConfiguration::FillSecurity(Tnx_SecurityConfiguration &record, const PeerSettings &peer,
                                    const char *whom)
{
    const auto text = [](const Text &value) { return value ? value->c_str() : nullptr; };
    if (peer.insecure) {
        record.remoteValidation = TNX_VALIDATION_SKIP;
    } else if (peer.caFile || peer.caDirectory || peer.pins) {
        record.remoteValidation = TNX_VALIDATION_CUSTOM;
        record.customValidation1 = text(peer.caFile);
        record.customValidation2 = text(peer.caDirectory);
        record.customValidation3 = text(peer.pins);
    }
    FillCertificate(record.clientCertificate, peer);
    if (peer.bearer) {
        record.credentialKind = TNX_CREDENTIAL_BEARER;
        record.credentialPassword = peer.bearer->c_str();
    } else if (peer.user) {
        const size_t mark = peer.user->find(':');
        const std::string name = peer.user->substr(0, mark);
        record.credentialKind = peer.credentialKind;
        record.credentialName = Keep(name);
        record.credentialPassword =
            Keep(mark == std::string::npos ? AskPassword(whom, name) : peer.user->substr(mark + 1));
    }
}

void RunConfiguration::FillCertificate(Tnx_ClientCertificate &record, const PeerSettings &peer)
{
    if (!peer.certificate) {
        if (peer.key || peer.passPhrase) {
            throw UsageError("--key and --pass need a client certificate (-E)");
        }
        return;
    }
    const auto [path, password] = SplitCertificate(*peer.certificate);
    record.certificate = Keep(path);
    record.certificateMode = peer.certificateMode;
    // A PEM or PKCS#12 file may hold the key too.
    record.key = peer.key ? peer.key->c_str() : record.certificate;
    if (peer.passPhrase || password) {
        record.keyPassword = Keep(peer.passPhrase ? *peer.passPhrase : *password);
    }
}

void RunConfiguration::FillProxy(const Settings &settings)
{
    Tnx_WebProxy &proxy = record_.proxy;
    PeerSettings &peer = proxyPeer_ = settings.proxyPeer;
    if (!settings.proxy) {
        if (settings.noProxy == "*") {
            proxy.mode = TNX_PROXY_NONE;
        } else if (settings.noProxy) {
            // Only an explicit proxy carries exclusions; those of the environment are read there.
            setenv("no_proxy", settings.noProxy->c_str(), 1);
        }
        if (settings.proxyTunnel || peer.user || peer.insecure || peer.caFile || peer.caDirectory) {
            throw UsageError("the options of the proxy need one (-x)");
        }
        return;
    }
    if (settings.proxy->empty()) {
        proxy.mode = TNX_PROXY_NONE;
        return;
    }
    std::string url = *settings.proxy;
    const size_t scheme = url.find("://");
    const size_t host = scheme == std::string::npos ? 0 : scheme + 3;
    const size_t at = url.rfind('@');
    if (at != std::string::npos && at >= host) {
        // Credentials travel in their own members, where they are wiped and never shown.
        const std::string user = url.substr(host, at - host);
        url.erase(host, at + 1 - host);
        if (!peer.user) {
            const size_t colon = std::min(user.find(':'), user.size());
            peer.user = UrlDecode(user.substr(0, colon)) + ":" +
                        UrlDecode(user.substr(std::min(colon + 1, user.size())));
        }
    }
    proxy.mode = TNX_PROXY_EXPLICIT;
    proxy.url = Keep(url);
    proxy.proxyOption = settings.proxyTunnel ? TNX_PROXY_TUNNEL : TNX_PROXY_FORWARD;
    FillSecurity(proxy.security, peer, "proxy");
    if (settings.noProxy) {
        FillExclusions(*settings.noProxy);
    }
}

void RunConfiguration::FillExclusions(const std::string &list)
{
    for (const std::string &piece : Split(list, ',')) {
        if (const auto pattern = Trim(piece); !pattern.empty()) {
            Link(exclusions_).url = Keep(std::string(pattern));
        }
    }
    record_.proxy.exclusionKind = TNX_EXCLUSION_LIST;
    record_.proxy.exclusions.exclusionList = exclusions_.empty() ? nullptr : &exclusions_.front();
}

void RunConfiguration::FillStaticRules(const std::vector<std::string> &rules)
{
    for (const std::string &text : rules) {
        const size_t hostEnd = text.find(':');
        const size_t portEnd = hostEnd == std::string::npos ? hostEnd : text.find(':', hostEnd + 1);
        if (portEnd == std::string::npos || text.starts_with('-') || text.starts_with('*')) {
            throw UsageError("option --resolve: expected host:port:address[,address]..., not '" +
                             text + "'");
        }
        Tnx_StaticDnsRule &rule = Link(staticRules_);
        Copy(rule.host,
             text.substr(text.starts_with('+') ? 1 : 0, hostEnd - (text.starts_with('+') ? 1 : 0)));
        rule.port = ParsePort(text.substr(hostEnd + 1, portEnd - hostEnd - 1));
        Tnx_IpAddress *last = nullptr;
        for (const std::string &address : Split(std::string_view(text).substr(portEnd + 1), ',')) {
            Tnx_IpAddress &node = addresses_.emplace_back();
            Copy(node.ip, ParseAddress(address));
            (last == nullptr ? rule.ipAddresses : last->next) = &node;
            last = &node;
        }
    }
    dnsRule_.kind = TNX_DNS_STATIC;
    dnsRule_.rule.staticRules = &staticRules_.front();
    record_.dnsRule = &dnsRule_;
}

void RunConfiguration::FillDnsServers(const std::string &list)
{
    for (const std::string &piece : Split(list, ',')) {
        std::string address(Trim(piece));
        Tnx_DnsServer &server = Link(servers_);
        const bool bracketed = address.starts_with('[');
        const size_t mark = bracketed ? address.find("]:") : address.find(':');
        const bool plainV6 = !bracketed && mark != address.rfind(':');
        if (mark != std::string::npos && !plainV6) {
            const size_t colon = mark + (bracketed ? 1 : 0);
            server.port = ParsePort(address.substr(colon + 1));
            address.resize(colon);
        }
        Copy(server.ip, ParseAddress(address));
    }
    dnsRule_.kind = TNX_DNS_SERVERS;
    dnsRule_.rule.servers = &servers_.front();
    record_.dnsRule = &dnsRule_;
}

} // namespace TnxTool
