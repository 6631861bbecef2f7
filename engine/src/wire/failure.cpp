// What a failure of libcurl means: its codes are few, and some mean what nobody would guess.
#include <system_error>

#include "curl/quirks.h"
#include "curl/wiping_allocator.h"
#include "wire.h"

namespace OHOS::Pelloria::Tnx
{
namespace
{

// Why a proxy of HTTP made no tunnel; empty where that is not what failed.
std::string TunnelFailure(CURL *easy, CURLcode code)
{
    long status = 0;
    curl_off_t sending = 0;
    curl_easy_getinfo(easy, CURLINFO_HTTP_CONNECTCODE, &status);
    curl_easy_getinfo(easy, CURLINFO_PRETRANSFER_TIME_T, &sending);
    if (code == CURLE_OPERATION_TIMEDOUT || sending > 0) {
        return {};
    }
    if (status != 0 && status / 100 != 2) {
        return "The proxy refused to make a tunnel, with status " + std::to_string(status);
    }
    const bool broke = code == CURLE_RECV_ERROR || code == CURLE_SEND_ERROR ||
                       code == CURLE_GOT_NOTHING || code == CURLE_WEIRD_SERVER_REPLY;
    return broke ? "The proxy did not answer well when asked for a tunnel" : "";
}

// Why no connection came about, which libcurl leaves to be asked for.
std::string SystemReason(CURL *easy, const Sockets &sockets)
{
    long error = 0;
    curl_easy_getinfo(easy, CURLINFO_OS_ERRNO, &error);
    const int reason = error != 0 ? static_cast<int>(error) : sockets.OpenError();
    return reason == 0 ? "" : " (" + std::system_category().message(reason) + ")";
}

} // namespace

Wire::Failure Wire::Explain(CURLcode code, const HeaderBlock &block) const
{
    if (retry_.Refused()) {
        return {CURLE_GOT_NOTHING, "The kept connection was closed after the request was sent, "
                                   "which is not repeated because it may have been carried out"};
    }
    if (retry_.Endless()) {
        return {CURLE_TOO_MANY_REDIRECTS, "The server calls each answer to its challenge stale"};
    }
    if (!sender_->Problem().empty()) {
        return {code, sender_->Problem()};
    }
    if (refusedConnection_) {
        return {CURLE_WEIRD_SERVER_REPLY, "The server sent what nobody asked for"};
    }
    if (code == CURLE_OK || (code == CURLE_GOT_NOTHING && !block.Untouched())) {
        return {CURLE_RECV_ERROR,
                "The connection ended before the header section of the final response did"};
    }
    // Behind the header section the older's word for it means what it says.
    const bool memoryRanOut = FailedAllocations() != failedAllocations_ || block.Complete();
    if (MetLongHeaderLine(easy_.get(), code, memoryRanOut)) {
        return {CURLE_RECV_ERROR, "A header line is too long"};
    }
    if (code == CURLE_SSL_CONNECT_ERROR && refusedCertificate_ != nullptr) {
        return {CURLE_PEER_FAILED_VERIFICATION,
                std::string("SSL certificate problem: ") + refusedCertificate_};
    }
    if (multi_.Watched().Floods() != floods_ && code != CURLE_OPERATION_TIMEDOUT) {
        return {CURLE_RECV_ERROR, "The server floods the connection with what is no answer"};
    }
    if (code == CURLE_INTERFACE_FAILED) {
        return {code, "Cannot connect from " + request_->GetConfiguration().limits->interface +
                          ": " + Text(code)};
    }
    if (code == CURLE_BAD_CONTENT_ENCODING) { // libcurl's own: of a transfer coding
        return {CURLE_WEIRD_SERVER_REPLY, Text(code)};
    }
    if (code == CURLE_BAD_FUNCTION_ARGUMENT && retry_.Sent()) { // libcurl's word for one
        return {CURLE_WEIRD_SERVER_REPLY, "The answer is not HTTP: a header line is damaged"};
    }
    if (code == CURLE_UNSUPPORTED_PROTOCOL || code == CURLE_WEIRD_SERVER_REPLY) {
        return {CURLE_WEIRD_SERVER_REPLY, "The answer is not HTTP: " + Text(code)};
    }
    if (KnowsHttp2() && LacksHttp2(easy_.get(), code, hop_->url->Secure(), protocolRefused_)) {
        return {CURLE_HTTP2, "The server gave no answer in HTTP/2, which it was said to speak"};
    }
    if (LeftHttp2(code)) {
        return {CURLE_HTTP2_STREAM,
                "The server ended the connection of HTTP/2 before its answer was whole"};
    }
    if (code == CURLE_PARTIAL_FILE && block.Untouched()) {
        return {CURLE_GOT_NOTHING, "The server closed the connection without an answer"};
    }
    if (Tunnels()) {
        if (std::string failure = TunnelFailure(easy_.get(), code); !failure.empty()) {
            return {CURLE_PROXY, std::move(failure)};
        }
    }
    if (code == CURLE_COULDNT_CONNECT) {
        std::string why = Text(code) + SystemReason(easy_.get(), multi_.GetSockets());
        return {code,
                route_->proxy.Direct() ? std::move(why) : "The proxy cannot be reached: " + why};
    }
    return {code, Text(code)};
}

std::string Wire::Text(CURLcode code) const
{
    return error_.front() != '\0' ? routing_.WithRealName(error_.data()) : curl_easy_strerror(code);
}

bool Wire::KnowsHttp2() const
{
    const Configuration &configuration = request_->GetConfiguration();
    return configuration.transferHint && configuration.transferPreference == PREFER_HTTP2;
}

// Whether the proxy, if there is one, is asked to pass on bytes rather than requests.
bool Wire::Tunnels() const
{
    return route_->proxy.scheme.starts_with("http") &&
           (hop_->url->Secure() || request_->GetConfiguration().proxy.option == PROXY_TUNNEL);
}

bool Wire::Connected() const
{
    return WasConnected(easy_.get());
}

// The address that was reached, or those that there were to try.
std::string Wire::Address() const
{
    const Limits *const limits = request_->GetConfiguration().limits.get();
    if (limits != nullptr && !limits->unixSocket.empty()) {
        return "socket " + limits->unixSocket;
    }
    char *reached = nullptr;
    long port = 0;
    curl_easy_getinfo(easy_.get(), CURLINFO_PRIMARY_IP, &reached);
    curl_easy_getinfo(easy_.get(), CURLINFO_PRIMARY_PORT, &port);
    std::string text = reached != nullptr ? reached : "";
    if (text.empty()) {
        port = route_->PeerPort();
        for (const std::string &address : route_->PeerAddresses()) {
            text += (text.empty() ? "" : " or ") + address;
        }
    }
    return text.empty() ? "" : "address " + text + " port " + std::to_string(port);
}

} // namespace OHOS::Pelloria::Tnx
