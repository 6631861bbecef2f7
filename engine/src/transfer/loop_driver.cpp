// The loop on one side, the application's callbacks on the other.
#include "loop_driver.h"

#include <utility>

#include "base/try.h"
#include "transfer.h"

namespace OHOS::Pelloria::Tnx
{

LoopDriver::LoopDriver(SessionCore &core, CallbackGate &gate, ResponseCallback completion)
    : Driver(gate)
    , core_(core)
    , completion_(std::move(completion))
    , strand_(core.GetActivity(), *this)
{
}

// A part of the driver, for as long as the transfer lives.
template <class Task> std::shared_ptr<Task> LoopDriver::Own(Task *task) const
{
    return std::shared_ptr<Task>(Driven().shared_from_this(), task);
}

void LoopDriver::Wake() noexcept
{
    if (!posted_.exchange(true)) {
        core_.GetRuntime().GetLoop().Post(Own<LoopTask>(this));
    }
}

void LoopDriver::RunOnLoop()
{
    posted_ = false;
    Driven().Advance();
}

void LoopDriver::WakeAt(std::optional<TimePoint> time)
{
    ON_LOOP.Have();
    if (!time) {
        timer_.reset();
        return;
    }
    if (!timer_) {
        timer_.emplace(core_.GetRuntime().GetLoop(), [this] { Wake(); });
    }
    timer_->Start(*time);
}

void LoopDriver::Deliver(std::function<void()> callback)
{
    ON_LOOP.Have();
    if (strand_.Push(std::move(callback))) {
        RunStrand();
    }
}

// When the round is over: no code of the application's runs in it.
void LoopDriver::RunStrand() noexcept
{
    std::shared_ptr<WorkerTask> task =
        core_.Runner() ? Own<WorkerTask>(this) : Own<WorkerTask>(&strand_);
    core_.GetRuntime().GetWorkers().RunLater(std::move(task));
}

void LoopDriver::RunOnWorker()
{
    const auto run = [strand = Own<WorkerTask>(&strand_)] { strand->RunOnWorker(); };
    if (!HandOver(core_.GetActivity(), core_.Runner(), run)) {
        run();
    }
}

bool LoopDriver::HasTime() const
{
    ON_LOOP.Have();
    return core_.GetRuntime().GetLoop().HasTime();
}

void LoopDriver::RunAside(std::shared_ptr<LongWork> work)
{
    ON_LOOP.Have();
    aside_ = std::move(work);
    core_.GetRuntime().RunAside(Own<AsideTask>(this));
}

void LoopDriver::RunAside() noexcept
{
    aside_->Run();
    Wake();
}

Wire &LoopDriver::TakeWire()
{
    ON_LOOP.Have();
    wire_ = core_.TakeWire();
    return *wire_;
}

void LoopDriver::ReturnWire(bool sound) noexcept
{
    ON_LOOP.Have();
    core_.ReturnWire(std::move(wire_), sound);
}

void LoopDriver::Complete(std::shared_ptr<Response> response, uint32_t code) noexcept
{
    ON_LOOP.Have();
    timer_.reset();
    if (code == ERR_REQUEST_CANCELED || code == ERR_SESSION_CLOSED) {
        strand_.Clear();
    }
    response_ = std::move(response);
    if (strand_.PushLast([this, code] { completion_(response_, code); })) {
        RunStrand();
    }
}

} // namespace OHOS::Pelloria::Tnx
