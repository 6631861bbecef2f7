// Starting, canceling and destroying fetches that have handles, and the answer that ends each.
#include "ext/tnx_transfer.h"

#include "common/guard.h"
#include "tnx_native/session.h"

#include <pthread.h>

namespace OHOS::Pelloria::TnxC
{
namespace
{

void BeforeFork() NO_THREAD_SAFETY_ANALYSIS
{
    g_transferLock.lock();
}

void AfterForkInParent() NO_THREAD_SAFETY_ANALYSIS
{
    g_transferLock.unlock();
}

void AfterForkInChild() NO_THREAD_SAFETY_ANALYSIS
{
    ++g_process;
    g_running = nullptr; // leaked: those that would answer are the parent's
    g_closings = nullptr;
    g_sharers = nullptr;
    g_transferLock.unlock();
}

bool IsClosing(const Tnx_Session *session) REQUIRES(g_transferLock)
{
    const Closing *closing = g_closings;
    while (closing != nullptr && closing->session != session) {
        closing = closing->next;
    }
    return closing != nullptr;
}

uint32_t Register(const TransferRef &transfer)
{
    static const int forks = pthread_atfork(BeforeFork, AfterForkInParent, AfterForkInChild);
    const MutexLock lock(g_transferLock);
    if (forks != 0) {
        return TNX_ERR_OUT_OF_MEMORY;
    }
    if (IsClosing(transfer->session)) {
        return TNX_ERR_SESSION_CLOSED;
    }
    if (g_running == nullptr) {
        g_running = new std::unordered_map<const Tnx_Request *, TransferRef>;
    }
    const bool added = g_running->try_emplace(transfer->request, transfer).second;
    return added ? TNX_OK : TNX_ERR_PARAMETER;
}

// The response callback.
void TakeAnswer(void *context, Tnx_Response *response, uint32_t code) noexcept
{
    auto &transfer = *static_cast<Tnx_Transfer *>(context);
    TransferRef last;
    const MutexLock lock(g_transferLock);
    transfer.response = response;
    const bool closed = transfer.closing != nullptr && code == TNX_ERR_REQUEST_CANCELED;
    transfer.code = closed ? uint32_t{TNX_ERR_SESSION_CLOSED} : code;
    transfer.answered = true;
    last = Settle(transfer);
}

// Of one that was not accepted: nothing will answer it.
void Withdraw(Tnx_Transfer &transfer)
{
    TransferRef last;
    const MutexLock lock(g_transferLock);
    transfer.answered = true;
    last = Settle(transfer);
}

Tnx_Transfer *Start(Tnx_Session *session, Tnx_Request *request, uint32_t &code)
{
    const auto transfer = std::make_shared<Tnx_Transfer>(session, request);
    code = Register(transfer);
    if (code != TNX_OK) {
        return nullptr;
    }
    const Tnx_ResponseCallbackObject callback = {TakeAnswer, transfer.get()};
    code = OVX_Tnx_Fetch(session, request, &callback);
    if (code != TNX_OK) {
        Withdraw(*transfer);
        return nullptr;
    }
    const MutexLock lock(g_transferLock);
    return (transfer->self = transfer).get();
}

// Empty where there is nothing to cancel, or where somebody does so already.
TransferRef BeginCancel(Tnx_Transfer &transfer, const Closing *closing)
{
    const MutexLock lock(g_transferLock);
    if (transfer.Over() || transfer.answered || transfer.closing != closing ||
        transfer.canceler != std::thread::id()) {
        return nullptr;
    }
    transfer.canceler = std::this_thread::get_id();
    return transfer.shared_from_this();
}

} // namespace

void WakeWaiters(const Tnx_Transfer &transfer)
{
    if (transfer.waiter != nullptr) {
        transfer.waiter->Wake();
    }
    for (Waiter *sharer = transfer.shared ? g_sharers : nullptr; sharer != nullptr;
         sharer = sharer->next) {
        sharer->Wake();
    }
}

TransferRef Settle(Tnx_Transfer &transfer)
{
    TransferRef last;
    if (transfer.answered && transfer.canceler == std::thread::id()) {
        const auto entry = g_running->find(transfer.request);
        if (entry != g_running->end() && entry->second.get() == &transfer) {
            last = std::move(entry->second);
            g_running->erase(entry);
        }
        transfer.ended.store(true, std::memory_order_release);
    }
    WakeWaiters(transfer);
    return last;
}

uint32_t CancelTransfer(Tnx_Transfer &transfer, const Closing *closing) noexcept
{
    const TransferRef kept = BeginCancel(transfer, closing);
    if (kept == nullptr) {
        return TNX_OK;
    }
    const uint32_t code = OVX_Tnx_CancelRequest(transfer.session, transfer.request);
    TransferRef last;
    const MutexLock lock(g_transferLock);
    transfer.canceler = {};
    last = Settle(transfer);
    return code;
}

} // namespace OHOS::Pelloria::TnxC

using namespace OHOS::Pelloria;
using namespace OHOS::Pelloria::TnxC;

Tnx_Transfer::~Tnx_Transfer()
{
    if (Tnx_Response *const left = response; left != nullptr && left->destroyResponse != nullptr) {
        left->destroyResponse(left);
    }
}

Tnx_Transfer *OVX_Tnx_Start(Tnx_Session *session, Tnx_Request *request, uint32_t *errCode) noexcept
{
    if (errCode == nullptr) {
        return nullptr;
    }
    if (session == nullptr || session->ops == nullptr) {
        *errCode = TNX_ERR_SESSION_CLOSED;
        return nullptr;
    }
    if (request == nullptr) {
        *errCode = TNX_ERR_PARAMETER;
        return nullptr;
    }
    return Guarded(errCode, [&] { return Start(session, request, *errCode); });
}

uint32_t OVX_Tnx_Cancel(Tnx_Transfer *transfer) noexcept
{
    return transfer == nullptr ? uint32_t{TNX_ERR_PARAMETER} : CancelTransfer(*transfer);
}

void OVX_Tnx_DestroyTransfer(Tnx_Transfer *transfer) noexcept
{
    if (transfer == nullptr) {
        return;
    }
    CancelTransfer(*transfer);
    if (!Tnx::InsideCallback()) { // where two could wait for each other
        OVX_Tnx_WaitAny(&transfer, 1, TNX_NO_TIMEOUT);
    }
    TransferRef last;
    const MutexLock lock(g_transferLock);
    last.swap(transfer->self);
}
