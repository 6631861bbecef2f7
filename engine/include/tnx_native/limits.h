// What one request may take, and which way its connections go.
#ifndef TNX_NATIVE_LIMITS_H
#define TNX_NATIVE_LIMITS_H

#include <cstdint>
#include <string>
#include <vector>

namespace OHOS::Pelloria::Tnx
{

enum class AddressFamily : uint8_t { ANY, IPV4, IPV6 };
enum class TlsVersion : uint8_t { ANY, TLS1_2, TLS1_3 };

// What goes to a host and port is connected to others; empty and 0: any, and those of the URL.
struct ConnectTo {
    std::string host;
    uint16_t port = 0;
    std::string otherHost;
    uint16_t otherPort = 0;
};

// 0, empty and ANY: no limit.
struct Limits {
    uint64_t idleTime = 0;     // milliseconds
    uint64_t firstByte = 0;    // milliseconds
    uint64_t responseSize = 0; // bytes of the body, decoded
    int64_t rateDown = 0;      // bytes a second
    int64_t rateUp = 0;
    AddressFamily family = AddressFamily::ANY;
    TlsVersion lowestTls = TlsVersion::ANY;
    TlsVersion highestTls = TlsVersion::ANY;
    std::string unixSocket;
    std::string interface; // or an address of this machine
    std::vector<ConnectTo> connectTo;
    std::string tls12Ciphers;
    std::string tls13Ciphers;
};

} // namespace OHOS::Pelloria::Tnx

#endif
