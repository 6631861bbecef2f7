// The order of sources for a name, and what each of them is asked.
#include "name_lookup.h"

#include "curl/quirks.h"
#include "doh_client.h"
#include "http/host_name.h"
#include "resolver.h"

namespace OHOS::Pelloria::Tnx
{
void NameLookup::Start(const std::string &host, uint16_t port, const Configuration *configuration,
                       Waker wake)
{
    wake_ = std::move(wake);
    configuration_ = configuration;
    host_ = host;
    port_ = port;
    result_ = {};
    answer_.reset();
    source_ = IsAddress(host) ? Source::NONE : Source::RULE;
    if (source_ == Source::NONE && !OfFamily(host)) {
        result_.error = "it is no address of " + Family();
    }
}

bool NameLookup::Ready()
{
    if (answer_ != nullptr) {
        std::optional<LookupResult> result;
        {
            MutexLock lock(answer_->mutex);
            result.swap(answer_->result);
        }
        if (!result) {
            return false;
        }
        answer_.reset();
        if (Settle(std::move(*result))) {
            return true;
        }
    }
    return Ask();
}

// Asks one source after the other, until one has answered or must be waited for.
bool NameLookup::Ask()
{
    while (source_ != Source::NONE) {
        bool answered = false;
        switch (source_) {
        case Source::RULE:
            answered = AskRule();
            break;
        case Source::RESOLVER_URL:
            answered = AskResolverUrl();
            break;
        default:
            if (!IsLocalName(host_)) {
                answered = AskServers({});
            } else if (family_ != AddressFamily::ANY) {
                return Settle({.addresses = LoopbackAddresses(), .error = {}});
            } else {
                source_ = Source::NONE;
            }
            break;
        }
        if (answered) {
            return true;
        }
        if (answer_ != nullptr) {
            return false;
        }
    }
    return true;
}

// Takes an answer. True when it is the outcome, false when the next source is to be asked.
bool NameLookup::Settle(LookupResult result)
{
    DropNames(result);
    DropOtherFamily(result);
    const bool noOpinion = result.addresses.empty() && result.error.empty();
    // An error of the resolver URL means that there is a configuration, which named it.
    const bool mayGoOn = source_ == Source::RESOLVER_URL && !result.error.empty() &&
                         !configuration_->dnsResolverOnly;
    if (noOpinion || mayGoOn) {
        if (!result.error.empty()) {
            recorder_.Note("Asking the system instead: " + result.error);
        }
        source_ = source_ == Source::RULE ? Source::RESOLVER_URL : Source::SYSTEM;
        return false;
    }
    result_ = std::move(result);
    source_ = Source::NONE;
    return true;
}

bool NameLookup::AskRule()
{
    if (configuration_ != nullptr && configuration_->dnsRule != nullptr) {
        const DnsRule::Rule &rule = configuration_->dnsRule->Get();
        if (const auto *servers = std::get_if<DnsServers>(&rule); servers && !servers->empty()) {
            return AskServers(*servers);
        }
        if (const auto *items = std::get_if<std::vector<StaticDnsRuleItem>>(&rule)) {
            return AskTable(*items);
        }
        if (const auto *function = std::get_if<DynamicDnsFunction>(&rule)) {
            AskApplication(*function);
            return answer_ == nullptr;
        }
    }
    return Settle({});
}

bool NameLookup::AskTable(const std::vector<StaticDnsRuleItem> &items)
{
    for (const StaticDnsRuleItem &item : items) {
        if (AsciiName(item.host) == host_ && (item.port == 0 || item.port == port_)) {
            return Settle({.addresses = item.addresses, .error = {}});
        }
    }
    return Settle({});
}

void NameLookup::AskApplication(const DynamicDnsFunction &function)
{
    answer_ = std::make_shared<Answer>();
    // By value: the transfer may be at its next name before this has come back.
    delivery_.Deliver([&delivery = delivery_, answer = answer_, wake = wake_, host = host_,
                       port = port_, &function] {
        answer->Set([&] {
            LookupResult result;
            delivery.Call([&] { result.addresses = function(host, port); });
            return result;
        });
        wake();
    });
}

// Only literal addresses can be connected to.
void NameLookup::DropNames(LookupResult &result)
{
    const bool given = !result.addresses.empty();
    std::erase_if(result.addresses, [this](const std::string &address) {
        if (IsAddress(address)) {
            return false;
        }
        recorder_.Note("Ignoring what the DNS rule gives for " + host_ +
                       ", it is not an address: " + address);
        return true;
    });
    if (given && result.addresses.empty()) {
        result.error = "the DNS rule gives no literal address";
    }
}

void NameLookup::DropOtherFamily(LookupResult &result)
{
    const size_t others = std::erase_if(
        result.addresses, [this](const std::string &address) { return !OfFamily(address); });
    if (others > 0 && result.addresses.empty()) {
        result.error = "it has no address of " + Family();
    }
}

bool NameLookup::OfFamily(const std::string &address) const
{
    return family_ == AddressFamily::ANY || IsVersion6(address) == (family_ == AddressFamily::IPV6);
}

std::string NameLookup::Family() const
{
    return std::string(family_ == AddressFamily::IPV6 ? "IPv6" : "IPv4") +
           ", to which the request is limited";
}

// Where the loop's thread leaves the answer, whether or not the transfer still waits for it.
LookupDone NameLookup::Await()
{
    answer_ = std::make_shared<Answer>();
    return [answer = answer_, wake = wake_](const LookupResult &result) {
        answer->Set([&result] { return result; });
        wake();
    };
}

bool NameLookup::AskServers(const DnsServers &servers)
{
    Resolver &resolver = services_.resolver;
    if (std::optional<LookupResult> remembered = resolver.Remembered(servers, host_)) {
        return Settle(std::move(*remembered));
    }
    services_.loop.Post([&resolver, servers, host = host_, done = Await()]() REQUIRES(ON_LOOP) {
        if (!Try([&]() REQUIRES(ON_LOOP) { resolver.Lookup(servers, host, done); })) {
            done(NoMemory());
        }
    });
    return false;
}

bool NameLookup::AskResolverUrl()
{
    if (configuration_ == nullptr || configuration_->dnsResolverUrl.empty() || IsLocalName(host_)) {
        return Settle({});
    }
    DohClient &client = services_.dohClient;
    const DohResolver resolver(*configuration_);
    if (std::optional<LookupResult> remembered = client.Remembered(resolver, host_)) {
        return Settle(std::move(*remembered));
    }
    services_.loop.Post([&client, resolver, host = host_, done = Await()]() REQUIRES(ON_LOOP) {
        if (!Try([&]() REQUIRES(ON_LOOP) { client.Lookup(resolver, host, done); })) {
            done(NoMemory());
        }
    });
    return false;
}

} // namespace OHOS::Pelloria::Tnx
