// From libcurl's header and write callbacks to the response.
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
constexpr uint64_t MAX_BODY = std::numeric_limits<int32_t>::max();
constexpr uint64_t MAX_SKIPPED = 64 * 1024; // costs less than another connection

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

size_t Receiver::OnBody(std::string_view piece)
{
    if (Passed()) {
        skipped_ += piece.size();
        return skipped_ <= MAX_SKIPPED ? piece.size() : 0;
    }
    if (!block_.Final()) {
        return Fail(CURLE_WEIRD_SERVER_REPLY, "Data came in place of the final response");
    }
    if (pace_.Waits()) {
        held_ = true;
        return CURL_WRITEFUNC_PAUSE;
    }
    TellHeaders();
    const size_t taken = Take(piece);
    if (taken == piece.size()) {
        pace_.Took(taken);
    }
    return taken;
}

size_t Receiver::Take(std::string_view piece)
{
    try {
        if (!std::exchange(bodyBegun_, true)) {
            StartDecoding();
        }
        return decoder_ != nullptr ? Decode(piece) : Accept(piece);
    } catch (const DamagedContent &damage) {
        return Fail(CURLE_BAD_CONTENT_ENCODING, damage.what());
    }
}

void Receiver::StartDecoding()
{
    if (!decodes_ || !block_.Has(HeaderBlock::CONTENT_ENCODING)) {
        return;
    }
    std::vector<std::string> codings;
    for (const auto &[name, value] : block_.Fields()) {
        if (name == "content-encoding") {
            codings.emplace_back(value);
        }
    }
    decoder_ = std::make_shared<SlicedDecoder>(codings);
    if (decoder_->Decoder().Empty()) {
        decoder_.reset();
    }
    decoded_ = {};
    given_ = 0;
    aside_ = false;
}

// Decodes as long as nobody has to wait for that, and the rest aside, while libcurl keeps the
// piece.
size_t Receiver::Decode(std::string_view piece)
{
    if (aside_ && decoder_->Running()) {
        return CURL_WRITEFUNC_PAUSE; // woken for something else
    }
    ContentDecoder &decoder = decoder_->Decoder();
    if (std::exchange(aside_, false)) {
        decoded_ = decoder_->Made();
    }
    for (;;) {
        if (!decoded_.empty()) {
            const size_t accepted = Accept(decoded_);
            if (accepted == CURL_WRITEFUNC_PAUSE) {
                decoder.KeepPiece();
            }
            if (accepted != decoded_.size()) {
                return accepted;
            }
            decoded_ = {};
        }
        if (decoder.UsedUp()) {
            if (given_ >= piece.size()) {
                given_ -= piece.size();
                return piece.size();
            }
            decoder.Give(piece.substr(given_));
            given_ = piece.size();
        }
        if (!decoder.Quick() || !delivery_.HasTime()) {
            return DecodeAside();
        }
        decoded_ = decoder.Take();
    }
}

size_t Receiver::DecodeAside()
{
    decoder_->Decoder().KeepPiece();
    aside_ = true;
    decoder_->Begin();
    delivery_.RunAside(decoder_);
    return CURL_WRITEFUNC_PAUSE;
}

size_t Receiver::Accept(std::string_view piece)
{
    if (piece.size() > MostBytes() - received_) {
        return Fail(CURLE_FILESIZE_EXCEEDED, "The body is larger than the " +
                                                 std::to_string(MostBytes()) +
                                                 " bytes that the request takes");
    }
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
    const uint64_t announced = decoder_ == nullptr ? framing_.length.value_or(0) : 0;
    if (body_.Size() == 0) {
        body_.Reserve(announced);
    }
    if (announced > MAX_BODY || body_.Size() + piece.size() > MAX_BODY) {
        return Fail(CURLE_FILESIZE_EXCEEDED,
                    "The body is larger than 2147483647 bytes, the most that is kept in memory");
    }
    body_.Append(piece);
    received_ += piece.size();
    return piece.size();
}

bool Receiver::EndOfBody()
{
    TellHeaders();
    try {
        if (decoder_ != nullptr) {
            decoder_->Decoder().End();
        }
    } catch (const DamagedContent &damage) {
        Fail(CURLE_BAD_CONTENT_ENCODING, damage.what());
        return false;
    }
    if (pipe_) {
        pipe_->Close();
    }
    return true;
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
