// Proxies with their exclusions, and the three kinds of name rules.
#include "translate/tnx_proxy_dns.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace
{

using namespace OHOS::Pelloria;
using namespace OHOS::Pelloria::TnxC;

using Texts = std::vector<std::string>;

TEST(ProxyTest, OnlyTheExplicitModeReadsMore)
{
    for (const uint32_t mode : {0U, 2U, 9U}) {
        Tnx_WebProxy record;
        std::memset(&record, 0xA5, sizeof(record)); // nothing of this may be touched
        record.mode = mode;
        Tnx::WebProxy proxy;
        TnxToCppWebProxy(proxy, record);
        EXPECT_EQ(proxy.mode, mode);
        EXPECT_EQ(proxy.url, "");
        EXPECT_EQ(proxy.option, 0U);
    }
    Tnx_WebProxy record = {};
    record.mode = TNX_PROXY_EXPLICIT;
    record.url = "socks5://host";
    record.proxyOption = TNX_PROXY_TUNNEL;
    record.security.remoteValidation = TNX_VALIDATION_SKIP;
    Tnx::WebProxy proxy;
    TnxToCppWebProxy(proxy, record);
    EXPECT_EQ(proxy.url, "socks5://host");
    EXPECT_EQ(proxy.option, 1U);
    EXPECT_TRUE(proxy.security.skipValidation);
    record.url = nullptr;
    TnxToCppWebProxy(proxy, record);
    EXPECT_EQ(proxy.url, "");
}

Tnx::WebProxy WithList(Tnx_UrlNode *list, uint32_t kind)
{
    Tnx_WebProxy record = {};
    record.mode = TNX_PROXY_EXPLICIT;
    record.exclusionKind = kind;
    record.exclusions.exclusionList = list;
    Tnx::WebProxy proxy;
    proxy.exclusions.SetUrlVec({"old"});
    TnxToCppWebProxy(proxy, record);
    return proxy;
}

TEST(ProxyTest, ExclusionList)
{
    Tnx_UrlNode third = {"c", nullptr};
    Tnx_UrlNode second = {nullptr, &third};
    Tnx_UrlNode first = {"a", &second};
    Tnx_UrlNode hollow = {nullptr, nullptr};
    const struct {
        Tnx_UrlNode *list;
        uint32_t kind;
        Texts expected;
    } cases[] = {{&first, TNX_EXCLUSION_LIST, {"a", "c"}},
                 {&hollow, TNX_EXCLUSION_LIST, {}},
                 {nullptr, TNX_EXCLUSION_LIST, {"old"}},
                 {nullptr, TNX_EXCLUSION_FUNCTION, {"old"}},
                 {&first, 2, {"old"}}};
    for (const auto &[list, kind, expected] : cases) {
        EXPECT_EQ(std::get<Texts>(WithList(list, kind).exclusions.Get()), expected);
    }
}

TEST(ProxyTest, ExclusionFunctionIsKeptByValue)
{
    Tnx_WebProxy record = {};
    record.mode = TNX_PROXY_EXPLICIT;
    record.exclusionKind = TNX_EXCLUSION_FUNCTION;
    record.exclusions.exclusionFunction = [](const char *url) {
        return std::strcmp(url, "http://out") == 0;
    };
    Tnx::WebProxy proxy;
    TnxToCppWebProxy(proxy, record);
    record.exclusions.exclusionFunction = nullptr;
    const auto excludes = std::get<Tnx::Exclusions::UrlPredicate>(proxy.exclusions.Get());
    EXPECT_TRUE(excludes("http://out"));
    EXPECT_FALSE(excludes("http://in"));
}

std::shared_ptr<Tnx::DnsRule> Rule(const Tnx_DnsRule *record)
{
    const auto rule = std::make_shared<Tnx::DnsRule>();
    TnxToCppDnsRule(rule, record);
    return rule;
}

TEST(DnsTest, ServersInOrder)
{
    Tnx_DnsServer second = {"::1", 0, nullptr};
    Tnx_DnsServer first = {"10.0.0.1", 5353, &second};
    Tnx_DnsRule record = {TNX_DNS_SERVERS, {}};
    record.rule.servers = &first;
    const auto servers = std::get<Tnx::DnsServers>(Rule(&record)->Get());
    ASSERT_EQ(servers.size(), 2U);
    EXPECT_EQ(servers[0].ip, "10.0.0.1");
    EXPECT_EQ(servers[0].port, 5353);
    EXPECT_EQ(servers[1].ip, "::1");
    EXPECT_EQ(servers[1].port, 0);
}

TEST(DnsTest, StaticRulesInOrder)
{
    Tnx_IpAddress six = {"fe80::1", nullptr};
    Tnx_IpAddress four = {"10.0.0.1", &six};
    Tnx_StaticDnsRule hollow = {"none", 0, nullptr, nullptr};
    Tnx_StaticDnsRule full = {"host", 8080, &four, &hollow};
    std::memset(hollow.host, 'h', sizeof(hollow.host)); // no terminator: cut, not read past
    Tnx_DnsRule record = {TNX_DNS_STATIC, {}};
    record.rule.staticRules = &full;
    const auto items = std::get<std::vector<Tnx::StaticDnsRuleItem>>(Rule(&record)->Get());
    ASSERT_EQ(items.size(), 2U);
    EXPECT_EQ(items[0].host, "host");
    EXPECT_EQ(items[0].port, 8080);
    EXPECT_EQ(items[0].addresses, (Texts{"10.0.0.1", "fe80::1"}));
    EXPECT_EQ(items[1].host, std::string(256, 'h'));
    EXPECT_TRUE(items[1].addresses.empty());
}

TEST(DnsTest, MissingAndUnknownRulesStayEmpty)
{
    EXPECT_EQ(Rule(nullptr)->Get().index(), 0U);
    for (const uint32_t kind : {0U, 1U, 2U, 3U}) {
        const Tnx_DnsRule record = {kind, {}};
        EXPECT_EQ(Rule(&record)->Get().index(), 0U);
    }
}

Tnx_IpAddress *Node(const char *ip, Tnx_IpAddress *next)
{
    auto *node = static_cast<Tnx_IpAddress *>(std::calloc(1, sizeof(Tnx_IpAddress)));
    std::strncpy(node->ip, ip, sizeof(node->ip) - 1);
    node->next = next;
    return node;
}

Tnx_IpAddress *Resolve(const char *host, uint16_t port)
{
    if (std::strcmp(host, "known") != 0) {
        return nullptr;
    }
    return Node("1.1.1.1", Node(port == 443 ? "2.2.2.2" : "3.3.3.3", Node("", nullptr)));
}

// That every node is freed is what the leak checker sees.
TEST(DnsTest, DynamicRuleIsReadAtEachCall)
{
    Tnx_DnsRule record = {TNX_DNS_DYNAMIC, {}};
    record.rule.dynamicRule = Resolve;
    const auto rule = Rule(&record);
    const auto resolve = std::get<Tnx::DynamicDnsFunction>(rule->Get());
    EXPECT_EQ(resolve("known", 443), (Texts{"1.1.1.1", "2.2.2.2", ""}));
    EXPECT_EQ(resolve("known", 80), (Texts{"1.1.1.1", "3.3.3.3", ""}));
    EXPECT_TRUE(resolve("unknown", 80).empty());
    record.rule.dynamicRule = [](const char *, uint16_t) { return Node("4.4.4.4", nullptr); };
    EXPECT_EQ(resolve("known", 443), Texts{"4.4.4.4"});
}

} // namespace
