// DNS messages: a header, one question, address records.
#include "dns_message.h"

#include <algorithm>
#include <cctype>

#include <arpa/inet.h>

namespace OHOS::Pelloria::TnxTest
{

namespace
{

constexpr size_t HEADER = 12;
constexpr char A[] = "\0\1";
constexpr char AAAA[] = "\0\x1c";

// The offset after the name of the question; 0 when there is none.
size_t EndOfName(std::string_view query)
{
    size_t at = HEADER;
    while (at < query.size() && query[at] != 0) {
        at += static_cast<unsigned char>(query[at]) + 1U;
    }
    return at + 5 <= query.size() ? at + 1 : 0;
}

std::string Big(uint32_t value, int bytes)
{
    std::string out;
    for (int shift = 8 * (bytes - 1); shift >= 0; shift -= 8) {
        out.push_back(static_cast<char>(value >> shift & 0xff));
    }
    return out;
}

// The bytes of a literal of the wanted family, or "".
std::string AddressBytes(const std::string &literal, bool v6)
{
    std::string bytes(v6 ? 16 : 4, '\0');
    return inet_pton(v6 ? AF_INET6 : AF_INET, literal.c_str(), bytes.data()) == 1 ? bytes : "";
}

std::string Message(std::string_view query, uint16_t flags, size_t answers,
                    const std::string &records)
{
    const size_t end = EndOfName(query);
    return std::string(query.substr(0, 2)) + Big(flags, 2) + Big(1, 2) +
           Big(static_cast<uint32_t>(answers), 2) + Big(0, 4) +
           std::string(query.substr(HEADER, end + 4 - HEADER)) + records;
}

} // namespace

std::string DnsQuestion(std::string_view query)
{
    const size_t end = EndOfName(query);
    std::string name;
    for (size_t at = HEADER; at + 1 < end;) {
        const size_t length = static_cast<unsigned char>(query[at]);
        name += (name.empty() ? "" : ".") + std::string(query.substr(at + 1, length));
        at += length + 1;
    }
    std::transform(name.begin(), name.end(), name.begin(),
                   [](unsigned char letter) { return static_cast<char>(std::tolower(letter)); });
    return name;
}

std::string DnsAnswer(std::string_view query, const DnsZone &zone)
{
    const std::string name = DnsQuestion(query);
    const size_t end = EndOfName(query);
    if (end == 0) {
        return "";
    }
    const auto type = query.substr(end, 2);
    const bool v6 = type == std::string_view(AAAA, 2);
    std::string records;
    size_t count = 0;
    bool known = false;
    for (const auto &[host, literal] : zone.addresses) {
        if (host != "*" && host != name) {
            continue;
        }
        known = true;
        const std::string bytes = AddressBytes(literal, v6);
        if (bytes.empty() || (!v6 && type != std::string_view(A, 2))) {
            continue;
        }
        ++count;
        // The record's name points to the question's.
        records += "\xc0\x0c" + std::string(type) + Big(1, 2) + Big(zone.timeToLive, 4) +
                   Big(static_cast<uint32_t>(bytes.size()), 2) + bytes;
    }
    constexpr uint16_t ANSWER = 0x8180; // recursion was wanted and is there
    return Message(query, static_cast<uint16_t>(ANSWER | (known ? 0 : zone.missing)), count,
                   records);
}

std::string DnsTruncated(std::string_view query)
{
    return EndOfName(query) == 0 ? "" : Message(query, 0x8380, 0, "");
}

} // namespace OHOS::Pelloria::TnxTest
