// How a fetch ends: time-outs, failures with their cause, cancels and completions.
#include <algorithm>
#include <array>
#include <cstdio>
#include <utility>

#include "base/try.h"
#include "tnx_native/session.h"
#include "transfer.h"

namespace OHOS::Pelloria::Tnx
{
namespace
{

std::string Milliseconds(Clock::duration duration)
{
    std::array<char, 32> text;
    std::snprintf(text.data(), text.size(), "%.1f ms",
                  std::chrono::duration<double, std::milli>(duration).count());
    return text.data();
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

// Until when the transfer may wait for what it waits for now.
std::optional<TimePoint> Transfer::WaitLimit() const
{
    if (state_ == State::PAUSE) {
        return retries_.At();
    }
    if (state_ != State::UNDER_WAY) {
        return LooksUp() ? HopDeadline() : std::nullopt;
    }
    const TimePoint next = std::min({attemptEnd_.value_or(TimePoint::max()), receiver_.HeldUntil(),
                                     quiet_ != nullptr ? quiet_->NextLook() : TimePoint::max()});
    return next != TimePoint::max() ? std::optional(next) : std::nullopt;
}

void Transfer::Fail(CURLcode code, std::string why)
{
    driver_.GetOutcome().Stop(code, std::move(why));
}

// `code` is libcurl's.
void Transfer::FailHop(CURLcode code)
{
    Wire::Failure failure = wire_->Explain(code, receiver_.Block());
    FailAttempt(failure.code, std::move(failure.why));
}

void Transfer::FailAttempt(CURLcode code, std::string why)
{
    const bool sent = wire_ != nullptr && wire_->Sent();
    if (receiver_.Forgettable() && retries_.AfterFailure(hop_, code, sent, why)) {
        DropWire();
        WaitToRetry();
    } else {
        Fail(code, std::move(why));
    }
}

// Of a transfer that is dropped, or stopped: takes what is left of it from everywhere.
void Transfer::End() noexcept
{
    if (Done()) {
        return;
    }
    receiver_.Stop();
    if (state_ == State::UNDER_WAY) {
        StopWire();
    }
    const Outcome &outcome = driver_.GetOutcome();
    const bool closed = core_->GetActivity().Closed();
    if (!request_->IsCanceled()) {
        Try([&] { recorder_.Cause(closed ? "The session was closed" : Cause()); });
    }
    DropWire(outcome.Code() != CURLE_OUT_OF_MEMORY);
    Finish(closed ? ERR_SESSION_CLOSED : ERR_TRANSFER_BASE + static_cast<uint32_t>(outcome.Code()));
}

// Why it was stopped, and how far it was.
std::string Transfer::Cause()
{
    const Outcome &outcome = driver_.GetOutcome();
    std::string text = outcome.Why();
    if (state_ == State::START || state_ == State::ADMISSION) {
        return text;
    }
    text += " (";
    if (wire_ != nullptr) {
        TakeTimes();
        const bool reached = wire_->Connected() && outcome.Code() != CURLE_PROXY;
        text += phases_.HopPhase(hop_.url->Secure(), reached);
        text += ", host " + hop_.url->Name() + ", ";
        if (!route_.proxy.Direct()) {
            text += "through the proxy " + route_.proxy.Text() + ", ";
        }
        if (const std::string address = wire_->Address(); !address.empty()) {
            text += address + ", ";
        }
    }
    return text + Milliseconds(Clock::now() - phases_.Start()) + ")";
}

void Transfer::StopWire() noexcept
{
    wire_->Stop();
    state_ = State::ENDED;
}

// Of a hop that was on the wire: asking libcurl for them costs something, so only for who is told.
void Transfer::TakeTimes() noexcept
{
    if (state_ == State::ENDED) {
        phases_.HopEnded(wire_->Times());
    }
}

void Transfer::DropWire(bool sound) noexcept
{
    if (wire_ == nullptr) {
        return;
    }
    if (configuration_.tracing.collectTimeInfo || recorder_.Wanted()) {
        TakeTimes();
    }
    if (connection_ != nullptr) {
        connection_->httpVersion = wire_->HttpVersion();
    }
    wire_ = nullptr;
    driver_.ReturnWire(sound);
}

void Transfer::Finish(uint32_t code) noexcept
{
    state_ = State::DONE;
    sender_.Stop();
    LeaveSlot();
    core_->Deregister(*this);
    if (request_->IsCanceled() && code != ERR_SESSION_CLOSED) { // whatever ended it meanwhile
        driver_.Complete(nullptr, ERR_REQUEST_CANCELED);
        return;
    }
    receiver_.HandOverFields();
    if (!Try([&] { TellEnd(code); }) && code == 0) {
        code = ERR_TRANSFER_BASE + CURLE_OUT_OF_MEMORY;
    }
    driver_.Complete(response_, code);
}

// The last events, and what the response has besides its content.
void Transfer::TellEnd(uint32_t code)
{
    if (receiver_.Body().MakeRoom()) {
        driver_.Deliver([this] { receiver_.Body().Join(); });
    }
    progress_.Finish();
    const auto &dataEnd = configuration_.tracing.eventsHandler.onDataEnd;
    if (code == 0 && dataEnd) {
        driver_.Deliver([this, &dataEnd] { driver_.Call(dataEnd); });
    }
    if (configuration_.tracing.collectTimeInfo) {
        response_->SetTimeInfo(phases_.Result());
    }
    NoteHop();
    response_->SetConnectionInfo(std::move(connection_));
    response_->MutableDebugInfo() = recorder_.Take();
    const std::string *const cause = response_->GetCause();
    trace_.Tell(TRACE_DONE, cause != nullptr ? *cause : "");
}

} // namespace OHOS::Pelloria::Tnx
