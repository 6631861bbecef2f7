/**
 * @file transfer.h
 * @brief Handles of asynchronous fetches: start several, wait for one or for any of them, end a
 * wait from another thread. For sessions of every type, with their interceptors.
 */
#ifndef TNX_C_EXT_TRANSFER_H
#define TNX_C_EXT_TRANSFER_H

#include "tnx_c/session.h"

TNX_BEGIN_DECLS

/** A fetch that was started. Any number of threads may wait for it and cancel it at once. */
typedef struct Tnx_Transfer Tnx_Transfer;

/** Beside the error codes, of OVX_Tnx_Wait only: how a transfer ends is another matter, and
 *  TNX_ERR_TIMEOUT one of the ways. */
enum {
    TNX_WAIT_TIMEOUT = 1007900994 /**< The wait is over, the transfer goes on. */
};

/**
 * Sends a request and returns at once, as OVX_Tnx_Fetch does; the transfer stands in for the
 * response callback, all other callbacks of the request run as ever. Borrows `request` until a wait
 * has told the end, or OVX_Tnx_DestroyTransfer has returned.
 * @param errCode Takes the code: what OVX_Tnx_Fetch returns, TNX_ERR_PARAMETER for null and for a
 *                request whose transfer goes on, or TNX_ERR_OUT_OF_MEMORY. Null: nothing is done.
 * @return The transfer, which the caller destroys with OVX_Tnx_DestroyTransfer, before or after the
 *         session is closed; null where the code is not TNX_OK.
 */
TNX_API Tnx_Transfer *OVX_Tnx_Start(Tnx_Session *session, Tnx_Request *request,
                                    uint32_t *errCode) TNX_NOEXCEPT;

/**
 * Waits for the end of a transfer. Every wait that sees it, now or later, is told the same code;
 * OVX_Tnx_Cancel on another thread ends a wait with TNX_ERR_REQUEST_CANCELED, and
 * OVX_Tnx_CloseSession with TNX_ERR_SESSION_CLOSED.
 *
 * Inside a callback, wait with a time-out: the transfer may need the connection that the callback's
 * request holds. There, a wait that the closing of the session ends is over before the closing is,
 * and the request stays borrowed until OVX_Tnx_CloseSession has returned. On the thread of the
 * session's executor a transfer ends only where that thread gets on with its tasks, so not in a
 * wait.
 * @param milliseconds How long to wait. 0: looks only. TNX_NO_TIMEOUT: as long as it takes.
 * @param errCode Takes the code that the transfer ended with, as a response callback would;
 *                TNX_WAIT_TIMEOUT when it has not; TNX_ERR_PARAMETER for null, and inside a
 * callback of the request, which cannot end before it returns. Null: nothing is done.
 * @return The response, which the caller releases through its `destroyResponse`: the first wait
 * that sees the end has it, any other null. Null too where there is none.
 */
TNX_API Tnx_Response *OVX_Tnx_Wait(Tnx_Transfer *transfer, uint32_t milliseconds,
                                   uint32_t *errCode) TNX_NOEXCEPT;

/**
 * Waits until any of several transfers has ended, as OVX_Tnx_Wait does for one. Null entries are
 * left out: put null in place of a transfer that is destroyed. A call looks at each entry; while it
 * waits, an end costs the same however many there are. Takes no memory.
 * @param milliseconds As for OVX_Tnx_Wait.
 * @return The index of the first entry that has ended; `count` when the time is over, and at once
 *         where there is nothing to wait for.
 */
TNX_API size_t OVX_Tnx_WaitAny(Tnx_Transfer *const *transfers, size_t count,
                               uint32_t milliseconds) TNX_NOEXCEPT;

/**
 * Cancels a transfer, as OVX_Tnx_CancelRequest does. One that has ended, or is being canceled, is
 * left as it is. Waits for nothing.
 * @return What OVX_Tnx_CancelRequest does; TNX_ERR_PARAMETER for null.
 */
TNX_API uint32_t OVX_Tnx_Cancel(Tnx_Transfer *transfer) TNX_NOEXCEPT;

/**
 * Destroys a transfer, and its response where no wait has taken that. One that goes on is canceled;
 * then this waits for a callback of the request that runs on another thread, and for an interceptor
 * that holds the request back, so that the request may be destroyed next. Inside a callback it does
 * not wait: there the request must live until no callback of its own runs any more. No other thread
 * may be using the transfer.
 */
TNX_API void OVX_Tnx_DestroyTransfer(Tnx_Transfer *transfer) TNX_NOEXCEPT;

TNX_END_DECLS

#endif
