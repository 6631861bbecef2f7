// Answers to DNS queries (RFC 1035), for the name servers of the tests.
#ifndef TNX_TESTS_SERVERS_DNS_MESSAGE_H
#define TNX_TESTS_SERVERS_DNS_MESSAGE_H

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace OHOS::Pelloria::TnxTest
{

struct DnsZone {
    // Name, in lower case or `*` for any, and an address literal of either family.
    std::vector<std::pair<std::string, std::string>> addresses;
    uint32_t timeToLive = 60;
    // For names that it does not have; 3: no such name.
    uint8_t missing = 3;
};

// The name that a query asks for, in lower case; "" when it is no query.
std::string DnsQuestion(std::string_view query);

// The answer to an A or AAAA query. Without addresses of that family it is empty.
std::string DnsAnswer(std::string_view query, const DnsZone &zone);

// The answer that sends the client to TCP.
std::string DnsTruncated(std::string_view query);

} // namespace OHOS::Pelloria::TnxTest

#endif
