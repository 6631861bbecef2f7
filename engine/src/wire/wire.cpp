// Starts and stops exchanges, and hands on what libcurl tells of them.
#include "wire.h"

#include <algorithm>
#include <utility>

#include "curl/quirks.h"
#include "curl/tls_alert.h"
#include "curl/tls_peer.h"
#include "curl/wiping_allocator.h"

namespace OHOS::Pelloria::Tnx
{

Wire::Wire(Multi &multi, CURLSH *tlsSessions)
    : multi_(multi)
    , tlsSessions_(tlsSessions)
    , watch_(multi.GetSockets())
{
    Open();
}

void Wire::Open()
{
    if (easy_ == nullptr) {
        easy_ = MakeEasy();
        options_.Change(easy_.get());
    }
}

CURLcode Wire::Start(const Order &order, WireSink &sink)
{
    request_ = &order.request;
    hop_ = &order.hop;
    route_ = &order.route;
    sender_ = &order.sender;
    sink_ = &sink;
    retry_.Start(hop_->method);
    error_.front() = '\0';
    connections_ = 0;
    refusedConnection_ = false;
    refusedCertificate_ = nullptr;
    protocolRefused_ = false;
    failedAllocations_ = FailedAllocations();
    floods_ = multi_.Watched().Floods();
    watches_ = order.events;
    if (watches_) {
        watch_.Start(easy_.get(), sink);
    }

    BuildHeaderList(*request_, *hop_, order.cookies, headers_);
    routing_.Choose(*hop_, *route_, request_->GetConfiguration());
    if (const CURLcode code = SetOptions(order); code != CURLE_OK) {
        return code;
    }
    SetTables();
    const CURLcode code = SetRest(order.sender);
    if (code == CURLE_OK) {
        multi_.Add(easy_.get(), *this);
    }
    return code;
}

// What libcurl does not copy.
void Wire::SetTables()
{
    CURL *const easy = easy_.get();
    if (options_.StartedOver() || url_ != hop_->url) {
        curl_easy_setopt(easy, CURLOPT_URL, nullptr); // a text, made from the last one
        curl_easy_setopt(easy, CURLOPT_CURLU, hop_->url->handle.get());
        url_ = hop_->url;
    }
    curl_easy_setopt(easy, CURLOPT_HTTPHEADER, headers_.lines.Get());
    curl_easy_setopt(easy, CURLOPT_RESOLVE, routing_.Resolve());
    curl_easy_setopt(easy, CURLOPT_CONNECT_TO, routing_.ConnectTo());
}

void Wire::Stop() noexcept
{
    resets_ = true;
    multi_.Remove(easy_.get());
    watch_.End();
}

// libcurl counts how often it has repeated requests from one reset to the next.
void Wire::ExchangeDone(CURLcode code)
{
    resets_ = resets_ || retry_.Repeated() || code != CURLE_OK;
    watch_.End();
    sink_->OnDone(code);
}

void Wire::Clean() noexcept
{
    CURL *const easy = easy_.get();
    watch_.Stop();
    curl_easy_setopt(easy, CURLOPT_HTTPHEADER, nullptr);
    curl_easy_setopt(easy, CURLOPT_RESOLVE, nullptr);
    curl_easy_setopt(easy, CURLOPT_CONNECT_TO, nullptr);
    headers_.lines.Clear();
    routing_.Clear();
    const bool resets = std::exchange(resets_, false) || (url_ != nullptr && url_->hasCredential);
    if (ServesOnce()) {
        easy_.reset();
        url_.reset();
    } else if (resets) {
        options_.Reset();
        url_.reset();
    }
}

void Wire::CloseAfterwards()
{
    curl_easy_setopt(easy_.get(), CURLOPT_FORBID_REUSE, 1L);
    resets_ = true;
}

size_t Wire::OnHeader(char *line, size_t size, size_t count, void *self)
{
    auto *const wire = static_cast<Wire *>(self);
    const size_t length = size * count;
    wire->multi_.Watched().Brought(length);
    return wire->sink_->OnHeaderLine({line, length}) ? length : 0;
}

size_t Wire::OnPiece(char *piece, size_t size, size_t count, void *self)
{
    auto *const wire = static_cast<Wire *>(self);
    wire->multi_.Watched().Brought(size * count);
    return wire->sink_->OnBody({piece, size * count});
}

int Wire::OnDebug(CURL *, curl_infotype type, char *data, size_t size, void *self)
{
    auto *const wire = static_cast<Wire *>(self);
    if (wire->watches_) {
        wire->watch_.Look();
    }
    if (type == CURLINFO_SSL_DATA_OUT && wire->refusedCertificate_ == nullptr) {
        wire->refusedCertificate_ = RefusedCertificate({data, size});
    } else if (type == CURLINFO_SSL_DATA_IN && RefusesProtocol({data, size})) {
        wire->protocolRefused_ = true;
    }
    if (type == CURLINFO_HEADER_IN) {
        wire->LookWhatIsOut(0);
    }
    wire->sink_->OnEvent(type, {data, size});
    if (type == CURLINFO_HEADER_OUT || type == CURLINFO_DATA_OUT) {
        wire->LookWhatIsOut(type == CURLINFO_DATA_OUT ? size : 0);
    }
    return 0;
}

int Wire::OnProgress(void *self, curl_off_t downloadTotal, curl_off_t, curl_off_t uploadTotal,
                     curl_off_t uploaded)
{
    auto *const wire = static_cast<Wire *>(self);
    wire->retry_.BodySent(uploaded);
    wire->sink_->OnProgress(static_cast<uint64_t>(downloadTotal),
                            static_cast<uint64_t>(uploadTotal), static_cast<uint64_t>(uploaded));
    return 0;
}

int Wire::BeforeRequest(void *self, char *, char *, int, int localPort)
{
    return static_cast<Wire *>(self)->MayGoOut(localPort) ? CURL_PREREQFUNC_OK
                                                          : CURL_PREREQFUNC_ABORT;
}

bool Wire::MayGoOut(int localPort)
{
    if (!retry_.MaySend(sink_->ResponseBegun())) {
        return false;
    }
    long connections = 0;
    curl_easy_getinfo(easy_.get(), CURLINFO_NUM_CONNECTS, &connections);
    const bool kept = std::exchange(connections_, connections) == connections;
    refusedConnection_ = kept && multi_.GetSockets().Disturbed(easy_.get(), localPort);
    isOut_ = false;
    bodyOut_ = 0;
    if (watches_) {
        watch_.Look();
    }
    sink_->OnRequest(!kept || connections == 0);
    return !refusedConnection_;
}

// The end of a body whose length nobody knows shows before it is out, and over HTTP/2 in nothing
// that goes out.
bool Wire::IsOut() const
{
    curl_off_t length = -1;
    if (hop_->body) {
        curl_easy_getinfo(easy_.get(), CURLINFO_CONTENT_LENGTH_UPLOAD_T, &length);
    }
    return !hop_->body || (length >= 0 ? bodyOut_ >= length : sender_->Ended());
}

void Wire::LookWhatIsOut(size_t ofBody) noexcept
{
    bodyOut_ += static_cast<curl_off_t>(ofBody);
    if (watches_ && retry_.Sent() && !isOut_ && IsOut()) {
        isOut_ = true;
        sink_->OnSent();
    }
}

bool Wire::Reached() const
{
    const uint16_t port = route_->PeerPort();
    const std::vector<std::string> &addresses = route_->AddressesNow();
    return std::any_of(addresses.begin(), addresses.end(), [&](const auto &address) {
        return multi_.GetSockets().Reach(address, port);
    });
}

uint64_t Wire::Moved() const
{
    uint64_t moved = 0;
    for (const CURLINFO info : {CURLINFO_SIZE_UPLOAD_T, CURLINFO_SIZE_DOWNLOAD_T}) {
        curl_off_t bytes = 0;
        curl_easy_getinfo(easy_.get(), info, &bytes);
        moved += static_cast<uint64_t>(bytes);
    }
    for (const CURLINFO info : {CURLINFO_REQUEST_SIZE, CURLINFO_HEADER_SIZE}) {
        long bytes = 0;
        curl_easy_getinfo(easy_.get(), info, &bytes);
        moved += static_cast<uint64_t>(bytes);
    }
    return moved;
}

bool Wire::SpokeHttp2() const
{
    return HttpVersion() == 20;
}

uint32_t Wire::HttpVersion() const
{
    long version = CURL_HTTP_VERSION_NONE;
    curl_easy_getinfo(easy_.get(), CURLINFO_HTTP_VERSION, &version);
    switch (version) {
    case CURL_HTTP_VERSION_1_0:
        return 10;
    case CURL_HTTP_VERSION_1_1:
        return 11;
    case CURL_HTTP_VERSION_2_0:
        return 20;
    default:
        return version == CURL_HTTP_VERSION_3 ? 30 : 0;
    }
}

void Wire::Describe(ConnectionInfo &info, bool chain) const
{
    CURL *const easy = easy_.get();
    const auto endpoint = [easy](CURLINFO address, CURLINFO port) {
        char *text = nullptr;
        long number = 0;
        curl_easy_getinfo(easy, address, &text);
        curl_easy_getinfo(easy, port, &number);
        return Endpoint{text != nullptr ? text : "", static_cast<uint16_t>(number)};
    };
    long connections = 0;
    curl_easy_getinfo(easy, CURLINFO_NUM_CONNECTS, &connections);
    info.reused = connections == 0;
    info.remote = endpoint(CURLINFO_PRIMARY_IP, CURLINFO_PRIMARY_PORT);
    info.local = endpoint(CURLINFO_LOCAL_IP, CURLINFO_LOCAL_PORT);
    info.proxy = route_->proxy.Direct() ? "" : route_->proxy.Address();
    const SSL *const tls = TlsOf(easy);
    info.tlsVersion = tls != nullptr ? SSL_get_version(tls) : "";
    info.cipher = tls != nullptr ? SSL_get_cipher_name(tls) : "";
    info.peerChain = tls != nullptr && chain ? PeerChain(tls) : "";
}

HopTimes Wire::Times() const
{
    const auto get = [this](CURLINFO info) {
        curl_off_t microseconds = 0;
        curl_easy_getinfo(easy_.get(), info, &microseconds);
        return int64_t{microseconds};
    };
    long connections = 0;
    curl_easy_getinfo(easy_.get(), CURLINFO_NUM_CONNECTS, &connections);
    HopTimes times{.connected = connections > 0,
                   .send = get(CURLINFO_PRETRANSFER_TIME_T),
                   .receive = get(CURLINFO_STARTTRANSFER_TIME_T)};
    if (times.connected) {
        times.lookup = get(CURLINFO_NAMELOOKUP_TIME_T);
        times.connect = get(CURLINFO_CONNECT_TIME_T);
        times.tls = get(CURLINFO_APPCONNECT_TIME_T);
    }
    return times;
}

} // namespace OHOS::Pelloria::Tnx
