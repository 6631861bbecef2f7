// How a transfer's parts reach the application and the thread that drives the transfer.
#ifndef TNX_ENGINE_DELIVERY_H
#define TNX_ENGINE_DELIVERY_H

#include <functional>
#include <memory>
#include <string>
#include <utility>

#include "outcome.h"
#include "tnx_native/callback_gate.h"

namespace OHOS::Pelloria::Tnx
{

// Work that nobody should have to wait for.
class LongWork
{
public:
    virtual void Run() noexcept = 0;

protected:
    ~LongWork() = default;
};

class Delivery
{
public:
    // Runs something that calls the application, after what came before it: at once in a
    // synchronous fetch, on a worker otherwise. On the thread that drives the transfer.
    virtual void Deliver(std::function<void()> callback) = 0;

    // Has the driving thread look at the transfer again. From any thread.
    virtual void Wake() noexcept = 0;

    // Calls the application from inside what was delivered; not when the request is canceled. What
    // the application throws ends the transfer.
    template <class Callback> void Call(const Callback &callback)
    {
        if (const CallbackGate::Turn turn(gate_); turn) {
            Guarded(callback);
        } else {
            Wake();
        }
    }

    // Runs something for those who know no exceptions: what is thrown ends the transfer. False
    // then.
    template <class Function> bool Guarded(const Function &function) noexcept
    {
        try {
            function();
            return true;
        } catch (...) {
            outcome_.StopOfThrown();
            Wake();
            return false;
        }
    }

    // The same for what has a result.
    template <class Function>
    auto Guarded(const Function &function, decltype(function()) failure) noexcept
    {
        decltype(function()) result = failure;
        Guarded([&] { result = function(); });
        return result;
    }

    // Ends the transfer, for the first reason that is given. From any thread.
    void Stop(CURLcode code, std::string why) noexcept
    {
        outcome_.Stop(code, std::move(why));
        Wake();
    }

    // On the driving thread the outcome may be told without a wake-up.
    Outcome &GetOutcome() { return outcome_; }

    // Whether the driving thread may go on, rather than look at what else there is to do.
    virtual bool HasTime() const = 0;

    // Does the work and wakes the transfer: on another thread, where others depend on the driving
    // one. Not before the last such work is done.
    virtual void RunAside(std::shared_ptr<LongWork> work) = 0;

protected:
    explicit Delivery(CallbackGate &gate)
        : gate_(gate)
    {
    }
    ~Delivery() = default;

private:
    CallbackGate &gate_;
    Outcome outcome_;
};

} // namespace OHOS::Pelloria::Tnx

#endif
