// How names are resolved: by given servers, by a table, or by the application.
#ifndef TNX_NATIVE_DNS_RULE_H
#define TNX_NATIVE_DNS_RULE_H

#include <cstdint>
#include <functional>
#include <string>
#include <variant>
#include <vector>

namespace OHOS::Pelloria::Tnx
{

struct IpAndPort {
    std::string ip;
    uint16_t port = 0; // 0: 53
};

using DnsServers = std::vector<IpAndPort>;

struct StaticDnsRuleItem {
    std::string host;
    uint16_t port = 0; // 0: any
    std::vector<std::string> addresses;
};

// Gives the addresses of a host, or none for no opinion.
using DynamicDnsFunction =
    std::function<std::vector<std::string>(const std::string &host, uint16_t port)>;

class DnsRule
{
public:
    using Rule = std::variant<std::monostate, DnsServers, std::vector<StaticDnsRuleItem>,
                              DynamicDnsFunction>;

    void SetDnsServers(const DnsServers &servers) { rule_ = servers; }
    void SetStaticDnsRule(const std::vector<StaticDnsRuleItem> &items) { rule_ = items; }
    void SetDynamicDnsRule(const DynamicDnsFunction &function) { rule_ = function; }
    const Rule &Get() const { return rule_; }

private:
    Rule rule_;
};

} // namespace OHOS::Pelloria::Tnx

#endif
