// Performs, and waits.
#include "caller_driver.h"

#include <algorithm>
#include <utility>

#include "transfer.h"

namespace OHOS::Pelloria::Tnx
{
namespace
{

constexpr std::chrono::milliseconds MAX_WAIT(60000);

// Between two looks at the time-outs and at a cancel.
constexpr std::chrono::milliseconds TURN(10);

} // namespace

CallerDriver::CallerDriver(SessionCore &core, CallbackGate &gate, bool insideCallback)
    : Driver(gate)
    , core_(core)
    , needsSlot_(!insideCallback)
{
}

std::shared_ptr<Response> CallerDriver::Run(uint32_t &code)
{
    while (!Driven().Done()) {
        turnEnd_ = Clock::now() + TURN;
        if (woken_.exchange(false)) {
            Driven().Advance();
        }
        if (wire_ != nullptr) {
            Poll();
        } else if (!Driven().Done()) {
            Wait();
        }
    }
    code = code_;
    return std::move(response_);
}

void CallerDriver::Wake() noexcept
{
    woken_ = true;
    if (std::this_thread::get_id() != caller_) {
        MutexLock lock(mutex_);
        if (polled_ != nullptr) {
            polled_->WakeUp();
        }
        changed_.NotifyOne();
    }
}

void CallerDriver::RunAside(std::shared_ptr<LongWork> work)
{
    work->Run();
    Wake();
}

void CallerDriver::Poll()
{
    if (wire_->multi.Perform() || woken_) {
        return;
    }
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(
        wakeAt_.value_or(TimePoint::max()) - Clock::now());
    wire_->multi.Wait(std::clamp(left, std::chrono::milliseconds(0), MAX_WAIT));
    if (left <= MAX_WAIT && Clock::now() >= wakeAt_) {
        woken_ = true;
    }
}

void CallerDriver::Wait()
{
    const TimePoint until = wakeAt_.value_or(Clock::now() + MAX_WAIT);
    MutexLock lock(mutex_);
    while (!woken_ && Clock::now() < until) {
        changed_.WaitUntil(mutex_, until);
    }
    woken_ = true;
}

// Taken as late as this, so that no more of them, and of their connections, come to be than the
// limits let through.
Wire &CallerDriver::TakeWire()
{
    wire_ = core_.TakeCallerWire();
    MutexLock lock(mutex_);
    polled_ = &wire_->multi;
    return wire_->wire;
}

void CallerDriver::ReturnWire(bool sound) noexcept
{
    {
        MutexLock lock(mutex_);
        polled_ = nullptr;
    }
    core_.ReturnCallerWire(std::move(wire_), sound);
}

void CallerDriver::Complete(std::shared_ptr<Response> response, uint32_t code) noexcept
{
    response_ = std::move(response);
    code_ = code;
}

} // namespace OHOS::Pelloria::Tnx
