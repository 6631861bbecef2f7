// The proxy with its exclusions, and the three kinds of name rules, with the bridges through which
// the engine asks the application.
#include "translate/tnx_proxy_dns.h"

#include "common/c_ptr.h"
#include "translate/text.h"
#include "translate/tnx_security.h"

#include <new>
#include <string>
#include <utility>
#include <vector>

namespace OHOS::Pelloria::TnxC
{
namespace
{

void FreeAddresses(Tnx_IpAddress *address) noexcept
{
    while (address != nullptr) {
        std::free(std::exchange(address, address->next));
    }
}

std::vector<std::string> AddressesOf(const Tnx_IpAddress *address)
{
    std::vector<std::string> addresses;
    for (; address != nullptr; address = address->next) {
        addresses.push_back(TextIn(address->ip));
    }
    return addresses;
}

// No address is no opinion.
std::vector<std::string> AskDynamicRule(const Tnx_DnsRule &rule, const std::string &host,
                                        uint16_t port)
{
    const std::unique_ptr<Tnx_IpAddress, DestroyWith<&FreeAddresses>> first(
        rule.rule.dynamicRule(host.c_str(), port));
    return AddressesOf(first.get());
}

void TranslateExclusionList(Tnx::Exclusions &out, const Tnx_UrlNode *node)
{
    if (node == nullptr) {
        return;
    }
    std::vector<std::string> urls;
    for (; node != nullptr; node = node->next) {
        if (node->url != nullptr) {
            urls.emplace_back(node->url);
        }
    }
    out.SetUrlVec(urls);
}

void TranslateServers(Tnx::DnsRule &out, const Tnx_DnsServer *server)
{
    if (server == nullptr) {
        return;
    }
    Tnx::DnsServers servers;
    for (; server != nullptr; server = server->next) {
        servers.push_back({TextIn(server->ip), server->port});
    }
    out.SetDnsServers(servers);
}

void TranslateStaticRules(Tnx::DnsRule &out, const Tnx_StaticDnsRule *rule)
{
    if (rule == nullptr) {
        return;
    }
    std::vector<Tnx::StaticDnsRuleItem> items;
    for (; rule != nullptr; rule = rule->next) {
        items.push_back({TextIn(rule->host), rule->port, AddressesOf(rule->ipAddresses)});
    }
    out.SetStaticDnsRule(items);
}

} // namespace

void TnxSetCppExclusionFunction(Tnx::WebProxy &out, const Tnx_WebProxy &proxy)
{
    const Tnx_ExclusionFunction excludes = proxy.exclusions.exclusionFunction;
    if (excludes != nullptr) {
        out.exclusions.SetExclusionFunction(
            [excludes](const std::string &url) { return excludes(url.c_str()); });
    }
}

void TnxToCppWebProxy(Tnx::WebProxy &out, const Tnx_WebProxy &proxy)
{
    out.mode = proxy.mode;
    if (proxy.mode != TNX_PROXY_EXPLICIT) {
        return;
    }
    out.url = TextOf(proxy.url);
    out.option = proxy.proxyOption;
    if (proxy.exclusionKind == TNX_EXCLUSION_FUNCTION) {
        TnxSetCppExclusionFunction(out, proxy);
    } else if (proxy.exclusionKind == TNX_EXCLUSION_LIST) {
        TranslateExclusionList(out.exclusions, proxy.exclusions.exclusionList);
    }
    TnxToCppSecurityConfiguration(out.security, proxy.security);
}

void TnxSetCppDnsDynamicDnsRules(const std::shared_ptr<Tnx::DnsRule> &out, const Tnx_DnsRule *rule)
{
    if (rule->rule.dynamicRule != nullptr) {
        out->SetDynamicDnsRule([rule](const std::string &host, uint16_t port) {
            return AskDynamicRule(*rule, host, port);
        });
    }
}

void TnxToCppDnsRule(const std::shared_ptr<Tnx::DnsRule> &out, const Tnx_DnsRule *rule)
{
    if (rule == nullptr) {
        return;
    }
    switch (rule->kind) {
    case TNX_DNS_SERVERS:
        TranslateServers(*out, rule->rule.servers);
        break;
    case TNX_DNS_STATIC:
        TranslateStaticRules(*out, rule->rule.staticRules);
        break;
    case TNX_DNS_DYNAMIC:
        TnxSetCppDnsDynamicDnsRules(out, rule);
        break;
    default:
        break;
    }
}

} // namespace OHOS::Pelloria::TnxC
