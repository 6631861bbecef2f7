// How a fetch ends: time-outs, failures with their cause, cancels and completions.
#include <array>
#include <cstdio>
#include <new>
#include <utility>

#include "curl/releases.h"
#include "pool/session_core.h"
#include "tnx_native/session.h"
#include "transfer.h"

namespace OHOS::Pelloria::Tnx
{
namespace
{

constexpr const char *CALLBACK_THREW = "A callback threw an exception";

std::string Milliseconds(Clock::duration duration)
{
    std::array<char, 32> text;
    std::snprintf(text.data(), text.size(), "%.1f ms",
                  std::chrono::duration<double, std::milli>(duration).count());
    return text.data();
}

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

} // namespace

TimeLeft Transfer::GetTimeLeft() const
{
    const TimePoint now = Clock::now();
    const auto left = [now](uint64_t timeout, TimePoint since) {
        if (timeout >= NO_TIMEOUT) {
            return std::chrono::milliseconds(0);
        }
        const auto rest = std::chrono::ceil<std::chrono::milliseconds>(
            since + std::chrono::milliseconds(timeout) - now);
        return std::max(rest, std::chrono::milliseconds(1));
    };
    return {.connect = left(configuration_.connectTimeout, phases_.HopStart()),
            .transfer = left(configuration_.transferTimeout, phases_.Start())};
}

// The nearer of both time-outs, before libcurl keeps them.
std::optional<TimePoint> Transfer::HopDeadline() const
{
    std::optional<TimePoint> deadline;
    const auto take = [&deadline](uint64_t timeout, TimePoint since) {
        if (timeout < NO_TIMEOUT) {
            const TimePoint at = since + std::chrono::milliseconds(timeout);
            deadline = deadline ? std::min(*deadline, at) : at;
        }
    };
    take(configuration_.connectTimeout, phases_.HopStart());
    take(configuration_.transferTimeout, phases_.Start());
    return deadline;
}

std::optional<TimePoint> Transfer::WaitLimit() const
{
    const bool looksUp = state_ == State::EXCLUSION || state_ == State::TARGET_LOOKUP ||
                         state_ == State::PROXY_LOOKUP;
    return looksUp ? HopDeadline() : std::nullopt;
}

// The code that tells what really stopped the exchange.
CURLcode Transfer::CauseOf(CURLcode code, std::string &what) const
{
    what = exchange_.Error(code);
    switch (GetTrouble()) {
    case Trouble::THREW:
        what = CALLBACK_THREW;
        return CURLE_ABORTED_BY_CALLBACK;
    case Trouble::NO_MEMORY:
        what = "Memory ran out";
        return CURLE_OUT_OF_MEMORY;
    case Trouble::NONE:
        break;
    }
    if (receiver_.Failure() != CURLE_OK) {
        what = receiver_.Problem();
        return receiver_.Failure();
    }
    if (receiver_.Refused()) {
        what = "The data callback stopped the transfer";
        return CURLE_WRITE_ERROR;
    }
    if (exchange_.RefusedRetry()) {
        what = "The kept connection was closed after the request was sent, which is not repeated "
               "because it may have been carried out";
        return CURLE_GOT_NOTHING;
    }
    if (!sender_.Problem().empty()) {
        what = sender_.Problem();
        return code;
    }
    switch (sender_.GetFailure()) {
    case PullBody::Failure::CALLBACK:
        what = "The body callback reported failure";
        return CURLE_ABORTED_BY_CALLBACK;
    case PullBody::Failure::ENDED_EARLY:
        what = "The body callback ended before the content-length was reached";
        return CURLE_PARTIAL_FILE;
    case PullBody::Failure::NONE:
        break;
    }
    return CauseOutside(code, what);
}

// The same where neither the application nor the engine stopped it.
CURLcode Transfer::CauseOutside(CURLcode code, std::string &what) const
{
    if (exchange_.RefusedConnection()) {
        what = "The server sent what nobody asked for";
        return CURLE_WEIRD_SERVER_REPLY;
    }
    if (code == CURLE_OK || (code == CURLE_GOT_NOTHING && !receiver_.Block().Untouched())) {
        what = "The connection ended before the header section of the final response did";
        return CURLE_RECV_ERROR;
    }
    if (!receiver_.Block().Complete() && MetLongHeaderLine(easy_, code, exchange_.MemoryRanOut())) {
        what = "A header line is too long";
        return CURLE_RECV_ERROR;
    }
    if (const char *reason = exchange_.RefusedCertificate();
        code == CURLE_SSL_CONNECT_ERROR && reason != nullptr) {
        what = std::string("SSL certificate problem: ") + reason;
        return CURLE_PEER_FAILED_VERIFICATION;
    }
    if (code == CURLE_BAD_CONTENT_ENCODING) { // libcurl's own: of a transfer coding
        return CURLE_WEIRD_SERVER_REPLY;
    }
    if (code == CURLE_UNSUPPORTED_PROTOCOL || code == CURLE_WEIRD_SERVER_REPLY) {
        what = "The answer is not HTTP: " + what;
        return CURLE_WEIRD_SERVER_REPLY;
    }
    if (KnowsHttp2() && LacksHttp2(easy_, code, hop_.url.Secure(), exchange_.ProtocolRefused())) {
        what = "The server gave no answer in HTTP/2, which it was said to speak";
        return CURLE_HTTP2;
    }
    if (LeftHttp2(code)) {
        what = "The server ended the connection of HTTP/2 before its answer was whole";
        return CURLE_HTTP2_STREAM;
    }
    if (code == CURLE_PARTIAL_FILE && receiver_.Block().Untouched()) {
        what = "The server closed the connection without an answer";
        return CURLE_GOT_NOTHING;
    }
    if (Tunnels()) {
        if (std::string failure = TunnelFailure(easy_, code); !failure.empty()) {
            what = std::move(failure);
            return CURLE_PROXY;
        }
    }
    if (code == CURLE_COULDNT_CONNECT && !route_.proxy.Direct()) {
        what = "The proxy cannot be reached: " + what;
    }
    return code;
}

// Whether the proxy, if there is one, is asked to pass on bytes rather than requests.
bool Transfer::Tunnels() const
{
    return route_.proxy.scheme.starts_with("http") &&
           (hop_.url.Secure() || configuration_.proxy.option == PROXY_TUNNEL);
}

// The address that was reached, or those that there were to try.
std::string Transfer::HopAddress(CURL *easy) const
{
    char *reached = nullptr;
    long port = 0;
    curl_easy_getinfo(easy, CURLINFO_PRIMARY_IP, &reached);
    curl_easy_getinfo(easy, CURLINFO_PRIMARY_PORT, &port);
    std::string text = reached != nullptr ? reached : "";
    if (text.empty()) {
        const bool direct = route_.proxy.Direct();
        port = direct ? hop_.url.port : route_.proxy.port;
        for (const std::string &address : direct ? route_.addresses : route_.proxyAddresses) {
            text += (text.empty() ? "" : " or ") + address;
        }
    }
    return text.empty() ? "" : ", address " + text + " port " + std::to_string(port);
}

void Transfer::FailExchange(CURL *easy, CURLcode code)
{
    std::string what;
    const CURLcode cause = CauseOf(code, what);
    const bool reached = WasConnected(easy) && cause != CURLE_PROXY;
    std::string where = phases_.HopPhase(hop_.url.Secure(), reached);
    where += ", host " + hop_.url.Name();
    if (!route_.proxy.Direct()) {
        where += ", through the proxy " + route_.proxy.Text();
    }
    where += HopAddress(easy);
    DropExchange(cause != CURLE_OUT_OF_MEMORY);
    Fail(cause, what, where + ", ");
}

void Transfer::Fail(CURLcode code, const std::string &what, const std::string &where)
{
    const bool inQueue = state_ == State::START || state_ == State::ADMISSION;
    const std::string when = Milliseconds(Clock::now() - phases_.Start());
    recorder_.Cause(inQueue ? what : what + " (" + where + when + ")");
    Finish(ERR_TRANSFER_BASE + static_cast<uint32_t>(code));
}

// What is needed to say so was there before: the response, and the callback's place in the queue
// is the first thing that the freed handle leaves room for.
void Transfer::FailWithoutMemory()
{
    if (Done()) {
        return;
    }
    if (state_ == State::UNDER_WAY && easy_ != nullptr) {
        StopExchange(easy_);
    }
    DropExchange(false);
    Finish(ERR_TRANSFER_BASE + CURLE_OUT_OF_MEMORY);
}

void Transfer::FailOfTrouble()
{
    if (GetTrouble() == Trouble::NO_MEMORY) {
        FailWithoutMemory();
    } else if (state_ == State::UNDER_WAY) {
        StopExchange(easy_);
        FailExchange(easy_, CURLE_ABORTED_BY_CALLBACK);
    } else {
        DropExchange();
        Fail(CURLE_ABORTED_BY_CALLBACK, CALLBACK_THREW);
    }
}

// What was thrown is being handled.
void Transfer::FailThrown()
{
    if (Done()) {
        return;
    }
    try {
        throw;
    } catch (const std::bad_alloc &) {
        Meet(Trouble::NO_MEMORY);
    } catch (...) {
        Meet(Trouble::THREW);
    }
    try {
        FailOfTrouble();
    } catch (...) { // no room for the words
        FailWithoutMemory();
    }
}

// Gives the handle back. False when there was none.
bool Transfer::DropExchange(bool sound)
{
    if (easy_ == nullptr) {
        return false;
    }
    exchange_.Release();
    GiveHandleBack(std::exchange(easy_, nullptr), sound);
    return true;
}

void Transfer::Abandon(bool closed)
{
    receiver_.Stop();
    sender_.Stop();
    if (state_ == State::UNDER_WAY) {
        StopExchange(easy_);
    }
    DropExchange();
    if (closed) {
        recorder_.Cause("The session was closed");
        Finish(ERR_SESSION_CLOSED);
    } else {
        Finish(ERR_REQUEST_CANCELED);
    }
}

void Transfer::Finish(uint32_t code)
{
    const std::shared_ptr<Transfer> self = shared_from_this();
    state_ = State::DONE;
    LeaveSlot();
    core_->Deregister(*this);
    if (code != ERR_SESSION_CLOSED && request_->IsCanceled()) { // whatever ended it meanwhile
        code = ERR_REQUEST_CANCELED;
    }
    if (code == ERR_REQUEST_CANCELED) {
        Complete(nullptr, code);
        return;
    }
    sender_.Stop();
    Complete(response_, TellEnd(code));
}

// The last events and what the response has besides its content. Returns the code to end with.
uint32_t Transfer::TellEnd(uint32_t code)
{
    try {
        if (receiver_.Body().MakeRoom()) {
            Deliver([this] { receiver_.Body().Join(); });
        }
        progress_.Finish();
        const auto &dataEnd = configuration_.tracing.eventsHandler.onDataEnd;
        if (code == 0 && dataEnd) {
            Deliver([this, &dataEnd] { Call(dataEnd); });
        }
        if (configuration_.tracing.collectTimeInfo) {
            response_->SetTimeInfo(phases_.Result());
        }
        response_->MutableDebugInfo() = recorder_.Take();
    } catch (...) {
        return code != 0 ? code : ERR_TRANSFER_BASE + CURLE_OUT_OF_MEMORY;
    }
    return code;
}

} // namespace OHOS::Pelloria::Tnx
