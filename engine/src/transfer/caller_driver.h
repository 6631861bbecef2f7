// Drives a transfer on the thread of the caller who waits for it: handing it to the loop and
// waiting would cost half as much again.
#ifndef TNX_ENGINE_CALLER_DRIVER_H
#define TNX_ENGINE_CALLER_DRIVER_H

#include <atomic>
#include <functional>
#include <memory>
#include <optional>
#include <thread>

#include "common/mutex.h"
#include "driver.h"
#include "pool/session_core.h"

namespace OHOS::Pelloria::Tnx
{

class CallerDriver final : public Driver
{
public:
    // A fetch from inside a callback of its session borrows the slot of that callback's request:
    // it could wait for ever for one of its own.
    CallerDriver(SessionCore &core, CallbackGate &gate, bool insideCallback);

    // Returns when the fetch is over, with what it has come to.
    std::shared_ptr<Response> Run(uint32_t &code);

    void Wake() noexcept override;
    void Deliver(std::function<void()> callback) override { callback(); }
    bool HasTime() const override { return Clock::now() < turnEnd_; }
    void RunAside(std::shared_ptr<LongWork> work) override;

    bool Exclusive() const override { return true; }
    bool NeedsSlot() const override { return needsSlot_; }
    Wire &TakeWire() override;
    void ReturnWire(bool sound) noexcept override;
    void WakeAt(std::optional<TimePoint> time) override { wakeAt_ = time; }
    void Complete(std::shared_ptr<Response> response, uint32_t code) noexcept override;

private:
    void Poll();
    void Wait();

    SessionCore &core_;
    const bool needsSlot_;
    const std::thread::id caller_ = std::this_thread::get_id();
    std::unique_ptr<CallerWire> wire_; // while an exchange is under way
    std::atomic<bool> woken_ = true;
    std::optional<TimePoint> wakeAt_;
    TimePoint turnEnd_;
    Mutex mutex_;
    CondVar changed_;
    CallerMulti *polled_ GUARDED_BY(mutex_) = nullptr;
    std::shared_ptr<Response> response_;
    uint32_t code_ = 0;
};

} // namespace OHOS::Pelloria::Tnx

#endif
