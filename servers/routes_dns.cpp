// /dns-query: answers the DNS message of a POST.
#include "routes_dns.h"

#include "dns_message.h"
#include "reply.h"

namespace OHOS::Pelloria::TnxTest
{

namespace
{

// /dns-query?name=*&a=127.0.0.1&a=::1&ms=0: every address that the query lists, for that name.
void DnsQuery(const Visit &visit, Script &script)
{
    DnsZone zone;
    for (const auto &address : visit.query.All("a")) {
        zone.addresses.emplace_back(visit.query.Text("name", "*"), address);
    }
    const std::string answer = DnsAnswer(visit.request.content, zone);
    script.Sleep(std::chrono::milliseconds(visit.query.Number("ms")));
    Reply(visit, script, answer.empty() ? 400 : 200, answer,
          {"Content-Type: application/dns-message"});
}

} // namespace

std::unordered_map<std::string, Route> DnsRoutes()
{
    return {{"/dns-query", {DnsQuery}}};
}

} // namespace OHOS::Pelloria::TnxTest
