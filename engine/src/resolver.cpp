// The process-wide memory of names, in front of the channels.
#include "resolver.h"

#include <algorithm>
#include <utility>

#include <arpa/inet.h>

#include "text.h"

namespace OHOS::Pelloria::Tnx
{
namespace
{

constexpr size_t MAX_REMEMBERED = 4096;
constexpr std::chrono::seconds LEAST_TIME_TO_LIVE(1);
constexpr std::chrono::seconds MOST_TIME_TO_LIVE(3600);

std::string ServersKey(const DnsServers &servers)
{
    std::string key;
    for (const IpAndPort &server : servers) {
        key += server.ip + "#" + std::to_string(server.port) + ",";
    }
    return key;
}

std::string QuestionKey(const DnsServers &servers, const std::string &host)
{
    return ServersKey(servers) + " " + Lower(host);
}

} // namespace

bool IsAddress(const std::string &text)
{
    in6_addr buffer;
    return inet_pton(AF_INET, text.c_str(), &buffer) == 1 ||
           inet_pton(AF_INET6, text.c_str(), &buffer) == 1;
}

std::optional<LookupResult> Resolver::Remembered(const DnsServers &servers, const std::string &host)
{
    MutexLock lock(mutex_);
    const auto found = memory_.find(QuestionKey(servers, host));
    if (found == memory_.end() || found->second.until <= Clock::now()) {
        return std::nullopt;
    }
    return found->second.result;
}

void Resolver::Lookup(const DnsServers &servers, const std::string &host, LookupDone done)
{
    const std::string key = QuestionKey(servers, host);
    std::vector<LookupDone> &waiting = pending_[key];
    waiting.push_back(std::move(done));
    if (waiting.size() == 1) {
        Channel(servers).Lookup(host, [this, key](const LookupResult &result) {
            // Posted, because the answer may come from inside the question.
            loop_.Post([this, key, result] { Finish(key, result); });
        });
    }
}

AresChannel &Resolver::Channel(const DnsServers &servers)
{
    std::unique_ptr<AresChannel> &channel = channels_[ServersKey(servers)];
    if (channel == nullptr) {
        channel = std::make_unique<AresChannel>(loop_, servers);
    }
    return *channel;
}

void Resolver::Finish(const std::string &key, const LookupResult &result)
{
    if (!result.addresses.empty()) {
        Remember(key, result);
    }
    const auto node = pending_.extract(key);
    for (const LookupDone &done : node.mapped()) {
        done(result);
    }
}

void Resolver::Remember(const std::string &key, const LookupResult &result)
{
    const TimePoint now = Clock::now();
    MutexLock lock(mutex_);
    if (memory_.size() >= MAX_REMEMBERED) {
        std::erase_if(memory_, [now](const auto &entry) { return entry.second.until <= now; });
        if (memory_.size() >= MAX_REMEMBERED) {
            memory_.clear();
        }
    }
    const auto life = std::clamp(result.timeToLive, LEAST_TIME_TO_LIVE, MOST_TIME_TO_LIVE);
    memory_[key] = {result, now + life};
}

} // namespace OHOS::Pelloria::Tnx
