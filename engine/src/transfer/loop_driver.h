// Drives a transfer from the loop.
#ifndef TNX_ENGINE_LOOP_DRIVER_H
#define TNX_ENGINE_LOOP_DRIVER_H

#include <atomic>
#include <functional>
#include <memory>
#include <optional>

#include "driver.h"
#include "event/loop.h"
#include "event/strand.h"
#include "pool/session_core.h"
#include "tnx_native/session.h"

namespace OHOS::Pelloria::Tnx
{

// All of it runs in rounds of the loop, but for Wake.
class LoopDriver final : public Driver, private LoopTask, private WorkerTask, private AsideTask
{
public:
    LoopDriver(SessionCore &core, CallbackGate &gate, ResponseCallback completion);

    void Wake() noexcept override;
    void Deliver(std::function<void()> callback) override;
    bool HasTime() const override;
    void RunAside(std::shared_ptr<LongWork> work) override;

    bool Exclusive() const override { return false; }
    bool NeedsSlot() const override { return true; }
    Wire &TakeWire() override;
    void ReturnWire(bool sound) noexcept override;
    void WakeAt(std::optional<TimePoint> time) override;
    void Complete(std::shared_ptr<Response> response, uint32_t code) noexcept override;

private:
    void RunOnLoop() override REQUIRES(ON_LOOP);
    void RunOnWorker() override; // hands the strand to the application's runner
    void RunAside() noexcept override;
    void RunStrand() noexcept REQUIRES(ON_LOOP);
    template <class Task> std::shared_ptr<Task> Own(Task *task) const;

    SessionCore &core_;
    const ResponseCallback completion_;
    std::shared_ptr<Response> response_;
    Strand strand_;
    std::unique_ptr<Wire> wire_ GUARDED_BY(ON_LOOP);
    std::optional<Loop::Timer> timer_ GUARDED_BY(ON_LOOP);
    std::atomic<bool> posted_ = false;
    std::shared_ptr<LongWork> aside_;
};

} // namespace OHOS::Pelloria::Tnx

#endif
