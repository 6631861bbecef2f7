// Takes what a response brings: header sections of all hops, and the body of the final one.
#ifndef TNX_ENGINE_RECEIVER_H
#define TNX_ENGINE_RECEIVER_H

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "body/body_pipe.h"
#include "body/kept_body.h"
#include "body/pace.h"
#include "body/sliced_decoder.h"
#include "event/delivery.h"
#include "http/fetch_cookies.h"
#include "http/framing.h"
#include "http/header_block.h"
#include "http/hop.h"
#include "retries.h"
#include "tnx_native/response.h"

namespace OHOS::Pelloria::Tnx
{

class Receiver
{
public:
    Receiver(Response &response, Delivery &delivery, Retries &retries);

    // A hop starts. `mayRepeat`: libcurl may answer a 401 or 407 by itself.
    void StartHop(const Hop &hop, bool mayRepeat);

    // A request goes out, of which a hop has several where libcurl repeats it: what comes next is
    // its response.
    void StartResponse();

    // Whether the content codings of the hop's body are to be undone.
    void DecodeContent(bool decode) { decodes_ = decode; }

    // One header line. False to stop.
    bool OnHeaderLine(std::string_view line);

    // A piece of a body, for libcurl: its size, CURL_WRITEFUNC_PAUSE, or less to stop.
    size_t OnBody(std::string_view piece);

    // The hop is over and is not followed by another: the rest of the events. False when the body
    // is not whole.
    bool EndOfBody();

    // Where the hop redirects to something that is to be followed. Its body is nothing to wait for.
    bool Redirected() const { return redirected_; }

    // The response is not wanted: it leads elsewhere, or the request is tried again.
    bool Passed() const { return redirected_ || retries_.Planned(); }

    // Nothing of it has reached the application; and then as if it had never come.
    bool Forgettable() const;
    void Forget();

    const HeaderBlock &Block() const { return block_; }

    // The server may see more of the response to come than there is: its connection is not kept.
    bool Ambiguous() const { return framing_.ambiguous; }
    const FetchCookies &Cookies() const { return cookies_; }

    // libcurl waits until the application has taken what it has, until that is decoded, or until
    // the rate lets it come. Whether it can go on.
    bool Resumable() const
    {
        return (paused_ && pipe_->HasRoom()) || (aside_ && !decoder_->Running()) ||
               (held_ && !pace_.Waits());
    }
    void Resumed() { paused_ = held_ = false; }
    bool Holds() const { return paused_ || aside_ || held_; }

    // When the rate lets more come, if that is what it waits for.
    TimePoint HeldUntil() const { return held_ ? pace_.Next() : TimePoint::max(); }

    // The application has had everything, or wants no more.
    bool Drained() const { return !pipe_ || pipe_->Drained(); }

    // When nothing more comes: gives the response the header section that it was left with.
    void HandOverFields() noexcept;

    // The body, when nothing more comes.
    KeptBody &Body() { return body_; }

    // Bytes of body so far.
    uint64_t Received() const { return received_; }

    // The application is not called any more.
    void Stop();

private:
    static constexpr uint64_t MAX_SKIPPED = 64 * 1024; // costs less than another connection

    bool EndOfBlock();
    bool AnnouncesTooMuch() const;
    uint64_t MostBytes() const;
    bool AsksForHttp2() const;
    bool SkipsBody();
    void KeepCookies();
    void TellHeaders();
    void StartDecoding();
    size_t Take(std::string_view piece);
    size_t Decode(std::string_view piece);
    size_t DecodeAside();
    size_t Accept(std::string_view piece);
    size_t Keep(std::string_view piece);
    size_t Fail(CURLcode code, std::string why);

    Response &response_;
    Delivery &delivery_;
    Retries &retries_;
    const Configuration &configuration_;
    std::optional<BodyPipe> pipe_;
    FetchCookies cookies_;
    Pace pace_;
    HeaderBlock block_;
    Framing framing_;
    const Hop *hop_ = nullptr;
    bool mayRepeat_ = false;
    bool redirected_ = false;
    bool headersTold_ = false;
    bool paused_ = false;
    bool held_ = false; // by the rate
    bool decodes_ = false;
    bool bodyBegun_ = false;
    std::shared_ptr<SlicedDecoder> decoder_; // null where there is nothing to undo
    std::string_view decoded_;               // in the decoder, waits for room
    size_t given_ = 0;   // to the decoder, of the piece that libcurl brings again after a pause
    bool aside_ = false; // decodes a slice, or has done so
    KeptBody body_;
    uint64_t received_ = 0;
    uint64_t skipped_ = 0; // of a redirect's body
};

} // namespace OHOS::Pelloria::Tnx

#endif
