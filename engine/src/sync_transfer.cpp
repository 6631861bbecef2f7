// Synchronous fetches: handing them to the loop and waiting would cost half as much again.
#include "sync_transfer.h"

#include <algorithm>
#include <utility>

namespace OHOS::Pelloria::Tnx
{
namespace
{

constexpr std::chrono::milliseconds MAX_WAIT(60000);

} // namespace

SyncTransfer::SyncTransfer(std::shared_ptr<SessionCore> core, std::shared_ptr<Request> request,
                           bool insideCallback)
    : Transfer(std::move(core), std::move(request), true, !insideCallback)
    , handles_(Core().TakeSync())
{
}

SyncTransfer::~SyncTransfer()
{
    Core().GiveSync(std::move(handles_));
}

std::shared_ptr<Response> SyncTransfer::Run(uint32_t &code)
{
    while (!Done()) {
        if (woken_.exchange(false)) {
            Advance();
        } else if (UnderWay()) {
            Perform();
        } else {
            Wait();
        }
    }
    code = code_;
    return std::move(outcome_);
}

void SyncTransfer::Wake()
{
    woken_ = true;
    if (std::this_thread::get_id() != caller_) {
        curl_multi_wakeup(handles_->multi);
    }
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
    std::chrono::milliseconds wait = MAX_WAIT;
    if (const std::optional<TimePoint> limit = WaitLimit()) {
        wait = std::clamp(std::chrono::ceil<std::chrono::milliseconds>(*limit - Clock::now()),
                          std::chrono::milliseconds(0), MAX_WAIT);
    }
    curl_multi_poll(handles_->multi, nullptr, 0, static_cast<int>(wait.count()), nullptr);
    woken_ = woken_ || !UnderWay();
}

void SyncTransfer::StartExchange(CURL *easy)
{
    curl_multi_add_handle(handles_->multi, easy);
}

void SyncTransfer::StopExchange(CURL *easy)
{
    curl_multi_remove_handle(handles_->multi, easy);
}

void SyncTransfer::Unpause(CURL *easy)
{
    curl_easy_pause(easy, CURLPAUSE_CONT);
}

void SyncTransfer::Complete(std::shared_ptr<Response> response, uint32_t code)
{
    outcome_ = std::move(response);
    code_ = code;
}

} // namespace OHOS::Pelloria::Tnx
