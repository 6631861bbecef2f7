// From the pieces of a body to the application, or into the response.
#include <limits>
#include <utility>
#include <vector>

#include <curl/curl.h>

#include "receiver.h"

namespace OHOS::Pelloria::Tnx
{
namespace
{

constexpr uint64_t MAX_BODY = std::numeric_limits<int32_t>::max();

} // namespace

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

} // namespace OHOS::Pelloria::Tnx
