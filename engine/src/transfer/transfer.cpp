// The way of a fetch to the wire: queue, route, addresses.
#include "transfer.h"

#include <utility>

#include "http/bad_fields.h"

namespace OHOS::Pelloria::Tnx
{

Transfer::Transfer(std::shared_ptr<SessionCore> core, std::shared_ptr<Request> request,
                   Driver &driver)
    : core_(std::move(core))
    , request_(std::move(request))
    , configuration_(request_->GetConfiguration())
    , response_(std::make_shared<Response>(request_))
    , driver_(driver)
    , trace_(request_->OnTrace(), driver_)
    , recorder_(configuration_.tracing, trace_)
    , sender_(*request_, driver_)
    , retries_(request_->GetRetryPolicy(), sender_)
    , receiver_(*response_, driver_, retries_)
    , progress_(configuration_.tracing.eventsHandler, driver_)
    , lookup_(core_->GetRuntime().Names(), recorder_, driver_,
              configuration_.limits != nullptr ? configuration_.limits->family : AddressFamily::ANY)
    , quiet_(QuietWatch::For(configuration_.limits.get()))
{
    driver_.Attach(*this);
    if (configuration_.tracing.collectConnectionInfo) {
        connection_ = std::make_unique<ConnectionInfo>();
    }
}

void Transfer::Advance() noexcept
{
    const bool went = driver_.Guarded([this] {
        Steps();
        driver_.WakeAt(WaitLimit());
    });
    if (!went) {
        End();
    }
}

void Transfer::Steps()
{
    while (!Done()) {
        if (Dropped() || driver_.GetOutcome().Stopped()) {
            End();
            return;
        }
        if (LooksUp() && HopDeadline().value_or(TimePoint::max()) <= Clock::now()) {
            FailAttempt(CURLE_OPERATION_TIMEDOUT, "Timed out while looking up " + hop_.url->Name());
        } else if (!Step()) {
            return;
        }
    }
}

bool Transfer::Dropped() const
{
    return request_->IsCanceled() || core_->GetActivity().Closed();
}

bool Transfer::LooksUp() const
{
    return state_ == State::EXCLUSION || state_ == State::TARGET_LOOKUP ||
           state_ == State::PROXY_LOOKUP;
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
    case State::PAUSE:
        return TryAgain();
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
    trace_.Tell(TRACE_QUEUED);
    hop_.method = request_->GetMethod();
    hop_.body = sender_.HasBody();
    if (const std::string bad = FindBadField(*request_); !bad.empty()) {
        Fail(CURLE_BAD_FUNCTION_ARGUMENT, "The request is not sent: " + bad);
        return;
    }
    const CURLcode code = core_->Urls().Parse(request_->GetUrl(), hop_.url);
    if (code != CURLE_OK) {
        Fail(code, "The URL is not valid, " + hop_.url->problem + ": " + request_->GetUrl());
        return;
    }
    first_ = hop_.url;
    EnterQueue();
}

void Transfer::EnterQueue()
{
    slot_ = {.host = std::shared_ptr<const std::string>(hop_.url, &hop_.url->origin),
             .exclusive = driver_.Exclusive()};
    slotState_ = SlotState::WAITING;
    state_ = State::ADMISSION;
    if (!driver_.NeedsSlot()) {
        slotState_ = SlotState::NONE;
    } else if (core_->GetAdmission().Enter(slot_, shared_from_this())) {
        slotState_ = SlotState::HELD;
    }
}

void Transfer::Admitted()
{
    SlotState waiting = SlotState::WAITING;
    if (slotState_.compare_exchange_strong(waiting, SlotState::HELD)) {
        Wake();
    } else {
        core_->GetAdmission().Leave(slot_); // it has gone meanwhile
    }
}

// Gives up the slot, or the wait for one.
void Transfer::LeaveSlot()
{
    if (slotState_.exchange(SlotState::NONE) == SlotState::HELD) {
        core_->GetAdmission().Leave(slot_);
    }
}

bool Transfer::LeaveQueue()
{
    if (slotState_ == SlotState::WAITING) {
        return false;
    }
    phases_.LeftQueue();
    trace_.Tell(TRACE_LEFT_QUEUE);
    state_ = State::ROUTE;
    return true;
}

void Transfer::ChooseRoute()
{
    phases_.HopStarted(hop_.redirects > 0);
    route_ = {};
    if (const Limits *const limits = configuration_.limits.get();
        limits != nullptr && !limits->unixSocket.empty()) {
        FinishRoute(); // there is nothing to choose
        return;
    }
    route_.Aim(*hop_.url, configuration_.limits.get());
    const ProxyChoice proxy = ChooseProxy(configuration_.proxy, *hop_.url);
    const auto *excludes =
        std::get_if<Exclusions::UrlPredicate>(&configuration_.proxy.exclusions.Get());
    if (proxy.address.empty() || excludes == nullptr ||
        configuration_.proxy.mode != PROXY_EXPLICIT) {
        UseProxy(proxy);
        return;
    }
    exclusion_ = UNKNOWN;
    state_ = State::EXCLUSION;
    driver_.Deliver([this, excludes] {
        driver_.Call([&] { exclusion_ = (*excludes)(hop_.url->text) ? 1 : 0; });
        Wake();
    });
}

bool Transfer::TakeExclusion()
{
    if (exclusion_ == UNKNOWN) {
        return false;
    }
    UseProxy(exclusion_ == 1 ? ProxyChoice() : ChooseProxy(configuration_.proxy, *hop_.url));
    return true;
}

void Transfer::UseProxy(const ProxyChoice &choice)
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
    const bool mayBeName = !hop_.url->hostIsAddress || configuration_.limits != nullptr;
    if (route_.proxy.ResolvesHere() && mayBeName) {
        lookup_.Start(route_.Host(*hop_.url), route_.port, &configuration_, Waker());
        state_ = State::TARGET_LOOKUP;
    } else {
        LookUpProxy();
    }
}

