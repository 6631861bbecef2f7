// Handles of fetches. One lock guards what threads share of all of them. Who waits leaves a mark in
// each transfer that it waits for, so that an end wakes nobody else.
#ifndef TNX_EXT_TNX_TRANSFER_H
#define TNX_EXT_TNX_TRANSFER_H

#include "common/mutex.h"
#include "ext/tnx_closing.h"
#include "tnx_c_ext/transfer.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <thread>
#include <unordered_map>
#include <utility>

namespace OHOS::Pelloria::TnxC
{

struct Waiter;
using TransferRef = std::shared_ptr<Tnx_Transfer>;

// Never destroyed, like what it guards: callbacks may outlast main.
inline constinit Mutex g_transferLock;
inline constinit std::unordered_map<const Tnx_Request *, TransferRef> *
    g_running GUARDED_BY(g_transferLock) = nullptr; // made by the first that starts
inline constinit Closing *g_closings GUARDED_BY(g_transferLock) = nullptr;
inline constinit Waiter *g_sharers GUARDED_BY(g_transferLock) = nullptr;
inline constinit std::atomic<uint64_t> g_process = 0; // another one after each fork

// Lists of what stands on the stacks of threads.
template <class Item> void Link(Item *&list, Item &item)
{
    item.next = std::exchange(list, &item);
}

template <class Item> void Unlink(Item *&list, const Item &item)
{
    Item **place = &list;
    while (*place != nullptr && *place != &item) {
        place = &(*place)->next;
    }
    if (*place != nullptr) {
        *place = item.next;
    }
}

// A thread that waits.
struct Waiter {
    void Wake()
    {
        woken = true;
        condition.NotifyOne();
    }

    CondVar condition;
    bool woken = false;
    Waiter *next = nullptr; // of those that wait for what another has marked before
};

} // namespace OHOS::Pelloria::TnxC

struct Tnx_Transfer final : std::enable_shared_from_this<Tnx_Transfer> {
    Tnx_Transfer(Tnx_Session *fetchedBy, Tnx_Request *fetched)
        : session(fetchedBy)
        , request(fetched)
    {
    }
    ~Tnx_Transfer();
    Tnx_Transfer(const Tnx_Transfer &) = delete;
    Tnx_Transfer &operator=(const Tnx_Transfer &) = delete;

    // In a forked child nothing goes on of what its parent has started.
    bool Over() const
    {
        return ended.load(std::memory_order_acquire) || process != OHOS::Pelloria::TnxC::g_process;
    }

    Tnx_Session *const session;
    Tnx_Request *const request;
    const uint64_t process = OHOS::Pelloria::TnxC::g_process;

    // Set when it is answered and nobody uses its request any more, after the outcome.
    std::atomic<bool> ended = false;
    uint32_t code = TNX_ERR_SESSION_CLOSED;
    std::atomic<Tnx_Response *> response = nullptr; // until a wait takes it

    // What the lock guards.
    OHOS::Pelloria::TnxC::TransferRef self; // until the application destroys it
    bool answered = false;
    std::thread::id canceler; // uses session and request
    const OHOS::Pelloria::TnxC::Closing *closing = nullptr;
    OHOS::Pelloria::TnxC::TransferRef nextOfClosing;
    OHOS::Pelloria::TnxC::Waiter *waiter = nullptr; // the first one
    bool shared = false;                            // by others
};

namespace OHOS::Pelloria::TnxC
{

void WakeWaiters(const Tnx_Transfer &transfer) REQUIRES(g_transferLock);

// Ends a transfer that is answered and whose request is free, and wakes who waits. Returns what has
// to be released without the lock.
TransferRef Settle(Tnx_Transfer &transfer) REQUIRES(g_transferLock);

// Cancels for the application, or for who closes the session.
uint32_t CancelTransfer(Tnx_Transfer &transfer, const Closing *closing = nullptr) noexcept;

} // namespace OHOS::Pelloria::TnxC

#endif
