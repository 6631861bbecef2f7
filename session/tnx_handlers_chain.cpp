// Builds, runs and destroys chains. Both kinds are the same but for the types of their records.
#include "session/tnx_handlers_chain.h"

#include "common/c_ptr.h"
#include "common/guard.h"

#include <utility>

namespace OHOS::Pelloria::TnxC
{
namespace
{

// The entry of the application's array is read at each call.
template <class Handler, class Interceptor> struct Link {
    const Interceptor *interceptor;
    Handler *next;
};

using AsyncLink = Link<Tnx_RequestHandler, Tnx_Interceptor>;
using SyncLink = Link<Tnx_SyncRequestHandler, Tnx_SyncInterceptor>;

// Null when memory runs out; `data` is left to the caller then.
template <class Handler, class Function>
Handler *MakeHandler(Function handle, HandlerKind kind, void *data) noexcept
{
    auto handler = AllocateRecord<Handler>();
    auto context = AllocateRecord<HandlerContext>();
    if (handler == nullptr || context == nullptr) {
        return nullptr;
    }
    *context = {kind, data};
    *handler = {handle, context.release()};
    return handler.release();
}

template <class Handler, class Function>
Handler *MakeBaseHandler(Tnx_Session *session, Function handle) noexcept
{
    auto cell = AllocateRecord<Tnx_Session *>();
    if (cell == nullptr) {
        return nullptr;
    }
    *cell = session;
    auto *handler = MakeHandler<Handler>(handle, HANDLER_SESSION, cell.get());
    if (handler != nullptr) {
        static_cast<void>(cell.release());
    }
    return handler;
}

template <class LinkType, class Handler> void DestroyChain(Handler *head) noexcept
{
    while (head != nullptr) {
        const CPtr<Handler> handler(head);
        const CPtr<HandlerContext> context(static_cast<HandlerContext *>(head->handlerContext));
        const CPtr<void> data(context->data);
        head = context->kind == HANDLER_INTERCEPTOR ? static_cast<LinkType *>(data.get())->next
                                                    : nullptr;
    }
}

// Null when memory runs out.
template <class LinkType, class Handler, class Interceptor, class Function>
Handler *Prepend(const Interceptor *interceptor, Handler *next, Function handle) noexcept
{
    auto link = AllocateRecord<LinkType>();
    if (link == nullptr) {
        return nullptr;
    }
    *link = {interceptor, next};
    auto *handler = MakeHandler<Handler>(handle, HANDLER_INTERCEPTOR, link.get());
    if (handler != nullptr) {
        static_cast<void>(link.release());
    }
    return handler;
}

template <class LinkType, class Handler, class Array, class Function>
Handler *CreateChain(Handler *base, const Array *array, Function handle) noexcept
{
    if (array == nullptr || array->interceptors == nullptr || array->count <= 0) {
        return base;
    }
    Handler *head = base;
    for (int32_t i = array->count; i-- > 0;) {
        const auto *interceptor = &array->interceptors[i];
        if (interceptor->intercept == nullptr) {
            continue;
        }
        Handler *handler = Prepend<LinkType>(interceptor, head, handle);
        if (handler == nullptr) {
            DestroyChain<LinkType>(head);
            return nullptr;
        }
        head = handler;
    }
    return head;
}

// The link behind an interceptor's context; null for any other.
template <class LinkType> const LinkType *LinkOf(const void *handlerContext) noexcept
{
    const auto *context = static_cast<const HandlerContext *>(handlerContext);
    return context == nullptr || context->kind != HANDLER_INTERCEPTOR
               ? nullptr
               : static_cast<const LinkType *>(context->data);
}

} // namespace

Tnx_Session *TnxSessionOfHandler(void *handlerContext) noexcept
{
    const auto *context = static_cast<const HandlerContext *>(handlerContext);
    if (context == nullptr || context->kind != HANDLER_SESSION || context->data == nullptr) {
        return nullptr;
    }
    return *static_cast<Tnx_Session **>(context->data);
}

Tnx_RequestHandler *TnxCreateBaseHandler(Tnx_Session *session,
                                         decltype(Tnx_RequestHandler::handle) handle) noexcept
{
    return MakeBaseHandler<Tnx_RequestHandler>(session, handle);
}

Tnx_SyncRequestHandler *
TnxCreateSyncBaseHandler(Tnx_Session *session,
                         decltype(Tnx_SyncRequestHandler::handle) handle) noexcept
{
    return MakeBaseHandler<Tnx_SyncRequestHandler>(session, handle);
}

Tnx_RequestHandler *TnxCreateHandlersChain(Tnx_RequestHandler *base,
                                           const Tnx_InterceptorArray *interceptors) noexcept
{
    return CreateChain<AsyncLink>(base, interceptors, TnxInterceptorBasedHandlerFunction);
}

Tnx_SyncRequestHandler *
TnxCreateSyncHandlersChain(Tnx_SyncRequestHandler *base,
                           const Tnx_SyncInterceptorArray *interceptors) noexcept
{
    return CreateChain<SyncLink>(base, interceptors, TnxInterceptorBasedSyncHandlerFunction);
}

void TnxDestroyHandlersChain(Tnx_RequestHandler *head) noexcept
{
    DestroyChain<AsyncLink>(head);
}

void TnxDestroySyncHandlersChain(Tnx_SyncRequestHandler *head) noexcept
{
    DestroyChain<SyncLink>(head);
}

uint32_t TnxInterceptorBasedHandlerFunction(void *handlerContext, Tnx_Request *request,
                                            const Tnx_ResponseCallbackObject *callback) noexcept
{
    const auto *link = LinkOf<AsyncLink>(handlerContext);
    if (link == nullptr || request == nullptr || callback == nullptr) {
        return TNX_ERR_PARAMETER;
    }
    return Guarded([&] { return link->interceptor->intercept(request, link->next, callback); });
}

Tnx_Response *TnxInterceptorBasedSyncHandlerFunction(void *handlerContext, Tnx_Request *request,
                                                     uint32_t *errCode) noexcept
{
    if (errCode == nullptr) {
        return nullptr;
    }
    const auto *link = LinkOf<SyncLink>(handlerContext);
    if (link == nullptr || request == nullptr) {
        *errCode = TNX_ERR_PARAMETER;
        return nullptr;
    }
    return Guarded(errCode,
                   [&] { return link->interceptor->intercept(request, link->next, errCode); });
}

} // namespace OHOS::Pelloria::TnxC

uint32_t OVX_Tnx_CallNextRequestHandler(Tnx_Request *request, const Tnx_RequestHandler *next,
                                        const Tnx_ResponseCallbackObject *callback) noexcept
{
    if (next == nullptr || next->handle == nullptr) {
        return TNX_ERR_PARAMETER;
    }
    using OHOS::Pelloria::TnxC::Guarded;
    return Guarded([&] { return next->handle(next->handlerContext, request, callback); });
}

Tnx_Response *OVX_Tnx_CallNextSyncRequestHandler(Tnx_Request *request,
                                                 const Tnx_SyncRequestHandler *next,
                                                 uint32_t *errCode) noexcept
{
    if (next == nullptr || next->handle == nullptr) {
        *errCode = TNX_ERR_PARAMETER;
        return nullptr;
    }
    using OHOS::Pelloria::TnxC::Guarded;
    return Guarded(errCode, [&] { return next->handle(next->handlerContext, request, errCode); });
}
