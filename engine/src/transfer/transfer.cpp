// The steps of a fetch.
#include "transfer.h"

#include <algorithm>
#include <new>

#include "http/bad_fields.h"
#include "pool/session_core.h"

namespace OHOS::Pelloria::Tnx
{

Transfer::Transfer(std::shared_ptr<SessionCore> core, std::shared_ptr<Request> request,
                   bool exclusive, bool needsSlot)
    : Delivery(request->Gate())
    , core_(std::move(core))
    , request_(std::move(request))
    , configuration_(request_->GetConfiguration())
    , response_(std::make_shared<Response>(request_))
    , exclusive_(exclusive)
    , recorder_(configuration_.tracing)
    , receiver_(*response_, *this)
    , sender_(*request_, *this)
    , progress_(configuration_.tracing.eventsHandler, *this)
    , exchange_(*request_, receiver_, sender_, recorder_, progress_, *this)
    , lookup_(core_->GetRuntime().Names(), recorder_, *this)
    , needsSlot_(needsSlot)
{
    response_->SetEffectiveUrl(request_->GetUrl());
}

Transfer::~Transfer() = default;

// For those who may outlive the transfer.
std::function<void()> Transfer::Waker()
{
    return [weak = weak_from_this()] {
        if (const std::shared_ptr<Transfer> transfer = weak.lock()) {
            transfer->Wake();
        }
    };
}

void Transfer::Advance()
{
    try {
        Steps();
    } catch (...) {
        FailThrown();
    }
}

void Transfer::Steps()
{
    while (!Done()) {
        if (Dropped()) {
            Abandon(!request_->IsCanceled());
            return;
        }
        if (GetTrouble() != Trouble::NONE) {
            FailOfTrouble();
            return;
        }
        if (const std::optional<TimePoint> limit = WaitLimit(); limit && *limit <= Clock::now()) {
            Fail(CURLE_OPERATION_TIMEDOUT, "Timed out while looking up " + hop_.url.Name());
            return;
        }
        if (!Step()) {
            return;
        }
    }
}

bool Transfer::Dropped() const
{
    return request_->IsCanceled() || core_->GetActivity().Closed();
}

// One step. False when there is something to wait for.
bool Transfer::Step()
{
    switch (state_) {
    case State::START:
        Start();
        return true;
    case State::ADMISSION:
        return LeaveQueue();
    case State::ROUTE:
        ChooseRoute();
        return true;
    case State::EXCLUSION:
        return TakeExclusion();
    case State::TARGET_LOOKUP:
        return TakeTarget();
    case State::PROXY_LOOKUP:
        return TakeProxyAddresses();
    case State::SEND:
        Send();
        return true;
    case State::UNDER_WAY:
        return GoOn();
    case State::DRAIN:
        return Drain();
    case State::ENDED:
    case State::DONE:
        break;
    }
    return false;
}

void Transfer::Start()
{
    phases_.Queued();
    hop_.method = request_->GetMethod();
    hop_.body = sender_.HasBody();
    if (const std::string bad = FindBadField(*request_); !bad.empty()) {
        Fail(CURLE_BAD_FUNCTION_ARGUMENT, "The request is not sent: " + bad);
        return;
    }
    const CURLcode code = ParseUrl(request_->GetUrl(), hop_.url);
    if (code != CURLE_OK) {
        Fail(code, "The URL is not valid, " + hop_.url.problem + ": " + request_->GetUrl());
        return;
    }
    origin_ = hop_.url.Origin();
    EnterQueue();
}

void Transfer::EnterQueue()
{
    slot_ = {.host = hop_.url.Origin(), .exclusive = exclusive_};
    place_ = Place::WAITING;
    state_ = State::ADMISSION;
    if (!needsSlot_) {
        place_ = Place::NONE;
    } else if (core_->GetAdmission().Enter(slot_, shared_from_this())) {
        place_ = Place::ADMITTED;
    }
}

void Transfer::Admitted()
{
    Place waiting = Place::WAITING;
    if (place_.compare_exchange_strong(waiting, Place::ADMITTED)) {
        Wake();
    } else {
        core_->GetAdmission().Leave(slot_); // it has gone meanwhile
    }
}

// Gives up the slot, or the wait for one.
void Transfer::LeaveSlot()
{
    if (place_.exchange(Place::NONE) == Place::ADMITTED) {
        core_->GetAdmission().Leave(slot_);
    }
}

bool Transfer::LeaveQueue()
{
    if (place_ == Place::WAITING) {
        return false;
    }
    phases_.LeftQueue();
    state_ = State::ROUTE;
    return true;
}

void Transfer::ChooseRoute()
{
    phases_.HopStarted(hop_.redirects > 0);
    route_ = {};
    const ProxyChoice proxy = ChooseProxy(configuration_.proxy, hop_.url);
    const auto *excludes =
        std::get_if<Exclusions::UrlPredicate>(&configuration_.proxy.exclusions.Get());
    if (proxy.address.empty() || excludes == nullptr ||
        configuration_.proxy.mode != PROXY_EXPLICIT) {
        TakeProxy(proxy);
        return;
    }
    exclusion_ = UNKNOWN;
    state_ = State::EXCLUSION;
    Deliver([this, excludes] {
        Call([&] { exclusion_ = (*excludes)(hop_.url.text) ? 1 : 0; });
        Wake();
    });
}

bool Transfer::TakeExclusion()
{
    if (exclusion_ == UNKNOWN) {
        return false;
    }
    TakeProxy(exclusion_ == 1 ? ProxyChoice() : ChooseProxy(configuration_.proxy, hop_.url));
    return true;
}

void Transfer::TakeProxy(const ProxyChoice &choice)
{
    if (!choice.address.empty()) {
        route_.proxy.namedBy = choice.namedBy;
        if (!ParseProxy(choice.address, route_.proxy)) {
            Fail(CURLE_COULDNT_RESOLVE_PROXY,
                 "The address of the proxy that " + choice.namedBy + " names is not valid");
            return;
        }
        recorder_.Note("Uses the proxy " + route_.proxy.Text());
    }
    state_ = State::TARGET_LOOKUP;
    if (route_.proxy.ResolvesHere()) {
        lookup_.Start(hop_.url.host, hop_.url.port, &configuration_, Waker());
    } else {
        lookup_.Skip();
    }
}

bool Transfer::TakeTarget()
{
    if (!lookup_.Ready()) {
        return false;
    }
    const LookupResult &result = lookup_.Result();
    if (!result.error.empty()) {
        Fail(CURLE_COULDNT_RESOLVE_HOST,
             "Could not resolve host " + hop_.url.Name() + ": " + result.error);
        return true;
    }
    route_.addresses = result.addresses;
    lookup_.Start(route_.proxy.host, route_.proxy.port, nullptr, Waker());
    state_ = State::PROXY_LOOKUP;
    return true;
}

bool Transfer::TakeProxyAddresses()
{
    if (!lookup_.Ready()) {
        return false;
    }
    const LookupResult &result = lookup_.Result();
    if (!result.error.empty()) {
        Fail(CURLE_COULDNT_RESOLVE_PROXY,
             "Could not resolve the proxy " + route_.proxy.Text() + ": " + result.error);
        return true;
    }
    route_.proxyAddresses = result.addresses;
    if (!route_.addresses.empty() || !route_.proxyAddresses.empty()) {
        phases_.HopResolved();
    }
    state_ = State::SEND;
    return true;
}

void Transfer::Send()
{
    const bool mayRepeat = !configuration_.security.credentialName.Empty() ||
                           !configuration_.security.credentialPassword.Empty() ||
                           !route_.proxy.Direct();
    receiver_.StartHop(hop_, mayRepeat);
    easy_ = TakeHandle();
    const CURLcode code =
        exchange_.Prepare(easy_, hop_, route_, GetTimeLeft(), {core_->Share(), GetSockets()});
    if (code != CURLE_OK) {
        FailExchange(easy_, code);
        return;
    }
    state_ = State::UNDER_WAY;
    StartExchange(easy_);
}

// What a wake-up may mean while libcurl is at work.
bool Transfer::GoOn()
{
    if (receiver_.Refused()) {
        StopExchange(easy_);
        FailExchange(easy_, CURLE_WRITE_ERROR);
        return true;
    }
    const bool receive = receiver_.Resumable();
    if (receive) {
        receiver_.Resumed();
    }
    if (!receive && !sender_.Resumable()) {
        return false;
    }
    // A direction that has nothing yet pauses again. What libcurl has kept is handed over here, and
    // would be missing if that failed.
    const CURLcode code = curl_easy_pause(easy_, CURLPAUSE_CONT);
    if (code != CURLE_OUT_OF_MEMORY && code != CURLE_WRITE_ERROR) {
        return false;
    }
    StopExchange(easy_);
    phases_.HopEnded(easy_);
    FailExchange(easy_, code);
    return true;
}

void Transfer::ExchangeDone(CURLcode code)
{
    state_ = State::ENDED;
    try {
        phases_.HopEnded(easy_);
        if (Dropped()) {
            Abandon(!request_->IsCanceled());
        } else if (exchange_.RefusedConnection() && !route_.fresh) {
            SendAfresh();
        } else if (!Answered(code)) {
            FailExchange(easy_, code);
        } else {
            CollectOutcome(easy_);
        }
    } catch (...) {
        FailThrown();
    }
    Advance();
}

// Whether the hop has brought all that matters of its response. libcurl takes the end of a
// connection within the header section for that of a response; and it fails for what a redirect's
// body lacks, or because the receiver would not wait for it.
bool Transfer::Answered(CURLcode code) const
{
    if (receiver_.Failure() != CURLE_OK || receiver_.Refused() || GetTrouble() != Trouble::NONE) {
        return false;
    }
    const bool cut = code == CURLE_WRITE_ERROR || code == CURLE_PARTIAL_FILE ||
                     code == CURLE_RECV_ERROR || code == CURLE_HTTP2_STREAM;
    return receiver_.Block().Final() && (code == CURLE_OK || (cut && receiver_.Redirected()));
}

// The kept connection was of no use.
void Transfer::SendAfresh()
{
    recorder_.Note("The kept connection was closed, or brought what nobody asked for: going on "
                   "with a new one");
    DropExchange();
    if (hop_.body && !sender_.CanReplay()) {
        Fail(CURLE_SEND_FAIL_REWIND, "The new connection needs the body again, which is gone");
        return;
    }
    route_.fresh = true;
    state_ = State::SEND;
}

void Transfer::CollectOutcome(CURL *easy)
{
    long version = 0;
    curl_easy_getinfo(easy, CURLINFO_HTTP_VERSION, &version);
    if (version == CURL_HTTP_VERSION_2_0 && hop_.url.Secure() && !exclusive_) {
        core_->GetAdmission().SharesConnections(slot_.host);
    }
    if (KnowsHttp2() && version != CURL_HTTP_VERSION_2_0) {
        FailExchange(easy, CURLE_HTTP2);
        return;
    }
    if (receiver_.Redirected()) {
        if (recorder_.Wanted()) {
            recorder_.Note(phases_.HopText());
        }
        // CURLINFO_REDIRECT_URL would put the credential into it.
        const std::string &reference = receiver_.Block().Fields()->at("location").front();
        const std::string location = ResolveUrl(hop_.url.text, reference);
        DropExchange();
        Redirect(location);
        return;
    }
    if (!receiver_.EndOfBody()) {
        FailExchange(easy, CURLE_BAD_CONTENT_ENCODING);
        return;
    }
    DropExchange();
    state_ = State::DRAIN;
}

void Transfer::Redirect(const std::string &location)
{
    if (hop_.redirects == configuration_.maxRedirects) {
        Fail(CURLE_TOO_MANY_REDIRECTS,
             "Stopped after " + std::to_string(hop_.redirects) + " redirects");
        return;
    }
    Hop next;
    const CURLcode code = ParseUrl(location, next.url);
    if (code != CURLE_OK) {
        Fail(code, "The server redirects to what is no URL, " + next.url.problem + ": " + location);
        return;
    }
    next.method = MethodAfterRedirect(receiver_.Block().Status(), hop_.method);
    next.body = hop_.body && next.method == hop_.method;
    next.redirects = hop_.redirects + 1;
    // Where another origin chose the path, it may not have the request's credentials sent there.
    next.sameOrigin = hop_.sameOrigin && next.url.Origin() == origin_;
    if (next.body && !sender_.CanReplay()) {
        Fail(CURLE_SEND_FAIL_REWIND, "The redirect needs the body again, which is gone");
        return;
    }
    const bool sameHost = next.url.Origin() == hop_.url.Origin();
    hop_ = std::move(next);
    response_->SetEffectiveUrl(hop_.url.text);
    if (sameHost || !needsSlot_) {
        state_ = State::ROUTE;
        return;
    }
    LeaveSlot();
    phases_.Queued();
    EnterQueue();
}

bool Transfer::Drain()
{
    if (!receiver_.Drained()) {
        return false;
    }
    if (receiver_.Refused()) {
        Fail(CURLE_WRITE_ERROR, "The data callback stopped the transfer");
        return true;
    }
    Finish(0);
    return true;
}

} // namespace OHOS::Pelloria::Tnx
