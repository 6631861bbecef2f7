// Finds the addresses of one name for one hop: by the rule, then the resolver URL, then the system.
#ifndef TNX_ENGINE_NAME_LOOKUP_H
#define TNX_ENGINE_NAME_LOOKUP_H

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "event/delivery.h"
#include "lookup_book.h"
#include "report/recorder.h"
#include "tnx_native/configuration.h"

namespace OHOS::Pelloria::Tnx
{

class DohClient;
class Resolver;

// Whom to ask; each serves the whole process, from the loop.
struct NameServices {
    Loop &loop;
    Resolver &resolver;
    DohClient &dohClient;
};

class NameLookup
{
public:
    // `family`: gives only addresses of that one.
    NameLookup(const NameServices &services, Recorder &recorder, Delivery &delivery,
               AddressFamily family = AddressFamily::ANY)
        : services_(services)
        , recorder_(recorder)
        , delivery_(delivery)
        , family_(family)
    {
    }

    // Has the transfer look again. May be called on any thread, and when the transfer is gone.
    using Waker = std::function<void()>;

    // Starts to look for a name. Without a configuration only the system is asked.
    void Start(const std::string &host, uint16_t port, const Configuration *configuration,
               Waker wake);

    // Whether the outcome is there; goes on to the next source where one had no opinion.
    bool Ready();

    // The outcome. No addresses and no error: the name needs no lookup.
    const LookupResult &Result() const { return result_; }

private:
    enum class Source { RULE, RESOLVER_URL, SYSTEM, NONE };

    // What another thread leaves here.
    struct Answer {
        template <class Make> void Set(const Make &make) noexcept
        {
            LookupResult made = MakeResult(make);
            MutexLock lock(mutex);
            result = std::move(made);
        }

        Mutex mutex;
        std::optional<LookupResult> result GUARDED_BY(mutex);
    };

    bool Ask();
    bool AskRule();
    bool AskTable(const std::vector<StaticDnsRuleItem> &items);
    void AskApplication(const DynamicDnsFunction &function);
    LookupDone Await();
    bool AskServers(const DnsServers &servers);
    bool AskResolverUrl();
    bool Settle(LookupResult result);
    void DropNames(LookupResult &result);
    void DropOtherFamily(LookupResult &result);
    bool OfFamily(const std::string &address) const;
    std::string Family() const;

    const NameServices services_;
    Recorder &recorder_;
    Delivery &delivery_;
    const AddressFamily family_;
    Waker wake_;
    const Configuration *configuration_ = nullptr;
    std::string host_;
    uint16_t port_ = 0;
    Source source_ = Source::NONE;
    std::shared_ptr<Answer> answer_;
    LookupResult result_;
};

} // namespace OHOS::Pelloria::Tnx

#endif
