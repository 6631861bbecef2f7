// Transfer settings, and the parts that have translations of their own.
#include "translate/tnx_configuration.h"

#include "translate/text.h"
#include "translate/tnx_events.h"
#include "translate/tnx_proxy_dns.h"
#include "translate/tnx_security.h"

namespace OHOS::Pelloria::TnxC
{
namespace
{

void TranslateTransfer(Tnx::Configuration &out, const Tnx_TransferConfiguration &transfer)
{
    out.autoRedirect = transfer.autoRedirect;
    if (transfer.connectTimeout != 0) {
        out.connectTimeout = transfer.connectTimeout;
    }
    if (transfer.transferTimeout != 0) {
        out.transferTimeout = transfer.transferTimeout;
    }
    out.transferHint = transfer.transferHint;
    out.transferPreference = transfer.transferPreference;
}

std::shared_ptr<const Tnx::DnsRule> MakeDnsRule(const Tnx_DnsRule *record)
{
    if (record == nullptr) {
        static const Tnx::DnsRule none;
        return {std::shared_ptr<void>(), &none};
    }
    auto rule = std::make_shared<Tnx::DnsRule>();
    TnxToCppDnsRule(rule, record);
    return rule;
}

} // namespace

void TnxToCppConfiguration(Tnx::Configuration &out, const Tnx_Configuration *configuration)
{
    if (configuration == nullptr) {
        return;
    }
    TranslateTransfer(out, configuration->transfer);
    TnxToCppHttpEventsHandler(out.tracing, configuration->tracing);
    TnxToCppWebProxy(out.proxy, configuration->proxy);
    // Always another one: a rule that stood here before does not outlive this record.
    out.dnsRule = MakeDnsRule(configuration->dnsRule);
    out.dnsResolverUrl = TextOf(configuration->dnsResolverUrl);
    out.dnsResolverOnly = configuration->dnsResolverFlag;
    TnxToCppSecurityConfiguration(out.security, configuration->security);
}

} // namespace OHOS::Pelloria::TnxC
