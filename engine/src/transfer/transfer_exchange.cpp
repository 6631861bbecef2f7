// A hop while it is under way: addresses in turn, what pauses, what the wire tells.
#include <utility>

#include "transfer.h"

namespace OHOS::Pelloria::Tnx
{

void Transfer::Send()
{
    const bool mayRepeat = !configuration_.security.credentialName.Empty() ||
                           !configuration_.security.credentialPassword.Empty() ||
                           !route_.proxy.Direct();
    receiver_.StartHop(hop_, mayRepeat);
    wire_ = &driver_.TakeWire();
    const CURLcode code = wire_->Start({.request = *request_,
                                        .hop = hop_,
                                        .route = route_,
                                        .cookies = receiver_.Cookies(),
                                        .sender = sender_,
                                        .left = StartAttempt(),
                                        .events = recorder_.Wanted() || connection_ != nullptr,
                                        .progress = progress_.Wanted()},
                                       *this);
    if (code != CURLE_OK) {
        FailHop(code);
        return;
    }
    receiver_.DecodeContent(!wire_->OwnEncoding());
    if (quiet_ != nullptr) {
        quiet_->Start();
    }
    state_ = State::UNDER_WAY;
}

// What is left of the time-outs, and of that how much for the present addresses.
TimeLeft Transfer::StartAttempt()
{
    TimeLeft left = GetTimeLeft();
    attemptEnd_.reset();
    if (!route_.attempts.Last()) {
        const TimePoint now = Clock::now();
        const std::optional<TimePoint> deadline = HopDeadline();
        const Clock::duration share =
            route_.attempts.Share(deadline ? std::optional(*deadline - now) : std::nullopt);
        attemptEnd_ = now + share;
        left.attempt = std::chrono::ceil<std::chrono::milliseconds>(share);
    }
    return left;
}

// Their time is over. False where one has taken the connection: then there is no hurry.
bool Transfer::EndAttempt()
{
    attemptEnd_.reset();
    if (wire_->Sent() || wire_->Reached()) {
        return false;
    }
    StopWire();
    TryNextAddresses();
    return true;
}

void Transfer::TryNextAddresses()
{
    for (const std::string &address : route_.AddressesNow()) {
        recorder_.Note("No connection to " + address + ", going on with the next address");
    }
    DropWire();
    route_.attempts.Next();
    phases_.HopSentAgain();
    state_ = State::SEND;
}

// Ends the hop where the peer has let the time pass that it is given.
bool Transfer::StandsStill()
{
    if (quiet_ == nullptr || quiet_->NextLook() > Clock::now()) {
        return false;
    }
    if (!wire_->Sent()) {
        quiet_->Start();
        return false;
    }
    const bool ours = receiver_.Holds() || trace_.Held() || sender_.Asks();
    std::string why = quiet_->Look(wire_->Moved(), ours, ResponseBegun());
    if (why.empty()) {
        return false;
    }
    StopWire();
    FailAttempt(CURLE_OPERATION_TIMEDOUT, std::move(why));
    return true;
}

// What a wake-up may mean while the hop is under way.
bool Transfer::GoOn()
{
    if (attemptEnd_ && *attemptEnd_ <= Clock::now() && EndAttempt()) {
        return true;
    }
    if (StandsStill()) {
        return true;
    }
    const bool receive = trace_.Resume() || receiver_.Resumable();
    if (receive) {
        receiver_.Resumed();
    }
    if (!receive && !sender_.Resumable()) {
        return false;
    }
    // A direction that has nothing yet pauses again. What libcurl has kept is handed over here, and
    // would be missing if that failed.
    const CURLcode code = wire_->Resume();
    if (code != CURLE_OUT_OF_MEMORY && code != CURLE_WRITE_ERROR) {
        return false;
    }
    StopWire();
    FailHop(code);
    return true;
}

bool Transfer::OnHeaderLine(std::string_view line) noexcept
{
    return driver_.Guarded(
        [&] {
            if (recorder_.Wanted()) {
                recorder_.SeeHeaderLine(line);
            }
            const bool goOn = receiver_.OnHeaderLine(line);
            if (receiver_.Ambiguous()) {
                wire_->CloseAfterwards();
            }
            return goOn;
        },
        false);
}

size_t Transfer::OnBody(std::string_view piece) noexcept
{
    if (trace_.Holds()) {
        return CURL_WRITEFUNC_PAUSE;
    }
    return driver_.Guarded(
        [&] {
            const size_t taken = receiver_.OnBody(piece);
            if (receiver_.HeldUntil() != TimePoint::max()) {
                driver_.WakeAt(WaitLimit());
            }
            return taken;
        },
        size_t{0});
}

void Transfer::OnEvent(curl_infotype type, std::string_view data) noexcept
{
    CountBytes(type, data.size());
    driver_.Guarded([&] {
        if (type == CURLINFO_HEADER_IN && wire_->Sent() && receiver_.Block().Untouched()) {
            trace_.Tell(TRACE_FIRST_BYTE);
        }
        if (type == CURLINFO_TEXT) {
            recorder_.Record(type, wire_->WithRealName(WithoutSecrets(data)));
        } else {
            recorder_.Record(type, data);
        }
    });
}

void Transfer::OnProgress(uint64_t downloadTotal, uint64_t uploadTotal, uint64_t uploaded) noexcept
{
    if (!progress_.Wanted()) {
        return;
    }
    driver_.Guarded([&] {
        progress_.Report({.downloadTotal = downloadTotal,
                          .downloaded = receiver_.Received(),
                          .uploadTotal = uploadTotal,
                          .uploaded = sender_.Uploaded(uploaded)});
    });
}

} // namespace OHOS::Pelloria::Tnx
