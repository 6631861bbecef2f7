// Which callbacks of a request may run, and who answers the application once it is canceled. The
// application destroys what it fetched with in that answer, so nothing may run beside or behind it.
#ifndef TNX_NATIVE_CALLBACK_GATE_H
#define TNX_NATIVE_CALLBACK_GATE_H

#include <atomic>
#include <cstdint>
#include <memory>

#include "export.h"

namespace OHOS::Pelloria::Tnx
{

// What the application is told of a cancel.
class CancelAnswer
{
public:
    virtual void Give() noexcept = 0;

protected:
    ~CancelAnswer() = default;
};

// One atomic word: nobody ever waits here, so two callbacks may cancel each other's requests.
class TNX_NATIVE_API CallbackGate
{
public:
    // One callback; on the stack of its thread.
    class TNX_NATIVE_API Turn
    {
    public:
        explicit Turn(CallbackGate &gate) noexcept;
        // Gives the answer that was left behind this callback.
        ~Turn();
        Turn(const Turn &) = delete;
        Turn &operator=(const Turn &) = delete;

        // False: the callback must not run.
        explicit operator bool() const { return entered_; }

    private:
        friend class CallbackGate;
        CallbackGate &gate_;
        const bool entered_;
        Turn *outer_ = nullptr;
    };

    // Whose callbacks these are, for OnStack. Before there are any.
    void SetOwner(const void *owner) noexcept { owner_ = owner; }

    // Whether a callback of that owner is on the call stack of this thread.
    static bool OnStack(const void *owner) noexcept;

    // No callback starts from now on.
    void Close() noexcept { state_.fetch_or(CLOSED, std::memory_order_acq_rel); }
    bool Closed() const noexcept { return (state_.load(std::memory_order_acquire) & CLOSED) != 0; }

    // Once, after Close. True: a callback runs on another thread, which gives the answer right
    // behind it. False: none does, nor will: the answer is the caller's to give.
    bool LeaveBehind(const std::shared_ptr<CancelAnswer> &answer) noexcept;

private:
    bool Enter() noexcept;
    void Leave() noexcept;
    uint32_t OnThisThread() const noexcept;

    static constexpr uint32_t CLOSED = 1;
    static constexpr uint32_t ANSWER = 2; // is left in `answer_`
    static constexpr uint32_t ONE = 4;    // callback that runs

    std::atomic<uint32_t> state_ = 0;
    std::shared_ptr<CancelAnswer> answer_;
    const void *owner_ = nullptr;
};

} // namespace OHOS::Pelloria::Tnx

#endif
