// Asks for both kinds of address at once, over one connection where the resolver speaks HTTP/2.
#include "doh_client.h"

#include <utility>

#include <arpa/nameser.h>

#include "base/text.h"
#include "http/host_name.h"
#include "http/url.h"
#include "message.h"

namespace OHOS::Pelloria::Tnx
{
namespace
{

constexpr long MAX_IDLE_CONNECTIONS = 8;

std::string Key(const DohResolver &resolver, const std::string &host)
{
    const SecurityConfiguration &trust = resolver.trust;
    return resolver.url + " " + (trust.skipValidation ? "unchecked" : "checked") + " " +
           trust.trustedCas + " " + trust.trustedCaDirectory + " " + Lower(host);
}

} // namespace

// One name, asked of one resolver.
class DohLookup
{
public:
    DohLookup(LoopMulti &multi, DohResolver resolver, std::string host, LookupDone done)
        : resolver_(std::move(resolver))
        , host_(std::move(host))
        , done_(std::move(done))
        , v6_(multi, [this] { Collect(); })
        , v4_(multi, [this] { Collect(); })
    {
    }

    // Asks the system for the resolver's own address first, where that is not told by its URL.
    void Start(Resolver &system) REQUIRES(ON_LOOP)
    {
        Url url;
        if (ParseUrl(resolver_.url, url) != CURLE_OK || !url.Secure()) {
            done_({.addresses = {}, .error = "the resolver URL is none of https"});
            return;
        }
        resolver_.url = url.Ascii();
        if (IsAddress(url.host) || IsLocalName(url.host)) {
            Ask("");
            return;
        }
        // This object lives until it has told its outcome, which is not before the answer.
        system.Lookup({}, url.host, [this, url](const LookupResult &result) {
            try {
                if (result.addresses.empty()) {
                    done_({.addresses = {},
                           .error =
                               "the resolver " + url.Name() + " has no address: " + result.error});
                    return;
                }
                Ask(ResolveLine(url.host, url.port, result.addresses));
            } catch (const std::bad_alloc &) {
                done_(NoMemory());
            }
        });
    }

private:
    void Ask(const std::string &resolve)
    {
        v6_.Start(resolver_, resolve, host_, ns_t_aaaa);
        v4_.Start(resolver_, resolve, host_, ns_t_a);
    }

    void Collect()
    {
        if (!v6_.Done() || !v4_.Done()) {
            return;
        }
        try {
            done_(Gather());
        } catch (const std::bad_alloc &) {
            done_(NoMemory());
        }
    }

    LookupResult Gather() const
    {
        LookupResult result;
        if (v6_.Error().empty()) {
            ReadAddresses(v6_.Answer(), ns_t_aaaa, result);
        }
        if (v4_.Error().empty()) {
            ReadAddresses(v4_.Answer(), ns_t_a, result);
        }
        if (result.addresses.empty()) {
            result.error = !v4_.Error().empty() ? v4_.Error() : v6_.Error();
            result.error =
                result.error.empty() ? "the resolver has no address for the name" : result.error;
        }
        return result;
    }

    DohResolver resolver_;
    const std::string host_;
    const LookupDone done_;
    DohQuery v6_;
    DohQuery v4_;
};

DohClient::DohClient(Loop &loop, Resolver &system)
    : loop_(loop)
    , system_(system)
    , multi_(loop)
{
    multi_.SetMaxIdleConnections(MAX_IDLE_CONNECTIONS);
}

DohClient::~DohClient() = default;

std::optional<LookupResult> DohClient::Remembered(const DohResolver &resolver,
                                                  const std::string &host)
{
    return book_.Remembered(Key(resolver, host));
}

void DohClient::Lookup(const DohResolver &resolver, const std::string &host, LookupDone done)
{
    const std::string key = Key(resolver, host);
    const auto answer = std::make_shared<LookupAnswer>(
        loop_, [this, key](const LookupResult &result) REQUIRES(ON_LOOP) {
            lookups_.erase(key);
            book_.Finish(key, result);
        });
    if (!book_.Join(key, std::move(done))) {
        return;
    }
    try {
        std::unique_ptr<DohLookup> &lookup = lookups_[key];
        lookup = std::make_unique<DohLookup>(
            multi_, resolver, host,
            [answer](const LookupResult &result) { answer->Arrive(result); });
        lookup->Start(system_);
    } catch (const std::bad_alloc &) {
        answer->Arrive(NoMemory());
    }
}

} // namespace OHOS::Pelloria::Tnx
