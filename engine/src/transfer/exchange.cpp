// The options of a hop, and libcurl's callbacks.
#include "exchange.h"

#include <algorithm>
#include <climits>
#include <utility>

#include "curl/tls_options.h"

namespace OHOS::Pelloria::Tnx
{
namespace
{

constexpr long BUFFER = 64L * 1024;
constexpr long STREAM_BUFFER = 256L * 1024;

// Methods that may be repeated on a new connection when a kept one turns out to be dead (RFC 9110
// section 9.2.2).
bool IsIdempotent(const std::string &method)
{
    return method != "POST" && method != "PATCH" && method != "CONNECT";
}

} // namespace

Exchange::Exchange(const Request &request, Receiver &receiver, Sender &sender, Recorder &recorder,
                   Progress &progress, Delivery &delivery)
    : request_(request)
    , receiver_(receiver)
    , sender_(sender)
    , recorder_(recorder)
    , progress_(progress)
    , delivery_(delivery)
{
}

Exchange::~Exchange()
{
    Release();
}

void Exchange::Release()
{
    if (easy_ != nullptr) {
        curl_easy_reset(easy_);
        easy_ = nullptr;
    }
}

CURLcode Exchange::Prepare(CURL *easy, const Hop &hop, const Route &route, const TimeLeft &left,
                           const Shared &shared)
{
    easy_ = easy;
    error_.front() = '\0';
    sockets_ = &shared.sockets;
    idempotent_ = IsIdempotent(hop.method);
    sentBefore_ = false;
    connections_ = 0;
    bodySent_ = 0;
    refusedConnection_ = false;
    refusedCertificate_ = nullptr;
    failedAllocations_ = FailedAllocations();
    protocolRefused_ = false;
    SetBasics(easy, hop, shared);
    headers_ = BuildHeaderList(request_, hop, receiver_.Cookies());
    curl_easy_setopt(easy, CURLOPT_HTTPHEADER, headers_.lines.get());
    if (!headers_.ownEncoding) {
        SetText(easy, CURLOPT_ACCEPT_ENCODING, "gzip, br, zstd");
        curl_easy_setopt(easy, CURLOPT_HTTP_CONTENT_DECODING, 0L);
    }
    if (!headers_.ranges.empty()) {
        SetText(easy, CURLOPT_RANGE, headers_.ranges.c_str());
    }
    receiver_.DecodeContent(!headers_.ownEncoding);
    SetTimeouts(left);
    SetObservers();
    for (const CURLcode code : {SetBody(hop), SetMethod(hop), SetVersion(hop), SetRoute(hop, route),
                                SetSecurity(hop, route.proxy.scheme == "https")}) {
        if (code != CURLE_OK) {
            return code;
        }
    }
    return CURLE_OK;
}

void Exchange::SetBasics(CURL *easy, const Hop &hop, const Shared &shared)
{
    curl_easy_setopt(easy, CURLOPT_ERRORBUFFER, error_.data());
    SetText(easy, CURLOPT_URL, hop.url.Ascii().c_str());
    curl_easy_setopt(easy, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(easy, CURLOPT_SHARE, shared.tlsSessions);
    shared.sockets.Prepare(easy);
    const bool streams =
        static_cast<bool>(request_.GetConfiguration().tracing.eventsHandler.onDataReceive);
    curl_easy_setopt(easy, CURLOPT_BUFFERSIZE, streams ? STREAM_BUFFER : BUFFER);
    curl_easy_setopt(easy, CURLOPT_PREREQFUNCTION, BeforeRequest);
    curl_easy_setopt(easy, CURLOPT_PREREQDATA, this);
    curl_easy_setopt(easy, CURLOPT_HEADERFUNCTION, OnHeader);
    curl_easy_setopt(easy, CURLOPT_HEADERDATA, this);
    curl_easy_setopt(easy, CURLOPT_WRITEFUNCTION, OnBody);
    curl_easy_setopt(easy, CURLOPT_WRITEDATA, this);
    curl_easy_setopt(easy, CURLOPT_SUPPRESS_CONNECT_HEADERS, 1L);
    curl_easy_setopt(easy, CURLOPT_FAILONERROR,
                     request_.GetConfiguration().failOnHttpError ? 1L : 0L);
}

CURLcode Exchange::SetBody(const Hop &hop)
{
    return hop.body ? sender_.Prepare(easy_, headers_.contentLength) : CURLE_OK;
}

CURLcode Exchange::SetMethod(const Hop &hop)
{
    if (hop.method == "HEAD") {
        curl_easy_setopt(easy_, CURLOPT_NOBODY, 1L);
        return CURLE_OK;
    }
    const bool expectsBody = hop.method == "POST" || hop.method == "PUT" || hop.method == "PATCH";
    if (!hop.body && expectsBody) {
        // Says that the body is empty (RFC 9110 section 8.6).
        curl_easy_setopt(easy_, CURLOPT_POSTFIELDS, "");
        curl_easy_setopt(easy_, CURLOPT_POSTFIELDSIZE, 0L);
    }
    if (hop.body && !idempotent_) {
        WatchProgress();
    }
    return curl_easy_setopt(easy_, CURLOPT_CUSTOMREQUEST, hop.method.c_str());
}

CURLcode Exchange::SetVersion(const Hop &hop)
{
    const Configuration &configuration = request_.GetConfiguration();
    const auto set = [this](long version) {
        return curl_easy_setopt(easy_, CURLOPT_HTTP_VERSION, version);
    };
    if (hop.url.Secure()) {
        // Waiting for the first connection shows whether its streams can be shared.
        curl_easy_setopt(easy_, CURLOPT_PIPEWAIT, 1L);
    }
    switch (configuration.transferPreference) {
    case PREFER_HTTP1_0:
        return set(CURL_HTTP_VERSION_1_0);
    case PREFER_HTTP1_1:
        return set(CURL_HTTP_VERSION_1_1);
    case PREFER_HTTP2:
        if (!hop.url.Secure()) {
            // A kept connection of clear-text HTTP/2 cannot be used again with this libcurl.
            curl_easy_setopt(easy_, CURLOPT_FRESH_CONNECT, 1L);
            curl_easy_setopt(easy_, CURLOPT_FORBID_REUSE, 1L);
        } else if (configuration.transferHint) {
            WatchEvents(); // for the alert of a server that does not speak it
        }
        return set(configuration.transferHint ? CURL_HTTP_VERSION_2_PRIOR_KNOWLEDGE
                                              : CURL_HTTP_VERSION_2_0);
    case PREFER_HTTP3:
        if (set(configuration.transferHint ? CURL_HTTP_VERSION_3ONLY : CURL_HTTP_VERSION_3) ==
            CURLE_OK) {
            return CURLE_OK;
        }
        if (configuration.transferHint) {
            return CURLE_NOT_BUILT_IN;
        }
        recorder_.Note("HTTP/3 is not built in, going on with HTTP/2 or HTTP/1.1");
        return set(CURL_HTTP_VERSION_2TLS);
    default:
        return set(CURL_HTTP_VERSION_2TLS);
    }
}

CURLcode Exchange::SetSecurity(const Hop &hop, bool proxyTls)
{
    const SecurityConfiguration &security = request_.GetConfiguration().security;
    if (hop.url.Secure()) {
        if (const CURLcode code = SetServerTls(easy_, security); code != CURLE_OK) {
            return code;
        }
        if (proxyTls) {
            // Within the proxy's TLS a refused certificate is nothing but a failure to libcurl: the
            // alert, which passes through the proxy's connection, clears OpenSSL's list of errors.
            WatchEvents();
        }
    } else if (proxyTls) {
        // libcurl compares these, not the proxy's own, when it looks for a kept connection on which
        // only the proxy speaks TLS.
        const WebProxy &proxy = request_.GetConfiguration().proxy;
        if (const CURLcode code = SetServerTls(easy_, proxy.security); code != CURLE_OK) {
            return code;
        }
    }
    return hop.sameOrigin ? SetServerCredential(easy_, security) : CURLE_OK;
}

void Exchange::SetTimeouts(const TimeLeft &left)
{
    // 0 means five minutes to libcurl's connect time-out, not none.
    const long connect = left.connect.count() > 0 ? left.connect.count() : LONG_MAX / 2;
    curl_easy_setopt(easy_, CURLOPT_CONNECTTIMEOUT_MS,
                     static_cast<long>(std::min<long>(connect, INT_MAX)));
    curl_easy_setopt(easy_, CURLOPT_TIMEOUT_MS,
                     static_cast<long>(std::min<long>(left.transfer.count(), INT_MAX)));
}

void Exchange::SetObservers()
{
    if (recorder_.Wanted()) {
        WatchEvents();
    }
    if (progress_.Wanted()) {
        WatchProgress();
    }
}

void Exchange::WatchEvents()
{
    curl_easy_setopt(easy_, CURLOPT_VERBOSE, 1L);
    curl_easy_setopt(easy_, CURLOPT_DEBUGFUNCTION, OnDebug);
    curl_easy_setopt(easy_, CURLOPT_DEBUGDATA, this);
}

void Exchange::WatchProgress()
{
    curl_easy_setopt(easy_, CURLOPT_NOPROGRESS, 0L);
    curl_easy_setopt(easy_, CURLOPT_XFERINFOFUNCTION, OnProgress);
    curl_easy_setopt(easy_, CURLOPT_XFERINFODATA, this);
}

std::string Exchange::Error(CURLcode code) const
{
    return error_.front() != '\0' ? WithRealName(error_.data()) : curl_easy_strerror(code);
}

size_t Exchange::OnHeader(char *line, size_t size, size_t count, void *self)
{
    auto *const exchange = static_cast<Exchange *>(self);
    const size_t length = size * count;
    return exchange->delivery_.Guarded(
        [&] {
            exchange->recorder_.SeeHeaderLine({line, length});
            const bool goOn = exchange->receiver_.OnHeaderLine({line, length});
            if (exchange->receiver_.Ambiguous()) {
                curl_easy_setopt(exchange->easy_, CURLOPT_FORBID_REUSE, 1L);
            }
            return goOn ? length : 0;
        },
        0);
}

size_t Exchange::OnBody(char *piece, size_t size, size_t count, void *self)
{
    auto *const exchange = static_cast<Exchange *>(self);
    return exchange->delivery_.Guarded(
        [&] {
            return exchange->receiver_.OnBody({piece, size * count});
        },
        0);
}

int Exchange::OnDebug(CURL *, curl_infotype type, char *data, size_t size, void *self)
{
    auto *const exchange = static_cast<Exchange *>(self);
    if (type == CURLINFO_SSL_DATA_OUT && exchange->refusedCertificate_ == nullptr) {
        exchange->refusedCertificate_ = Tnx::RefusedCertificate({data, size});
    } else if (type == CURLINFO_SSL_DATA_IN && RefusesProtocol({data, size})) {
        exchange->protocolRefused_ = true;
    }
    return exchange->delivery_.Guarded(
        [&] {
            const bool isText = type == CURLINFO_TEXT;
            exchange->recorder_.Record(type,
                                       isText ? exchange->WithRealName(WithoutSecrets({data, size}))
                                              : std::string_view(data, size));
            return 0;
        },
        0);
}

int Exchange::OnProgress(void *self, curl_off_t downloadTotal, curl_off_t, curl_off_t uploadTotal,
                         curl_off_t uploaded)
{
    auto *const exchange = static_cast<Exchange *>(self);
    exchange->bodySent_ = std::max(exchange->bodySent_, uploaded);
    if (!exchange->progress_.Wanted()) {
        return 0;
    }
    const Progress::State state{.downloadTotal = static_cast<uint64_t>(downloadTotal),
                                .downloaded = exchange->receiver_.Received(),
                                .uploadTotal = static_cast<uint64_t>(uploadTotal),
                                .uploaded =
                                    exchange->sender_.Uploaded(static_cast<uint64_t>(uploaded))};
    return exchange->delivery_.Guarded(
        [&] {
            exchange->progress_.Report(state);
            return 0;
        },
        1);
}

int Exchange::BeforeRequest(void *self, char *, char *, int, int localPort)
{
    auto *const exchange = static_cast<Exchange *>(self);
    const bool mayGo =
        exchange->delivery_.Guarded([=] { return exchange->MayGoOut(localPort); }, false);
    return mayGo ? CURL_PREREQFUNC_OK : CURL_PREREQFUNC_ABORT;
}

bool Exchange::MayGoOut(int localPort)
{
    // libcurl repeats a request by itself when a kept connection turns out to be dead, and has then
    // forgotten how much of the body it has sent.
    if (std::exchange(sentBefore_, true) && !idempotent_ && bodySent_ > 0 &&
        receiver_.Block().Untouched()) {
        refusedRetry_ = true;
        return false;
    }
    long connections = 0;
    curl_easy_getinfo(easy_, CURLINFO_NUM_CONNECTS, &connections);
    const bool kept = std::exchange(connections_, connections) == connections;
    refusedConnection_ = kept && sockets_->Disturbed(easy_, localPort);
    receiver_.StartResponse();
    return !refusedConnection_;
}

} // namespace OHOS::Pelloria::Tnx
