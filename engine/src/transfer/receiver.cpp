// From header lines to the response.
#include "receiver.h"

#include <algorithm>
#include <ctime>
#include <limits>
#include <utility>
#include <vector>

#include <curl/curl.h>

#include "http/set_cookie.h"

namespace OHOS::Pelloria::Tnx
{
namespace
{

constexpr int32_t SWITCHING_PROTOCOLS = 101;

} // namespace

Receiver::Receiver(Response &response, Delivery &delivery, Retries &retries)
    : response_(response)
    , delivery_(delivery)
    , retries_(retries)
    , configuration_(response.GetRequest()->GetConfiguration())
    , cookies_(configuration_.cookieJar)
    , pace_(configuration_.limits != nullptr ? static_cast<double>(configuration_.limits->rateDown)
                                             : 0)
    , body_(response.MutableBody())
{
    const auto &consumer = configuration_.tracing.eventsHandler.onDataReceive;
    if (consumer) {
        pipe_.emplace(consumer, configuration_.maxChunk, delivery);
    }
}

void Receiver::StartHop(const Hop &hop, bool mayRepeat)
{
    hop_ = &hop;
    mayRepeat_ = mayRepeat;
    StartResponse();
}

void Receiver::StartResponse()
{
    if (!block_.Untouched()) {
        HandOverFields();
        block_ = HeaderBlock();
    }
    framing_ = {};
    redirected_ = false;
    skipped_ = 0;
}

void Receiver::HandOverFields() noexcept
{
    if (block_.Final()) {
        response_.SetHeaders(block_.TakeFields());
    }
}

bool Receiver::OnHeaderLine(std::string_view line)
{
    const bool wasComplete = block_.Complete();
    if (!block_.Add(line)) {
        Fail(CURLE_RECV_ERROR, "The header section is too large");
        return false;
    }
    return wasComplete || !block_.Complete() || EndOfBlock();
}

// False to read no further.
bool Receiver::EndOfBlock()
{
    decoder_.reset();
    bodyBegun_ = false;
    if (block_.Status() < 100) {
        Fail(CURLE_WEIRD_SERVER_REPLY, "The answer is not HTTP: it has no status");
        return false;
    }
    if (block_.Final()) {
        response_.SetStatusCode(block_.Status());
    }
    framing_ = ReadFraming(block_);
    if (framing_.problem != nullptr) {
        Fail(CURLE_WEIRD_SERVER_REPLY, framing_.problem);
        return false;
    }
    if (block_.Status() == SWITCHING_PROTOCOLS && !AsksForHttp2()) {
        Fail(CURLE_WEIRD_SERVER_REPLY,
             "The answer is not HTTP: the server changes to another protocol (101)");
        return false;
    }
    KeepCookies();
    if (!block_.Final()) {
        return true;
    }
    redirected_ = configuration_.autoRedirect && block_.Redirects();
    // Whether libcurl goes on after a challenge shows only when it delivers a body.
    const bool challenged = mayRepeat_ && (block_.Status() == 401 || block_.Status() == 407);
    if (redirected_ || (!challenged && retries_.AfterStatus(*hop_, block_))) {
        return SkipsBody();
    }
    if (!challenged) {
        TellHeaders();
        if (AnnouncesTooMuch()) {
            Fail(CURLE_FILESIZE_EXCEEDED,
                 "The server announces " + std::to_string(*framing_.length) +
                     " bytes, and the request takes " + std::to_string(MostBytes()));
            return false;
        }
    }
    return true;
}

// What a content coding makes of its bytes is not known yet.
bool Receiver::AnnouncesTooMuch() const
{
    const bool bodiless =
        hop_->method == "HEAD" || block_.Status() == 204 || block_.Status() == 304;
    const bool coded = decodes_ && block_.Has(HeaderBlock::CONTENT_ENCODING);
    return framing_.length > MostBytes() && !bodiless && !coded;
}

uint64_t Receiver::MostBytes() const
{
    const bool limited =
        configuration_.limits != nullptr && configuration_.limits->responseSize > 0;
    return limited ? configuration_.limits->responseSize : std::numeric_limits<uint64_t>::max();
}

// Whether libcurl has asked for another protocol, in clear text, where HTTP/2 is preferred.
bool Receiver::AsksForHttp2() const
{
    return configuration_.transferPreference == PREFER_HTTP2 && !hop_->url->Secure();
}

// Whether a body that nobody wants is worth reading, to keep the connection.
bool Receiver::SkipsBody()
{
    return hop_->method == "HEAD" || framing_.length.value_or(MAX_SKIPPED + 1) <= MAX_SKIPPED;
}

void Receiver::KeepCookies()
{
    if (!block_.Has(HeaderBlock::SET_COOKIE)) {
        return;
    }
    for (const auto &[name, value] : block_.Fields()) {
        if (name != "set-cookie") {
            continue;
        }
        if (std::optional<ResponseCookie> cookie = ParseSetCookie(value, std::time(nullptr))) {
            cookies_.Store(*cookie, *hop_->url);
            response_.MutableCookies().push_back(std::move(*cookie));
        }
    }
}

void Receiver::TellHeaders()
{
    const auto &tell = configuration_.tracing.eventsHandler.onHeadersReceive;
    if (!headersTold_ && tell) {
        delivery_.Deliver(
            [this, &tell, headers = block_.Fields()] { delivery_.Call([&] { tell(headers); }); });
    }
    headersTold_ = true;
}

// Nothing is taken of a piece after this.
size_t Receiver::Fail(CURLcode code, std::string why)
{
    delivery_.GetOutcome().Stop(code, std::move(why));
    return 0;
}

bool Receiver::Forgettable() const
{
    const bool told = headersTold_ && configuration_.tracing.eventsHandler.onHeadersReceive;
    const bool given = pipe_ && received_ > 0;
    return !told && !given && !(decoder_ != nullptr && decoder_->Running());
}

void Receiver::Forget()
{
    response_.SetStatusCode(0);
    response_.SetHeaders({});
    block_ = HeaderBlock();
    decoder_.reset();
    body_.Forget();
    received_ = 0;
    headersTold_ = false;
    paused_ = false;
    aside_ = false;
}

void Receiver::Stop()
{
    if (pipe_) {
        pipe_->Stop();
    }
}

} // namespace OHOS::Pelloria::Tnx
