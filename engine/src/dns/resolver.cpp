// The process-wide memory of names, in front of the channels.
#include "resolver.h"

#include <utility>

#include "base/text.h"

namespace OHOS::Pelloria::Tnx
{
namespace
{

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

std::optional<LookupResult> Resolver::Remembered(const DnsServers &servers, const std::string &host)
{
    return book_.Remembered(QuestionKey(servers, host));
}

void Resolver::Lookup(const DnsServers &servers, const std::string &host, LookupDone done)
{
    const std::string key = QuestionKey(servers, host);
    const auto answer =
        std::make_shared<LookupAnswer>(loop_, [this, key](const LookupResult &result)
                                                  REQUIRES(ON_LOOP) { book_.Finish(key, result); });
    if (!book_.Join(key, std::move(done))) {
        return;
    }
    answer->Seek([&]() REQUIRES(ON_LOOP) { Channel(servers).Lookup(host, answer); });
}

AresChannel &Resolver::Channel(const DnsServers &servers)
{
    std::unique_ptr<AresChannel> &channel = channels_[ServersKey(servers)];
    if (channel == nullptr) {
        channel = std::make_unique<AresChannel>(loop_, servers);
    }
    return *channel;
}

} // namespace OHOS::Pelloria::Tnx
