// Canceling the transfers of a session that is closed, and ending those that this does not end.
#include "ext/tnx_closing.h"

#include "ext/tnx_transfer.h"

namespace OHOS::Pelloria::TnxC
{
namespace
{

void Collect(Closing &closing) REQUIRES(g_transferLock)
{
    if (g_running == nullptr) {
        return;
    }
    for (const auto &[request, transfer] : *g_running) {
        if (transfer->session == closing.session && transfer->closing == nullptr) {
            transfer->closing = &closing;
            transfer->nextOfClosing = std::exchange(closing.transfers, transfer);
        }
    }
}

// Whether another thread is canceling one of them, for which it needs the session.
bool OthersCancel(const Closing &closing) REQUIRES(g_transferLock)
{
    const std::thread::id self = std::this_thread::get_id();
    bool others = false;
    for (auto *each = closing.transfers.get(); each != nullptr; each = each->nextOfClosing.get()) {
        if (each->canceler != std::thread::id() && each->canceler != self) {
            each->shared = others = true;
        }
    }
    return others;
}

void WaitForCancels(const Closing &closing) REQUIRES(g_transferLock)
{
    Waiter waiter;
    Link(g_sharers, waiter);
    while (OthersCancel(closing)) {
        waiter.condition.Wait(g_transferLock);
    }
    Unlink(g_sharers, waiter);
}

} // namespace

Closing::Closing(const Tnx_Session *closed) noexcept
    : session(closed)
{
    {
        const MutexLock lock(g_transferLock);
        Link(g_closings, *this);
        Collect(*this);
    }
    for (auto *each = transfers.get(); each != nullptr; each = each->nextOfClosing.get()) {
        CancelTransfer(*each, this);
    }
    const MutexLock lock(g_transferLock);
    WaitForCancels(*this);
    for (auto *each = transfers.get(); each != nullptr; each = each->nextOfClosing.get()) {
        WakeWaiters(*each); // who waits inside a callback goes on
    }
}

void Closing::Done() noexcept
{
    const MutexLock lock(g_transferLock);
    for (auto *each = transfers.get(); each != nullptr; each = each->nextOfClosing.get()) {
        if (!each->answered) {
            each->answered = true;
            Settle(*each); // releases nothing: the list has it
        }
    }
}

Closing::~Closing()
{
    {
        const MutexLock lock(g_transferLock);
        Unlink(g_closings, *this);
        for (auto *each = transfers.get(); each != nullptr; each = each->nextOfClosing.get()) {
            each->closing = nullptr;
        }
    }
    while (transfers != nullptr) { // one by one: a chain that released itself would recurse
        transfers = std::move(transfers->nextOfClosing);
    }
}

void Closing::Forget(const Tnx_Session *session) noexcept
{
    const MutexLock lock(g_transferLock);
    for (Closing *closing = g_closings; closing != nullptr; closing = closing->next) {
        if (closing->session == session) {
            closing->session = nullptr;
        }
    }
}

} // namespace OHOS::Pelloria::TnxC
