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
    DohLookup(LoopMulti &multi, DohResolver resolver, std::string host,
              std::shared_ptr<LookupAnswer> answer)
        : resolver_(std::move(resolver))
        , host_(std::move(host))
        , answer_(std::move(answer))
        , v6_(multi, [this] { Collect(); })
        , v4_(multi, [this] { Collect(); })
    {
    }

    // Asks the system for the resolver's own address first, where that is not told by its URL.
    void Start(Resolver &system) REQUIRES(ON_LOOP)
    {
        Url url;
        if (ParseUrl(resolver_.url, url) != CURLE_OK || !url.Secure()) {
            Fail("the resolver URL is none of https");
            return;
        }
        resolver_.url = url.Ascii();
        if (IsAddress(url.host) || IsLocalName(url.host)) {
            Ask("");
            return;
        }
        // This object lives until its answer is there.
        system.Lookup({}, url.host, [this, url](const LookupResult &result) {
            answer_->Seek([&] {
                if (result.addresses.empty()) {
                    Fail("the resolver " + url.Name() + " has no address: " + result.error);
                } else {
                    Ask(ResolveLine(url.host, url.port, result.addresses));
                }
            });
        });
    }

private:
    void Fail(const std::string &why)
    {
        answer_->Arrive([&] { return LookupResult{.addresses = {}, .error = why}; });
    }

    void Ask(const std::string &resolve)
    {
        v6_.Start(resolver_, resolve, host_, ns_t_aaaa);
        v4_.Start(resolver_, resolve, host_, ns_t_a);
    }

    void Collect()
    {
        if (v6_.Done() && v4_.Done()) {
            answer_->Arrive([this] { return Gather(); });
        }
    }

    LookupResult Gather() const
    {
        LookupResult result;
        if (v6_.Error().empty()) {
            ReadAddresses(v6_.Message(), ns_t_aaaa, result);
        }
        if (v4_.Error().empty()) {
            ReadAddresses(v4_.Message(), ns_t_a, result);
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
    const std::shared_ptr<LookupAnswer> answer_;
    DohQuery v6_;
    DohQuery v4_;
};

DohClient::DohClient(Loop &loop, Resolver &system, FloodWatch &watch)
    : loop_(loop)
    , system_(system)
    , multi_(watch, loop)
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
    answer->Seek([&]() REQUIRES(ON_LOOP) {
        std::unique_ptr<DohLookup> &lookup = lookups_[key];
        lookup = std::make_unique<DohLookup>(multi_, resolver, host, answer);
        lookup->Start(system_);
    });
}

} // namespace OHOS::Pelloria::Tnx
