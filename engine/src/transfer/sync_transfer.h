// A fetch that its caller drives, on the calling thread.
#ifndef TNX_ENGINE_SYNC_TRANSFER_H
#define TNX_ENGINE_SYNC_TRANSFER_H

#include <atomic>
#include <memory>
#include <thread>

#include "common/mutex.h"
#include "pool/session_core.h"
#include "transfer.h"

namespace OHOS::Pelloria::Tnx
{

class SyncTransfer final : public Transfer
{
public:
    // A fetch from inside a callback of its session borrows the slot of that callback's request:
    // it could wait for ever for one of its own.
    SyncTransfer(std::shared_ptr<SessionCore> core, std::shared_ptr<Request> request,
                 bool insideCallback);
    ~SyncTransfer() override;

    // Returns when the fetch is over.
    std::shared_ptr<Response> Run(uint32_t &code);

    void Wake() noexcept override;

private:
    void Deliver(std::function<void()> callback) override { callback(); }
    bool HasTime() const override { return Clock::now() < turnEnd_; }
    void RunAside(std::shared_ptr<LongWork> work) override;
    CURL *TakeHandle() override;
    Sockets &GetSockets() override;
    void StartExchange(CURL *easy) override;
    void StopExchange(CURL *easy) override;
    void GiveHandleBack(CURL *easy, bool sound) override;
    void Complete(std::shared_ptr<Response> response, uint32_t code) noexcept override;
    void Perform();
    void Wait();

    const std::thread::id caller_ = std::this_thread::get_id();
    std::unique_ptr<SyncHandles> handles_; // while an exchange is under way
    std::atomic<bool> woken_ = true;
    TimePoint turnEnd_;
    Mutex mutex_;
    CondVar changed_;
    CURLM *polled_ GUARDED_BY(mutex_) = nullptr;
    std::shared_ptr<Response> outcome_;
    uint32_t code_ = 0;
};

} // namespace OHOS::Pelloria::Tnx

#endif
