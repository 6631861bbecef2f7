// How a transfer's parts reach the application and the thread that drives the transfer.
#ifndef TNX_ENGINE_DELIVERY_H
#define TNX_ENGINE_DELIVERY_H

#include <atomic>
#include <functional>
#include <new>

#include "tnx_native/callback_gate.h"

namespace OHOS::Pelloria::Tnx
{

class Delivery
{
public:
    // Runs something that calls the application, after what came before it: at once in a
    // synchronous fetch, on a callback thread otherwise. On the thread that drives the transfer.
    virtual void Deliver(std::function<void()> callback) = 0;

    // Has the driving thread look at the transfer again. From any thread.
    virtual void Wake() noexcept = 0;

    // Calls the application from inside what was delivered; not when the request is canceled. What
    // the application throws ends the transfer.
    template <class Callback> void Call(const Callback &callback)
    {
        if (const CallbackGate::Turn turn(gate_); turn) {
            try {
                callback();
            } catch (const std::bad_alloc &) {
                Meet(Trouble::NO_MEMORY);
            } catch (...) {
                Meet(Trouble::THREW);
            }
        } else {
            Wake();
        }
    }

    // What keeps the transfer from going on.
    enum class Trouble { NONE, THREW, NO_MEMORY };
    Trouble GetTrouble() const { return trouble_; }

    // Ends the transfer. From any thread.
    void Meet(Trouble trouble) noexcept
    {
        trouble_ = trouble;
        Wake();
    }

protected:
    explicit Delivery(CallbackGate &gate)
        : gate_(gate)
    {
    }
    ~Delivery() = default;

private:
    CallbackGate &gate_;
    std::atomic<Trouble> trouble_ = Trouble::NONE;
};

} // namespace OHOS::Pelloria::Tnx

#endif
