// Asynchronous fetches: the loop on one side, the application's callbacks on the other.
#include "async_transfer.h"

#include <new>
#include <utility>

#include "pool/session_core.h"

namespace OHOS::Pelloria::Tnx
{

AsyncTransfer::AsyncTransfer(std::shared_ptr<SessionCore> core, std::shared_ptr<Request> request,
                             ResponseCallback completion)
    : Transfer(std::move(core), std::move(request), false, true)
    , completion_(std::move(completion))
    , strand_(Core().GetActivity(), *this)
{
}

void AsyncTransfer::Wake() noexcept
{
    if (!posted_.exchange(true)) {
        Core().GetRuntime().GetLoop().Post(
            std::shared_ptr<LoopTask>(shared_from_this(), static_cast<LoopTask *>(this)));
    }
}

void AsyncTransfer::RunOnLoop()
{
    posted_ = false;
    Advance();
    KeepLimit();
}

void AsyncTransfer::ExchangeDone(CURLcode code)
{
    const std::shared_ptr<Transfer> self = shared_from_this(); // the registry's goes with the end
    Transfer::ExchangeDone(code);
    KeepLimit();
}

// A wait with a limit is woken when that is over.
void AsyncTransfer::KeepLimit()
{
    const std::optional<TimePoint> limit = WaitLimit();
    if (!limit) {
        limit_.reset();
        return;
    }
    try {
        if (limit_ == nullptr) {
            limit_ =
                std::make_unique<Loop::Timer>(Core().GetRuntime().GetLoop(), [this] { Wake(); });
        }
        limit_->Start(*limit);
    } catch (const std::bad_alloc &) {
        FailWithoutMemory();
    }
}

void AsyncTransfer::Deliver(std::function<void()> callback)
{
    if (strand_.Push(std::move(callback))) {
        RunStrand();
    }
}

void AsyncTransfer::RunStrand() noexcept
{
    std::shared_ptr<PoolTask> task(shared_from_this(), static_cast<PoolTask *>(&strand_));
    if (Core().Runner()) {
        try {
            Core().Runner()([task] { task->RunOnPool(); });
            return;
        } catch (...) { // not taken: the engine's own threads are there too
        }
    }
    Core().GetRuntime().GetWorkers().RunLater(std::move(task));
}

bool AsyncTransfer::HasTime() const
{
    return Core().GetRuntime().GetLoop().HasTime();
}

void AsyncTransfer::RunAside(std::shared_ptr<LongWork> work)
{
    aside_ = std::move(work);
    Core().GetRuntime().RunAside(
        std::shared_ptr<AsideTask>(shared_from_this(), static_cast<AsideTask *>(this)));
}

void AsyncTransfer::RunAside() noexcept
{
    aside_->Run();
    Wake();
}

CURL *AsyncTransfer::TakeHandle()
{
    return Core().TakeEasy().release();
}

Sockets &AsyncTransfer::GetSockets()
{
    return Core().Multi().GetSockets();
}

void AsyncTransfer::StartExchange(CURL *easy)
{
    Core().Multi().Add(easy, *this);
}

void AsyncTransfer::StopExchange(CURL *easy)
{
    Core().Multi().Remove(easy);
}

void AsyncTransfer::GiveHandleBack(CURL *easy, bool sound)
{
    Core().GiveEasy(EasyHandle(easy), sound);
}

void AsyncTransfer::Complete(std::shared_ptr<Response> response, uint32_t code) noexcept
{
    limit_.reset();
    if (code == ERR_REQUEST_CANCELED || code == ERR_SESSION_CLOSED) {
        strand_.Clear();
    }
    outcome_ = std::move(response);
    if (strand_.PushLast([this, code] { completion_(outcome_, code); })) {
        RunStrand();
    }
}

} // namespace OHOS::Pelloria::Tnx
