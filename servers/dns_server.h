// A name server in the test's own process, over UDP and TCP, which can be slow, short or silent.
#ifndef TNX_TESTS_SERVERS_DNS_SERVER_H
#define TNX_TESTS_SERVERS_DNS_SERVER_H

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "dns_message.h"

namespace OHOS::Pelloria::TnxTest
{

struct DnsBehaviour {
    DnsZone zone;
    std::chrono::milliseconds delay{0}; // before each answer
    bool truncate = false;              // UDP answers send the client to TCP
    bool silent = false;                // never answers
};

// One thread. Listens on 127.0.0.1 when the constructor returns.
class DnsServer
{
public:
    explicit DnsServer(DnsBehaviour behaviour);
    ~DnsServer();

    uint16_t Port() const;
    // The names that were asked for, in order, over UDP and TCP.
    std::vector<std::string> Questions() const;
    bool WaitForQuestions(size_t count,
                          std::chrono::milliseconds atMost = std::chrono::seconds(10)) const;

private:
    class Loop;
    std::unique_ptr<Loop> loop_;
};

} // namespace OHOS::Pelloria::TnxTest

#endif
