// Turns names into addresses, and remembers them for their time to live, per set of servers.
#ifndef TNX_ENGINE_RESOLVER_H
#define TNX_ENGINE_RESOLVER_H

#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "ares_channel.h"
#include "common/mutex.h"

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

    // Asks. On the loop's thread, where `done` runs too: never before this returns, and always,
    // within the time-outs of the servers. The same question at the same time is asked once.
    void Lookup(const DnsServers &servers, const std::string &host, LookupDone done);

private:
    struct Memory {
        LookupResult result;
        TimePoint until;
    };

    AresChannel &Channel(const DnsServers &servers);
    void Finish(const std::string &key, const LookupResult &result);
    void Remember(const std::string &key, const LookupResult &result);

    Loop &loop_;
    std::unordered_map<std::string, std::unique_ptr<AresChannel>> channels_;
    std::unordered_map<std::string, std::vector<LookupDone>> pending_;
    Mutex mutex_;
    std::unordered_map<std::string, Memory> memory_ GUARDED_BY(mutex_);
};

// Whether the text is an address of IPv4 or IPv6, without brackets.
bool IsAddress(const std::string &text);

} // namespace OHOS::Pelloria::Tnx

#endif
