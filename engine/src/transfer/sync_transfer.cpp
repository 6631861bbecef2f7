// Synchronous fetches: handing them to the loop and waiting would cost half as much again.
#include "sync_transfer.h"

#include <utility>

namespace OHOS::Pelloria::Tnx
{
namespace
{

constexpr std::chrono::milliseconds MAX_WAIT(60000);

// Between two looks at the time-outs and at a cancel.
constexpr std::chrono::milliseconds TURN(10);

} // namespace

SyncTransfer::SyncTransfer(std::shared_ptr<SessionCore> core, std::shared_ptr<Request> request,
                           bool insideCallback)
    : Transfer(std::move(core), std::move(request), true, !insideCallback)
{
}

SyncTransfer::~SyncTransfer() = default;

std::shared_ptr<Response> SyncTransfer::Run(uint32_t &code)
{
    while (!Done()) {
        turnEnd_ = Clock::now() + TURN;
        if (woken_.exchange(false)) {
            Advance();
        }
        if (UnderWay()) {
            Perform();
        } else if (!Done()) {
            Wait();
        }
    }
    code = code_;
    return std::move(outcome_);
}

void SyncTransfer::Wake() noexcept
{
    woken_ = true;
    if (std::this_thread::get_id() != caller_) {
        MutexLock lock(mutex_);
        if (polled_ != nullptr) {
            curl_multi_wakeup(polled_);
        }
        changed_.NotifyOne();
    }
}

void SyncTransfer::RunAside(std::shared_ptr<LongWork> work)
{
    work->Run();
    Wake();
}

void SyncTransfer::Perform()
{
    int running = 0;
    curl_multi_perform(handles_->multi, &running);
    int left = 0;
    if (const CURLMsg *message = curl_multi_info_read(handles_->multi, &left)) {
        const CURLcode code = message->data.result;
        curl_multi_remove_handle(handles_->multi, message->easy_handle);
        ExchangeDone(code);
    } else if (!woken_) {
        Wait();
    }
}

void SyncTransfer::Wait()
{
    if (UnderWay()) {
        curl_multi_poll(handles_->multi, nullptr, 0, static_cast<int>(MAX_WAIT.count()), nullptr);
        return;
    }
    const TimePoint until = WaitLimit().value_or(Clock::now() + MAX_WAIT);
    MutexLock lock(mutex_);
    while (!woken_ && Clock::now() < until) {
        changed_.WaitUntil(mutex_, until);
    }
    woken_ = true;
}

// Taken as late as this, so that no more of them, and of their connections, come to be than the
// limits let through.
CURL *SyncTransfer::TakeHandle()
{
    handles_ = Core().TakeSync();
    MutexLock lock(mutex_);
    polled_ = handles_->multi;
    return handles_->easy.get();
}

Sockets &SyncTransfer::GetSockets()
{
    return handles_->sockets;
}

void SyncTransfer::GiveHandleBack(CURL *, bool sound)
{
    {
        MutexLock lock(mutex_);
        polled_ = nullptr;
    }
    Core().GiveSync(std::move(handles_), sound);
}

void SyncTransfer::StartExchange(CURL *easy)
{
    AddHandle(handles_->multi, easy);
}

void SyncTransfer::StopExchange(CURL *easy)
{
    curl_multi_remove_handle(handles_->multi, easy);
}

void SyncTransfer::Complete(std::shared_ptr<Response> response, uint32_t code) noexcept
{
    outcome_ = std::move(response);
    code_ = code;
}

} // namespace OHOS::Pelloria::Tnx
