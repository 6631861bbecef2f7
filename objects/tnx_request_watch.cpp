// Who follows a request.
#include "objects/request_extension.h"

using namespace OHOS::Pelloria::TnxC;

uint32_t OVX_Tnx_SetRequestTrace(Tnx_Request *request, Tnx_OnTraceCallback callback,
                                 void *usrCtx) noexcept
{
    return ChangeExtras(request, [=](RequestExtras &extras) -> uint32_t {
        extras.trace = {callback, usrCtx};
        return TNX_OK;
    });
}