bool Transfer::TakeTarget()
{
    if (!lookup_.Ready()) {
        return false;
    }
    const LookupResult &result = lookup_.Result();
    if (!result.error.empty()) {
        FailAttempt(CURLE_COULDNT_RESOLVE_HOST,
                    "Could not resolve host " +
                        (route_.otherHost.empty() ? hop_.url->Name() : route_.otherHost) + ": " +
                        result.error);
        return true;
    }
    route_.addresses = result.addresses;
    LookUpProxy();
    return true;
}

void Transfer::LookUpProxy()
{
    if (route_.proxy.Direct()) {
        FinishRoute();
        return;
    }
    lookup_.Start(route_.proxy.host, route_.proxy.port, nullptr, Waker());
    state_ = State::PROXY_LOOKUP;
}

bool Transfer::TakeProxyAddresses()
{
    if (!lookup_.Ready()) {
        return false;
    }
    const LookupResult &result = lookup_.Result();
    if (!result.error.empty()) {
        FailAttempt(CURLE_COULDNT_RESOLVE_PROXY,
                    "Could not resolve the proxy " + route_.proxy.Text() + ": " + result.error);
        return true;
    }
    route_.proxyAddresses = result.addresses;
    FinishRoute();
    return true;
}

void Transfer::FinishRoute()
{
    route_.attempts = Attempts(route_.PeerAddresses());
    if (!route_.addresses.empty() || !route_.proxyAddresses.empty()) {
        phases_.HopResolved();
        TraceLookup();
    }
    state_ = State::SEND;
}

// For those who may outlive the transfer.
std::function<void()> Transfer::Waker()
{
    return [weak = weak_from_this()] {
        if (const std::shared_ptr<Transfer> transfer = weak.lock()) {
            transfer->Wake();
        }
    };
}

} // namespace OHOS::Pelloria::Tnx
