// A c-ares channel driven by the loop: asks one set of name servers.
#ifndef TNX_ENGINE_ARES_CHANNEL_H
#define TNX_ENGINE_ARES_CHANNEL_H

#include <memory>
#include <string>

#include <ares.h>

#include "event/loop.h"
#include "lookup_book.h"
#include "tnx_native/dns_rule.h"

namespace OHOS::Pelloria::Tnx
{

// Made and destroyed in rounds of the loop.
class AresChannel final : private Watcher
{
public:
    // No servers: those of the system, and its table of hosts before them.
    AresChannel(Loop &loop, const DnsServers &servers);
    ~AresChannel();
    AresChannel(const AresChannel &) = delete;
    AresChannel &operator=(const AresChannel &) = delete;

    void Lookup(const std::string &host, const std::shared_ptr<LookupAnswer> &answer)
        REQUIRES(ON_LOOP);

private:
    void OnReady(int fd, uint32_t events) override REQUIRES(ON_LOOP);
    void Process(ares_socket_t readable, ares_socket_t writable) REQUIRES(ON_LOOP);
    void StartTimer() REQUIRES(ON_LOOP);

    static void OnSocketState(void *self, ares_socket_t socket, int readable, int writable);
    static void OnAddresses(void *answer, int status, int timeouts, ares_addrinfo *info);

    Loop &loop_;
    Loop::Timer timer_;
    ares_channel channel_ = nullptr;
    std::string setupError_;
};

} // namespace OHOS::Pelloria::Tnx

#endif
