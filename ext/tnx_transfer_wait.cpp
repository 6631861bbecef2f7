// Waiting for one transfer, or for any of several.
#include "ext/tnx_transfer.h"

#include "tnx_native/session.h"

namespace OHOS::Pelloria::TnxC
{
namespace
{

// Whether this thread is inside a callback of the request, which must return before the end.
bool IsHeldHere(const Tnx_Transfer &transfer)
{
    return transfer.canceler == std::this_thread::get_id() ||
           Tnx::CallbackGate::OnStack(transfer.request);
}

class Wait
{
public:
    Wait(Tnx_Transfer *const *transfers, size_t count)
        : transfers_(transfers)
        , count_(count)
    {
    }

    // The index of the first that has ended; `count` when the time is over or none can end.
    size_t Run(uint32_t milliseconds)
    {
        const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(milliseconds);
        const MutexLock lock(g_transferLock);
        size_t found = LeaveMarks();
        while (found == count_ && canEnd_ && Sleep(milliseconds, end)) {
            found = Find();
        }
        RemoveMarks();
        return found;
    }

private:
    // The index of one that has ended already.
    size_t LeaveMarks() REQUIRES(g_transferLock)
    {
        bool shares = false;
        size_t i = 0;
        for (; i < count_ && !IsOver(transfers_[i]); ++i) {
            Tnx_Transfer *const transfer = transfers_[i];
            if (transfer == nullptr || IsHeldHere(*transfer)) {
                continue;
            }
            canEnd_ = true;
            if (transfer->waiter == nullptr) {
                transfer->waiter = &waiter_;
            } else if (transfer->waiter != &waiter_) {
                transfer->shared = shares = true;
            }
        }
        if (shares) {
            Link(g_sharers, waiter_);
        }
        return i;
    }

    void RemoveMarks() REQUIRES(g_transferLock)
    {
        for (size_t i = 0; i < count_; ++i) {
            if (transfers_[i] != nullptr && transfers_[i]->waiter == &waiter_) {
                transfers_[i]->waiter = nullptr;
            }
        }
        Unlink(g_sharers, waiter_);
    }

    size_t Find() REQUIRES(g_transferLock)
    {
        waiter_.woken = false;
        size_t i = 0;
        while (i < count_ && !IsOver(transfers_[i])) {
            ++i;
        }
        return i;
    }

    bool IsOver(const Tnx_Transfer *transfer) const
    {
        return transfer != nullptr &&
               (transfer->Over() || (insideCallback_ && transfer->closing != nullptr));
    }

    // False when the time is over.
    bool Sleep(uint32_t milliseconds, std::chrono::steady_clock::time_point end)
        REQUIRES(g_transferLock)
    {
        bool inTime = true;
        while (!waiter_.woken && inTime) {
            if (milliseconds == TNX_NO_TIMEOUT) {
                waiter_.condition.Wait(g_transferLock);
            } else {
                inTime = waiter_.condition.WaitUntil(g_transferLock, end);
            }
        }
        return waiter_.woken;
    }

    Tnx_Transfer *const *const transfers_;
    const size_t count_;
    // A close may wait for the callback, which therefore must not wait for the close.
    const bool insideCallback_ = Tnx::InsideCallback();
    Waiter waiter_;
    bool canEnd_ = false;
};

// Of a transfer that no wait can see the end of.
uint32_t CodeOfNone(const Tnx_Transfer &transfer)
{
    const MutexLock lock(g_transferLock);
    return IsHeldHere(transfer) ? uint32_t{TNX_ERR_PARAMETER} : uint32_t{TNX_WAIT_TIMEOUT};
}

} // namespace
} // namespace OHOS::Pelloria::TnxC

using namespace OHOS::Pelloria::TnxC;

size_t OVX_Tnx_WaitAny(Tnx_Transfer *const *transfers, size_t count, uint32_t milliseconds) noexcept
{
    if (transfers == nullptr) {
        return count;
    }
    for (size_t i = 0; i < count; ++i) { // without the lock
        if (transfers[i] != nullptr && transfers[i]->Over()) {
            return i;
        }
    }
    return Wait(transfers, count).Run(milliseconds);
}

Tnx_Response *OVX_Tnx_Wait(Tnx_Transfer *transfer, uint32_t milliseconds,
                           uint32_t *errCode) noexcept
{
    if (errCode == nullptr) {
        return nullptr;
    }
    if (transfer == nullptr) {
        *errCode = TNX_ERR_PARAMETER;
        return nullptr;
    }
    if (OVX_Tnx_WaitAny(&transfer, 1, milliseconds) != 0) {
        *errCode = CodeOfNone(*transfer);
        return nullptr;
    }
    const bool answered = transfer->ended;
    *errCode = answered ? transfer->code : uint32_t{TNX_ERR_SESSION_CLOSED};
    return answered ? transfer->response.exchange(nullptr) : nullptr;
}
