// What follows from a hop that has ended.
#include <utility>

#include "transfer.h"

namespace OHOS::Pelloria::Tnx
{

void Transfer::OnDone(CURLcode code) noexcept
{
    const std::shared_ptr<Transfer> self = shared_from_this(); // the registry's goes with the end
    state_ = State::ENDED;
    driver_.Guarded([&] { EndOfHop(code); });
    Advance();
}

void Transfer::EndOfHop(CURLcode code)
{
    if (Dropped() || driver_.GetOutcome().Stopped()) {
        return;
    }
    if (wire_->RefusedConnection() && !route_.fresh) {
        SendAfresh();
    } else if (code == CURLE_COULDNT_CONNECT && !route_.attempts.Last() && !wire_->Sent()) {
        TryNextAddresses();
    } else if (Responded(code)) {
        HandleResponse();
    } else {
        FailHop(code);
    }
}

// Whether the hop has brought all that matters of its response. libcurl takes the end of a
// connection within the header section for that of a response; and it fails for what a redirect's
// body lacks, or because the receiver would not wait for it.
bool Transfer::Responded(CURLcode code) const
{
    const bool cut = code == CURLE_WRITE_ERROR || code == CURLE_PARTIAL_FILE ||
                     code == CURLE_RECV_ERROR || code == CURLE_HTTP2_STREAM ||
                     code == CURLE_HTTP_RETURNED_ERROR;
    return receiver_.Block().Final() && (code == CURLE_OK || (cut && receiver_.Passed()));
}

// The kept connection was of no use.
void Transfer::SendAfresh()
{
    recorder_.Note("The kept connection was closed, or brought what nobody asked for: going on "
                   "with a new one");
    DropWire();
    if (hop_.body && !sender_.CanReplay()) {
        Fail(CURLE_SEND_FAIL_REWIND, "The new connection needs the body again, which is gone");
        return;
    }
    route_.fresh = true;
    state_ = State::SEND;
}

void Transfer::HandleResponse()
{
    const bool http2 = wire_->SpokeHttp2();
    if (http2 && hop_.url->Secure() && !driver_.Exclusive()) {
        core_->GetAdmission().SharesConnections(*slot_.host);
    }
    const bool toldHttp2 =
        configuration_.transferHint && configuration_.transferPreference == PREFER_HTTP2;
    if (toldHttp2 && !http2) {
        FailHop(CURLE_HTTP2);
        return;
    }
    if (receiver_.Redirected()) {
        DropWire();
        if (recorder_.Wanted()) {
            recorder_.Note(phases_.HopText());
        }
        Redirect(std::string(*receiver_.Block().Fields().Find("location")));
        return;
    }
    if (retries_.Planned()) {
        DropWire();
        WaitToRetry();
        return;
    }
    if (receiver_.EndOfBody()) {
        DropWire();
        state_ = State::DRAIN;
    }
}

void Transfer::Redirect(const std::string &reference)
{
    if (hop_.redirects == configuration_.maxRedirects) {
        Fail(CURLE_TOO_MANY_REDIRECTS,
             "Stopped after " + std::to_string(hop_.redirects) + " redirects");
        return;
    }
    Hop next;
    // CURLINFO_REDIRECT_URL would put the credential into it.
    const std::string location = ResolveUrl(hop_.url->text, reference);
    const CURLcode code = core_->Urls().Parse(location, next.url);
    if (code != CURLE_OK) {
        Fail(code,
             "The server redirects to what is no URL, " + next.url->problem + ": " + location);
        return;
    }
    next.method = MethodAfterRedirect(receiver_.Block().Status(), hop_.method);
    next.body = hop_.body && next.method == hop_.method;
    next.redirects = hop_.redirects + 1;
    // Where another origin chose the path, it may not have the request's credentials sent there.
    next.sameOrigin = hop_.sameOrigin && next.url->origin == first_->origin;
    if (next.body && !sender_.CanReplay()) {
        Fail(CURLE_SEND_FAIL_REWIND, "The redirect needs the body again, which is gone");
        return;
    }
    NoteHop();
    const bool sameHost = next.url->origin == hop_.url->origin;
    hop_ = std::move(next);
    response_->SetEffectiveUrl(hop_.url->text);
    if (trace_.Wanted()) {
        trace_.Tell(TRACE_REDIRECTED, WithoutSecrets(hop_.url->text));
    }
    if (sameHost || !driver_.NeedsSlot()) {
        state_ = State::ROUTE;
        return;
    }
    LeaveSlot();
    phases_.Queued();
    trace_.Tell(TRACE_QUEUED);
    EnterQueue();
}

// Without a slot, which others can use.
void Transfer::WaitToRetry()
{
    NoteHop();
    recorder_.Note(retries_.Why());
    trace_.Tell(TRACE_RETRIED, WithoutSecrets(retries_.Why()));
    receiver_.Forget();
    LeaveSlot();
    state_ = State::PAUSE;
}

bool Transfer::TryAgain()
{
    if (Clock::now() < retries_.At()) {
        return false;
    }
    retries_.Begin();
    phases_.StartOver();
    trace_.Tell(TRACE_QUEUED);
    EnterQueue();
    return true;
}

bool Transfer::Drain()
{
    if (!receiver_.Drained()) {
        return false;
    }
    Finish(0);
    return true;
}

} // namespace OHOS::Pelloria::Tnx
