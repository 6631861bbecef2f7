// Turns of callbacks, and the answer behind the last of them.
#include "tnx_native/callback_gate.h"

#include <utility>

namespace OHOS::Pelloria::Tnx
{
namespace
{

thread_local CallbackGate::Turn *g_innermost = nullptr;

} // namespace

CallbackGate::Turn::Turn(CallbackGate &gate) noexcept
    : gate_(gate)
    , entered_(gate.Enter())
{
    if (entered_) {
        outer_ = std::exchange(g_innermost, this);
    }
}

CallbackGate::Turn::~Turn()
{
    if (entered_) {
        g_innermost = outer_;
        gate_.Leave();
    }
}

bool CallbackGate::Enter() noexcept
{
    uint32_t state = state_.load(std::memory_order_acquire);
    do {
        if ((state & CLOSED) != 0) {
            return false;
        }
    } while (!state_.compare_exchange_weak(state, state + ONE, std::memory_order_acq_rel));
    return true;
}

bool CallbackGate::OnStack(const void *owner) noexcept
{
    const Turn *turn = g_innermost;
    while (turn != nullptr && turn->gate_.owner_ != owner) {
        turn = turn->outer_;
    }
    return turn != nullptr;
}

void CallbackGate::Leave() noexcept
{
    if (state_.fetch_sub(ONE, std::memory_order_acq_rel) - ONE == (CLOSED | ANSWER)) {
        std::exchange(answer_, nullptr)->Give();
    }
}

bool CallbackGate::LeaveBehind(const std::shared_ptr<CancelAnswer> &answer) noexcept
{
    answer_ = answer;
    const uint32_t own = OnThisThread();
    uint32_t state = state_.load(std::memory_order_acquire);
    while (state / ONE > own) {
        if (state_.compare_exchange_weak(state, state | ANSWER, std::memory_order_acq_rel)) {
            return true;
        }
    }
    answer_ = nullptr;
    return false;
}

uint32_t CallbackGate::OnThisThread() const noexcept
{
    uint32_t count = 0;
    for (const Turn *turn = g_innermost; turn != nullptr; turn = turn->outer_) {
        count += &turn->gate_ == this ? 1 : 0;
    }
    return count;
}

} // namespace OHOS::Pelloria::Tnx
