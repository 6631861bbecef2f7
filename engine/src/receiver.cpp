// From libcurl's header and write callbacks to the response.
#include "receiver.h"

#include <algorithm>
#include <charconv>
#include <ctime>
#include <limits>

#include <curl/curl.h>

#include "set_cookie.h"

namespace OHOS::Pelloria::Tnx
{
namespace
{

constexpr uint64_t MAX_BODY = std::numeric_limits<int32_t>::max();
constexpr uint64_t MAX_RESERVED = 16 * 1024 * 1024; // a server's word alone buys no more memory

bool IsRedirect(int32_t status)
{
    return status == 301 || status == 302 || status == 303 || status == 307 || status == 308;
}

} // namespace

Receiver::Receiver(Response &response, Delivery &delivery)
    : response_(response)
    , delivery_(delivery)
    , configuration_(response.GetRequest()->GetConfiguration())
{
    const auto &consumer = configuration_.tracing.eventsHandler.onDataReceive;
    if (consumer) {
        pipe_.emplace(consumer, configuration_.maxChunk, delivery);
    }
}

void Receiver::StartHop(const Url &url, bool mayRepeat)
{
    url_ = &url;
    mayRepeat_ = mayRepeat;
    redirected_ = false;
    block_ = HeaderBlock();
}

bool Receiver::OnHeaderLine(std::string_view line)
{
    const bool wasComplete = block_.Complete();
    if (!block_.Add(line)) {
        failure_ = CURLE_RECV_ERROR;
        return false;
    }
    if (block_.Complete() && !wasComplete) {
        EndOfBlock();
    }
    return true;
}

void Receiver::EndOfBlock()
{
    const int32_t status = block_.Status();
    KeepCookies();
    if (status < 200) {
        return;
    }
    redirected_ =
        configuration_.autoRedirect && IsRedirect(status) && block_.Fields()->contains("location");
    response_.SetStatusCode(status);
    response_.SetHeaders(block_.Fields());
    // Whether libcurl goes on after a challenge shows only when it delivers a body.
    if (!redirected_ && !(mayRepeat_ && (status == 401 || status == 407))) {
        TellHeaders();
    }
}

void Receiver::KeepCookies()
{
    for (const std::string &line : block_.SetCookies()) {
        if (std::optional<ResponseCookie> cookie = ParseSetCookie(line, std::time(nullptr))) {
            hopCookies_.Store(*cookie, *url_);
            response_.MutableCookies().push_back(std::move(*cookie));
        }
    }
}

void Receiver::TellHeaders()
{
    const auto &tell = configuration_.tracing.eventsHandler.onHeadersReceive;
    if (!headersTold_ && tell) {
        delivery_.Deliver([&tell, headers = block_.Fields()] { tell(headers); });
    }
    headersTold_ = true;
}

size_t Receiver::OnBody(std::string_view piece)
{
    if (redirected_) {
        return piece.size();
    }
    TellHeaders();
    if (!pipe_) {
        return Keep(piece);
    }
    const BodyPipe::Result result = pipe_->Write(piece);
    if (result == BodyPipe::Result::FULL) {
        paused_ = true;
        return CURL_WRITEFUNC_PAUSE;
    }
    received_ += piece.size();
    return result == BodyPipe::Result::TAKEN ? piece.size() : 0;
}

size_t Receiver::Keep(std::string_view piece)
{
    std::string &body = response_.MutableBody();
    if (body.empty()) {
        ReserveBody();
    }
    if (announced_ > MAX_BODY || body.size() + piece.size() > MAX_BODY) {
        failure_ = CURLE_FILESIZE_EXCEEDED;
        return 0;
    }
    body.append(piece);
    received_ += piece.size();
    return piece.size();
}

void Receiver::ReserveBody()
{
    const auto field = block_.Fields()->find("content-length");
    announced_ = 0;
    if (field != block_.Fields()->end()) {
        const std::string &text = field->second.front();
        std::from_chars(text.data(), text.data() + text.size(), announced_);
    }
    response_.MutableBody().reserve(std::min(announced_, MAX_RESERVED));
}

void Receiver::EndOfBody()
{
    TellHeaders();
    if (pipe_) {
        pipe_->Close();
    }
}

void Receiver::Stop()
{
    if (pipe_) {
        pipe_->Stop();
    }
}

} // namespace OHOS::Pelloria::Tnx
