// The seam between a transfer and the network: one exchange at a time goes out on a wire, and what
// happens to it comes back into a sink. libcurl is behind it, nobody in front of it sees it.
#ifndef TNX_ENGINE_WIRE_H
#define TNX_ENGINE_WIRE_H

#include <array>
#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "curl/connection_watch.h"
#include "curl/handles.h"
#include "curl/multi.h"
#include "curl/options.h"
#include "http/header_block.h"
#include "http/header_list.h"
#include "http/hop.h"
#include "report/phases.h"
#include "retry.h"
#include "routing.h"
#include "sender.h"
#include "tnx_native/request.h"

namespace OHOS::Pelloria::Tnx
{

// What is left of the time-outs when a hop goes out; 0: no limit.
struct TimeLeft {
    std::chrono::milliseconds connect{0};
    std::chrono::milliseconds transfer{0};
    std::chrono::milliseconds attempt{0}; // at the present addresses
};

// A hop to be sent. Outlives its exchange.
struct Order {
    const Request &request;
    const Hop &hop;
    const Route &route;
    const FetchCookies &cookies;
    Sender &sender;
    TimeLeft left;
    bool events;   // the sink sees what libcurl has to tell, and what becomes of connections
    bool progress; // and how far it is
};

// Takes what an exchange brings, on the thread that drives it.
class WireSink : public ConnectionListener
{
public:
    // A request goes out, of which an exchange has several where one is repeated: what comes next
    // is its response. `connection`: it is the first on its connection. Whether something of a
    // response has come.
    virtual void OnRequest(bool connection) noexcept = 0;
    virtual bool ResponseBegun() const noexcept = 0;

    // A line of a header section, and a piece of a body: how much was taken, less to stop, or
    // CURL_WRITEFUNC_PAUSE.
    virtual bool OnHeaderLine(std::string_view line) noexcept = 0;
    virtual size_t OnBody(std::string_view piece) noexcept = 0;

    // All of a request is out.
    virtual void OnSent() noexcept = 0;

    virtual void OnEvent(curl_infotype type, std::string_view data) noexcept = 0;
    virtual void OnProgress(uint64_t downloadTotal, uint64_t uploadTotal,
                            uint64_t uploaded) noexcept = 0;

    // The exchange is over.
    virtual void OnDone(CURLcode code) noexcept = 0;

protected:
    ~WireSink() = default;
};

// Serves one exchange after the other: what they have in common is made once.
class Wire final : private ExchangeListener
{
public:
    // Throws bad_alloc.
    Wire(Multi &multi, CURLSH *tlsSessions);
    Wire(const Wire &) = delete;
    Wire &operator=(const Wire &) = delete;

    // Before each exchange. Throws bad_alloc.
    void Open();

    // Not OK: the hop cannot be sent. Throws bad_alloc.
    CURLcode Start(const Order &order, WireSink &sink);

    // A direction that paused goes on.
    CURLcode Resume() { return curl_easy_pause(easy_.get(), CURLPAUSE_CONT); }

    // Nothing more comes. Does no harm when the exchange is over.
    void Stop() noexcept;

    // Keeps nothing of the exchange, which is over.
    void Clean() noexcept;

    // The connection serves nobody after this exchange.
    void CloseAfterwards();

    // Of the exchange, once it has started:

    // The application undoes the content codings itself.
    bool OwnEncoding() const { return headers_.ownEncoding; }

    // The kept connection was not clean any more. Nothing was sent on it.
    bool RefusedConnection() const { return refusedConnection_; }

    // The request may be on its way.
    bool Sent() const { return retry_.Sent(); }

    // Bytes that came and went so far, those of header fields too.
    uint64_t Moved() const;

    // One of the present addresses has taken a connection: also that of another transfer, which
    // this one may be waiting for.
    bool Reached() const;

    bool SpokeHttp2() const;
    HopTimes Times() const;

    // The connection that the request goes out on; `chain`: with the certificates of its peer.
    void Describe(ConnectionInfo &info, bool chain) const;
    uint32_t HttpVersion() const; // as ConnectionInfo has it

    // A text of libcurl's, with the host's own name.
    std::string WithRealName(std::string text) const
    {
        return routing_.WithRealName(std::move(text));
    }

    // Whether a peer was connected to, and where it is, or may be.
    bool Connected() const;
    std::string Address() const;

    // What a failure really means, given what has come of the response: another code and text.
    struct Failure {
        CURLcode code;
        std::string why;
    };
    Failure Explain(CURLcode code, const HeaderBlock &block) const;

private:
    CURLcode SetOptions(const Order &order);
    void SetCallbacks(const Order &order);
    void SetMethod(Sender &sender);
    void SetReuse();
    CURLcode SetVersion();
    void SetTimeouts(const TimeLeft &left);
    void SetLimits(const Limits &limits);
    void SetTables();
    CURLcode SetRest(Sender &sender);
    CURLcode SetProxy();
    bool WatchesAlerts() const;
    bool SpeaksTlsToProxy() const { return route_->proxy.scheme == "https"; }
    bool KnowsHttp2() const;
    bool Tunnels() const;
    bool MayGoOut(int localPort);
    bool IsOut() const;
    void LookWhatIsOut(size_t ofBody) noexcept;
    std::string Text(CURLcode code) const;
    void ExchangeDone(CURLcode code) override;

    static size_t OnHeader(char *line, size_t size, size_t count, void *self);
    static size_t OnPiece(char *piece, size_t size, size_t count, void *self);
    static int OnDebug(CURL *, curl_infotype type, char *data, size_t size, void *self);
    static int OnProgress(void *self, curl_off_t downloadTotal, curl_off_t downloaded,
                          curl_off_t uploadTotal, curl_off_t uploaded);
    static int BeforeRequest(void *self, char *, char *, int, int localPort);

    Multi &multi_;
    CURLSH *const tlsSessions_;
    std::array<char, CURL_ERROR_SIZE> error_{};
    HeaderList headers_;
    Routing routing_;
    std::shared_ptr<const Url> url_;
    EasyHandle easy_; // released before what its options point to; null until Open
    Options options_;
    bool resets_ = false; // the handle has something that the next exchange must not have

    const Request *request_ = nullptr;
    const Hop *hop_ = nullptr;
    const Route *route_ = nullptr;
    const Sender *sender_ = nullptr;
    WireSink *sink_ = nullptr;
    ConnectionWatch watch_;
    bool watches_ = false;
    bool isOut_ = false; // all of the request
    curl_off_t bodyOut_ = 0;
    Retry retry_;
    long connections_ = 0; // made so far
    bool refusedConnection_ = false;
    const char *refusedCertificate_ = nullptr; // why, where libcurl cannot tell
    bool protocolRefused_ = false;   // the server speaks no version of HTTP that was offered in TLS
    uint64_t failedAllocations_ = 0; // of libcurl, before the exchange
    uint64_t floods_ = 0;            // of the connections, before the exchange
};

} // namespace OHOS::Pelloria::Tnx

#endif
