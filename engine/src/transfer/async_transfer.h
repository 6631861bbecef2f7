// A fetch that the loop drives.
#ifndef TNX_ENGINE_ASYNC_TRANSFER_H
#define TNX_ENGINE_ASYNC_TRANSFER_H

#include <atomic>
#include <memory>

#include "event/loop.h"
#include "event/strand.h"
#include "tnx_native/session.h"
#include "transfer.h"

namespace OHOS::Pelloria::Tnx
{

class AsyncTransfer final : public Transfer, public LoopTask, public AsideTask
{
public:
    AsyncTransfer(std::shared_ptr<SessionCore> core, std::shared_ptr<Request> request,
                  ResponseCallback completion);

    void Wake() noexcept override;
    void RunOnLoop() override;
    void RunAside() noexcept override;

private:
    void Deliver(std::function<void()> callback) override;
    bool HasTime() const override;
    void RunAside(std::shared_ptr<LongWork> work) override;
    void ExchangeDone(CURLcode code) override;
    CURL *TakeHandle() override;
    Sockets &GetSockets() override;
    void StartExchange(CURL *easy) override;
    void StopExchange(CURL *easy) override;
    void GiveHandleBack(CURL *easy, bool sound) override;
    void Complete(std::shared_ptr<Response> response, uint32_t code) noexcept override;
    void RunStrand() noexcept;
    void KeepLimit();

    const ResponseCallback completion_;
    std::shared_ptr<Response> outcome_;
    Strand strand_;
    std::unique_ptr<Loop::Timer> limit_;
    std::atomic<bool> posted_ = false;
    std::shared_ptr<LongWork> aside_;
};

} // namespace OHOS::Pelloria::Tnx

#endif
