// A hop as options of libcurl.
#include <algorithm>
#include <climits>

#include "curl/tls_options.h"
#include "http/host_name.h"
#include "wire.h"

namespace OHOS::Pelloria::Tnx
{
namespace
{

constexpr long BUFFER = 64L * 1024;
constexpr long STREAM_BUFFER = 256L * 1024;
constexpr long LEAST_BUFFER = 1024;

bool HasCredential(const SecurityConfiguration &security)
{
    return !security.credentialName.Empty() || !security.credentialPassword.Empty();
}

// With a rate several pieces come in a second, as far as that goes.
long BufferFor(const Limits *limits, long usual)
{
    const bool paced = limits != nullptr && limits->rateDown != 0;
    return paced ? std::clamp<long>(limits->rateDown / 8, LEAST_BUFFER, usual) : usual;
}

} // namespace

CURLcode Wire::SetOptions(const Order &order)
{
    const Configuration &configuration = request_->GetConfiguration();
    options_.Begin();
    options_.Number(CURLOPT_NOSIGNAL, 1);
    options_.Pointer(CURLOPT_SHARE, tlsSessions_);
    multi_.GetSockets().SetOptions(options_, order.events ? &watch_ : nullptr);
    SetCallbacks(order);
    const bool streams = static_cast<bool>(configuration.tracing.eventsHandler.onDataReceive);
    options_.Number(CURLOPT_BUFFERSIZE,
                    BufferFor(configuration.limits.get(), streams ? STREAM_BUFFER : BUFFER));
    options_.Number(CURLOPT_SUPPRESS_CONNECT_HEADERS, 1);
    options_.Number(CURLOPT_FAILONERROR, configuration.failOnHttpError ? 1 : 0);
    options_.Text(CURLOPT_NOPROXY, "");
    if (route_->proxy.Direct()) {
        options_.Text(CURLOPT_PROXY, "");
    }
    if (!headers_.ranges.empty()) {
        options_.Text(CURLOPT_RANGE, headers_.ranges);
    }
    if (hop_->url->Secure()) {
        // Waiting for the first connection shows whether its streams can be shared.
        options_.Number(CURLOPT_PIPEWAIT, 1);
    }
    SetMethod(order.sender);
    SetReuse();
    CURLcode code = SetVersion();
    if (hop_->url->Secure() && code == CURLE_OK) {
        code = NameServerTrust(options_, configuration.security, configuration.limits.get());
    }
    SetTimeouts(order.left);
    if (configuration.limits != nullptr) {
        SetLimits(*configuration.limits);
    }
    options_.End();
    return code;
}

void Wire::SetCallbacks(const Order &order)
{
    options_.Pointer(CURLOPT_ERRORBUFFER, error_.data());
    options_.Function(CURLOPT_PREREQFUNCTION, BeforeRequest);
    options_.Pointer(CURLOPT_PREREQDATA, this);
    options_.Function(CURLOPT_HEADERFUNCTION, OnHeader);
    options_.Pointer(CURLOPT_HEADERDATA, this);
    options_.Function(CURLOPT_WRITEFUNCTION, OnPiece);
    options_.Pointer(CURLOPT_WRITEDATA, this);
    if (order.events || WatchesAlerts()) {
        options_.Number(CURLOPT_VERBOSE, 1);
        options_.Function(CURLOPT_DEBUGFUNCTION, OnDebug);
        options_.Pointer(CURLOPT_DEBUGDATA, this);
    }
    if (order.progress || (hop_->body && retry_.Watches())) {
        options_.Number(CURLOPT_NOPROGRESS, 0);
        options_.Function(CURLOPT_XFERINFOFUNCTION, OnProgress);
        options_.Pointer(CURLOPT_XFERINFODATA, this);
    }
}

// What the server says in alerts of TLS only: that it does not speak HTTP/2; and within a proxy's
// TLS a refused certificate is nothing but a failure to libcurl, because the alert, which passes
// through the proxy's connection, clears OpenSSL's list of errors.
bool Wire::WatchesAlerts() const
{
    return hop_->url->Secure() && (KnowsHttp2() || SpeaksTlsToProxy());
}

void Wire::SetMethod(Sender &sender)
{
    if (hop_->method == "HEAD") {
        options_.Number(CURLOPT_NOBODY, 1);
        return;
    }
    const bool expectsBody =
        hop_->method == "POST" || hop_->method == "PUT" || hop_->method == "PATCH";
    if (hop_->body ? sender.IsText() : expectsBody) {
        // Where there is none, the length says so (RFC 9110 section 8.6).
        const std::string_view body = hop_->body ? sender.Text() : "";
        static_assert(sizeof(long) == sizeof(curl_off_t));
        options_.Pointer(CURLOPT_POSTFIELDS, const_cast<char *>(body.data()));
        options_.Number(CURLOPT_POSTFIELDSIZE_LARGE, static_cast<long>(body.size()));
    }
    options_.Text(CURLOPT_CUSTOMREQUEST, hop_->method);
}

void Wire::SetReuse()
{
    // A kept connection of clear-text HTTP/2 cannot be used again with this libcurl.
    const bool once =
        !hop_->url->Secure() && request_->GetConfiguration().transferPreference == PREFER_HTTP2;
    if (route_->fresh || once || routing_.Alone()) {
        options_.Number(CURLOPT_FRESH_CONNECT, 1);
    }
    if (once || routing_.Alone()) {
        options_.Number(CURLOPT_FORBID_REUSE, 1);
    }
    if (routing_.Alone()) {
        options_.Number(CURLOPT_SSL_SESSIONID_CACHE, 0);
    }
}

CURLcode Wire::SetVersion()
{
    const Configuration &configuration = request_->GetConfiguration();
    const bool known = configuration.transferHint;
    const auto set = [this](long version) {
        return options_.Number(CURLOPT_HTTP_VERSION, version);
    };
    switch (configuration.transferPreference) {
    case PREFER_HTTP1_0:
        return set(CURL_HTTP_VERSION_1_0);
    case PREFER_HTTP1_1:
        return set(CURL_HTTP_VERSION_1_1);
    case PREFER_HTTP2:
        return set(known ? CURL_HTTP_VERSION_2_PRIOR_KNOWLEDGE : CURL_HTTP_VERSION_2_0);
    case PREFER_HTTP3:
        if (set(known ? CURL_HTTP_VERSION_3ONLY : CURL_HTTP_VERSION_3) == CURLE_OK) {
            return CURLE_OK;
        }
        if (known) {
            return CURLE_NOT_BUILT_IN;
        }
        sink_->OnEvent(CURLINFO_TEXT, "HTTP/3 is not built in, going on with HTTP/2 or HTTP/1.1");
        return set(CURL_HTTP_VERSION_2TLS);
    default:
        return set(CURL_HTTP_VERSION_2TLS);
    }
}

void Wire::SetTimeouts(const TimeLeft &left)
{
    // 0 means five minutes to libcurl's connect time-out, not none.
    const long connect = left.connect.count() > 0 ? left.connect.count() : INT_MAX;
    options_.Number(CURLOPT_CONNECTTIMEOUT_MS, std::min<long>(connect, INT_MAX));
    if (left.attempt.count() > 0) { // the second family has its chance as well
        options_.Number(CURLOPT_HAPPY_EYEBALLS_TIMEOUT_MS,
                        std::min<long>(left.attempt.count() / 2, 200));
    }
    options_.Number(CURLOPT_TIMEOUT_MS, std::min<long>(left.transfer.count(), INT_MAX));
}

void Wire::SetLimits(const Limits &limits)
{
    if (limits.rateUp != 0) {
        options_.Number(CURLOPT_MAX_SEND_SPEED_LARGE, limits.rateUp);
    }
    if (!limits.unixSocket.empty()) {
        options_.Text(CURLOPT_UNIX_SOCKET_PATH, limits.unixSocket);
    }
    if (!limits.interface.empty()) {
        // Told apart, or libcurl would look up what is no interface as a name.
        const char *const kind = IsAddress(limits.interface) ? "host!" : "if!";
        options_.Text(CURLOPT_INTERFACE, kind + limits.interface);
    }
}

// What is rare, or a secret, of which no copy is kept: the next exchange begins without it.
CURLcode Wire::SetRest(Sender &sender)
{
    CURLcode code = CURLE_OK;
    const auto set = [this, &code](bool wanted, auto setter) {
        if (wanted && code == CURLE_OK) {
            resets_ = true;
            code = setter();
        }
    };
    CURL *const easy = easy_.get();
    const SecurityConfiguration &security = request_->GetConfiguration().security;
    const WebProxy &proxy = request_->GetConfiguration().proxy;
    const bool secure = hop_->url->Secure();
    const std::string &target = request_->GetTarget();
    set(hop_->redirects == 0 && !target.empty(), [&] {
        SetText(easy, CURLOPT_REQUEST_TARGET, target.c_str());
        return CURLE_OK;
    });
    set(hop_->body && !sender.IsText(),
        [&] { return sender.SetOptions(easy, headers_.contentLength); });
    set(!route_->proxy.Direct(), [&] { return SetProxy(); });
    set(secure && HasCertificates(security), [&] { return SetServerCertificates(easy, security); });
    // libcurl compares these, not the proxy's own, when it looks for a kept connection on which
    // only the proxy speaks TLS.
    set(!secure && SpeaksTlsToProxy(), [&] { return SetServerTls(easy, proxy.security); });
    set(hop_->sameOrigin && HasCredential(security),
        [&] { return SetServerCredential(easy, security); });
    return code;
}

CURLcode Wire::SetProxy()
{
    CURL *const easy = easy_.get();
    const WebProxy &proxy = request_->GetConfiguration().proxy;
    SetText(easy, CURLOPT_PROXY, route_->proxy.url.c_str());
    if (proxy.option == PROXY_TUNNEL) {
        curl_easy_setopt(easy, CURLOPT_HTTPPROXYTUNNEL, 1L);
    }
    const CURLcode code = SetProxyTls(easy, proxy.security);
    return code != CURLE_OK ? code : SetProxyCredential(easy, proxy.security);
}

} // namespace OHOS::Pelloria::Tnx
