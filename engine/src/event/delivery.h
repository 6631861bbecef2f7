// How a transfer's parts reach the application and the thread that drives the transfer.
#ifndef TNX_ENGINE_DELIVERY_H
#define TNX_ENGINE_DELIVERY_H

#include <atomic>
#include <functional>
#include <memory>
#include <new>

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

    // Runs something for libcurl, which knows no exceptions. What is thrown ends the transfer.
    template <class Function> auto Guarded(Function function, decltype(function()) failure) noexcept
    {
        try {
            return function();
        } catch (const std::bad_alloc &) {
            Meet(Trouble::NO_MEMORY);
        } catch (...) {
            Meet(Trouble::THREW);
        }
        return failure;
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
    std::atomic<Trouble> trouble_ = Trouble::NONE;
};

} // namespace OHOS::Pelloria::Tnx

#endif
