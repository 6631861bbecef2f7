// Who follows a request, and what is collected of it.
#include "objects/request_extension.h"
#include "tnx_c_ext/connection.h"

using namespace OHOS::Pelloria::TnxC;

uint32_t OVX_Tnx_SetRequestTrace(Tnx_Request *request, Tnx_OnTraceCallback callback,
                                 void *usrCtx) noexcept
{
    return ChangeExtras(request, [=](RequestExtras &extras) -> uint32_t {
        extras.trace = {callback, usrCtx};
        return TNX_OK;
    });
}

uint32_t OVX_Tnx_SetRequestCollectConnectionInfo(Tnx_Request *request, bool collect) noexcept
{
    return ChangeExtras(request, [=](RequestExtras &extras) -> uint32_t {
        extras.collectConnectionInfo = collect;
        return TNX_OK;
    });
}
