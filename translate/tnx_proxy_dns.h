// From the proxy and name rules of a configuration to the engine's.
#ifndef TNX_TRANSLATE_TNX_PROXY_DNS_H
#define TNX_TRANSLATE_TNX_PROXY_DNS_H

#include "tnx_c/configuration.h"
#include "tnx_native/dns_rule.h"
#include "tnx_native/web_proxy.h"

#include <memory>

namespace OHOS::Pelloria::TnxC
{

void TnxToCppWebProxy(Tnx::WebProxy &out, const Tnx_WebProxy &proxy);

// Fills a new rule; a null record leaves it empty. A dynamic rule keeps the record's address.
void TnxToCppDnsRule(const std::shared_ptr<Tnx::DnsRule> &out, const Tnx_DnsRule *rule);

void TnxSetCppExclusionFunction(Tnx::WebProxy &out, const Tnx_WebProxy &proxy);
void TnxSetCppDnsDynamicDnsRules(const std::shared_ptr<Tnx::DnsRule> &out, const Tnx_DnsRule *rule);

} // namespace OHOS::Pelloria::TnxC

#endif
