// Turns names into addresses, and remembers them for their time to live, per set of servers.
#ifndef TNX_ENGINE_RESOLVER_H
#define TNX_ENGINE_RESOLVER_H

#include <memory>
#include <optional>
#include <string>
#include <unordered_map>

#include "ares_channel.h"
#include "lookup_book.h"

namespace OHOS::Pelloria::Tnx
{

class Resolver
{
public:
    explicit Resolver(Loop &loop)
        : loop_(loop)
    {
    }

    // From memory alone; from any thread.
    std::optional<LookupResult> Remembered(const DnsServers &servers, const std::string &host);

    // Asks. `done` runs in a round of the loop too: never before this returns, and always, within
    // the time-outs of the servers. The same question at the same time is asked once.
    void Lookup(const DnsServers &servers, const std::string &host, LookupDone done)
        REQUIRES(ON_LOOP);

private:
    AresChannel &Channel(const DnsServers &servers) REQUIRES(ON_LOOP);

    Loop &loop_;
    std::unordered_map<std::string, std::unique_ptr<AresChannel>> channels_ GUARDED_BY(ON_LOOP);
    LookupBook book_;
};

} // namespace OHOS::Pelloria::Tnx

#endif
