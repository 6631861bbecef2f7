// Chains of handlers: one for each interceptor of the application, in its order, and last the one
// that sends. Read-only once built, without state of a call.
#ifndef TNX_SESSION_TNX_HANDLERS_CHAIN_H
#define TNX_SESSION_TNX_HANDLERS_CHAIN_H

#include "tnx_c/session.h"

namespace OHOS::Pelloria::TnxC
{

enum HandlerKind : int32_t { HANDLER_INTERCEPTOR = 0, HANDLER_SESSION = 1 };

struct HandlerContext {
    int32_t kind;
    void *data; // a link to the rest of the chain, or a cell with the session's handle
};

// The last handler of a chain. Null when memory runs out.
Tnx_RequestHandler *TnxCreateBaseHandler(Tnx_Session *session,
                                         decltype(Tnx_RequestHandler::handle) handle) noexcept;
Tnx_SyncRequestHandler *
TnxCreateSyncBaseHandler(Tnx_Session *session,
                         decltype(Tnx_SyncRequestHandler::handle) handle) noexcept;

// The session that a base handler stands for; null for any other context.
Tnx_Session *TnxSessionOfHandler(void *handlerContext) noexcept;

// Takes `base`, borrows the array for the life of the chain. Null when memory runs out; `base` is
// destroyed then.
Tnx_RequestHandler *TnxCreateHandlersChain(Tnx_RequestHandler *base,
                                           const Tnx_InterceptorArray *interceptors) noexcept;
Tnx_SyncRequestHandler *
TnxCreateSyncHandlersChain(Tnx_SyncRequestHandler *base,
                           const Tnx_SyncInterceptorArray *interceptors) noexcept;

void TnxDestroyHandlersChain(Tnx_RequestHandler *head) noexcept;
void TnxDestroySyncHandlersChain(Tnx_SyncRequestHandler *head) noexcept;

// The handlers of interceptors.
uint32_t TnxInterceptorBasedHandlerFunction(void *handlerContext, Tnx_Request *request,
                                            const Tnx_ResponseCallbackObject *callback) noexcept;
Tnx_Response *TnxInterceptorBasedSyncHandlerFunction(void *handlerContext, Tnx_Request *request,
                                                     uint32_t *errCode) noexcept;

} // namespace OHOS::Pelloria::TnxC

#endif
