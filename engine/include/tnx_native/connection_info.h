// How a fetch reached its server.
#ifndef TNX_NATIVE_CONNECTION_INFO_H
#define TNX_NATIVE_CONNECTION_INFO_H

#include <cstdint>
#include <string>
#include <vector>

namespace OHOS::Pelloria::Tnx
{

struct Endpoint {
    std::string address;
    uint16_t port = 0;
};

// An address that was tried.
struct AddressAttempt {
    Endpoint peer;
    int error = 0; // of connect(); 0: the connection stood
};

struct HopInfo {
    std::string url;
    int32_t status = 0; // 0: no response
};

// The last connection that a request went out on, and what all of the fetch came to.
struct ConnectionInfo {
    uint32_t httpVersion = 0; // 10, 11, 20 or 30; 0: no response
    bool reused = false;
    Endpoint remote;
    Endpoint local;
    std::string tlsVersion; // empty in clear text
    std::string cipher;
    std::string peerChain; // in PEM, the server's own certificate first
    std::string proxy;     // empty: none
    uint64_t bytesSent = 0;
    uint64_t bytesReceived = 0;
    std::vector<HopInfo> hops;
    std::vector<AddressAttempt> attempts;
};

} // namespace OHOS::Pelloria::Tnx

#endif
