// One HTTP exchange: a hop of a fetch on an easy handle of libcurl.
#ifndef TNX_ENGINE_EXCHANGE_H
#define TNX_ENGINE_EXCHANGE_H

#include <array>
#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "curl/handles.h"
#include "curl/sockets.h"
#include "curl/wiping_allocator.h"
#include "http/header_list.h"
#include "http/hop.h"
#include "http/proxy_route.h"
#include "receiver.h"
#include "report/progress.h"
#include "report/recorder.h"
#include "sender.h"
#include "tnx_native/request.h"

namespace OHOS::Pelloria::Tnx
{

// Where a hop goes: through which proxy, and to which addresses. No addresses: the host is one
// itself, or is resolved elsewhere.
struct Route {
    Proxy proxy;
    std::vector<std::string> addresses;
    std::vector<std::string> proxyAddresses;
    bool fresh = false; // over no connection that was used before
};

// What is left of the time-outs when a hop goes to libcurl; 0: no limit.
struct TimeLeft {
    std::chrono::milliseconds connect{0};
    std::chrono::milliseconds transfer{0};
};

// What a handle has in common with others: TLS sessions, and the connections of its multi handle.
struct Shared {
    CURLSH *tlsSessions;
    Sockets &sockets;
};

class Exchange
{
public:
    Exchange(const Request &request, Receiver &receiver, Sender &sender, Recorder &recorder,
             Progress &progress, Delivery &delivery);
    ~Exchange();
    Exchange(const Exchange &) = delete;
    Exchange &operator=(const Exchange &) = delete;

    // Sets a handle up for a hop. Not OK: the hop cannot be sent, and Error tells why.
    CURLcode Prepare(CURL *easy, const Hop &hop, const Route &route, const TimeLeft &left,
                     const Shared &shared);

    // The handle is done with; it no longer points here.
    void Release();

    // What libcurl has to say about the failure.
    std::string Error(CURLcode code) const;

    // libcurl was to send the body of a request that must not be repeated a second time.
    bool RefusedRetry() const { return refusedRetry_; }

    // The kept connection was not clean any more. Nothing was sent on it.
    bool RefusedConnection() const { return refusedConnection_; }

    // Why the server's certificate was refused, where libcurl cannot tell; else null.
    const char *RefusedCertificate() const { return refusedCertificate_; }

    // Whether the server refused TLS because it speaks no version of HTTP that was offered.
    bool ProtocolRefused() const { return protocolRefused_; }

    // libcurl was refused memory, in this exchange or in another at the same time.
    bool MemoryRanOut() const { return FailedAllocations() != failedAllocations_; }

private:
    void SetBasics(CURL *easy, const Hop &hop, const Shared &shared);
    CURLcode SetBody(const Hop &hop);
    CURLcode SetMethod(const Hop &hop);
    CURLcode SetVersion(const Hop &hop);
    CURLcode SetRoute(const Hop &hop, const Route &route);
    void SetTargetAddresses(const Hop &hop, const std::vector<std::string> &addresses);
    void KeepKeyApart(const Hop &hop, const Route &route);
    CURLcode SetSecurity(const Hop &hop, bool proxyTls);
    void SetTimeouts(const TimeLeft &left);
    void SetObservers();
    void WatchEvents();
    void WatchProgress();
    std::string WithRealName(std::string text) const;
    bool MayGoOut(int localPort);

    static size_t OnHeader(char *line, size_t size, size_t count, void *self);
    static size_t OnBody(char *piece, size_t size, size_t count, void *self);
    static int OnDebug(CURL *, curl_infotype type, char *data, size_t size, void *self);
    static int OnProgress(void *self, curl_off_t downloadTotal, curl_off_t downloaded,
                          curl_off_t uploadTotal, curl_off_t uploaded);
    static int BeforeRequest(void *self, char *, char *, int, int localPort);

    const Request &request_;
    Receiver &receiver_;
    Sender &sender_;
    Recorder &recorder_;
    Progress &progress_;
    Delivery &delivery_;
    CURL *easy_ = nullptr;
    HeaderList headers_;
    StringList connectTo_;
    StringList resolve_;
    std::string syntheticName_; // stands for the host's addresses
    std::string realName_;
    Sockets *sockets_ = nullptr;
    bool idempotent_ = false;
    bool sentBefore_ = false;
    long connections_ = 0; // made so far
    curl_off_t bodySent_ = 0;
    bool refusedRetry_ = false;
    bool refusedConnection_ = false;
    const char *refusedCertificate_ = nullptr;
    bool protocolRefused_ = false;
    uint64_t failedAllocations_ = 0; // of libcurl, before the hop
    std::array<char, CURL_ERROR_SIZE> error_{};
};

} // namespace OHOS::Pelloria::Tnx

#endif
